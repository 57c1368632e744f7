#!/usr/bin/env python3
"""Every solution of a formula: a clause for each one found keeps it from coming again."""

import vell

x, y = vell.bitvecs("x y", 6)
with vell.Solver() as solver:
    solver.add(x * y == 24, x.ule(y), vell.Not(vell.apply("bvumulo", x, y)))
    solutions = []
    while solver.check() == vell.sat:
        values = solver.value(x), solver.value(y)
        solutions.append(values)
        solver.add(vell.Or(x != values[0], y != values[1]))

for a, b in sorted(solutions):
    print(f"{a} * {b} = 24")

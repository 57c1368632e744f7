#!/usr/bin/env python3
"""Factors a number with any program that reads DIMACS: factoring.py [NUMBER] [SOLVER ARGUMENT...]

Without a solver, the first of cadical, kissat, cryptominisat5 and minisat that is installed.
"""

import shutil
import subprocess
import sys
import tempfile

import vell


def solver():
    for name in ("cadical", "kissat", "cryptominisat5", "minisat"):
        if shutil.which(name):
            return [name]
    sys.exit("no SAT solver: install cadical")


def factors(number, command):
    width = number.bit_length()
    x, y = vell.bitvecs("x y", width)
    product = vell.zext(x, width) * vell.zext(y, width)
    cnf = vell.clausify([product == number, x.ugt(1), x.ule(y), y.ult(number)])
    with tempfile.TemporaryDirectory() as folder:
        file = f"{folder}/factoring.cnf"
        cnf.write(file)
        if command[0] == "minisat":
            subprocess.run([*command, file, f"{folder}/out"], stdout=subprocess.DEVNULL, check=False)
            lines = ["v " + line for line in open(f"{folder}/out").read().splitlines()[1:]]
        else:
            output = subprocess.run([*command, file], capture_output=True, text=True, check=False).stdout
            lines = [line for line in output.splitlines() if line.startswith("v ")]
    literals = [int(word) for line in lines for word in line.split()[1:]]
    if not literals:
        return None
    model = cnf.decode(literals)
    return model[x], model[y]


if __name__ == "__main__":
    number = int(sys.argv[1]) if len(sys.argv) > 1 else 1000036000099
    found = factors(number, sys.argv[2:] or solver())
    print(f"{number} = {found[0]} * {found[1]}" if found else f"{number} is prime")

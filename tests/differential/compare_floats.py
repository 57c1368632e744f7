#!/usr/bin/env python3
"""Random scripts of floating-point values and words against other solvers.

    compare_floats.py VELL_BV [--count N] [--seed S] [--jobs J] [--keep DIR]

As compare_solvers.py, with every operator on floating-point values, rounding modes and their conversions. Formats are
small, as solvers take long over the others; those of the standard come with the cheaper operators. The logic is ALL, as
cvc5 knows no quotients of numbers in QF_BVFP.
"""

import sys

import compare_solvers

SMALL = [(2, 3), (3, 3), (3, 4), (3, 5), (4, 4), (2, 6)]
STANDARD = [(5, 11), (8, 24)]
MODES = ["RNE", "RNA", "RTP", "RTN", "RTZ", "roundNearestTiesToEven", "roundNearestTiesToAway", "roundTowardPositive",
         "roundTowardNegative", "roundTowardZero"]


class FloatScript(compare_solvers.Script):
    def add_float(self, f, term):
        name = "f%d" % len(self.lines)
        self.lines.append("(define-fun %s () (_ FloatingPoint %d %d) %s)" % (name, f[0], f[1], term))
        self.floats.setdefault(f, []).append(name)

    def mode(self):
        r = self.r
        return r.choice(self.modes) if self.modes and r.random() < 0.3 else r.choice(MODES)

    def pattern(self, width):
        r = self.r
        value = r.choice([0, 1, (1 << width) - 1, 1 << (width - 1), (1 << (width - 1)) - 1, r.getrandbits(width)])
        return "#b" + format(value, "0%db" % width)

    def float(self, f):
        r = self.r
        e, s = f
        kind = r.random()
        if kind < 0.75 and f in self.floats:
            return r.choice(self.floats[f])
        if kind < 0.8:
            return "(_ %s %d %d)" % (r.choice(["+oo", "-oo", "+zero", "-zero", "NaN"]), e, s)
        if kind < 0.85:
            number = r.choice(["0.1", "1.5", "(- 2.25)", "(/ 1 3)", "(- (/ 7 5))", "3.0", "100.0", "0.0"])
            return "((_ to_fp %d %d) %s %s)" % (e, s, self.mode(), number)
        if kind < 0.9:
            other = r.choice(sorted(self.floats))
            return "((_ to_fp %d %d) %s %s)" % (e, s, self.mode(), r.choice(self.floats[other]))
        return "(fp %s %s %s)" % (self.pattern(1), self.pattern(e), self.pattern(s - 1))

    def step(self):
        r = self.r
        if r.random() < 0.15:
            return super().step()
        f = r.choice(sorted(self.floats))
        e, s = f
        small = f in SMALL
        x, y, z = self.float(f), self.float(f), self.float(f)
        kind = r.randrange(13)
        if kind == 0:
            self.add_float(f, "(%s %s)" % (r.choice(["fp.abs", "fp.neg"]), x))
        elif kind in (1, 2):
            op = r.choice(["fp.add", "fp.sub", "fp.mul"] + (["fp.div"] if small else []))
            self.add_float(f, "(%s %s %s %s)" % (op, self.mode(), x, y))
        elif kind == 3 and small:
            self.add_float(f, r.choice(["(fp.fma %s %s %s %s)" % (self.mode(), x, y, z),
                                        "(fp.sqrt %s %s)" % (self.mode(), x)]))
        elif kind == 4:
            self.add_float(f, "(fp.roundToIntegral %s %s)" % (self.mode(), x))
        elif kind == 5:
            op = r.choice(["fp.min", "fp.max"] + (["fp.rem"] if small else []))
            self.add_float(f, "(%s %s %s)" % (op, x, y))
        elif kind == 6:
            self.add_float(f, "(ite %s %s %s)" % (self.boolean(), x, y))
        elif kind == 7:
            op = r.choice(["fp.leq", "fp.lt", "fp.geq", "fp.gt", "fp.eq", "=", "distinct"])
            more = " " + z if op != "distinct" and r.random() < 0.2 else ""
            self.add_bool("(%s %s %s%s)" % (op, x, y, more))
        elif kind == 8:
            op = r.choice(["Normal", "Subnormal", "Zero", "Infinite", "NaN", "Negative", "Positive"])
            self.add_bool("(fp.is%s %s)" % (op, x))
        elif kind == 9:
            w = r.choice([1, 2, 3, 4, 8, 9])
            self.add_word(w, "((_ %s %d) %s %s)" % (r.choice(["fp.to_ubv", "fp.to_sbv"]), w, self.mode(), x))
        elif kind == 10:
            w = r.choice(sorted(self.words))
            op = r.choice(["to_fp", "to_fp_unsigned"]) if w > 1 else "to_fp_unsigned"
            self.add_float(f, "((_ %s %d %d) %s %s)" % (op, e, s, self.mode(), self.word(w)))
        elif kind == 11:
            self.add_float(f, "((_ to_fp %d %d) %s)" % (e, s, self.word(e + s)))
        else:
            self.add_bool("(= %s %s)" % (self.mode(), self.mode()))

    def build(self):
        r = self.r
        self.floats = {}
        self.modes = []
        formats = [r.choice(SMALL if r.random() < 0.8 else STANDARD) for _ in range(r.randrange(1, 3))]
        for i in range(r.randrange(1, 4)):
            f = r.choice(formats)
            self.lines.append("(declare-const g%d (_ FloatingPoint %d %d))" % (i, f[0], f[1]))
            self.names.append("g%d" % i)
            self.floats.setdefault(f, []).append("g%d" % i)
        for i in range(r.randrange(2)):
            self.lines.append("(declare-const m%d RoundingMode)" % i)
            self.names.append("m%d" % i)
            self.modes.append("m%d" % i)
        w = r.choice([1, 2, 4, 8, 16])
        self.lines.append("(declare-const x0 (_ BitVec %d))" % w)
        self.names.append("x0")
        self.words.setdefault(w, []).append("x0")
        for _ in range(r.randrange(3, 20)):
            self.step()
        candidates = self.bools[2:] or ["(fp.isNaN g0)"]
        for _ in range(r.randrange(1, 5)):
            t = r.choice(candidates)
            self.lines.append("(assert %s)" % (t if r.random() < 0.6 else "(not %s)" % t))

    def text(self, extra=""):
        return "\n".join(["(set-logic ALL)"] + self.lines) + "\n" + extra + "(check-sat)\n"


if __name__ == "__main__":
    compare_solvers.Script = FloatScript
    compare_solvers.OTHERS["cvc5"].append("--fp-exp")
    sys.exit(compare_solvers.main(__doc__))

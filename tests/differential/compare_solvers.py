#!/usr/bin/env python3
"""Random QF_BV scripts against other solvers.

    compare_solvers.py VELL_BV [--count N] [--seed S] [--jobs J] [--keep DIR]

Makes N random scripts over every operator, answers them with vell-bv and with those of z3 and cvc5 that are installed,
and compares the answers; a model that vell-bv gives is handed to the others as assertions and must satisfy the script.
Scripts go through each solver in batches, separated by (reset). Prints "N passed, N failed"; a script on which two
answers differ is written to DIR. With neither solver installed it says so and compares nothing.
"""

import argparse
import concurrent.futures
import os
import random
import re
import shutil
import subprocess
import sys

BATCH = 20
OTHERS = {"z3": ["z3", "-smt2", "-in", "-t:10000"], "cvc5": ["cvc5", "--incremental", "--lang=smt2", "--tlimit-per=10000"]}


class Script:
    """One random script: declarations, definitions, assertions."""

    def __init__(self, seed):
        self.r = random.Random(seed)
        self.lines = []
        self.names = []
        self.words = {}  # width -> terms
        self.bools = ["true", "false"]
        self.build()

    def word(self, width):
        """A term of the width: one made before, a slice or extension of one, or a numeral."""
        r = self.r
        if width in self.words and r.random() < 0.75:
            return r.choice(self.words[width])
        if self.words and r.random() < 0.7:
            w = r.choice(sorted(self.words))
            t = r.choice(self.words[w])
            if w > width:
                low = r.randrange(w - width + 1)
                return "((_ extract %d %d) %s)" % (low + width - 1, low, t)
            if w < width:
                return "((_ %s %d) %s)" % (r.choice(["zero_extend", "sign_extend"]), width - w, t)
            return t
        return self.numeral(width)

    def numeral(self, width):
        r = self.r
        value = r.choice([0, 1, (1 << width) - 1, 1 << (width - 1), r.getrandbits(width), r.getrandbits(width)])
        if width % 4 == 0 and r.random() < 0.4:
            return "#x%0*x" % (width // 4, value)
        return r.choice(["#b" + format(value, "0%db" % width), "(_ bv%d %d)" % (value, width)])

    def boolean(self):
        return self.r.choice(self.bools)

    def add_word(self, width, term):
        name = "t%d" % len(self.lines)
        self.lines.append("(define-fun %s () (_ BitVec %d) %s)" % (name, width, term))
        self.words.setdefault(width, []).append(name)

    def add_bool(self, term):
        name = "p%d" % len(self.lines)
        self.lines.append("(define-fun %s () Bool %s)" % (name, term))
        self.bools.append(name)

    def step(self):
        r = self.r
        w = r.choice(sorted(self.words))
        hard = w <= 8  # products and quotients of free words stay small: the point is meaning, not search
        x, y, z = self.word(w), self.word(w), self.word(w)
        kind = r.randrange(12)
        if kind == 0:
            self.add_word(w, "(%s %s)" % (r.choice(["bvnot", "bvneg"]), x))
        elif kind == 1:
            op = r.choice(["bvand", "bvor", "bvxor", "bvadd"] + (["bvmul"] if hard else []))
            self.add_word(w, "(%s %s)" % (op, " ".join([x, y, z][: r.choice([2, 2, 3])])))
        elif kind == 2:
            op = r.choice(["bvnand", "bvnor", "bvxnor", "bvsub", "bvshl", "bvlshr", "bvashr"])
            self.add_word(w, "(%s %s %s)" % (op, x, y))
        elif kind == 3 and hard:
            op = r.choice(["bvudiv", "bvurem", "bvsdiv", "bvsrem", "bvsmod", "bvmul"])
            self.add_word(w, "(%s %s %s)" % (op, x, y))
        elif kind == 4:
            op = r.choice(["rotate_left", "rotate_right"])
            self.add_word(w, "((_ %s %d) %s)" % (op, r.randrange(2 * w + 1), x))
        elif kind == 5 and w <= 20:
            v = r.choice(sorted(self.words))
            if v + w <= 48:
                self.add_word(v + w, "(concat %s %s)" % (self.word(v), x))
        elif kind == 6 and w <= 12:
            n = r.randrange(1, 4)
            self.add_word(n * w, "((_ repeat %d) %s)" % (n, x))
        elif kind == 7:
            self.add_word(1, "(bvcomp %s %s)" % (x, y))
        elif kind == 8:
            self.add_word(w, "(ite %s %s %s)" % (self.boolean(), x, y))
        elif kind == 9:
            op = r.choice(["=", "distinct", "bvult", "bvule", "bvugt", "bvuge", "bvslt", "bvsle", "bvsgt", "bvsge"])
            arguments = [x, y, z] if op in ("=", "distinct") and r.random() < 0.3 else [x, y]
            self.add_bool("(%s %s)" % (op, " ".join(arguments)))
        elif kind == 10:
            op = r.choice(["and", "or", "xor", "=>", "=", "distinct"])
            n = 2 if op == "distinct" else r.randrange(2, 4)
            self.add_bool("(%s %s)" % (op, " ".join(self.boolean() for _ in range(n))))
        else:
            self.add_bool(r.choice(["(not %s)" % self.boolean(),
                                    "(ite %s %s %s)" % (self.boolean(), self.boolean(), self.boolean()),
                                    "(let ((u %s) (v %s)) (bvult u v))" % (x, y)]))

    def build(self):
        r = self.r
        for i in range(r.randrange(1, 5)):
            w = r.choice([1, 2, 3, 4, 5, 6, 7, 8, 8, 9, 13, 16])
            name = "x%d" % i
            self.lines.append("(declare-const %s (_ BitVec %d))" % (name, w))
            self.names.append(name)
            self.words.setdefault(w, []).append(name)
        for i in range(r.randrange(3)):
            self.lines.append("(declare-const q%d Bool)" % i)
            self.names.append("q%d" % i)
            self.bools.append("q%d" % i)
        for _ in range(r.randrange(5, 40)):
            self.step()
        candidates = self.bools[2:] or ["(= %s %s)" % (self.names[0], self.names[0])]
        for _ in range(r.randrange(1, 6)):
            t = r.choice(candidates)
            self.lines.append("(assert %s)" % (t if r.random() < 0.6 else "(not %s)" % t))

    def text(self, extra=""):
        return "\n".join(["(set-logic QF_BV)"] + self.lines) + "\n" + extra + "(check-sat)\n"


def run(command, text):
    process = subprocess.run(command, input=text.encode(), stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=600)
    return process.stdout.decode(errors="replace")


def answers(output):
    return [line for line in output.split("\n") if line in ("sat", "unsat", "unknown")]


def check_batch(job):
    vell, others, seeds = job
    scripts = [Script(s) for s in seeds]
    # get-model is an error after unsat, and an error ends a script: models are asked for in a second pass.
    ours = answers(run([vell, "-"], "(reset)\n".join(s.text() for s in scripts)))
    failures = []
    if len(ours) != len(scripts):
        return 0, [(seeds[0], "vell-bv gave %d answers to %d scripts" % (len(ours), len(scripts)))]
    models = {}
    wanted = [i for i, a in enumerate(ours) if a == "sat"]
    if wanted:
        text = "(reset)\n".join(scripts[i].text() + "(get-model)\n(echo \"next\")\n" for i in wanted)
        for i, part in zip(wanted, run([vell, "-"], text).split('"next"')):
            values = re.findall(r"^  \(define-fun (\S+) \(\) (?:\w+|\([^()]*\)) (.*)\)$", part, re.M)
            models[i] = "".join("(assert (= %s %s))\n" % v for v in values)
    for name in others:
        theirs = answers(run(OTHERS[name], "(reset)\n".join(s.text() for s in scripts)))
        accepted = answers(run(OTHERS[name], "(reset)\n".join(s.text(models.get(i, "")) for i, s in enumerate(scripts))))
        for i, seed in enumerate(seeds):
            if i >= len(theirs) or i >= len(accepted):
                failures.append((seed, "%s gave too few answers" % name))
            elif theirs[i] != ours[i] and theirs[i] != "unknown":
                failures.append((seed, "vell-bv says %s, %s says %s" % (ours[i], name, theirs[i])))
            elif ours[i] == "sat" and accepted[i] == "unsat":
                failures.append((seed, "%s refuses the model" % name))
    return len(seeds), failures


def main(description=__doc__):
    parser = argparse.ArgumentParser(description=description, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("vell")
    parser.add_argument("--count", type=int, default=2000)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--keep", default=".")
    parser.add_argument("--print", type=int, default=None, metavar="SEED", help="print the script of a seed")
    arguments = parser.parse_args()
    if arguments.print is not None:
        sys.stdout.write(Script(arguments.print).text())
        return 0
    others = [name for name in OTHERS if shutil.which(name)]
    if not others:
        print("neither z3 nor cvc5 is installed: nothing to compare with")
        return 0
    seeds = list(range(arguments.seed, arguments.seed + arguments.count))
    jobs = [(arguments.vell, others, seeds[i:i + BATCH]) for i in range(0, len(seeds), BATCH)]
    done = 0
    failures = []
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        for count, bad in pool.map(check_batch, jobs):
            done += count
            failures += bad
    for seed, what in failures:
        path = os.path.join(arguments.keep, "differential-%d.smt2" % seed)
        with open(path, "w") as out:
            out.write(Script(seed).text())
        print("%s: %s" % (path, what))
    print("%d passed, %d failed (against %s)" % (done - len({s for s, _ in failures}), len(failures), " and ".join(others)))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

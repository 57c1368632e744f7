#!/usr/bin/env python3
"""Random incremental QF_BV scripts against z3, and against vell-bv without its simplification on words.

    compare_sessions.py VELL_BV [--count N] [--seed S] [--jobs J] [--keep DIR] [--print SEED]

A session pushes, pops, asserts, names assertions, checks with and without assumptions, resets the assertions or
everything, with declarations on levels or global ones. What is asserted at each check is known here, so each check is a
script of its own for z3. Answers are compared; then the session is run again and asked for what it found: a model, with
the assertions, must be sat for z3, and a core or the failed assumptions must be unsat. The same session with
--words=none must have the same answers. A session that fails is written to DIR. Without z3 nothing is compared.
"""

import argparse
import concurrent.futures
import os
import random
import re
import shutil
import subprocess
import sys

from compare_solvers import Script

BATCH = 10
Z3 = ["z3", "-smt2", "-in", "-t:20000"]


class Shapes(Script):
    """Terms of small words, in the shapes that the passes on words look for."""

    def shape(self):
        r = self.r
        w = r.choice([w for w in self.words if w <= 8] or [2])
        x, y, z = self.word(w), self.word(w), self.word(w)
        kind = r.randrange(8)
        if kind == 0:  # one product in two widths
            n = r.randrange(1, 4)
            extend = r.choice(["zero_extend", "zero_extend", "sign_extend"])
            self.add_word(w, "(bvmul %s %s)" % (x, y))
            self.add_word(w + n, "(bvmul ((_ %s %d) %s) ((_ %s %d) %s))" % (extend, n, x, extend, n, y))
        elif kind == 1:  # a product below another one of its operands
            self.add_word(2 * w, "(bvmul (concat (bvmul %s %s) %s) ((_ zero_extend %d) %s))" % (x, y, x, w, y))
        elif kind == 2:  # a product multiplied out
            self.add_bool("(= (bvmul %s (bvadd %s %s)) (bvadd (bvmul %s %s) (bvmul %s %s)))" % (x, y, z, x, y, z, x))
        elif kind == 3:  # two words under a condition that says something of them
            v = r.randrange(1, w + 1)
            low = "((_ extract %d 0) %s)" % (v - 1, x)
            narrow = self.word(v)
            wide = "((_ zero_extend %d) %s)" % (w - v, narrow) if v < w else narrow
            c = "(= %s %s)" % (low, narrow)
            self.add_bool("(= (bvmul %s (ite %s %s %s)) (bvmul %s (ite %s %s %s)))" % (x, c, x, z, x, c, wide, z))
        elif kind == 4:  # neighbours
            one = "(_ bv1 %d)" % w
            self.add_bool("(%s %s (%s %s %s))" % (r.choice(["bvult", "bvule", "bvuge", "bvslt", "bvsgt"]), x,
                                                  r.choice(["bvadd", "bvsub"]), y, one))
        elif kind == 5:  # a definition
            self.add_bool("(= %s %s)" % (r.choice(self.words[w]), x))
        elif kind == 6:  # a remainder and its divisor
            self.add_bool("(%s (bvurem %s %s) %s)" % (r.choice(["bvult", "bvule", "="]), x, y, r.choice([y, z])))
        else:  # linear equations
            unknowns = [self.word(w) for _ in range(3)]
            for _ in range(2):
                sums = ["(bvmul (_ bv%d %d) %s)" % (r.choice([3, 5, 11, 13]) % (1 << w), w, u) for u in unknowns]
                self.add_bool("(= (bvadd %s) %s)" % (" ".join(sums), self.numeral(w)))

    def large(self):
        """A product that is too large to be made a circuit unless later formulas speak of its operands."""
        r = self.r
        w = 257
        for name in ("b0", "b1"):
            self.lines.append("(declare-const %s (_ BitVec %d))" % (name, w))
        x = self.word(4)
        self.add_bool("(= ((_ extract 3 0) (bvmul b0 b1)) %s)" % x)
        self.add_bool("(bvult (bvadd %s ((_ extract 7 4) (bvmul b0 b1))) #b0101)" % x)
        self.add_bool("(= b0 ((_ zero_extend %d) %s))" % (w - 4, self.word(4)))
        self.add_bool("(bvult b1 (_ bv%d %d))" % (r.randrange(6), w))

    def build(self):
        r = self.r
        for i in range(r.randrange(2, 5)):
            w = r.choice([1, 2, 2, 3, 3, 4, 5])
            name = "x%d" % i
            self.lines.append("(declare-const %s (_ BitVec %d))" % (name, w))
            self.names.append(name)
            self.words.setdefault(w, []).append(name)
        for i in range(r.randrange(1, 3)):
            self.lines.append("(declare-const q%d Bool)" % i)
            self.names.append("q%d" % i)
            self.bools.append("q%d" % i)
        if r.random() < 0.04:
            self.large()
        for _ in range(r.randrange(3, 9)):
            self.step() if r.random() < 0.45 else self.shape()


class Check:
    def __init__(self, flat, named, assumptions):
        self.flat = flat  # the declarations in force
        self.named = named  # [(name, or "", and formula)] of the assertions in force
        self.assumptions = assumptions  # or None

    def query(self, formulas, extra=""):
        return "(set-logic QF_BV)\n" + "".join(line + "\n" for line in self.flat) + extra + "".join(
            "(assert %s)\n" % f for f in formulas) + "(check-sat)\n"

    def formulas(self):
        return [f for _, f in self.named] + (self.assumptions or [])


class Session:
    """lines: of the script, None where a check is; checks: in their order."""

    def __init__(self, seed):
        self.r = random.Random(seed)
        self.lines = []
        self.checks = []
        self.names = 0
        for part in range(1 if self.r.random() < 0.8 else 2):
            if part:
                self.lines.append("(reset)")
            self.part(seed * 2 + part)

    def part(self, seed):
        r = self.r
        cores = r.random() < 0.4
        is_global = r.random() < 0.3
        options = [":produce-models true", ":produce-unsat-assumptions true"]
        options += [":produce-unsat-cores true"] if cores else []
        options += [":global-declarations true"] if is_global else []
        self.lines += ["(set-option %s)" % o for o in options] + ["(set-logic QF_BV)"]
        source = Shapes(seed)
        first = list(source.lines)
        self.lines += first
        declared = [first]  # by level
        asserted = [[]]
        bools = [list(source.bools)]
        count = 0

        def known():
            return [b for level in bools for b in level]

        def literal():
            b = r.choice(known())
            return b if r.random() < 0.65 else "(not %s)" % b

        for _ in range(r.randrange(6, 22)):
            kind = r.random()
            if kind < 0.34:
                f = literal()
                if r.random() < 0.2:
                    f = "(%s %s %s)" % (r.choice(["or", "and", "xor"]), f, literal())
                name = ""
                if cores and r.random() < 0.7:
                    name = "n%d" % self.names
                    self.names += 1
                asserted[-1].append((name, f))
                self.lines.append("(assert (! %s :named %s))" % (f, name) if name else "(assert %s)" % f)
            elif kind < 0.50:
                for _ in range(n := r.choice([1, 1, 2])):
                    declared.append([])
                    asserted.append([])
                    bools.append([])
                self.lines.append("(push %d)" % n)
            elif kind < 0.62 and len(declared) > 1:
                n = r.randrange(1, len(declared)) if r.random() < 0.3 else 1
                self.lines.append("(pop %d)" % n)
                for _ in range(n):
                    gone = declared.pop(), asserted.pop(), bools.pop()
                    if is_global:
                        declared[-1] += gone[0]
                        bools[-1] += gone[2]
            elif kind < 0.68:
                # A variable and what is made of it, on the level that is there.
                v, p = "v%d" % count, "d%d" % count
                count += 1
                w = r.choice([1, 2, 3])
                operand = "((_ extract 0 0) %s)" % r.choice([n for ws in source.words.values() for n in ws if n[0] == "x"])
                lines = ["(declare-const %s (_ BitVec %d))" % (v, w),
                         "(define-fun %s () Bool (= (bvmul %s %s) %s))" % (
                             p, v, v, "((_ zero_extend %d) %s)" % (w - 1, operand) if w > 1 else operand)]
                self.lines += lines
                declared[-1] += lines
                bools[-1].append(p)
            elif kind < 0.71:
                self.lines.append("(reset-assertions)")
                everything = [line for level in declared for line in level]
                all_bools = known()
                asserted = [[]]
                if is_global:
                    declared, bools = [everything], [all_bools]
                else:
                    self.lines += first
                    declared, bools = [list(first)], [list(source.bools)]
            else:
                assumptions = None
                if r.random() < 0.45:
                    assumptions = [literal() for _ in range(r.randrange(1, 4))]
                self.checks.append(Check([line for level in declared for line in level],
                                         [a for level in asserted for a in level], assumptions))
                self.checks[-1].cores = cores
                self.lines.append(None)

    def text(self, answers=None):
        """The script; with its answers, asking for what each of them rests on."""
        out = []
        number = 0
        for line in self.lines:
            if line is not None:
                out.append(line)
                continue
            c = self.checks[number]
            out.append("(check-sat)" if c.assumptions is None else "(check-sat-assuming (%s))" % " ".join(c.assumptions))
            if answers is not None:
                if answers[number] == "sat":
                    out.append("(get-model)")
                elif answers[number] == "unsat":
                    if c.assumptions is not None:
                        out.append("(get-unsat-assumptions)")
                    if c.cores:
                        out.append("(echo \"core\")\n(get-unsat-core)")
                out.append("(echo \"next\")")
            number += 1
        return "\n".join(out) + "\n"


def run(command, text):
    process = subprocess.run(command, input=text.encode(), stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=900)
    return process.stdout.decode(errors="replace")


def answers_in(output):
    return [line for line in output.split("\n") if line in ("sat", "unsat", "unknown")]


def listed(text):
    """The elements of the last list in the text."""
    text = text[text.rindex("\n(") + 1 if "\n(" in text else text.index("("):].strip()[1:-1]
    return re.findall(r"\(not [^()]*\)|[^\s()]+", text)


def evidence(session, ours, output):
    """[(query, expected answer, what it is)] of what the session says of its answers."""
    found = []
    parts = output.split('"next"')
    for c, answer, part in zip(session.checks, ours, parts):
        part = part.strip()
        if answer == "sat":
            values = re.findall(r"\(define-fun (\S+) \(\) (?:Bool|\(_ BitVec \d+\)) (\S+)\)", part)
            found.append((c.query(c.formulas() + ["(= %s %s)" % v for v in values]), "sat", "the model"))
            continue
        if answer != "unsat":
            continue
        before, _, core = part.partition('"core"')
        if c.assumptions is not None:
            failed = listed(before)
            if not set(failed) <= set(c.assumptions):
                found.append((None, "", "failed assumptions that are none: %s" % failed))
            found.append((c.query([f for _, f in c.named] + failed), "unsat", "the failed assumptions"))
        if c.cores:
            names = set(listed(core))
            kept = [f for name, f in c.named if not name or name in names]
            found.append((c.query(kept + (c.assumptions or [])), "unsat", "the core"))
    return found


def check_batch(job):
    vell, plain, seeds = job
    sessions = [Session(s) for s in seeds]
    failures = []
    queries = []  # (seed, expected answer, what, text)
    for seed, s in zip(seeds, sessions):
        ours = answers_in(run([vell, "-"], s.text()))
        if len(ours) != len(s.checks):
            failures.append((seed, "%d answers to %d checks" % (len(ours), len(s.checks))))
            continue
        if plain and answers_in(run([vell, "--words=none", "-"], s.text())) != ours:
            failures.append((seed, "other answers with --words=none"))
        for number, (c, answer) in enumerate(zip(s.checks, ours)):
            queries.append((seed, answer, "check %d" % (number + 1), c.query(c.formulas())))
        output = run([vell, "-"], s.text(ours))
        if answers_in(output) != ours:
            failures.append((seed, "other answers when asked for more: %s" % output[-200:]))
            continue
        try:
            for query, answer, what in evidence(s, ours, output):
                if query is None:
                    failures.append((seed, what))
                else:
                    queries.append((seed, answer, what, query))
        except ValueError:
            failures.append((seed, "an answer that cannot be read"))
    theirs = answers_in(run(Z3, "(reset)\n".join(q[3] for q in queries)))
    if len(theirs) != len(queries):
        failures.append((seeds[0], "z3 gave %d answers to %d queries" % (len(theirs), len(queries))))
    for (seed, answer, what, _), other in zip(queries, theirs):
        if other not in ("unknown", answer):
            failures.append((seed, "%s: %s expected, z3 says %s" % (what, answer, other)))
    return len(seeds), len(queries), failures


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("vell")
    parser.add_argument("--count", type=int, default=150)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--keep", default=".")
    parser.add_argument("--print", type=int, default=None, metavar="SEED", help="print the session of a seed")
    arguments = parser.parse_args()
    if arguments.print is not None:
        sys.stdout.write(Session(arguments.print).text())
        return 0
    if not shutil.which("z3"):
        print("z3 is not installed: nothing to compare with")
        return 0
    plain = "--words" in subprocess.run([arguments.vell, "--help"], stdout=subprocess.PIPE).stdout.decode()
    seeds = list(range(arguments.seed, arguments.seed + arguments.count))
    jobs = [(arguments.vell, plain, seeds[i:i + BATCH]) for i in range(0, len(seeds), BATCH)]
    done = 0
    queries = 0
    failures = []
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        for count, asked, bad in pool.map(check_batch, jobs):
            done += count
            queries += asked
            failures += bad
    for seed, what in failures:
        path = os.path.join(arguments.keep, "session-%d.smt2" % seed)
        with open(path, "w") as out:
            out.write(Session(seed).text())
        print("%s: %s" % (path, what))
    print("%d sessions passed, %d failed (%d queries to z3%s)" % (
        done - len({s for s, _ in failures}), len(failures), queries, "" if plain else ", none without simplification"))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

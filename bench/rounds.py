#!/usr/bin/env python3
"""What ten thousand rounds of push, assert, check-sat and pop over one large formula cost.

    rounds.py VELL_BV [--rounds N] [--terms N]

Runs one formula alone, then with N rounds, each asserting something that no round before did, and prints what a round
costs in translated terms, fresh literals, clauses and evaluated terms, with the milliseconds of each phase. Translating
a round costs what is new in it. What the SAT solver takes for a round is its own: a satisfying assignment gives a value
to every variable of the large formula, each time.
"""

import argparse
import json
import os
import platform
import random
import subprocess
import sys
import tempfile

COUNTS = ("clausified-terms", "fresh-literals", "clauses", "evaluated-terms")
TIMES = ("time-reading", "time-clausifying", "time-solving", "time-checking", "time-total")


def formula(terms):
    chance = random.Random(1)
    names = ["x%d" % i for i in range(100)]
    lines = ["(declare-const %s (_ BitVec 16))" % n for n in names]
    for i in range(terms):
        operator = chance.choice(["bvadd", "bvand", "bvor", "bvxor"])
        lines.append("(define-fun t%d () (_ BitVec 16) (%s %s %s))" %
                     (i, operator, chance.choice(names[-200:]), chance.choice(names[-200:])))
        names.append("t%d" % i)
    # True whatever the values: the search stays easy, the formula large.
    lines += ["(assert (bvule (bvand t%d t%d) t%d))" % (i, i - 1, i) for i in range(1, terms, 2)]
    return "\n".join(lines) + "\n(check-sat)\n"


def rounds(count):
    for i in range(count):
        yield ("(push 1)(assert (bvult (bvadd x%d (_ bv%d 16)) (bvxor x%d (_ bv%d 16))))(check-sat)(pop 1)\n" %
               (i % 100, i, (i + 1) % 100, i // 100))


def run(vell, script):
    with tempfile.NamedTemporaryFile("w", suffix=".smt2") as f:
        f.write(script)
        f.flush()
        p = subprocess.run([vell, f.name, "--stats=json"], capture_output=True, text=True, check=True)
    answers = p.stdout.split()
    assert all(a in ("sat", "unsat") for a in answers), set(answers)
    return json.loads(p.stderr.strip().split("\n")[-1])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("vell")
    parser.add_argument("--rounds", type=int, default=10000)
    parser.add_argument("--terms", type=int, default=1000)
    args = parser.parse_args()
    text = formula(args.terms)
    alone = run(args.vell, text)
    all_of_it = run(args.vell, text + "".join(rounds(args.rounds)))
    print("%s, %d processors, load %.1f; %d terms, %d rounds" %
          (platform.machine(), os.cpu_count(), os.getloadavg()[0], args.terms, args.rounds))
    print("%-18s %14s %14s" % ("", "formula alone", "a round"))
    for name in COUNTS:
        print("%-18s %14d %14.2f" % (name, alone[name], (all_of_it[name] - alone[name]) / args.rounds))
    for name in TIMES:
        print("%-18s %11.2f ms %11.3f ms" %
              (name, 1000 * alone[name], 1000 * (all_of_it[name] - alone[name]) / args.rounds))
    return 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Random scripts as CNF files, a SAT solver's models of them decoded and checked against the script.

    decode_models.py VELL_BV [--count N] [--seed S] [--jobs J] [--keep DIR]

The scripts are the sessions of compare_sessions.py. Each check-sat becomes a file of `cnf`, once plain and once with
other options; CaDiCaL decides it, its verdict must be that of the session, and `decode --script` must accept its model. A
script that fails is written to DIR. Without cadical nothing is compared.
"""

import argparse
import concurrent.futures
import os
import shutil
import subprocess
import sys
import tempfile

from compare_sessions import Session, answers_in, run

OPTIONS = [[], ["--words=-definitions"], ["--words=-rewrite,-facts"], ["--raw"], ["--words=none"]]
VERDICTS = {10: "sat", 20: "unsat"}


def check(job):
    vell, seed = job
    session = Session(seed)
    failures = []
    with tempfile.TemporaryDirectory() as folder:
        script, cnf, solution = (os.path.join(folder, name) for name in ("a.smt2", "a.cnf", "a.sol"))
        with open(script, "w") as out:
            out.write(session.text())
        answers = answers_in(run([vell, script], ""))
        for query, answer in enumerate(answers, 1):
            for options in [[], OPTIONS[1 + (seed + query) % (len(OPTIONS) - 1)]]:
                what = "query %d %s" % (query, " ".join(options))
                written = subprocess.run([vell, "cnf", script, "-o", cnf, "--query", str(query)] + options,
                                         stderr=subprocess.PIPE, text=True)
                if written.returncode != 0:
                    failures.append((seed, "%s: %s" % (what, written.stderr.strip())))
                    continue
                with open(solution, "w") as out:
                    solved = subprocess.run(["cadical", "-q", cnf], stdout=out)
                if VERDICTS.get(solved.returncode) != answer:
                    failures.append((seed, "%s: %s, but the file is %s" % (what, answer, solved.returncode)))
                    continue
                decoded = subprocess.run([vell, "decode", cnf, solution, "--script", script, "--query", str(query)],
                                         stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
                if decoded.returncode != 0 or not decoded.stdout.startswith(answer + "\n"):
                    failures.append((seed, "%s: %s" % (what, decoded.stderr.strip())))
    return 2 * len(answers), failures


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("vell")
    parser.add_argument("--count", type=int, default=100)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--keep", default=".")
    arguments = parser.parse_args()
    if not shutil.which("cadical"):
        print("cadical is not installed: nothing to compare with")
        return 0
    files = 0
    failures = []
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        seeds = range(arguments.seed, arguments.seed + arguments.count)
        for count, bad in pool.map(check, [(arguments.vell, seed) for seed in seeds]):
            files += count
            failures += bad
    for seed, what in failures:
        path = os.path.join(arguments.keep, "decode-%d.smt2" % seed)
        with open(path, "w") as out:
            out.write(Session(seed).text())
        print("%s: %s" % (path, what))
    print("%d files of %d scripts, %d failures" % (files, arguments.count, len(failures)))
    return 1 if failures or files == 0 else 0


if __name__ == "__main__":
    sys.exit(main())

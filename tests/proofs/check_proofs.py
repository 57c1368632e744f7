#!/usr/bin/env python3
"""DRAT proofs of vell-bv before a checker.

    check_proofs.py VELL_BV CHECK_DRAT [--limit SECONDS] [--jobs N] [--folder NAME] [--words PASSES] [--log FILE]

For every query of a script of manifest.tsv below the folder that is known to be unsat: `vell-bv --query N --proof` has
to answer unsat, and CHECK_DRAT CNF PROOF has to accept its proof for the CNF that `vell-bv cnf --query N` writes with the
same --words (none, the default of --proof). The scripts lie in $VELL_BENCHMARKS, or in ../shared/benchmarks beside the
source directory; without them, it says so and does nothing.

Counts stand at the end, and all that was not verified is listed. The limit is on the processor time of each program.
Exit code 1 when a proof is not accepted, or a program fails in any other way than by the limit.
"""

import argparse
import concurrent.futures
import math
import os
import re
import resource
import signal
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "regress"))
from run_manifest import benchmarks  # noqa: E402

GOOD = ("verified", "time limit", "refused", "check: time limit")


def run(command, limit):
    """Standard output, standard error, exit code; None for it when the limit was reached."""
    bound = (math.ceil(limit), math.ceil(limit) + 1)
    p = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                       preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CPU, bound))
    return p.stdout.decode(errors="replace"), p.stderr.decode(errors="replace"), (
        None if p.returncode in (-signal.SIGKILL, -signal.SIGXCPU) else p.returncode)


def work(args, path, query):
    """How it ended, more about it, lemmas checked."""
    with tempfile.TemporaryDirectory() as folder:
        cnf, proof = os.path.join(folder, "query.cnf"), os.path.join(folder, "query.drat")
        options = ["--query", str(query), "--words", args.words]
        out, err, code = run([args.vell, path, "--proof", proof, *options], args.limit)
        if code is None:
            return "time limit", "", 0
        if not os.path.exists(proof):
            # A script that holds what the tool does not execute is refused by name, before any answer.
            refused = re.match(r'\(error "[^"]*:\d+:\d+: .*"\)$', out.strip())
            return "refused" if refused else "no proof", (out + err).strip()[-200:], 0
        out, err, code = run([args.vell, "cnf", path, "-o", cnf, *options], args.limit)
        if code != 0:
            return "no CNF", err.strip()[-200:], 0
        out, err, code = run([args.check, cnf, proof], 3 * args.limit)
        if code is None:
            return "check: time limit", "", 0
        if code != 0 or "s VERIFIED" not in out:
            return "not verified", (out + err).strip()[-200:], 0
        return "verified", "", int(re.search(r"c (\d+) of", out).group(1))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("vell")
    parser.add_argument("check")
    parser.add_argument("--limit", type=float, default=60)
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1)
    parser.add_argument("--folder", default="regress")
    parser.add_argument("--words", default="none")
    parser.add_argument("--log")
    args = parser.parse_args()
    root, rows = benchmarks()
    if rows is None:
        return 0
    queries = [(r["file"], i + 1) for r in rows if r["file"].startswith(args.folder + "/")
               for i, answer in enumerate(r["expected"].split()) if answer == "unsat"]
    if not queries:
        print(f"{root}: no unsat query in {args.folder}")
        return 1
    args.vell, args.check = os.path.abspath(args.vell), os.path.abspath(args.check)
    count, lines, lemmas = {}, [], 0
    log = open(args.log, "w", encoding="utf-8") if args.log else None
    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        results = pool.map(lambda q: work(args, os.path.join(root, q[0]), q[1]), queries)
        for (file, query), (how, more, checked) in zip(queries, results):
            count[how] = count.get(how, 0) + 1
            lemmas += checked
            if log:
                print(f"{file} query {query}: {how} {more}", file=log, flush=True)
            if how != "verified":
                lines.append(f"{file} query {query}: {how} {more}".rstrip())
    print("\n".join(lines))
    print(f"{len(queries)} unsat queries: " + ", ".join(f"{n} {how}" for how, n in sorted(count.items())) +
          f"; {lemmas} lemmas checked")
    return 1 if any(how not in GOOD for how in count) else 0


if __name__ == "__main__":
    sys.exit(main())

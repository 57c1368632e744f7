#!/usr/bin/env python3
"""Runs vell-bv over scripts with known answers and compares every answer.

run_manifest.py answers BINARY [--folder NAME] [--limit SECONDS] [--jobs N] [--every N] [--with OPTION]
    Scripts of manifest.tsv below the folder; all check-sat answers must be the manifest's. A script that holds what
    the tool does not execute is refused by name and counted apart; `unknown` or a time-out counts as unsolved.
    --with=--words=none runs them with an option of vell-bv, --every 8 every eighth of them.
run_manifest.py malformed BINARY ...
    Scripts of malformed/manifest.tsv; each must end with an error that names file, line and column, exit code 1.

The scripts lie in $VELL_BENCHMARKS, or in ../shared/benchmarks beside the source directory. Exit code 0 when none
failed.
"""
import argparse
import concurrent.futures
import os
import re
import subprocess
import sys
import tempfile

SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
# Refused by their own project for a rule that is not this tool's: an option unknown there (answered `unsupported`
# here), an option that get-assertions needs there.
ACCEPTED = {"cvc5/safe-options-fatal.smt2", "cvc5/proj-issue746-safe.smt2", "jsmtlib/err_getAssertions2.smt2"}
ERROR = re.compile(r'^\(error "(.*):(\d+):(\d+): (.*)"\)$', re.S)


def benchmarks(manifest="manifest.tsv", without="nothing was run"):
    """The benchmarks' folder and the rows of the manifest in it; where it is absent None, and a line that says so.

    without: what became of the run without them.
    """
    root = os.environ.get("VELL_BENCHMARKS") or os.path.join(SOURCE, "..", "shared", "benchmarks")
    path = os.path.join(root, manifest)
    if not os.path.exists(path):
        print(f"no benchmarks at {root}: {without} (set VELL_BENCHMARKS)")
        return root, None
    with open(path, encoding="utf-8") as f:
        names = f.readline().rstrip("\n").split("\t")
        return root, [dict(zip(names, line.rstrip("\n").split("\t"))) for line in f]


def execute(binary, path, limit, folder):
    """Answers, the error line or None, exit code or a word that says how it ended."""
    try:
        p = subprocess.run([*binary, path], stdin=subprocess.DEVNULL, capture_output=True, timeout=limit, cwd=folder)
    except subprocess.TimeoutExpired as e:
        out = (e.stdout or b"").decode(errors="replace")
        return [l for l in out.split("\n") if l in ("sat", "unsat", "unknown")], None, "time-out"
    out = p.stdout.decode(errors="replace")
    answers = [l for l in out.split("\n") if l in ("sat", "unsat", "unknown")]
    at = out.rfind('(error "')
    return answers, out[at:].split("\n")[0] if at >= 0 else None, p.returncode


def judge_answers(binary, root, row, limit, scratch):
    answers, error, code = execute(binary, os.path.join(root, row["file"]), limit, scratch)
    expected = row["expected"].split()
    for i, answer in enumerate(answers):
        if i >= len(expected) or answer not in (expected[i], "unknown"):
            return "failed", f"{row['file']}: answer {i + 1} is {answer}, expected {' '.join(expected)}"
    if code == "time-out":
        return "unsolved", f"{row['file']}: no answer in {limit} s"
    if error is not None:
        match = ERROR.match(error)
        if code != 1 or not match:
            return "failed", f"{row['file']}: exit code {code}: {error}"
        # A question without an answer is refused after which the script goes on.
        if len(answers) == len(expected) and "unknown" not in answers:
            return "passed", ""
        return "refused", f"{row['file']}: {match.group(4)}"
    if code != 0 or len(answers) != len(expected):
        return "failed", f"{row['file']}: exit code {code}, answers {' '.join(answers) or 'none'}"
    if "unknown" in answers:
        return "unsolved", f"{row['file']}: {' '.join(answers)}"
    return "passed", ""


def judge_malformed(binary, root, row, limit, scratch):
    path = os.path.join(root, "malformed", row["file"])
    answers, error, code = execute(binary, path, limit, scratch)
    if error is None and code == 0 and row["file"] in ACCEPTED:
        return "passed", ""
    if error is None:
        return "failed", f"{row['file']}: not refused: exit code {code}, answers {' '.join(answers) or 'none'}"
    match = ERROR.match(error)
    if code != 1 or not match or match.group(1) != path:
        return "failed", f"{row['file']}: exit code {code}: {error}"
    return "passed", ""


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("what", choices=["answers", "malformed"])
    parser.add_argument("binary")
    parser.add_argument("--folder", default="regress")
    parser.add_argument("--limit", type=float, default=10)
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1)
    parser.add_argument("--verbose", action="store_true", help="list the unsolved and the refused as well")
    parser.add_argument("--refused", type=int, help="fail when more scripts than this are refused")
    parser.add_argument("--every", type=int, default=1, help="run every Nth script only")
    parser.add_argument("--with", dest="options", action="append", default=[], help="an option for vell-bv")
    args = parser.parse_args()

    root, work = benchmarks("malformed/manifest.tsv" if args.what == "malformed" else "manifest.tsv")
    if work is None:
        return 0
    if args.what == "answers":
        work = [r for r in work if r["file"].startswith(args.folder + "/")]
    if not work:
        print(f"{root}: no script in {args.folder}")
        return 1
    judge = judge_malformed if args.what == "malformed" else judge_answers
    binary = [os.path.abspath(args.binary), *args.options]
    work = work[::args.every]
    count = {"passed": 0, "failed": 0, "unsolved": 0, "refused": 0}
    lines = []
    # Scripts may write files by :regular-output-channel; they get a folder of their own to do so.
    with tempfile.TemporaryDirectory() as scratch, concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        for verdict, line in pool.map(lambda r: judge(binary, root, r, args.limit, scratch), work):
            count[verdict] += 1
            if verdict == "failed" or (args.verbose and line):
                lines.append(f"{verdict}: {line}")
    for line in sorted(lines):
        print(line)
    what = args.what if args.what == "malformed" else args.folder
    print(f"{what}: {count['passed']} passed, {count['failed']} failed, {count['refused']} refused, "
          f"{count['unsolved']} unsolved, of {len(work)}")
    if args.refused is not None and count["refused"] > args.refused:
        return 1
    return 1 if count["failed"] else 0


if __name__ == "__main__":
    sys.exit(main())

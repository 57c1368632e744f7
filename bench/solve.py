#!/usr/bin/env python3
"""vell-bv beside z3 and cvc5 on real problems.

    solve.py VELL_BV [--limit SECONDS] [--folder NAME] [--match TEXT] [--first N] [--out FILE]

Runs each script of manifest.tsv below the folder with every solver that is installed, one after the other and one at a
time, and prints a table: the manifest's answers, each solver's and its seconds, then for each how many it solved, how
many answers were wrong and the seconds in all. The limit and the seconds are of processor time. The scripts lie in
$VELL_BENCHMARKS, or in ../shared/benchmarks beside the source directory. vell-bv reads a compressed one as it is, the
others read it unpacked. The table appears line by line; --out writes it to a file as well. Exit code 1 when vell-bv
gave a wrong answer.
"""

import argparse
import lzma
import math
import os
import platform
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile

SOURCE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(SOURCE, "tests", "regress"))
from run_manifest import benchmarks  # noqa: E402


def first_line(command):
    try:
        p = subprocess.run(command, capture_output=True, text=True)
    except OSError:
        return "unknown"
    return (p.stdout + p.stderr).strip().split("\n")[0]


def cache_entry(build, name):
    try:
        with open(os.path.join(build, "CMakeCache.txt"), encoding="utf-8") as f:
            match = re.search(r"^%s:[A-Z]+=(.*)$" % name, f.read(), re.M)
        return match.group(1) if match else ""
    except OSError:
        return ""


def processor():
    with open("/proc/cpuinfo", encoding="utf-8") as f:
        match = re.search(r"^model name\s*:\s*(.*)$", f.read(), re.M)
    return match.group(1) if match else platform.machine()


def heading(vell, solvers, args, number):
    build = os.path.dirname(vell)
    compiler = cache_entry(build, "CMAKE_CXX_COMPILER")
    flags = cache_entry(build, "CMAKE_CXX_FLAGS_" + cache_entry(build, "CMAKE_BUILD_TYPE").upper())
    revision = first_line(["git", "-C", SOURCE, "describe", "--always", "--dirty"])
    yield "machine: %s, %d processors, load %.1f at the start" % (processor(), os.cpu_count(), os.getloadavg()[0])
    yield "compiler: %s, flags %s" % (first_line([compiler, "--version"]) if compiler else "unknown", flags or "unknown")
    yield "revision: %s" % revision
    for name, (command, _) in solvers.items():
        yield "%s: %s" % (name, first_line([command[0], "--version"]))
    yield "%d scripts of %s, %g s of processor time each" % (number, args.folder, args.limit)


def run(command, limit):
    """Answers, and the seconds taken; None for them when the time was up, a word when it failed otherwise."""
    bound = (math.ceil(limit), math.ceil(limit))
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                               preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CPU, bound))
    out = process.stdout.read()
    process.stdout.close()
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    answers = [l for l in out.decode(errors="replace").split("\n") if l in ("sat", "unsat", "unknown")]
    seconds = usage.ru_utime + usage.ru_stime
    if seconds > limit:  # together with its children a solver can get beyond the bound of each process
        return answers, None, "time"
    if process.returncode in (-signal.SIGKILL, -signal.SIGXCPU):
        return answers, None, "time" if seconds >= 0.9 * limit else "killed"
    return answers, seconds, "" if process.returncode == 0 else "exit %d" % process.returncode


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("vell")
    parser.add_argument("--limit", type=float, default=60)
    parser.add_argument("--folder", default="large")
    parser.add_argument("--match", default="", help="only scripts whose name contains this")
    parser.add_argument("--first", type=int, help="only so many scripts")
    parser.add_argument("--out", help="the table goes to this file as well")
    args = parser.parse_args()

    root, scripts = benchmarks()
    if scripts is None:
        return 0
    vell = os.path.abspath(args.vell)
    # The command, and whether it reads compressed scripts.
    solvers = {"vell-bv": ([vell], True), "z3": (["z3"], False), "cvc5": (["cvc5", "--incremental"], False)}
    solvers = {name: s for name, s in solvers.items() if shutil.which(s[0][0])}
    work = [r for r in scripts if r["file"].startswith(args.folder + "/") and args.match in r["file"]][:args.first]

    out = open(args.out, "w", encoding="utf-8") if args.out else None

    def say(line):
        print(line, flush=True)
        if out:
            print(line, file=out, flush=True)

    for line in heading(vell, solvers, args, len(work)):
        say(line)
    say("")
    say("%-72s %-8s" % ("script", "expected") + "".join(" %16s" % n for n in solvers))
    solved = dict.fromkeys(solvers, 0)
    wrong = dict.fromkeys(solvers, 0)
    total = dict.fromkeys(solvers, 0.0)
    with tempfile.TemporaryDirectory() as folder:
        for row in work:
            path = os.path.join(root, row["file"])
            plain = path
            if path.endswith(".xz"):
                plain = os.path.join(folder, "script.smt2")
                with lzma.open(path) as packed, open(plain, "wb") as f:
                    shutil.copyfileobj(packed, f)
            expected = row["expected"].split()
            cells = []
            for name, (command, reads_packed) in solvers.items():
                answers, seconds, problem = run(command + [path if reads_packed else plain], args.limit)
                bad = any(i >= len(expected) or a not in (expected[i], "unknown") for i, a in enumerate(answers))
                good = not bad and answers == expected and seconds is not None
                solved[name] += good
                wrong[name] += bad
                total[name] += args.limit if seconds is None else seconds
                # A script with one query: its answer. With several: how many of them.
                shown = answers[0] if len(expected) == 1 and answers else "%d of %d" % (len(answers), len(expected))
                if not good:
                    shown = "WRONG" if bad else problem or shown
                cells.append(" %8s %7s" % (shown, "-" if seconds is None else "%.2f" % seconds))
            name = row["file"][len(args.folder) + 1:].removesuffix(".xz").removesuffix(".smt2")
            say("%-72s %-8s" % (name[:72], row["expected"] if len(expected) == 1 else "%d queries" % len(expected)) +
                "".join(cells))
    say("%-72s %-8s" % ("solved", "") + "".join(" %16d" % solved[n] for n in solvers))
    say("%-72s %-8s" % ("wrong answers", "") + "".join(" %16d" % wrong[n] for n in solvers))
    say("%-72s %-8s" % ("seconds, the limit where the time was up", "") + "".join(" %16.1f" % total[n] for n in solvers))
    if out:
        out.close()
    return 1 if wrong.get("vell-bv") else 0


if __name__ == "__main__":
    sys.exit(main())

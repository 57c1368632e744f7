#!/usr/bin/env python3
"""Scripts in cubes against the single run, in processor seconds: bench/cubes.py VELL_BV SCRIPT... [-n 16] [--limit 60]

For each script and each way to split: the time to split; the time of all cubes, those with a model included; the longest
cube; and what list scheduling makes of the measured times on 10, 100 and 1000 cores: each cube, in order, goes to the core
that is free first. For a script with a model the run on many cores ends with the first cube that has one. These are
projections: nothing but the single cubes was run, on one core, and a machine with many cores is slower on each.

A cube that reaches the limit counts with it, and makes the sums lower bounds (>=). One line of Markdown each.
"""

import argparse
import heapq
import os
import resource
import signal
import subprocess
import sys
import tempfile

CORES = (10, 100, 1000)


def run(command, limit):
    """Standard output, processor seconds, whether the limit was reached."""
    with tempfile.TemporaryFile("w+") as out:
        p = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=out, stderr=subprocess.DEVNULL,
                             preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CPU, (limit, limit + 1)))
        _, status, used = os.wait4(p.pid, 0)
        p.returncode = 0
        out.seek(0)
        late = os.WIFSIGNALED(status) and os.WTERMSIG(status) in (signal.SIGXCPU, signal.SIGKILL)
        return out.read(), used.ru_utime + used.ru_stime, late


def schedule(times, models, cores):
    """Seconds until the last cube ends, or the first one with a model."""
    free = [0.0] * cores
    ends = []
    for seconds in times:
        start = heapq.heappop(free)
        ends.append(start + seconds)
        heapq.heappush(free, start + seconds)
    found = [e for e, m in zip(ends, models) if m]
    return min(found) if found else max(ends)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("vell")
    parser.add_argument("scripts", nargs="+")
    parser.add_argument("-n", type=int, default=16)
    parser.add_argument("--limit", type=int, default=60)
    parser.add_argument("--split", default="words,lookahead")
    args = parser.parse_args()
    print("| script | answer | single s | split | cubes | splitting s | all cubes s | all / single | longest s | " +
          " | ".join(f"{c} cores s" for c in CORES) + " |")
    print("|---|---|---:|---|---:|---:|---:|---:|---:|" + "---:|" * len(CORES))
    for script in args.scripts:
        name = os.path.basename(script).replace(".smt2", "").replace(".xz", "")[:44]
        out, single, late = run([args.vell, script, "--threads", "1"], 4 * args.limit)
        answer = "time" if late else out.split("\n", 1)[0]
        for way in args.split.split(","):
            with tempfile.TemporaryDirectory() as scratch:
                folder = os.path.join(scratch, "cubes")
                out, splitting, slow = run([args.vell, "cubes", script, "-n", str(args.n), "-o", folder, "--split", way],
                                           4 * args.limit)
                if slow or not out.strip().isdigit():
                    print(f"| {name} | {answer} | {single:.1f} | {way} | - | >= {splitting:.1f} |" + " - |" * 6, flush=True)
                    continue
                times, models, cut = [], [], 0
                for k in range(1, int(out) + 1):
                    verdict, seconds, late = run([args.vell, "solve-cube", folder, str(k)], args.limit)
                    times.append(seconds)
                    models.append(verdict.startswith("sat"))
                    cut += late
                joined, _, _ = run([args.vell, "join", folder], args.limit)
                found = joined.split("\n", 1)[0]
                if found not in (answer, "unknown") and answer != "time":
                    sys.exit(f"{script}: {answer} and {found}")
            bound = ">= " if cut else ""
            projected = " | ".join(f"{schedule(times, models, c):.1f}" for c in CORES)
            print(f"| {name} | {found} | {single:.1f} | {way} | {len(times)} | {splitting:.1f} | {bound}{sum(times):.1f} | "
                  f"{bound}{sum(times) / single:.2f} | {bound}{max(times):.1f} | {projected} |", flush=True)


main()

#!/usr/bin/env python3
"""How soon vell-bv ends after Ctrl-C, and what it leaves.

    interrupt.py VELL_BV [--moments N] [--seed S] [--only NAME]

Starts each kind of work N times and sends SIGINT at a random moment within it: reading a huge script, plain and
compressed; clausifying the quotient of two words of 1024 bits; solving; writing compressed CNF; an external solver at
work; writing for one. Prints for each kind the latencies' median, 90th percentile and maximum, from the signal to the
end of the process, the most processor time spent in that while, the most memory held, and how often a file, a folder
or a child was left behind. Exit code 1 when one ever was, or when an exit code was not 130. On a busy machine the
latencies tell more of the machine than of the program; the processor time does not. Some of both is the kernel's:
memory is given back at about a gigabyte in 0.1 s.
"""

import argparse
import lzma
import os
import platform
import random
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import time

LIMIT = 0.2  # seconds that Ctrl-C may take

HARD = """(declare-const a (_ BitVec 38))(declare-const b (_ BitVec 38))
(assert (= (bvmul ((_ zero_extend 38) a) ((_ zero_extend 38) b)) (_ bv35450106828282240715949 76)))
(assert (bvult (_ bv1 38) a))(assert (bvule a b))(check-sat)
"""


def quotient(width):
    return ("(declare-const a (_ BitVec %d))(declare-const b (_ BitVec %d))(assert (= (bvudiv a b) (bvmul b b)))"
            "(check-sat)\n" % (width, width))


def write(folder, name, text):
    path = os.path.join(folder, name)
    with (lzma.open(path, "wt", preset=0) if name.endswith(".xz") else open(path, "w")) as f:
        f.write(text)
    return path


def works(folder):
    """Name, arguments, seconds of the first and the last moment."""
    line = "(assert (bvult (bvadd x (_ bv%d 64)) (bvmul (_ bv%d 64) y)))\n"
    head = "(declare-const x (_ BitVec 64))(declare-const y (_ BitVec 64))\n"
    script = head + "".join(line % (i, 3 * i + 1) for i in range(600000)) + "(check-sat)\n"
    huge = write(folder, "huge.smt2", script)
    packed = write(folder, "huge.smt2.xz", script)
    deep = write(folder, "deep.smt2", "(assert " + "(not " * 5000000 + "true" + ")" * 5000001 + "(check-sat)\n")
    divide = write(folder, "divide.smt2", quotient(1024))
    smaller = write(folder, "smaller.smt2", quotient(512))
    hard = write(folder, "hard.smt2", HARD)
    out = os.path.join(folder, "work", "out.cnf")
    return [
        ("reading", [huge], 0.0, 1.0),
        ("reading xz", [packed], 0.0, 1.0),
        ("reading one deep command", [deep], 0.0, 1.0),
        ("reading for cnf", ["cnf", huge, "-o", out], 0.0, 1.0),
        ("clausifying", [divide], 0.05, 2.0),
        ("clausifying for cnf", ["cnf", divide, "-o", out], 0.05, 1.5),
        ("solving", [hard], 0.2, 3.0),
        ("solving a large one", [smaller], 1.0, 6.0),
        ("writing cnf", ["cnf", divide, "-o", out], 0.3, 3.0),
        ("writing xz", ["cnf", smaller, "-o", out + ".xz"], 0.5, 4.0),
        ("writing bz2", ["cnf", smaller, "-o", out + ".bz2"], 0.5, 4.0),
        ("writing a proof", [hard, "--proof", os.path.join(folder, "work", "p.drat.gz")], 0.2, 3.0),
        ("external solver", [hard, "--solver", "cadical -q {cnf}"], 0.1, 2.0),
        ("external solver that ignores", [hard, "--solver", "trap '' INT TERM; sleep 1000; echo {cnf}"], 0.1, 1.0),
        ("writing for a solver", [smaller, "--solver", "cadical -q {cnf}"], 0.3, 4.0),
    ]


def children_in(folder):
    """Processes whose working directory is the folder."""
    found = 0
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            found += os.readlink("/proc/%s/cwd" % pid) == folder
        except OSError:
            pass
    return found


def figures(pid):
    """Processor time so far in seconds, memory in MB."""
    spent = 0
    for task in os.listdir("/proc/%d/task" % pid):
        with open("/proc/%d/task/%s/schedstat" % (pid, task)) as f:
            spent += int(f.read().split()[0])
    with open("/proc/%d/statm" % pid) as f:
        return spent / 1e9, int(f.read().split()[1]) * os.sysconf("SC_PAGESIZE") / 1e6


def clear(folder):
    shutil.rmtree(folder)
    os.makedirs(folder)


def interrupted(vell, arguments, moment, folder):
    """Latency, processor time, memory, exit code, what was left; None when the work ended before the moment."""
    work = os.path.realpath(os.path.join(folder, "work"))
    os.makedirs(work, exist_ok=True)
    process = subprocess.Popen([vell, *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                               stderr=subprocess.DEVNULL, cwd=work, env={**os.environ, "TMPDIR": work})
    time.sleep(moment)
    if process.poll() is not None:
        process.stdout.close()
        clear(work)
        return None
    spent, memory = figures(process.pid)
    begin = time.monotonic()
    process.send_signal(signal.SIGINT)
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.monotonic() - begin
    process.returncode = os.waitstatus_to_exitcode(status)
    spent = max(0.0, usage.ru_utime + usage.ru_stime - spent)
    process.stdout.close()
    left = os.listdir(work)
    if children_in(work):
        time.sleep(0.1)  # a killed child that is still being taken apart
        left += ["%d processes" % n for n in [children_in(work)] if n]
    clear(work)
    if process.returncode == 0:  # done just before the signal came
        return None
    return seconds, spent, memory, process.returncode, left


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("vell")
    parser.add_argument("--moments", type=int, default=100)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only", help="kinds of work whose name begins so")
    args = parser.parse_args()
    chance = random.Random(args.seed)
    vell = os.path.abspath(args.vell)
    bad = False
    print("%s, %d processors, load %.1f" % (platform.platform(), os.cpu_count(), os.getloadavg()[0]))
    print("%-30s %5s %7s %7s %7s %7s %7s %6s %5s" %
          ("milliseconds after SIGINT", "runs", "median", "90%", "max", "cpu", "MB", "> 200", "left"))
    with tempfile.TemporaryDirectory() as folder:
        for name, arguments, first, last in works(folder):
            if args.only and not name.startswith(args.only):
                continue
            results = [interrupted(vell, arguments, chance.uniform(first, last), folder) for _ in range(args.moments)]
            results = [r for r in results if r is not None]
            if not results:
                continue
            for _, _, _, code, behind in results:
                # Before its handler stands, a process ends by the signal itself.
                if code not in (130, -signal.SIGINT):
                    print("%s: exit code %d" % (name, code))
                    bad = True
                if behind:
                    print("%s: left behind: %s" % (name, " ".join(behind)))
                    bad = True
            taken = sorted(1000 * r[0] for r in results)
            print("%-30s %5d %7.0f %7.0f %7.0f %7.0f %7.0f %6d %5d" %
                  (name, len(taken), statistics.median(taken), taken[9 * len(taken) // 10], taken[-1],
                   1000 * max(r[1] for r in results), max(r[2] for r in results), sum(t > 1000 * LIMIT for t in taken),
                   sum(bool(r[4]) for r in results)), flush=True)
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())

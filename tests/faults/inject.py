#!/usr/bin/env python3
"""Runs vell-bv again and again, and each time one more thing goes wrong.

inject.py VELL_BV FAULTS.so [--part allocations|calls|signals] [--mode NAME] [--every N] [--from N] [--at N] [--jobs N]
          [--rounds N]

  allocations  the n-th allocation fails, once, and then from the n-th on
  calls        the n-th call that reads, writes or makes something fails, once, and then from the n-th on
  signals      SIGINT or SIGTERM comes at a random moment

for every n of small scripts and every 97th of larger ones; --every N takes every N-th (of the larger ones every
97 N-th). --from N begins with the N-th: up to about 2900, allocations belong to the options and are the same in
all modes. --rounds N sends N signals per mode. Whatever happens, the program

  - ends by itself, by no signal but the one that was sent, within a minute (--patience S);
  - with exit code 0 gives the very answers and files of an undisturbed run;
  - with any other gives no verdict but `unknown` where it differs, says in a line what went wrong, and leaves each file
    whole or not at all;
  - leaves no temporary file or folder, and no process.
"""

import argparse
import concurrent.futures
import ctypes
import os
import pathlib
import random
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import threading
import time

ANSWERS = ("sat", "unsat", "unknown")

SMALL = """(set-logic QF_BV)
(set-option :produce-unsat-assumptions true)
(declare-const x (_ BitVec 5))
(declare-const y (_ BitVec 5))
(declare-const z (_ BitVec 70))
(declare-const p Bool)
(define-fun twice ((a (_ BitVec 5))) (_ BitVec 5) (bvadd a a))
(assert (! (= (bvmul x y) #b00011) :named product))
(assert (= (twice x) (bvadd y #b00101)))
(assert (= (bvmul z (_ bv36893488147419103233 70)) (bvmul (_ bv36893488147419103233 70) #b%s)))
(assert (let ((q (bvudiv y #b00011))) (=> p (bvult q x))))
(check-sat)
(get-value (x y p z))
(push 1)
(assert (bvult x #b00010))
(check-sat-assuming (p))
(get-unsat-assumptions)
(pop 1)
(check-sat)
(get-model)
""" % ("01" * 35)

UNSAT = """(declare-const a (_ BitVec 6))
(declare-const b (_ BitVec 6))
(assert (bvult a b))
(assert (bvult (bvsub b a) #b000001))
(check-sat)
"""

REPLAY = """var x bv 4
var y bv 4
term s bvadd bv 4 x y
term e eq bool s x
num c bv 70 big 340282366920938463463
blast e
blast c
dumpcache
push
getbits s
pop
"""


def product(width, number):
    wide = f"((_ zero_extend {width}) "
    return (f"(declare-const a (_ BitVec {width}))(declare-const b (_ BitVec {width}))"
            f"(assert (= (bvmul {wide}a) {wide}b)) (_ bv{number} {2 * width})))"
            f"(assert (bvult (_ bv1 {width}) a))(assert (bvule a b))(check-sat)(get-value (a b))\n")


class Mode:
    def __init__(self, name, arguments, outputs=(), large=False, code=0):
        self.name, self.arguments, self.outputs, self.large = name, arguments, outputs, large
        self.code = code  # of the undisturbed run


MODES = [
    Mode("solve", ["small.smt2", "--threads", "1"]),
    Mode("stats", ["unsat.smt2.gz", "--stats", "--threads", "2"]),
    Mode("cnf", ["cnf", "small.smt2", "-o", "o.cnf", "--annotate"], ["o.cnf"]),
    Mode("cnf.xz", ["cnf", "-", "-o", "o.cnf.xz"], ["o.cnf.xz"]),
    Mode("draw", ["draw", "small.smt2", "--depth", "2", "-o", "o.dot"], ["o.dot"]),
    Mode("decode", ["decode", "given.cnf", "given.sol"]),
    Mode("proof", ["unsat.smt2", "--proof", "o.drat"], ["o.drat"]),
    Mode("replay", ["replay", "calls.script"]),
    Mode("solver", ["small.smt2", "--solver", "cadical -q {cnf}"]),
    Mode("usage", ["small.smt2", "--nonsense"], code=2),
    Mode("large.solve", ["large.smt2", "--threads", "1"], large=True),
    Mode("large.cnf", ["cnf", "large.smt2", "-o", "o.cnf.gz"], ["o.cnf.gz"], large=True),
    Mode("large.proof", ["contradiction.smt2", "--proof", "o.drat"], ["o.drat"], large=True),
]


class Run:
    """One run in a folder of its own, and what it left."""

    def __init__(self, options, mode, fault=None, kind="allocation", onwards=False, sent=None):
        self.mode, self.fault, self.kind, self.onwards, self.sent = mode, fault, kind, onwards, sent
        folder = pathlib.Path(tempfile.mkdtemp(dir=options.scratch))
        (folder / "tmp").mkdir()
        for file in options.inputs.iterdir():
            os.link(file, folder / file.name)
        counts = options.scratch / (folder.name + ".counts")
        counts.write_bytes(bytes(16))
        environment = dict(os.environ, TMPDIR=str(folder / "tmp"), LD_PRELOAD=str(options.faults),
                           VELL_FAULT_COUNTS=str(counts), VELL_FAULT_KIND=kind, VELL_FAULT_AT=str(fault or 0),
                           VELL_FAULT_ON=str(int(onwards)))
        # What the program leaves running becomes a child of the driver, and shows in its group's list: the session.
        with open(folder / "small.smt2", "rb") as given:
            start = time.monotonic()
            process = subprocess.Popen([options.program, *mode.arguments], cwd=folder, env=environment, stdin=given,
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE, start_new_session=True)
            if sent is not None:
                timer = threading.Timer(sent[1], lambda: process.poll() is None and process.send_signal(sent[0]))
                timer.start()
            self.hung = False
            try:
                self.out, self.err = process.communicate(timeout=options.patience)
            except subprocess.TimeoutExpired:
                self.hung = True
                os.killpg(process.pid, signal.SIGKILL)
                self.out, self.err = process.communicate()
            if sent is not None:
                timer.cancel()
            self.seconds = time.monotonic() - start
        self.code = process.returncode
        self.allocations, self.calls = struct.unpack("QQ", counts.read_bytes())
        counts.unlink()
        self.left_running = processes_of(process.pid)
        self.files = {}
        given = {file.name for file in options.inputs.iterdir()}
        self.strays = [str(f.relative_to(folder)) for f in folder.rglob("*")
                       if f.name not in given and f.name not in mode.outputs and f.name != "tmp"]
        self.damaged = [n for n in given if (folder / n).read_bytes() != (options.inputs / n).read_bytes()]
        for name in mode.outputs:
            if (folder / name).exists():
                self.files[name] = (folder / name).read_bytes()
        shutil.rmtree(folder)

    def name(self):
        if self.sent is not None:
            return f"{self.mode.name}: {self.sent[0].name} after {self.sent[1]:.4f} s"
        return f"{self.mode.name}: {self.kind} {self.fault}{' and all later ones' if self.onwards else ''}"


def processes_of(session):
    """Processes of the session that still run."""
    found = []
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            fields = pathlib.Path("/proc", entry, "stat").read_text().rsplit(")", 1)[1].split()
        except (OSError, IndexError):
            continue
        if int(fields[3]) == session and fields[0] != "Z":
            found.append(int(entry))
    return found


def verdicts(text):
    return [line for line in text.decode(errors="replace").split("\n") if line in ANSWERS]


def problems(run, whole):
    """What is wrong with a run, compared with the undisturbed one."""
    if run.hung:
        yield "did not end"
    if run.code < 0 and (run.sent is None or -run.code != run.sent[0]):
        yield f"ended by signal {-run.code}"
    if run.code > 2 and not (run.sent is not None and run.code == 128 + run.sent[0]):
        yield f"ended with exit code {run.code}"
    if run.code == 0 and whole.code == 0:
        if run.out != whole.out:
            yield "exit code 0 and other answers"
        if run.files != whole.files:
            yield "exit code 0 and other files"
    elif run.code == 0:
        yield f"exit code 0 where it should be {whole.code}"
    elif run.code > 0:
        expected = verdicts(whole.out)
        for i, verdict in enumerate(verdicts(run.out)):
            if verdict != "unknown" and (i >= len(expected) or expected[i] != verdict):
                yield "a wrong verdict"
                break
        quiet = not run.err and b"(error" not in run.out and b"unknown" not in run.out
        # A message that cannot be written is none.
        if quiet and run.kind == "allocation" and run.sent is None:
            yield "failed without a word"
    for name, content in run.files.items():
        if content != whole.files.get(name):
            yield f"{name} is not whole"
    if run.strays:
        yield "left behind: " + ", ".join(run.strays)
    if run.damaged:
        yield "changed its input: " + ", ".join(run.damaged)
    if run.left_running:
        yield f"left {len(run.left_running)} processes"


def plan(options, whole):
    """(fault, kind, onwards, sent) of each run of a mode."""
    mode = whole.mode
    step = options.every * (97 if mode.large else 1)
    for part, kind, count in (("allocations", "allocation", whole.allocations), ("calls", "call", whole.calls)):
        if options.part not in (None, part):
            continue
        if options.at:
            chosen = [options.at]
        else:
            first = options.first if part == "allocations" else 1
            chosen = range(first + options.offset % step, count + 1, step if part == "allocations" else options.every)
        for n in chosen:
            for onwards in (False, True):
                yield dict(fault=n, kind=kind, onwards=onwards)
    if options.part in (None, "signals"):
        for _ in range(options.rounds):
            sent = options.random.choice([signal.SIGINT, signal.SIGTERM])
            yield dict(sent=(sent, options.random.uniform(0, 1.2 * whole.seconds)))


def prepare(options):
    inputs = options.inputs
    inputs.mkdir()
    (inputs / "small.smt2").write_text(SMALL)
    (inputs / "unsat.smt2").write_text(UNSAT)
    (inputs / "calls.script").write_text(REPLAY)
    (inputs / "large.smt2").write_text(product(15, 24841 * 25117))
    (inputs / "contradiction.smt2").write_text(product(9, 262139).replace("(get-value (a b))", ""))
    subprocess.run(["gzip", "-kn", str(inputs / "unsat.smt2")], check=True)
    subprocess.run([options.program, "cnf", "small.smt2", "-o", "given.cnf"], cwd=inputs, check=True)
    with open(inputs / "given.sol", "w") as out:
        subprocess.run(["cadical", "-q", "given.cnf"], cwd=inputs, stdout=out)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", type=os.path.abspath)
    parser.add_argument("faults", type=os.path.abspath)
    parser.add_argument("--part", choices=["allocations", "calls", "signals"])
    parser.add_argument("--mode")
    parser.add_argument("--every", type=int, default=1)
    parser.add_argument("--offset", type=int, default=0)
    parser.add_argument("--from", dest="first", type=int, default=1, help="the first allocation that fails")
    parser.add_argument("--at", type=int)
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--rounds", type=int, default=200)
    parser.add_argument("--patience", type=float, default=60, help="seconds that a run may take")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--small", action="store_true", help="leave the larger scripts out")
    options = parser.parse_args()
    options.random = random.Random(options.seed)
    ctypes.CDLL(None).prctl(36, 1, 0, 0, 0)  # PR_SET_CHILD_SUBREAPER: strays are buried here

    bad = 0
    with tempfile.TemporaryDirectory(prefix="vell-faults-") as scratch:
        options.scratch = pathlib.Path(scratch)
        options.inputs = options.scratch / "inputs"
        prepare(options)
        for mode in MODES:
            if options.mode not in (None, mode.name) or (options.small and mode.large):
                continue
            whole = Run(options, mode)
            whole.kind = "none"
            if whole.code != mode.code:
                print(f"{mode.name}: undisturbed: exit code {whole.code}: {whole.out[-120:]!r} {whole.err[-120:]!r}")
                bad += 1
            for problem in problems(whole, whole):
                print(f"{mode.name}: undisturbed: {problem}")
                bad += 1
            runs, wrong = 0, 0
            start = time.monotonic()
            with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
                for run in pool.map(lambda fault: Run(options, mode, **fault), plan(options, whole)):
                    runs += 1
                    found = list(problems(run, whole))
                    if found:
                        wrong += 1
                        if wrong <= 40:
                            print(f"{run.name()}: {'; '.join(found)} (exit code {run.code}, stderr {run.err[-120:]!r})",
                                  flush=True)
            print(f"{mode.name}: {whole.allocations} allocations, {whole.calls} calls; {runs} runs, {wrong} bad, "
                  f"{time.monotonic() - start:.0f} s", flush=True)
            bad += wrong
    sys.exit(1 if bad else 0)


main()

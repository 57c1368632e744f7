#!/usr/bin/env python3
"""Scripts in cubes: solved in random order, some cubes twice, some killed, lost and solved again.

    check_cubes.py VELL_BV CHECK_DRAT --count N [--limit SECONDS] [--seed S] [--jobs N]

Takes N scripts of manifest.tsv's folder `regress` with one check-sat of known answer, chosen by the seed, and for each:

1. `cubes`, with a random number of cubes and a random way to split, with and without simplification on words.
2. `solve-cube` for each cube in random order. Some are solved twice; some are killed after a random time; some verdicts
   are lost, or cut, when they are there. No answer of `join` in between may be wrong.
3. `join`: the answer must be the manifest's. For unsat, every other script has proofs, and CHECK_DRAT must accept the
   joined proof for the folder's CNF.
4. A verdict of another run, a cut one, and a changed CNF must be refused by name.

A script that is not in cubes within the limit (processor seconds of one command) is left out and counted. The scripts lie
in $VELL_BENCHMARKS, or in ../shared/benchmarks beside the source directory; without them, it says so and does nothing.
"""

import argparse
import concurrent.futures
import os
import pathlib
import random
import resource
import signal
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "regress"))
from run_manifest import benchmarks  # noqa: E402


class Slow(Exception):
    pass


class Wrong(Exception):
    pass


def limited(seconds):
    return lambda: resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds + 1))


class Folder:
    """A script in cubes."""

    def __init__(self, args, path, folder, rng, proofs):
        self.args, self.path, self.folder, self.rng, self.proofs = args, path, folder, rng, proofs
        self.answers = {}

    def run(self, *command):
        p = subprocess.run([self.args.vell, *map(str, command)], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                           preexec_fn=limited(self.args.limit), check=False)
        if p.returncode in (-signal.SIGKILL, -signal.SIGXCPU):
            raise Slow
        return p.stdout, p.stderr, p.returncode

    def split(self):
        out, err, code = self.run("cubes", self.path, "-n", self.rng.choice([2, 5, 8, 16]), "-o", self.folder, "--split",
                                  self.rng.choice(["words", "words", "lookahead"]), "--words",
                                  self.rng.choice(["all", "none"]))
        if code != 0:
            # Some scripts hold what the tool does not translate.
            return err.strip()
        self.count = int(out)
        return ""

    def file(self, name):
        return pathlib.Path(self.folder) / name

    def solve(self, k):
        out, err, code = self.run("solve-cube", self.folder, k, *(["--proof"] if self.proofs else []))
        if code != 0 or out not in ("sat\n", "unsat\n"):
            raise Wrong(f"cube {k}: exit code {code}: {out}{err}")
        if self.answers.setdefault(k, out) != out:
            raise Wrong(f"cube {k}: {self.answers[k]} and {out}")

    def kill(self, k):
        """Solves a cube, but is killed on the way."""
        with subprocess.Popen([self.args.vell, "solve-cube", self.folder, str(k), *(["--proof"] if self.proofs else [])],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as p:
            try:
                p.wait(self.rng.random() * 0.05)
            except subprocess.TimeoutExpired:
                p.send_signal(self.rng.choice([signal.SIGKILL, signal.SIGKILL, signal.SIGTERM]))

    def join(self, *options):
        return self.run("join", self.folder, *options)

    def solve_all(self, expected):
        waiting = [k for k in range(1, self.count + 1)]
        waiting += self.rng.sample(waiting, self.count // 3)  # some twice
        self.rng.shuffle(waiting)
        while waiting:
            k = waiting.pop()
            chance = self.rng.random()
            if chance < 0.25:
                self.kill(k)
                waiting.insert(self.rng.randrange(len(waiting) + 1), k)
                continue
            self.solve(k)
            verdict = self.file(f"{k}.verdict")
            if chance < 0.35:
                verdict.unlink()  # lost
            elif chance < 0.45:
                whole = verdict.read_bytes()
                verdict.write_bytes(whole[:self.rng.randrange(len(whole))])
                err = self.join()[1]
                if "sat\n" not in self.answers.values() and f"{k}.verdict: a verdict that is cut or changed" not in err:
                    raise Wrong(f"a cut verdict is not refused: {err}")
            else:
                continue
            waiting.insert(self.rng.randrange(len(waiting) + 1), k)
            self.check(expected, self.join(), False)

    def check(self, expected, joined, final):
        out, err, code = joined
        answer = out.split("\n", 1)[0]
        good = (answer, code) == (expected, 0) or (not final and (answer, code) == ("unknown", 1))
        if not good or (answer == "unsat" and len(list(pathlib.Path(self.folder).glob("*.verdict"))) < self.count):
            raise Wrong(f"join: exit code {code}: {answer}, not {expected}: {err.strip()}")

    def check_proof(self):
        proof = self.folder + ".drat"
        self.check("unsat", self.join("--proof", proof), True)
        p = subprocess.run([self.args.check, self.file("formula.cnf"), proof], capture_output=True, text=True,
                           preexec_fn=limited(5 * self.args.limit), check=False)
        if p.returncode in (-signal.SIGKILL, -signal.SIGXCPU):
            return False
        if p.returncode != 0 or "s VERIFIED" not in p.stdout:
            raise Wrong(f"the joined proof is not accepted: {p.stdout.strip()}")
        return True

    def tamper(self):
        """For an unsat script whose verdicts are all there."""
        def refused(name, change, said):
            path = self.file(name)
            whole = path.read_bytes()
            path.write_bytes(change(whole))
            out, err, code = self.join()
            path.write_bytes(whole)
            if code != 1 or f"{path}: {said}" not in err or out not in ("", "unknown\n"):
                raise Wrong(f"{name} changed: exit code {code}: {out}{err}")
        k = self.rng.randint(1, self.count)
        refused("formula.cnf", lambda b: b.replace(b"\np cnf", b"\nc\np cnf"), "it is not the file")
        refused(f"{k}.verdict", lambda b: b[:self.rng.randrange(len(b))], "a verdict that is cut or changed")
        refused(f"{k}.verdict", lambda b: b.replace(b"UNSAT", b"SAT"), "a verdict that is cut or changed")
        if self.count > 1:
            other = self.file(f"{k % self.count + 1}.verdict").read_bytes()
            refused(f"{k}.verdict", lambda b: other, "the verdict of another run")


def work(args, path, expected, seed):
    """How it ended, and more about it."""
    rng = random.Random(seed)
    with tempfile.TemporaryDirectory() as scratch:
        folder = Folder(args, path, os.path.join(scratch, "cubes"), rng, seed % 2 == 0 and expected == "unsat")
        try:
            refusal = folder.split()
            if refusal:
                return "refused", refusal
            folder.solve_all(expected)
            folder.check(expected, folder.join(), True)
            if expected == "sat":
                return "good", f"{folder.count} cubes"
            folder.tamper()
            if folder.proofs and not folder.check_proof():
                return "proof not checked in time", f"{folder.count} cubes"
            return ("good, with proof" if folder.proofs else "good"), f"{folder.count} cubes"
        except Slow:
            return "slow", ""
        except Wrong as e:
            return "WRONG", str(e)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("vell")
    parser.add_argument("check")
    parser.add_argument("--count", type=int, default=10)
    parser.add_argument("--limit", type=int, default=10)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--most-bytes", type=int, default=1 << 30, help="of a script")
    parser.add_argument("--verbose", action="store_true")
    args = parser.parse_args()
    args.vell, args.check = os.path.abspath(args.vell), os.path.abspath(args.check)
    root, rows = benchmarks()
    if rows is None:
        return 0
    rows = [r for r in rows if r["file"].startswith("regress/") and r["expected"] in ("sat", "unsat") and
            os.path.getsize(os.path.join(root, r["file"])) <= args.most_bytes]
    random.Random(args.seed).shuffle(rows)
    good, ends, wrong = 0, {}, 0
    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        # Others take the place of scripts that are slow or refused.
        for start in range(0, len(rows), 2 * args.jobs):
            if good >= args.count:
                break
            batch = rows[start:start + 2 * args.jobs]
            results = pool.map(lambda r: work(args, os.path.join(root, r[1]["file"]), r[1]["expected"],
                                              1000 * args.seed + start + r[0]), enumerate(batch))
            for row, (how, more) in zip(batch, results):
                ends[how] = ends.get(how, 0) + 1
                # A script that simplification decides is one cube: it is tried, and does not count.
                good += how.startswith("good") and more != "1 cubes"
                wrong += how == "WRONG"
                if args.verbose or how == "WRONG":
                    print(f"{row['file']}: {how} {more}", flush=True)
    print("scripts in cubes: " + ", ".join(f"{n} {how}" for how, n in sorted(ends.items())) +
          f"; {good} in more than one cube")
    return 1 if wrong or good < min(args.count, len(rows)) else 0


sys.exit(main())

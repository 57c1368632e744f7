#!/usr/bin/env python3
"""Changes the clausifier one token at a time and reports the changes that no test notices. See README.md."""

import argparse
import concurrent.futures
import hashlib
import json
import os
import random
import re
import shutil
import subprocess
import sys
import threading
from collections import Counter
from pathlib import Path

from mutations import mutations_of

ROOT = Path(__file__).resolve().parents[2]
FOLDER = "vell/bv"


def run(command, cwd=None, timeout=None, env=None):
    """Exit code of the command; None when it takes too long. Output is thrown away."""
    try:
        return subprocess.run(command, cwd=cwd, timeout=timeout, env=env, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, check=False).returncode
    except subprocess.TimeoutExpired:
        return None


class Scratch:
    """A copy of the tree with one build of library and tests; mutants replace one object of the shared library."""

    def __init__(self, folder):
        self.folder = folder
        self.tree = folder / "tree"
        self.build = folder / "build"

    def prepare(self):
        files = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT,
                               capture_output=True, check=True).stdout.decode().split("\0")
        wanted = {f for f in files if f and (ROOT / f).is_file()}
        if self.tree.exists():
            for old in self.tree.rglob("*"):
                if old.is_file() and str(old.relative_to(self.tree)) not in wanted:
                    old.unlink()
        for f in wanted:
            target = self.tree / f
            if target.exists() and target.read_bytes() == (ROOT / f).read_bytes():
                continue
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(ROOT / f, target)
        # No assertions: a mutant has to be caught by what the tests expect.
        launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        subprocess.run(
            ["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
             "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG", "-DBUILD_SHARED_LIBS=ON", "-DCMAKE_SKIP_BUILD_RPATH=ON",
             "-DVELL_BUILD_TOOL=OFF", "-DVELL_BUILD_BENCHMARKS=OFF", *launcher],
            check=True, stdout=subprocess.DEVNULL)
        # gtest lists its tests after linking, by running them.
        env = dict(os.environ, LD_LIBRARY_PATH=str(self.build / "vell"))
        subprocess.run(["cmake", "--build", self.build, "-j2", "--target", "scenarios_tests", "bv_tests", "vell-generate"],
                       check=True, env=env)
        self.read_build()

    def read_build(self):
        self.compile = {}
        self.objects = {}
        for entry in json.loads((self.build / "compile_commands.json").read_text()):
            source = Path(entry["file"])
            m = re.search(r"-o (\S+)", entry["command"])
            if "vell.dir" not in m.group(1):
                continue
            self.objects[source.name] = self.build / m.group(1)
            if source.parent == self.tree / FOLDER:
                command = entry["command"].split()
                if command[0].endswith("ccache"):
                    command = command[1:]
                self.compile[source.name] = command
        # Mutants are compiled without optimisation: most of them run for a few tests only.
        for command in self.compile.values():
            command[:] = ["-O0" if a == "-O1" else a for a in command]
        any_command = next(iter(self.compile.values()))
        # What every file of the folder includes, compiled once.
        self.header = self.folder / "precompiled" / "all.h"
        self.header.parent.mkdir(exist_ok=True)
        self.header.write_text("".join(f'#include "{FOLDER}/{h}"\n' for h in
                                       ("wordclausifier.h", "poollist.h", "emit.h", "trace.h")) +
                               "#include <algorithm>\n#include <cassert>\n")
        flags = [a for a in any_command[1:] if a.startswith(("-O", "-D", "-I", "-f", "-W", "-std"))]
        subprocess.run([any_command[0], *flags, "-x", "c++-header", str(self.header), "-o", f"{self.header}.gch"],
                       check=True, cwd=self.build)

    def compile_and_link(self, name, text, place):
        """The folder of a library with the changed file; None when the change does not compile."""
        place.mkdir(parents=True, exist_ok=True)
        source = place / name
        source.write_text(text)
        command = list(self.compile[name])
        command[command.index("-o") + 1] = str(place / "changed.o")
        command[command.index("-c") + 1] = str(source)
        command[1:1] = ["-w", "-include", str(self.header)]
        if run(command, cwd=self.build) != 0:
            return None
        objects = [str(place / "changed.o") if o == self.objects[name] else str(o) for o in self.objects.values()]
        soname = "libvell.so"
        if run([command[0], "-shared", "-Wl,-soname," + soname, "-o", str(place / soname), *objects, "-lgmp"],
               cwd=self.build) != 0:
            raise RuntimeError("a library cannot be linked")
        return place

    def commands(self, seeds):
        tests = self.build / "tests"
        return [
            ("scenarios", [tests / "scenarios_tests", "--gtest_brief=1", "--gtest_fail_fast"]),
            ("random scripts", [tests / "generate" / "vell-generate", "check", "0", str(seeds), "--seconds", "20"]),
            ("unit tests", [tests / "bv_tests", "--gtest_brief=1", "--gtest_fail_fast"]),
        ]

    def killer(self, library, seeds, timeout):
        """The first test that notices the library; None when all pass."""
        env = dict(os.environ, LD_LIBRARY_PATH=str(library))
        for name, command in self.commands(seeds):
            code = run([str(c) for c in command], cwd=library, timeout=timeout, env=env)
            if code is None:
                return name + " (time)"
            if code != 0:
                return name
        return None


def read_equivalents(path):
    """{(file, before, after): reason}. A reason is a comment; it holds for the changes below it up to the next one."""
    known = {}
    reason = []
    in_reason = False
    for number, line in enumerate(path.read_text().splitlines(), 1):
        line = line.strip()
        if line.startswith("#"):
            reason = reason + [line[1:].strip()] if in_reason else [line[1:].strip()]
            in_reason = True
        elif line:
            in_reason = False
            m = re.fullmatch(r"(\S+\.cpp): (.*) ==> (.*)", line)
            if not m:
                sys.exit(f"{path}:{number}: not `FILE: BEFORE ==> AFTER`")
            known[m.groups()] = " ".join(reason)
    return known


def key(mutation, source):
    before, after = mutation.lines(source)
    text = "\0".join((mutation.file, mutation.apply(source)))
    return hashlib.sha256(text.encode()).hexdigest()[:16], before, after


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--sample", type=int, help="so many mutants, chosen at random")
    parser.add_argument("--seed", type=int, default=1, help="of the choice")
    parser.add_argument("--files", nargs="*", help="only these files of vell/bv")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--scripts", type=int, default=150, help="random scripts for mutants that other tests miss")
    parser.add_argument("--timeout", type=int, default=180, help="seconds for one test program")
    parser.add_argument("--scratch", type=Path, default=ROOT / "build" / "mutate")
    parser.add_argument("--again", action="store_true", help="test the survivors of earlier runs again")
    parser.add_argument("--list", action="store_true", help="only list the mutants")
    args = parser.parse_args()

    equivalents = read_equivalents(Path(__file__).with_name("equivalent.txt"))
    sources = {p.name: p.read_text() for p in sorted((ROOT / FOLDER).glob("*.cpp"))}
    mutants = {}
    for name, source in sources.items():
        if args.files and name not in args.files:
            continue
        for m in mutations_of(name, source):
            k, before, after = key(m, source)
            mutants.setdefault(k, (m, before, after))
    used = {(m.file, b, a) for m, b, a in mutants.values()}
    if not args.files:
        for entry in sorted(set(equivalents) - used):
            print("no such mutant any more:", ": ".join(entry[:2]), "==>", entry[2])

    chosen = sorted(mutants)
    if args.sample is not None:
        chosen = random.Random(args.seed).sample(chosen, min(args.sample, len(chosen)))
    if args.list:
        for k in chosen:
            m, before, after = mutants[k]
            print(f"{m.file}:{m.line_number(sources[m.file])}: {m.operator}: {before} ==> {after}")
        return 0

    scratch = Scratch(args.scratch)
    args.scratch.mkdir(parents=True, exist_ok=True)
    scratch.prepare()
    if scratch.killer(scratch.build / "vell", args.scripts, None) is not None:
        sys.exit("the tests fail without any change")

    # Outcomes of earlier runs hold as long as the mutant's text is the same; a survivor may be tested again.
    record = args.scratch / "results.jsonl"
    results = {}
    if record.exists():
        for line in record.read_text().splitlines():
            entry = json.loads(line)
            results[entry["key"]] = entry["outcome"]
    todo = [k for k in chosen if k not in results or (args.again and results[k] == "survived")]
    random.Random(args.seed).shuffle(todo)
    lock = threading.Lock()
    done = 0

    def work(k):
        nonlocal done
        m, before, after = mutants[k]
        place = args.scratch / "work" / k
        library = scratch.compile_and_link(m.file, m.apply(sources[m.file]), place)
        if library is None:
            outcome = "does not compile"
        else:
            killer = scratch.killer(library, args.scripts, args.timeout)
            outcome = "survived" if killer is None else "killed by " + killer
        shutil.rmtree(place)
        with lock:
            done += 1
            results[k] = outcome
            with record.open("a") as f:
                f.write(json.dumps({"key": k, "file": m.file, "operator": m.operator, "before": before, "after": after,
                                    "outcome": outcome}) + "\n")
            if outcome == "survived" and (m.file, before, after) not in equivalents:
                print(f"{m.file}:{m.line_number(sources[m.file])}: {m.operator}: {before} ==> {after}", flush=True)
            if done % 50 == 0:
                print(f"  {done} of {len(todo)}", file=sys.stderr, flush=True)

    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        for future in [pool.submit(work, k) for k in todo]:
            future.result()

    outcomes = Counter()
    survivors = []
    for k in chosen:
        m, before, after = mutants[k]
        outcome = results[k]
        if outcome == "survived":
            if (m.file, before, after) in equivalents:
                outcome = "equivalent"
            else:
                survivors.append(f"{m.file}:{m.line_number(sources[m.file])}: {m.operator}: {before} ==> {after}")
        elif outcome != "does not compile" and (m.file, before, after) in equivalents:
            # Two places with the same text may differ in this; one text stands for all of them.
            pass
        outcomes[outcome] += 1
    print(f"\n{len(chosen)} mutants")
    for outcome, n in sorted(outcomes.items()):
        print(f"  {n:5} {outcome}")
    if survivors:
        print("\nsurvivors:")
        for s in sorted(survivors):
            print(" ", s)
    return 1 if survivors else 0


if __name__ == "__main__":
    sys.exit(main())

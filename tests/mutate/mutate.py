#!/usr/bin/env python3
"""Changes the clausifier, or the passes on words, one token at a time and reports the changes that no test notices. See README.md."""

import argparse
import concurrent.futures
import hashlib
import json
import random
import re
import sys
import threading
from collections import Counter
from pathlib import Path

from mutations import mutations_of
from scratch import SUBJECTS, Scratch

ROOT = Path(__file__).resolve().parents[2]


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


def read_sources(subject):
    """{path below the folder: text} of the source files. The gates stand in a header: their code is taken into the file that tells about
    them, whose copy of it is the one that the linker keeps."""
    folder = ROOT / subject.folder
    sources = {p.relative_to(folder).as_posix(): p.read_text() for p in sorted(folder.rglob("*.cpp"))}
    if (name := subject.inlined) is not None:
        header = (folder / f"{name}.h").read_text().replace("#pragma once\n", "")
        line = f'#include "{subject.folder}/{name}.h"\n'
        if line not in sources[f"{name}.cpp"]:
            sys.exit(f"{name}.cpp does not include {name}.h")
        sources[f"{name}.cpp"] = sources[f"{name}.cpp"].replace(line, header)
    return sources


def key(mutation, source):
    before, after = mutation.lines(source)
    text = "\0".join((mutation.file, mutation.apply(source)))
    return hashlib.sha256(text.encode()).hexdigest()[:16], before, after


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--subject", choices=SUBJECTS, default="bv", help="the clausifier, or the passes on words")
    parser.add_argument("--sample", type=int, help="so many mutants, chosen at random")
    parser.add_argument("--seed", type=int, default=1, help="of the choice")
    parser.add_argument("--files", nargs="*", help="only these files")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--scripts", type=int, default=150, help="how many random scripts a mutant has to pass")
    parser.add_argument("--scratch", type=Path, help="build/mutate, or build/mutate-words")
    parser.add_argument("--build", type=Path, help="a release build of this tree that is up to date; otherwise a copy is built")
    parser.add_argument("--again", action="store_true", help="test the survivors of earlier runs again")
    parser.add_argument("--list", action="store_true", help="only list the mutants")
    args = parser.parse_args()
    subject = SUBJECTS[args.subject]
    if args.scratch is None:
        args.scratch = ROOT / "build" / ("mutate" if args.subject == "bv" else f"mutate-{args.subject}")

    equivalents = read_equivalents(Path(__file__).with_name(subject.equivalents))
    sources = read_sources(subject)
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

    args.scratch.mkdir(parents=True, exist_ok=True)
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

    def finish(k, outcome):
        nonlocal done
        m, before, after = mutants[k]
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

    if todo:
        scratch = Scratch(ROOT, args.scratch, subject, args.scripts, args.build and args.build.resolve())
        scratch.prepare()
        refused = scratch.link_all(sources, {n: mutants[k][0] for n, k in enumerate(todo)}, args.jobs)
        if (failure := scratch.killer(scratch.all_mutants, measure=True)) is not None:
            sys.exit(f"the tests fail without any change: {failure}")
        for n in refused:
            finish(todo[n], "does not compile")

    def work(n, k):
        m = mutants[k][0]
        folder, number = scratch.all_mutants, n
        if n in scratch.outside:
            folder, number = scratch.link_one(n, m, sources[m.file]), None
        if folder is None:
            finish(k, "does not compile")
            return
        killer = scratch.killer(folder, number)
        finish(k, "survived" if killer is None else "killed by " + ": ".join(killer))

    with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
        for future in [pool.submit(work, n, k) for n, k in enumerate(todo) if k not in results or results[k] == "survived"]:
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
        outcomes[outcome.rpartition(": ")[0] or outcome] += 1
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

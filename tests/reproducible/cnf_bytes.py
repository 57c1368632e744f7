#!/usr/bin/env python3
"""The bytes of CNF files, whatever built the program that writes them.

    cnf_bytes.py check VELL_BV
        Writes the CNF of every script beside this file, plain, --raw and --words=none, and compares its SHA-256 with the one in
        sha256.txt, which every compiler and build type has to reproduce. The scripts use every operator there is.
    cnf_bytes.py update VELL_BV
        Writes sha256.txt: for a change that is meant to change clauses.
    cnf_bytes.py builds FOLDER [--keep]
        Builds vell-bv with g++ and clang++, for debugging and for release, below the folder, and compares the bytes
        that the four write for these scripts, the examples, and scripts of $VELL_BENCHMARKS where they are at hand.

The hash is of the file without its first line, which names the version.
"""

import hashlib
import os
import re
import shutil
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.dirname(os.path.dirname(HERE))
SCRIPTS = os.path.join(HERE, "scripts")
SUMS = os.path.join(HERE, "sha256.txt")
FORMS = {"plain": [], "raw": ["--raw"], "none": ["--words=none"]}


def cnf(binary, path, form):
    p = subprocess.run([binary, "cnf", path, "-o", "-", *FORMS[form]], stdin=subprocess.DEVNULL, capture_output=True)
    if p.returncode != 0 or not p.stdout.startswith(b"c vell-bv "):
        return None
    return hashlib.sha256(p.stdout.split(b"\n", 1)[1]).hexdigest()


def sums(binary):
    for name in sorted(os.listdir(SCRIPTS)):
        for form in FORMS:
            yield name, form, cnf(binary, os.path.join(SCRIPTS, name), form)


def operators_without_a_script():
    with open(os.path.join(SOURCE, "vell", "terms", "theory.cpp"), encoding="utf-8") as f:
        table = f.read()
    table = table[:table.index("\n};", table.index("Operator operators[]"))]
    text = ""
    for name in os.listdir(SCRIPTS):
        with open(os.path.join(SCRIPTS, name), encoding="utf-8") as f:
            text += f.read()
    words = set(re.findall(r"[^\s()]+", re.sub(r";[^\n]*", "", text)))
    return sorted(set(re.findall(r'\{"([^"]+)", Sorts::', table)) - words)


def check(binary):
    with open(SUMS, encoding="utf-8") as f:
        expected = {tuple(l.split()[1:]): l.split()[0] for l in f}
    failed = ["no script uses " + name for name in operators_without_a_script()]
    found = 0
    for name, form, digest in sums(binary):
        found += 1
        if expected.get((name, form)) != digest:
            failed.append(f"{name} {form}: {digest or 'no CNF'}, expected {expected.get((name, form), 'nothing')}")
    if found != len(expected):
        failed.append(f"{found} files, expected {len(expected)}")
    print("\n".join(failed + [f"{found} CNF files, {len(failed)} complaints"]))
    if failed:
        print("a change that is meant to change clauses says so in sha256.txt: cnf_bytes.py update VELL_BV")
    return 1 if failed else 0


def update(binary):
    with open(SUMS, "w", encoding="utf-8") as f:
        for name, form, digest in sums(binary):
            f.write(f"{digest} {name} {form}\n")
    return 0


def benchmark_scripts():
    """Every fifth small script of the regression folder."""
    sys.path.insert(0, os.path.join(SOURCE, "tests", "regress"))
    from run_manifest import benchmarks
    root, scripts = benchmarks(without="compared without them")
    small = [r["file"] for r in scripts or [] if r["file"].startswith("regress/") and int(r["bytes"]) < 20000]
    return [os.path.join(root, f) for f in small[::5]]


def builds(folder, keep):
    binaries = {}
    for compiler in ("g++", "clang++"):
        for kind in ("Debug", "Release"):
            if not shutil.which(compiler):
                print(f"{compiler} is not installed")
                return 1
            build = os.path.join(folder, f"{compiler}-{kind.lower()}")
            launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
            subprocess.run(["cmake", "-S", SOURCE, "-B", build, "-G", "Ninja", f"-DCMAKE_BUILD_TYPE={kind}",
                            f"-DCMAKE_CXX_COMPILER={compiler}", "-DVELL_BUILD_TESTS=OFF", "-DVELL_BUILD_BENCHMARKS=OFF",
                            *launcher], check=True, stdout=subprocess.DEVNULL)
            subprocess.run(["cmake", "--build", build, "--target", "vell-bv", "-j", "2"], check=True,
                           stdout=subprocess.DEVNULL)
            binaries[f"{compiler} {kind.lower()}"] = os.path.join(build, "vell-bv")
    examples = os.path.join(SOURCE, "examples")
    scripts = [os.path.join(SCRIPTS, n) for n in sorted(os.listdir(SCRIPTS))]
    scripts += [os.path.join(examples, n) for n in sorted(os.listdir(examples)) if n.endswith(".smt2")]
    scripts += benchmark_scripts()
    differ = 0
    written = 0
    for path in scripts:
        for form in FORMS:
            digests = {name: cnf(binary, path, form) for name, binary in binaries.items()}
            written += None not in digests.values()
            if len(set(digests.values())) != 1:
                differ += 1
                print(f"{path} {form}: " + ", ".join(f"{n} {d and d[:12]}" for n, d in digests.items()))
    print(f"{written} CNF files of {len(scripts)} scripts, each written by {', '.join(binaries)}: {differ} differ")
    if not keep:
        shutil.rmtree(folder)
    return 1 if differ or not written else 0


def main():
    arguments = sys.argv[1:]
    if len(arguments) >= 2 and arguments[0] in ("check", "update"):
        return (check if arguments[0] == "check" else update)(os.path.abspath(arguments[1]))
    if len(arguments) >= 2 and arguments[0] == "builds":
        return builds(os.path.abspath(arguments[1]), "--keep" in arguments)
    print(__doc__)
    return 2


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Builds and runs a fuzz target.

    run.py TARGET [--seconds N] [--build FOLDER] [--generate VELL_GENERATE] [--no-build]

TARGET: script, cnf, decode, replay, decompress, options. Inputs that were found once (found/TARGET-*) come first; then
the fuzzer starts from seeds: scripts of tests/reproducible and the examples, replay scripts that VELL_GENERATE makes and
those of tests/scenarios, and what is made of them here. The dictionary is the words of the seeds. Where clang++ or its
fuzzer runtime is absent, it says so in a line and does nothing. Exit code 1 for a finding, which is left in the build
folder.
"""

import argparse
import bz2
import fcntl
import glob
import gzip
import lzma
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.dirname(os.path.dirname(HERE))
TARGETS = ("script", "cnf", "decode", "replay", "decompress", "options")
CNF = b"c map x (_ BitVec 4) 1 2 -3 T\nc map |p q| Bool 4\nc names\nc map n RoundingMode 1 2\np cnf 4 2\n1 2 0\n-3 4 0\n---\n"
FLOAT = b"c map f (_ FloatingPoint 2 3) 1 2 3 F ?\np cnf 3 1\n-1 2\n 3 0\n---\n"


def fuzzer_runtime():
    if not shutil.which("clang++"):
        return False
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "a.cpp")
        with open(path, "w", encoding="utf-8") as f:
            f.write('extern "C" int LLVMFuzzerTestOneInput(unsigned char const*, unsigned long) { return 0; }\n')
        return subprocess.run(["clang++", "-fsanitize=fuzzer,address", path, "-o", path + ".out"],
                              capture_output=True).returncode == 0


def build(folder, target):
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, ".lock"), "w", encoding="utf-8") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        configure = ["cmake", "-S", SOURCE, "-B", folder, "-G", "Ninja", "-DCMAKE_CXX_COMPILER=clang++",
                     "-DCMAKE_BUILD_TYPE=", "-DCMAKE_CXX_FLAGS=-O1 -gline-tables-only", "-DVELL_FUZZ=ON",
                     "-DVELL_SANITIZE=fuzzer-no-link,address,undefined", "-DVELL_BUILD_TESTS=OFF",
                     "-DVELL_BUILD_BENCHMARKS=OFF"]
        if shutil.which("ccache"):
            configure.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
        for command in (configure, ["ninja", "-C", folder, "fuzz_" + target]):
            p = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            if p.returncode != 0:
                sys.exit(p.stdout.decode(errors="replace")[-4000:])


def files(pattern, most=4096):
    for path in sorted(glob.glob(os.path.join(SOURCE, pattern))):
        with open(path, "rb") as f:
            text = f.read()
        if len(text) <= most:
            yield text


def scripts():
    return list(files("tests/reproducible/scripts/*.smt2")) + list(files("examples/*.smt2"))


def replays(generate):
    out = list(files("tests/scenarios/*.script"))
    if generate:
        for seed in range(100):
            text = subprocess.run([generate, "print", str(seed)], capture_output=True, check=True).stdout
            # The beginning: whole scripts are longer than what the fuzzer should change.
            out.append(b"".join(text.splitlines(keepends=True)[:40]))
    return out


def seeds(target, generate):
    if target == "script":
        return scripts()
    if target == "cnf":
        return [bytes([i % 16]) + text for i, text in enumerate(scripts())]
    if target == "replay":
        return replays(generate)
    if target == "decode":
        return [text + answer for text in (CNF, FLOAT) for answer in (
            b"s SATISFIABLE\nv 1 -2 -3 4 0\n", b"s OPTIMUM FOUND \nv 1\nv 2 -3 0", b"s UNSATISFIABLE\n", b"SAT\n1 2 3 0\n")]
    if target == "decompress":
        text = b"(assert (= x y))\n" * 20
        packed = [gzip.compress(text), bz2.compress(text), lzma.compress(text), text]
        if shutil.which("zstd"):
            packed.append(subprocess.run(["zstd", "-c"], input=text, capture_output=True, check=True).stdout)
        return [bytes([piece]) + p + more for piece in (0, 6, 200) for p in packed for more in (b"", p)]
    lines = ["a.smt2 --time-limit 3 --memory-limit 100 --stats=json", "cnf a.smt2 -o b.cnf --query 2 --raw --annotate --symbols x*",
             "decode a.cnf b", "replay a", "a.smt2 --proof p --words=none --query 1", "--progress=never a.smt2 --seed 7 --threads 2",
             "--div-by-zero=free a.smt2 --solver cadical_{cnf} -v --trace 3 --check-unsat", "--version", "--help",
             '"none" "a""b" 123']
    return [line.replace(" ", "\n").encode() for line in lines]


def dictionary(texts, path):
    words = set()
    for text in texts:
        words.update(re.findall(rb"[^\s()\"\\]{2,24}", text))
    with open(path, "wb") as f:
        for word in sorted(words)[:3000]:
            if re.fullmatch(rb"[\x21-\x7e]+", word):
                f.write(b'"' + word + b'"\n')


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("target", choices=TARGETS)
    parser.add_argument("--seconds", type=int, default=60)
    parser.add_argument("--build", default=os.path.join(SOURCE, "build", "fuzz"))
    parser.add_argument("--generate", help="vell-generate, for seeds of the target replay")
    parser.add_argument("--no-build", action="store_true")
    args = parser.parse_args()
    if not fuzzer_runtime():
        print("clang++ has no fuzzer runtime here (Debian: clang, libclang-rt-14-dev): nothing was run")
        return 0
    if not args.no_build:
        build(args.build, args.target)
    binary = os.path.join(args.build, "tests", "fuzz", "fuzz_" + args.target)
    corpus = os.path.join(args.build, "corpus", args.target)
    findings = os.path.join(args.build, "findings")
    os.makedirs(corpus, exist_ok=True)
    os.makedirs(findings, exist_ok=True)
    texts = seeds(args.target, args.generate)
    for i, text in enumerate(texts):
        with open(os.path.join(corpus, "seed%03d" % i), "wb") as f:
            f.write(text)
    words = os.path.join(args.build, args.target + ".dict")
    dictionary(texts, words)
    common = ["-timeout=30", "-rss_limit_mb=3000", "-close_fd_mask=1", "-artifact_prefix=" + os.path.join(findings, args.target + "-")]
    # The findings stay alive under these options, whatever the caller's environment says.
    environment = dict(os.environ, ASAN_OPTIONS="detect_leaks=0:allocator_may_return_null=0:handle_abort=2")
    with tempfile.TemporaryDirectory() as folder:
        known = sorted(glob.glob(os.path.join(HERE, "found", args.target + "-*")))
        commands = [[binary, *common, *known]] if known else []
        commands.append([binary, *common, "-dict=" + words, "-max_total_time=%d" % args.seconds, "-max_len=4096",
                         "-print_final_stats=1", corpus])
        for command in commands:
            p = subprocess.run(command, cwd=folder, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.PIPE)
            err = p.stderr.decode(errors="replace")
            if p.returncode != 0:
                print(err[-6000:])
                return 1
    figures = dict(re.findall(r"stat::(\w+):\s+(\d+)", err))
    cover = re.findall(r"cov: (\d+)", err)
    print(f"{args.target}: {figures.get('number_of_executed_units', '?')} runs in {args.seconds} s, "
          f"{cover[-1] if cover else '?'} edges covered, nothing found")
    return 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Every tests/**/*_test.cpp must be compiled into a program of the build: check_built.py BUILD.

A folder that tests/CMakeLists.txt does not name would keep tests that nobody runs.
"""

import json
import pathlib
import sys

root = pathlib.Path(__file__).resolve().parents[2]


def main():
    compiled = {pathlib.Path(entry["file"]).resolve()
                for entry in json.loads((pathlib.Path(sys.argv[1]) / "compile_commands.json").read_text())}
    tests = sorted((root / "tests").rglob("*_test.cpp"))
    left = [str(t.relative_to(root)) for t in tests if t.resolve() not in compiled]
    print("\n".join(f"{name}: no program holds these tests" for name in left) or f"{len(tests)} files of tests, all built")
    return 1 if left or len(tests) < 50 else 0


sys.exit(main())

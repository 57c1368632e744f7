#!/usr/bin/env python3
"""The page of each language shows a program of the examples, and what it prints. The README's are tested by readme.cmake;
the Python page is a doctest of tests/python."""

import pathlib
import sys

root = pathlib.Path(__file__).resolve().parents[2]
problems = []
for page, language, program in [("docs/script.md", "cpp", "examples/script.cpp"), ("docs/c.md", "c", "examples/dump.c"),
                                ("docs/python.md", "python", "examples/python/enumerate_models.py")]:
    text = (root / page).read_text()
    if f"```{language}\n{(root / program).read_text()}```\n" not in text:
        problems.append(f"{page} does not show {program}")
    expected = (root / program).with_suffix(".expected").read_text().splitlines(keepends=True)
    if "```\n" + "".join(expected[:4]) not in text:
        problems.append(f"{page} does not show what {program} prints")
print("\n".join(problems) or "all pages show their programs")
sys.exit(1 if problems else 0)

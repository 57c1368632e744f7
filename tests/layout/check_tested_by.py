#!/usr/bin/env python3
"""Every "Tested by" comment of a source file must name files or folders that exist.

A name with a slash is a path from the root; a bare one stands beside the path before it in the comment, or in the
folder of tests/ for the source's own folder.
"""

import pathlib
import re
import sys

root = pathlib.Path(__file__).resolve().parents[2]
NAME = re.compile(r"[\w./-]*\w\.(?:cpp|h|py|sh)\b|tests/[\w/]+")


def comments(text):
    """(line, text) of every "Tested by" sentence, its lines joined."""
    for m in re.finditer(r"\bTested by\b[^\n]*(?:\n[ \t]*//[ \t]*\S[^\n]*)*", text):
        sentence = re.sub(r"\n[ \t]*//[ \t]*", " ", m.group())
        # It ends with the full stop that no letter follows.
        yield text.count("\n", 0, m.start()) + 1, re.split(r"\.(?=\s|$)", sentence)[0]


def main():
    problems = []
    seen = 0
    for file in sorted((root / "vell").rglob("*")):
        if file.suffix not in (".h", ".cpp"):
            continue
        for line, sentence in comments(file.read_text()):
            place = f"{file.relative_to(root)}:{line}"
            folder = root / "tests" / file.relative_to(root).parts[1]
            names = NAME.findall(sentence)
            if not names:
                problems.append(f"{place}: names no file: {sentence}")
            for name in names:
                path = root / name if "/" in name else folder / name
                folder = path.parent
                seen += 1
                if not path.exists():
                    problems.append(f"{place}: {path.relative_to(root)} does not exist")
    print("\n".join(problems) or f"{seen} tests named, every one of them there")
    sys.exit(1 if problems or seen < 50 else 0)


main()

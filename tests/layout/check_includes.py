#!/usr/bin/env python3
"""Every include between two folders of vell/ must be an arrow that the table in docs/architecture.md draws."""

import pathlib
import re
import sys

root = pathlib.Path(__file__).resolve().parents[2]


def drawn_arrows():
    """The folders of the table, and for each the set of folders it may include."""
    rows = re.findall(r"^\| `vell/(\w+)` \|[^|]*\|([^|]*)\|$", (root / "docs/architecture.md").read_text(), re.M)
    arrows = {}
    for folder, uses in rows:
        above = set(arrows)
        arrows[folder] = above if "all of the above" in uses else set(re.findall(r"\w+", uses)) & above
        unknown = set(re.findall(r"\b[a-z]+\b", uses)) - above - {"nothing", "all", "of", "the", "above"}
        if unknown:
            sys.exit(f"docs/architecture.md: vell/{folder} uses {sorted(unknown)}, which no row above it names")
    return arrows


def main():
    arrows = drawn_arrows()
    problems = []
    seen = 0
    for file in sorted((root / "vell").rglob("*")):
        if file.suffix not in (".h", ".cpp"):
            continue
        folder = file.relative_to(root / "vell").parts[0]
        if folder not in arrows:
            problems.append(f"{file.relative_to(root)}: docs/architecture.md has no row for vell/{folder}")
            continue
        for number, line in enumerate(file.read_text().splitlines(), 1):
            include = re.match(r'\s*#\s*include\s+"vell/(\w+)/', line)
            if not include:
                continue
            seen += 1
            if include.group(1) != folder and include.group(1) not in arrows[folder]:
                problems.append(f"{file.relative_to(root)}:{number}: vell/{folder} may not include vell/{include.group(1)}")
    print("\n".join(problems) or f"{seen} includes, every one of them drawn")
    sys.exit(1 if problems or seen < 100 else 0)


main()

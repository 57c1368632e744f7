#!/usr/bin/env python3
"""No folder of vell/ may hold more than a fifth of its lines."""

import collections
import pathlib
import sys

root = pathlib.Path(__file__).resolve().parents[2]


def main():
    lines = collections.Counter()
    for file in (root / "vell").rglob("*"):
        if file.suffix in (".h", ".cpp"):
            lines[file.parent.relative_to(root / "vell").as_posix()] += file.read_text().count("\n")
    total = sum(lines.values())
    large = [f"vell/{folder} holds {n} of {total} lines: split it" for folder, n in lines.items() if 5 * n > total]
    folder, n = lines.most_common(1)[0]
    print("\n".join(large) or f"the largest folder, vell/{folder}, holds {100 * n / total:.1f} % of {total} lines")
    return 1 if large or len(lines) < 10 else 0


sys.exit(main())

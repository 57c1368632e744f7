#!/usr/bin/env python3
"""Draws the clauses of each operator against the width: encoding_size.py [PICTURE]"""

import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt

import vell

OPERATORS = {
    "bvadd": lambda x, y: x + y,
    "bvmul": lambda x, y: x * y,
    "bvudiv": lambda x, y: x.udiv(y),
    "bvsdiv": lambda x, y: x.sdiv(y),
    "bvshl": lambda x, y: x << y,
    "bvand": lambda x, y: x & y,
    "bvult": lambda x, y: x.ult(y),
    "=": lambda x, y: x == y,
}
WIDTHS = [1, 2, 4, 8, 16, 32, 64, 128]


def clauses(operator, width):
    x, y, z = vell.bitvecs("x y z", width)
    term = operator(x, y)
    # A bit-vector is compared with a variable, which costs the comparison's clauses; those are taken away.
    if not term.width:
        return len(vell.clausify(term, words="none"))
    return len(vell.clausify(term == z, words="none")) - len(vell.clausify(x == z, words="none"))


def main(picture):
    for name, operator in OPERATORS.items():
        plt.plot(WIDTHS, [clauses(operator, w) for w in WIDTHS], marker="o", label=name)
    plt.xscale("log", base=2)
    plt.yscale("log")
    plt.xlabel("width")
    plt.ylabel("clauses")
    plt.legend()
    plt.tight_layout()
    plt.savefig(picture, dpi=100)


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "encoding_size.png")

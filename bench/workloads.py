#!/usr/bin/env python3
"""Scripts to measure with: workloads.py FAMILY [key=value ...] > FILE.smt2

Logic QF_BV, one check-sat, the same bytes for the same arguments. Families and their arguments are the functions below
marked @family. Where a family is satisfiable it is so by construction: values are drawn first, the script's constants
computed from them.
"""
import math
import random
import sys

FAMILIES = {}
out = sys.stdout.write


def family(f):
    FAMILIES[f.__name__] = f
    return f


def head(status=None):
    out("(set-logic QF_BV)\n")
    if status:
        out("(set-info :status %s)\n" % status)


def tail():
    out("(check-sat)\n(exit)\n")


def declare(name, width):
    out("(declare-fun %s () (_ BitVec %d))\n" % (name, width))


def define(name, width, term):
    out("(define-fun %s () (_ BitVec %d) %s)\n" % (name, width, term))


def number(value, width):
    return "(_ bv%d %d)" % (value % (1 << width), width)


def binary(value, width):
    return "#b" + format(value % (1 << width), "0%db" % width)


def signed(value, width):
    return value - (1 << width) if value >> (width - 1) else value


@family
def wide(w=64, op="bvmul", seed=1):
    """One operator over two words."""
    rnd = random.Random(seed * 1000 + w)
    a, b, mask = rnd.getrandbits(w), rnd.getrandbits(w) | 1, (1 << w) - 1
    r = {"bvmul": a * b & mask, "bvudiv": a // b, "bvurem": a % b}[op]
    head("sat")
    declare("a", w)
    declare("b", w)
    out("(assert (= (bvxor (%s a b) a b) %s))\n" % (op, binary(r ^ a ^ b, w)))
    tail()


@family
def shifts(w=64, n=64):
    """n barrel shifters in a row: left, logical right, arithmetic right."""
    head()
    declare("x", w)
    for i in range(8):
        declare("s%d" % i, w)
    cur = "x"
    for i in range(n):
        op = ("bvshl", "bvlshr", "bvashr")[i % 3]
        define("t%d" % i, w, "(bvxor (%s %s s%d) s%d)" % (op, cur, i % 8, (i * 3 + 1) % 8))
        cur = "t%d" % i
    out("(assert (= ((_ extract 0 0) %s) #b1))\n(assert (distinct %s x))\n" % (cur, cur))
    tail()


@family
def addtree(w=64, n=64, seed=1):
    """A balanced sum of n words against their exclusive or."""
    rnd = random.Random(seed)
    head("sat")
    values = [rnd.getrandbits(w) for _ in range(n)]
    for i in range(n):
        declare("x%d" % i, w)
    layer, made = ["x%d" % i for i in range(n)], 0
    while len(layer) > 1:
        above = []
        for i in range(0, len(layer) - 1, 2):
            define("t%d" % made, w, "(bvadd %s %s)" % (layer[i], layer[i + 1]))
            above.append("t%d" % made)
            made += 1
        layer = above + layer[len(layer) & ~1:]
    x = 0
    for v in values:
        x ^= v
    cur = "x0"
    for i in range(1, n):
        define("y%d" % i, w, "(bvxor %s x%d)" % (cur, i))
        cur = "y%d" % i
    out("(assert (= (bvxor %s %s) %s))\n" % (layer[0], cur, binary(sum(values) ^ x, w)))
    tail()


@family
def compare(w=64, n=256, seed=1):
    """A ring of n words, each compared with its next (unsigned) and its second next (signed)."""
    rnd = random.Random(seed)
    head("sat")
    values = [rnd.getrandbits(w) for _ in range(n)]
    for i in range(n):
        declare("x%d" % i, w)
    for i in range(n):
        j, k = (i + 1) % n, (i + 2) % n
        unsigned_op = "bvult" if values[i] < values[j] else "bvuge"
        signed_op = "bvslt" if signed(values[i], w) < signed(values[k], w) else "bvsge"
        out("(assert (%s x%d x%d))\n(assert (%s x%d x%d))\n" % (unsigned_op, i, j, signed_op, i, k))
    tail()


@family
def chain(n=1000, w=32, k=64, mix="addxor", seed=1):
    """n definitions, each over the one before; mix=mixed has every sixteenth multiply."""
    head("sat")
    for i in range(k):
        declare("x%d" % i, w)
    mask, rnd = (1 << w) - 1, random.Random(seed)
    val = [rnd.getrandbits(w) for _ in range(k)]
    cur, v = "x0", val[0]
    by = w // 3 + 1
    for i in range(n):
        a, c = (i * 7 + 1) % k, (i * 13 + 5) % k
        if mix == "addxor":
            step = ("add", "xor")[i % 2]
        else:
            step = "mul" if i % 16 == 15 else i % 6
        if step == "mul":
            t, v = "(bvmul %s (bvor x%d %s))" % (cur, a, number(1, w)), v * (val[a] | 1)
        elif step in ("add", 0):
            t, v = "(bvadd %s x%d)" % (cur, a), v + val[a]
        elif step in ("xor", 1):
            t, v = "(bvxor %s x%d)" % (cur, c), v ^ val[c]
        elif step == 2:
            t, v = "((_ rotate_left %d) (bvadd %s x%d))" % (by, cur, c), (v + val[c]) & mask
            v = v << by | v >> (w - by)
        elif step == 3:
            t, v = "(bvxor %s (bvand x%d x%d))" % (cur, a, c), v ^ (val[a] & val[c])
        elif step == 4:
            t, v = "(bvsub %s x%d)" % (cur, c), v - val[c]
        else:
            t = "(ite (bvult %s x%d) (bvnot %s) (bvadd %s x%d))" % (cur, a, cur, cur, c)
            v = ~v if v < val[a] else v + val[c]
        v &= mask
        define("t%d" % i, w, t)
        cur = "t%d" % i
    out("(assert (= %s %s))\n" % (cur, binary(v, w)))
    tail()


@family
def atoms(n=100000, w=16, v=2000, seed=1):
    """n comparisons, three to a disjunction, all under one conjunction."""
    rnd = random.Random(seed)
    head("sat")
    val = [rnd.getrandbits(w) for _ in range(v)]
    for i in range(v):
        declare("x%d" % i, w)
    ops = {"bvult": lambda p, q: p < q, "bvule": lambda p, q: p <= q,
           "bvslt": lambda p, q: signed(p, w) < signed(q, w), "bvsle": lambda p, q: signed(p, w) <= signed(q, w),
           "=": lambda p, q: p == q}
    names = list(ops)
    out("(assert (and\n")
    for _ in range(n // 3):
        holds = False
        while not holds:
            literals = []
            for _ in range(3):
                op, p, negated = names[rnd.randrange(5)], rnd.randrange(v), rnd.random() < .5
                if rnd.random() < .3:
                    q = rnd.getrandbits(w)
                    truth, t = ops[op](val[p], q), "(%s x%d %s)" % (op, p, number(q, w))
                else:
                    q = rnd.randrange(v)
                    truth, t = ops[op](val[p], val[q]), "(%s x%d x%d)" % (op, p, q)
                holds |= truth != negated
                literals.append("(not %s)" % t if negated else t)
        out("(or %s)\n" % " ".join(literals))
    out("))\n")
    tail()


@family
def sha(n=64, seed=1):
    """SHA-256's compression, n rounds, every message word free, the digest given."""
    primes = [p for p in range(2, 312) if all(p % d for d in range(2, p))]

    def cube_root_fraction(p):
        x = round((p << 96) ** (1 / 3))
        while x ** 3 > p << 96:
            x -= 1
        while (x + 1) ** 3 <= p << 96:
            x += 1
        return x & 0xffffffff

    mask = 0xffffffff
    constants = [cube_root_fraction(p) for p in primes]
    start = [math.isqrt(p << 64) & mask for p in primes[:8]]
    rnd = random.Random(seed)
    words = [rnd.getrandbits(32) for _ in range(16)]
    turn = lambda x, r: (x >> r | x << (32 - r)) & mask
    turned = lambda x, r: "((_ rotate_right %d) %s)" % (r, x)
    head("sat")
    for i in range(16):
        declare("w%d" % i, 32)

    def small_sigma(x, r1, r2, by):
        w = "w%d" % x
        return "(bvxor (bvxor %s %s) (bvlshr %s %s))" % (turned(w, r1), turned(w, r2), w, number(by, 32))

    for i in range(16, n):
        define("w%d" % i, 32, "(bvadd (bvadd w%d %s) (bvadd w%d %s))" % (
            i - 16, small_sigma(i - 15, 7, 18, 3), i - 7, small_sigma(i - 2, 17, 19, 10)))
        s0, s1 = words[i - 15], words[i - 2]
        words.append((words[i - 16] + (turn(s0, 7) ^ turn(s0, 18) ^ s0 >> 3) + words[i - 7] +
                      (turn(s1, 17) ^ turn(s1, 19) ^ s1 >> 10)) & mask)

    def big_sigma(x, r1, r2, r3):
        return "(bvxor (bvxor %s %s) %s)" % (turned(x, r1), turned(x, r2), turned(x, r3))

    state, value = [number(h, 32) for h in start], list(start)
    for i in range(n):
        a, b, c, d, e, f, g, h = state
        choice = "(bvxor (bvand %s %s) (bvand (bvnot %s) %s))" % (e, f, e, g)
        majority = "(bvxor (bvxor (bvand %s %s) (bvand %s %s)) (bvand %s %s))" % (a, b, a, c, b, c)
        define("q%d" % i, 32, "(bvadd (bvadd %s %s) (bvadd %s (bvadd %s w%d)))" % (
            h, big_sigma(e, 6, 11, 25), choice, number(constants[i % 64], 32), i))
        define("a%d" % i, 32, "(bvadd q%d (bvadd %s %s))" % (i, big_sigma(a, 2, 13, 22), majority))
        define("e%d" % i, 32, "(bvadd %s q%d)" % (d, i))
        A, B, C, D, E, F, G, H = value
        t1 = H + (turn(E, 6) ^ turn(E, 11) ^ turn(E, 25)) + (E & F ^ ~E & G) + constants[i % 64] + words[i]
        t2 = (turn(A, 2) ^ turn(A, 13) ^ turn(A, 22)) + (A & B ^ A & C ^ B & C)
        value = [(t1 + t2) & mask, A, B, C, (D + t1) & mask, E, F, G]
        state = ["a%d" % i, a, b, c, "e%d" % i, e, f, g]
    for term, v in zip(state, value):
        out("(assert (= %s %s))\n" % (term, number(v, 32)))
    tail()


@family
def bmc(n=100, w=32, regs=16, seed=1):
    """A register machine unrolled n steps, new variables at each step, next states by if-then-else."""
    rnd = random.Random(seed)
    head()
    for r in range(regs):
        declare("r%d_0" % r, w)
    rules = []
    for _ in range(regs):
        p, q, s = (rnd.randrange(regs) for _ in range(3))
        op = rnd.choice(["bvadd", "bvsub", "bvxor", "bvand", "bvor", "bvlshr"])
        other = rnd.choice(["bvadd", "bvxor", "bvor"])
        rules.append((p, q, s, op, other, rnd.choice(["bvult", "bvslt", "="])))
    for t in range(n):
        declare("i%d" % t, w)
        for r, (p, q, s, op, other, test) in enumerate(rules):
            declare("r%d_%d" % (r, t + 1), w)
            out("(assert (= r%d_%d (ite (%s r%d_%d i%d) (%s r%d_%d r%d_%d) (%s r%d_%d r%d_%d))))\n" % (
                r, t + 1, test, p, t, t, op, q, t, s, t, other, r, t, p, t))
    out("(assert (or %s))\n" % " ".join("(= r%d_%d %s)" % (r, n, number(rnd.getrandbits(w), w)) for r in range(regs)))
    tail()


@family
def bytesw(n=10000, w=64, seed=1):
    """Bytes shuffled by extract and concat, n times: reading and wiring."""
    rnd = random.Random(seed)
    head()
    for i in range(16):
        declare("x%d" % i, w)
    cur = "x0"
    for i in range(n):
        order = list(range(w // 8))
        rnd.shuffle(order)
        byte = ["((_ extract %d %d) %s)" % (8 * p + 7, 8 * p, cur) for p in order]
        word = " ".join("(concat %s" % b for b in byte[:-1]) + " " + byte[-1] + ")" * (len(order) - 1)
        constant = "#x" + format(rnd.getrandbits(w), "0%dx" % (w // 4))
        define("t%d" % i, w, "(bvor (bvxor %s %s) x%d)" % (word, constant, i % 15 + 1))
        cur = "t%d" % i
    out("(assert (= ((_ extract 7 0) %s) #x5a))\n" % cur)
    tail()


@family
def memite(n=1000, w=32, aw=10, seed=1):
    """n reads of a memory of 2^aw words through balanced trees of if-then-else."""
    rnd = random.Random(seed)
    head()
    for i in range(1 << aw):
        declare("m%d" % i, w)
    for r in range(n):
        declare("a%d" % r, aw)
        layer = ["m%d" % i for i in range(1 << aw)]
        for bit in range(aw):
            above = []
            for i in range(0, len(layer), 2):
                name = "u%d_%d_%d" % (r, bit, i // 2)
                define(name, w, "(ite (= ((_ extract %d %d) a%d) #b1) %s %s)" % (bit, bit, r, layer[i + 1], layer[i]))
                above.append(name)
            layer = above
        out("(assert (bvult %s %s))\n" % (layer[0], number(rnd.getrandbits(w) | 1 << (w - 1), w)))
    tail()


@family
def definitions(n=100000, w=32, seed=1):
    """n equations, each defining a variable by two before it; the last one is asked to be what it is not."""
    rnd = random.Random(seed)
    head("unsat")
    for i in range(n):
        declare("x%d" % i, w)
    ops = ("bvadd", "bvxor", "bvsub")
    for i in range(2, n):
        out("(assert (= x%d (%s x%d x%d)))\n" % (i, ops[rnd.randrange(3)], i - 1, max(0, i - 2 - rnd.randrange(5))))
    out("(assert (distinct (bvxor x%d x%d) (bvxor x%d x%d)))\n" % (n - 1, n - 2, n - 2, n - 1))
    tail()


@family
def nested(n=50000, w=32, op="bvadd", seed=1):
    """One operator nested n deep over a few words, twice, in two orders of its operands."""
    head("unsat" if op != "bvsub" else None)
    for i in range(8):
        declare("x%d" % i, w)
    for side in range(2):
        cur = "x0"
        for i in range(n):
            pair = (cur, "x%d" % (i % 8))
            define("t%d_%d" % (side, i), w, "(%s %s %s)" % ((op,) + (pair if side == 0 else pair[::-1])))
            cur = "t%d_%d" % (side, i)
    out("(assert (distinct t0_%d t1_%d))\n" % (n - 1, n - 1))
    tail()


@family
def large(w=4096, kind="sum"):
    """Easy questions over long words: sums that cancel, masks, bounds, shifts."""
    head("unsat")
    for x in "abcd":
        declare(x, w)
    if kind == "sum":
        out("(assert (distinct (bvsub (bvadd a b) (bvadd a c)) (bvsub b c)))\n")
    elif kind == "mask":
        out("(assert (distinct (bvor (bvand a b) (bvand a (bvnot b))) a))\n")
    elif kind == "order":
        out("(assert (and (bvult a b) (bvult b c) (bvult c d) (bvult d a)))\n")
    elif kind == "bound":
        out("(assert (bvult a %s))\n(assert (bvult b %s))\n" % (number(1 << (w // 2), w), number(1 << (w // 2), w)))
        out("(assert (bvult (bvadd a b) a))\n")
    elif kind == "shift":
        out("(assert (distinct (bvlshr (bvshl a %s) %s) (bvand a %s)))\n" % (
            number(w // 2, w), number(w // 2, w), number((1 << (w // 2)) - 1, w)))
    elif kind == "product":
        out("(assert (distinct (bvmul (bvadd a b) c) (bvadd (bvmul a c) (bvmul c b))))\n")
    else:
        out("(assert (= a (bvadd a %s)))\n" % number(1, w))
    tail()


@family
def divisible(w=32, k=10):
    """A decimal digit taken off a word: remainder, quotient and divisibility by a numeral."""
    head("unsat")
    declare("x", w)
    kk = number(k, w)
    out("(assert (not (bvult (bvurem x %s) %s)))\n" % (kk, kk))
    tail()


@family
def checksum(n=16, k=11, w=32, seed=1):
    """n digits, a weighted sum modulo k, and the last digit that makes it 0."""
    rnd = random.Random(seed)
    head("sat")
    weights = [1 + rnd.randrange(k - 1) for _ in range(n)]
    total = "(_ bv0 %d)" % w
    for i in range(n):
        declare("d%d" % i, w)
        out("(assert (bvult d%d %s))\n" % (i, number(10, w)))
        total = "(bvadd %s (bvmul d%d %s))" % (total, i, number(weights[i], w))
    out("(assert (= (bvurem %s %s) %s))\n" % (total, number(k, w), number(0, w)))
    out("(assert (bvult %s d%d))\n" % (number(3, w), n - 1))
    tail()


@family
def cipher(rounds=2, blocks=1, seed=1):
    """XTEA, each step a definition by an equation; key and text given, the code asked for."""
    rnd = random.Random(seed)
    head("sat")
    mask = 0xffffffff
    key = [rnd.getrandbits(32) for _ in range(4)]
    for i in range(4):
        declare("k%d" % i, 32)
    for b in range(blocks):
        v = [rnd.getrandbits(32), rnd.getrandbits(32)]
        names, made, total = ["v%d_0_%d" % (b, j) for j in range(2)], 0, 0
        for j in range(2):
            declare(names[j], 32)
            out("(assert (= %s %s))\n" % (names[j], number(v[j], 32)))
        for r in range(rounds):
            for j in range(2):
                other, o = names[1 - j], v[1 - j]
                i = total & 3 if j == 0 else total >> 11 & 3
                mixed = ((o << 4 & mask) ^ o >> 5) + o & mask
                v[j] = v[j] + (mixed ^ (total + key[i] & mask)) & mask
                parts = [("s%d" % made, "(bvxor (bvshl %s #x00000004) (bvlshr %s #x00000005))" % (other, other)),
                         ("m%d" % made, "(bvadd s%d_%d %s)" % (b, made, other)),
                         ("q%d" % made, "(bvadd %s k%d)" % (number(total, 32), i)),
                         ("n%d" % made, "(bvadd %s (bvxor m%d_%d q%d_%d))" % (names[j], b, made, b, made))]
                for name, term in parts:
                    name = name[0] + "%d_%d" % (b, made)
                    declare(name, 32)
                    out("(assert (= %s %s))\n" % (name, term))
                names[j] = "n%d_%d" % (b, made)
                made += 1
                if j == 0:
                    total = total + 0x9e3779b9 & mask
        for j in range(2):
            out("(assert (= %s %s))\n" % (names[j], number(v[j], 32)))
    tail()


def main():
    if len(sys.argv) < 2 or sys.argv[1] not in FAMILIES:
        sys.exit("usage: workloads.py {%s} [key=value ...]" % "|".join(sorted(FAMILIES)))
    arguments = dict(a.split("=", 1) for a in sys.argv[2:])
    FAMILIES[sys.argv[1]](**{k: int(v) if v.isdigit() else v for k, v in arguments.items()})


if __name__ == "__main__":
    main()

"""Bit-vectors into clauses, and back.

>>> import vell
>>> x, y = vell.bitvecs("x y", 8)
>>> with vell.Solver() as s:
...     s.add(vell.zext(x, 8) * vell.zext(y, 8) == 77, x.ult(y), x != 1)
...     s.check()
...     s.value(x), s.value(y)
'sat'
(7, 11)

Terms are made of variables, ints and operators; nothing is computed until clausify(), Solver.check() or Model.value().
A term belongs to a Context; there is one that everything uses unless told otherwise. Terms of different contexts cannot
be combined. Work that takes long releases the interpreter's lock, ends by Ctrl-C, and keeps other threads from the terms
of its context meanwhile.
"""

import html as _html
import json as _json

from . import _vell
from ._vell import Context, Error, ScriptError, __version__

for _public in (Context, Error, ScriptError):
    _public.__module__ = __name__

sat, unsat, unknown = "sat", "unsat", "unknown"

_default = Context()


class Term:
    """A bit-vector or a formula.

    ``+ - * & | ^ ~ << -`` work on bit-vectors, ``& | ^ ~`` on formulas too; an int in the place of a bit-vector is taken
    modulo 2^width, and has to fit as a signed or an unsigned number. ``>>`` repeats the sign bit, as for Python's ints
    and in other solvers; lshr() shifts in zeros. ``==`` and ``!=`` make formulas. ``x[7:4]`` are bits 7 to 4, ``x[0]`` is
    the least significant one. Order and division depend on the sign, so they have names.

    >>> x = bitvec("x", 8)
    >>> x[7:4] + 1 == 3
    <Bool (= (bvadd ((_ extract 7 4) x) (_ bv1 4)) (_ bv3 4))>
    >>> x < 3
    Traceback (most recent call last):
    TypeError: < has no sign: use ult or slt, ule or sle, ugt or sgt, uge or sge
    """

    __slots__ = ("_t",)

    def __init__(self, term):
        self._t = term

    # ---- what it is ----

    @property
    def width(self):
        """The number of bits; 0 for a formula."""
        return self._t.width

    @property
    def sort(self):
        """The sort as SMT-LIB text: ``Bool`` or ``(_ BitVec 8)``."""
        return self._t.sort

    @property
    def name(self):
        """The name of a variable; None for another term."""
        return self._t.name

    @property
    def operator(self):
        """SMT-LIB's name of the operator."""
        return self._t.operator

    @property
    def arguments(self):
        """The terms that the operator is applied to."""
        return [Term(a) for a in self._t.arguments]

    @property
    def constant(self):
        """The value of a numeral, True or False; None for another term."""
        return self._t.constant

    @property
    def context(self):
        """The Context that it belongs to."""
        return self._t.context

    def sexpr(self):
        """The term as SMT-LIB text. A subterm that occurs more than once is named by a let."""
        return self._t.text

    def __repr__(self):
        return f"<{self.sort} {_short(self.sexpr())}>"

    def _repr_html_(self):
        return (f"<code>{_html.escape(_short(self.sexpr(), 2000))}</code>"
                f" <small>{_html.escape(self.sort)}</small>")

    def __hash__(self):
        return hash((self._t.id, id(self._t.context)))

    def __bool__(self):
        constant = self.constant
        if isinstance(constant, bool):
            return constant
        arguments = self._t.arguments
        if self.operator == "=" and len(arguments) == 2:  # so that terms can be keys and members
            return arguments[0].id == arguments[1].id
        raise TypeError("a formula has no value: use Solver.check() or Model.value()")

    # ---- operators ----

    def _word(self, name, other):
        other = _coerce(other, self)
        return NotImplemented if other is None else _apply(name, self, other)

    def _gate(self, other, word, formula):
        return self._word(formula if self._t.is_bool else word, other)

    def __add__(self, other):
        return self._word("bvadd", other)

    def __radd__(self, other):
        return self._word("bvadd", other)

    def __sub__(self, other):
        return self._word("bvsub", other)

    def __rsub__(self, other):
        other = _coerce(other, self)
        return NotImplemented if other is None else _apply("bvsub", other, self)

    def __mul__(self, other):
        return self._word("bvmul", other)

    __rmul__ = __mul__

    def __and__(self, other):
        return self._gate(other, "bvand", "and")

    __rand__ = __and__

    def __or__(self, other):
        return self._gate(other, "bvor", "or")

    __ror__ = __or__

    def __xor__(self, other):
        return self._gate(other, "bvxor", "xor")

    __rxor__ = __xor__

    def __invert__(self):
        return _apply("not" if self._t.is_bool else "bvnot", self)

    def __neg__(self):
        return _apply("bvneg", self)

    def __lshift__(self, other):
        return self._word("bvshl", other)

    def __rshift__(self, other):
        return self._word("bvashr", other)

    def lshr(self, other):
        """Shifted right, zeros from the left."""
        return self._word("bvlshr", other)

    def ashr(self, other):
        """Shifted right, copies of the sign bit from the left: the same as ``>>``."""
        return self._word("bvashr", other)

    def __eq__(self, other):
        other = _coerce(other, self)
        return NotImplemented if other is None else _apply("=", self, other)

    def __ne__(self, other):
        other = _coerce(other, self)
        return NotImplemented if other is None else _apply("not", _apply("=", self, other))

    def _no_order(self, sign):
        raise TypeError(f"{sign} has no sign: use ult or slt, ule or sle, ugt or sgt, uge or sge")

    def __lt__(self, other):
        self._no_order("<")

    def __le__(self, other):
        self._no_order("<=")

    def __gt__(self, other):
        self._no_order(">")

    def __ge__(self, other):
        self._no_order(">=")

    def __truediv__(self, other):
        raise TypeError("/ has no sign: use udiv or sdiv")

    def __floordiv__(self, other):
        raise TypeError("// has no sign: use udiv or sdiv")

    def __mod__(self, other):
        raise TypeError("% has no sign: use urem, srem or smod")

    def __getitem__(self, place):
        """Bits ``[high:low]``, both included, or the bit ``[i]`` as a bit-vector of width 1."""
        if isinstance(place, slice):
            if place.step is not None:
                raise ValueError("bits are [high:low]")
            high = self.width - 1 if place.start is None else place.start
            low = 0 if place.stop is None else place.stop
        else:
            high = low = place
        if not (isinstance(high, int) and isinstance(low, int)):
            raise TypeError("bits are [high:low], ints")
        if not 0 <= low <= high < self.width:
            raise IndexError(f"bits {high} to {low} of {self.width}")
        return _apply("extract", self, indices=[high, low])

    def __iter__(self):
        raise TypeError("a bit-vector is no sequence: x[i] is one of its bits")


def _binary(method, operator, doc):
    def apply(self, other):
        other = _coerce(other, self)
        if other is None:
            raise TypeError(f"{method} takes terms and ints")
        return _apply(operator, self, other)

    apply.__name__ = method
    apply.__doc__ = doc
    setattr(Term, method, apply)


for _kind, _word in (("u", "unsigned"), ("s", "signed")):
    for _name, _text in (("lt", "less than"), ("le", "at most"), ("gt", "greater than"), ("ge", "at least")):
        _binary(_kind + _name, "bv" + _kind + _name, f"{_text.capitalize()} the other one, as {_word} numbers.")
    _binary(_kind + "div", f"bv{_kind}div", f"The quotient of {_word} numbers, rounded towards 0; by 0 what SMT-LIB says.")
    _binary(_kind + "rem", f"bv{_kind}rem", f"The remainder of {_word} numbers, with the sign of the dividend.")
_binary("smod", "bvsmod", "The remainder of signed numbers, with the sign of the divisor.")


# ---- making terms ----


def _short(text, most=200):
    return text if len(text) <= most else text[: most - 3] + "..."


def _context(terms):
    for t in terms:
        if isinstance(t, Term):
            return t.context
    return _default


def _coerce(value, like):
    """The value as a term of the sort of `like`; None where it is none."""
    if isinstance(value, Term):
        return value
    if like._t.is_bool:
        return Term(_vell._boolean(like.context, value)) if isinstance(value, bool) else None
    try:
        number = value.__index__()
    except (AttributeError, TypeError):
        return None
    return bitvec_value(number, like.width, ctx=like.context)


def _apply(name, *arguments, indices=()):
    return Term(_vell._apply(name, [a._t for a in arguments], list(indices)))


def bitvec(name, width, ctx=None):
    """A new variable of `width` bits, from 1. Two calls make two variables, also with one name."""
    if width < 1:
        raise ValueError("a bit-vector has at least one bit")
    return Term(_vell._variable(ctx or _default, name, width))


def bitvecs(names, width, ctx=None):
    """A list of variables, their names separated by blanks."""
    return [bitvec(name, width, ctx) for name in names.split()]


def boolean(name, ctx=None):
    """A new Boolean variable."""
    return Term(_vell._variable(ctx or _default, name, 0))


def booleans(names, ctx=None):
    """A list of Boolean variables, their names separated by blanks."""
    return [boolean(name, ctx) for name in names.split()]


def bitvec_value(value, width, ctx=None):
    """A numeral. A negative value stands for 2^width more.

    >>> bitvec_value(-1, 4).constant
    15
    >>> bitvec_value(16, 4)
    Traceback (most recent call last):
    ValueError: 16 does not fit 4 bits
    """
    if width < 1:
        raise ValueError("a bit-vector has at least one bit")
    if not -(1 << (width - 1)) <= value < 1 << width:
        raise ValueError(f"{value} does not fit {width} bits")
    return Term(_vell._numeral(ctx or _default, format(value % (1 << width), "x"), width))


def boolean_value(value, ctx=None):
    """The constant true or false."""
    return Term(_vell._boolean(ctx or _default, bool(value)))


def _formulas(items):
    out = []
    for item in items:
        if isinstance(item, (list, tuple)):
            out += _formulas(item)
        else:
            out.append(item)
    ctx = _context(out)
    return [Term(_vell._boolean(ctx, f)) if isinstance(f, bool) else f for f in out]


def And(*formulas):
    """All of them hold. Lists are taken apart."""
    items = _formulas(formulas)
    return boolean_value(True) if not items else items[0] if len(items) == 1 else _apply("and", *items)


def Or(*formulas):
    """At least one of them holds."""
    items = _formulas(formulas)
    return boolean_value(False) if not items else items[0] if len(items) == 1 else _apply("or", *items)


def Not(formula):
    """The opposite."""
    return _apply("not", *_formulas([formula]))


def Xor(a, b):
    """Exactly one of them holds."""
    return _apply("xor", *_formulas([a, b]))


def Implies(a, b):
    """b holds where a does."""
    return _apply("=>", *_formulas([a, b]))


def Distinct(*terms):
    """No two of them are equal."""
    items = _formulas(terms)
    like = next((t for t in items if isinstance(t, Term)), None)
    if like is None:
        raise TypeError("Distinct takes terms")
    return _apply("distinct", *[_coerce(t, like) for t in items])


def If(condition, then, otherwise):
    """`then` where the condition holds, else `otherwise`; one of the two may be an int.

    >>> x = bitvec("x", 4)
    >>> If(x.ult(3), x, 0)
    <(_ BitVec 4) (ite (bvult x (_ bv3 4)) x (_ bv0 4))>
    """
    like = next((t for t in (then, otherwise) if isinstance(t, Term)), None)
    if like is None:
        if not (isinstance(then, bool) and isinstance(otherwise, bool)):
            raise TypeError("If takes a term in one of its branches")
        like = _formulas([condition])[0]
    return _apply("ite", *_formulas([condition]), _coerce(then, like), _coerce(otherwise, like))


def concat(*terms):
    """The bits of all of them, those of the first one on top."""
    return terms[0] if len(terms) == 1 else _apply("concat", *terms)


def extract(high, low, term):
    """Bits `high` to `low`: the same as ``term[high:low]``."""
    return term[high:low]


def zext(term, bits):
    """Wider by so many zeros."""
    return _apply("zero_extend", term, indices=[bits])


def sext(term, bits):
    """Wider by so many copies of the sign bit."""
    return _apply("sign_extend", term, indices=[bits])


def rotate_left(term, bits):
    """Rotated by a constant number of bits."""
    return _apply("rotate_left", term, indices=[bits])


def rotate_right(term, bits):
    """Rotated by a constant number of bits."""
    return _apply("rotate_right", term, indices=[bits])


def apply(name, *arguments, indices=()):
    """Any operator of QF_BV by SMT-LIB's name, with the indices of its parentheses.

    >>> apply("bvumulo", bitvec("x", 4), bitvec("y", 4)).sort
    'Bool'
    """
    return _apply(name, *arguments, indices=indices)


def _pair(name):
    def function(a, b):
        like = a if isinstance(a, Term) else b
        return getattr(_coerce(a, like), name)(b)

    function.__name__ = name
    function.__doc__ = f"The same as ``a.{name}(b)``."
    return function


# The names of other solvers' interfaces.
BitVec, BitVecs, BitVecVal, Bool, Bools, BoolVal = bitvec, bitvecs, bitvec_value, boolean, booleans, boolean_value
Concat, Extract, RotateLeft, RotateRight = concat, extract, rotate_left, rotate_right
ULT, ULE, UGT, UGE = (_pair(n) for n in ("ult", "ule", "ugt", "uge"))
UDiv, URem, SRem, LShR = (_pair(n) for n in ("udiv", "urem", "srem", "lshr"))


def ZeroExt(bits, term):
    """The same as zext(), with the number first."""
    return zext(term, bits)


def SignExt(bits, term):
    """The same as sext(), with the number first."""
    return sext(term, bits)


# ---- models ----


class Model:
    """Values of variables, and of every term under them. A variable that has none is 0, False.

    >>> x, y = bitvecs("x y", 8)
    >>> m = Model({x: 200, y: -1})
    >>> m[x], m[y], m.value(x + 100), m.value(x.ult(y))
    (200, 255, 44, True)
    """

    def __init__(self, values=(), ctx=None):
        values = dict(values)
        self._m = _vell._Model(ctx or _context(values))
        self._variables = []
        for term, value in values.items():
            self._set(term, value)

    def _set(self, term, value):
        value = int(value) % (1 << max(term.width, 1))
        self._m.set(term._t, [value >> 64 * i & (1 << 64) - 1 for i in range((max(term.width, 1) + 63) // 64)])
        self._variables.append(term)

    @classmethod
    def _of(cls, model, variables):
        out = cls.__new__(cls)
        out._m = model
        out._variables = variables
        return out

    def value(self, term):
        """The value of a term: an int from 0 to 2^width - 1, or a bool."""
        return self._m.value(term._t)

    eval = value

    def __getitem__(self, key):
        """The value of a term, or of the variable of that name."""
        if isinstance(key, Term):
            return self.value(key)
        for v in self._variables:
            if v.name == key:
                return self.value(v)
        raise KeyError(key)

    def keys(self):
        """The names of the variables."""
        return [v.name for v in self._variables]

    def items(self):
        """Names and values."""
        return [(v.name, self.value(v)) for v in self._variables]

    def __iter__(self):
        return iter(self.keys())

    def __len__(self):
        return len(self._variables)

    def __repr__(self):
        return f"<Model {_short(repr(dict(self.items())))}>"

    def _repr_html_(self):
        return _table(("variable", "value"), self.items()[:100])


def _table(heads, rows):
    cell = lambda tag, x: f"<{tag}>{_html.escape(str(x))}</{tag}>"
    lines = ["".join(cell("th", h) for h in heads)] + ["".join(cell("td", c) for c in r) for r in rows]
    return "<table>" + "".join(f"<tr>{line}</tr>" for line in lines) + "</table>"


# ---- CNF ----


class Cnf:
    """The clauses of formulas; made by clausify(). Variables are numbered from 1, a negative number negates."""

    def __init__(self, cnf):
        self._c = cnf

    @property
    def variables(self):
        """The number of variables."""
        return self._c.variables

    def __len__(self):
        """The number of clauses."""
        return len(self._c)

    @property
    def literals(self):
        """The literals of all clauses, one after the other: a read-only NumPy array over the memory of the Cnf."""
        return self._c.literals

    @property
    def offsets(self):
        """Clause i is ``literals[offsets[i]:offsets[i + 1]]``: an array of the same kind."""
        return self._c.offsets

    def clauses(self):
        """The clauses as lists of ints."""
        return self._c.clauses()

    __iter__ = lambda self: iter(self._c.clauses())

    def bits(self, term):
        """The literals of the bits, least significant first. True and False are constants; None stands for a bit that
        no clause depends on, and for those of terms that the formulas do not have as they are."""
        return self._c.bits(term._t)

    @property
    def constants(self):
        """The variables that the formulas mention."""
        return [Term(t) for t in self._c.constants]

    def decode(self, model):
        """The Model that a SAT solver's literals stand for: ints, those that are true. They are checked against every
        clause; Error says which one they do not satisfy.

        >>> x = bitvec("x", 4)
        >>> cnf = clausify(x * 3 == 15)
        >>> cnf.decode(range(1, cnf.variables + 1))[x]
        5
        """
        return Model._of(self._c.decode([int(l) for l in model if l != 0]), self.constants)

    def write(self, path, names=None):
        """Writes DIMACS with a map of the variables' bits; names: other terms that get a line, by name. The suffix .xz,
        .gz, .zst or .bz2 compresses. The file appears whole or not at all."""
        self._c.write(str(path), [(n, t._t) for n, t in (names or {}).items()])

    def __repr__(self):
        return f"<Cnf {self.variables} variables, {len(self)} clauses>"

    def _repr_html_(self):
        return _table(("variables", "clauses", "literals"), [(self.variables, len(self), len(self.literals))])


def clausify(formulas, words="all", settings=(), raw=False, free_division=False, ctx=None):
    """The clauses of a formula, or of a list of them.

    words: which passes simplify the formulas first: "all", "none", or names with + and - ("-products"). raw: variable 1
    is the constant true, and every clause stands as it was made. free_division: a division by zero is left open.
    """
    if not isinstance(formulas, (Term, bool)):
        formulas = list(formulas)
    return Cnf(_vell._Cnf(ctx, _raw(formulas), words, list(settings), raw, free_division))


def _raw(formulas):
    if isinstance(formulas, Term):
        return formulas._t
    return [_raw(f) for f in formulas] if isinstance(formulas, (list, tuple)) else formulas


# ---- solver ----


class Solver:
    """Decides formulas, incrementally. A with statement frees the memory at its end.

    seed, threads: of the embedded SAT solver. command: a SAT solver's shell command with {cnf} in the place of a file in
    its stead; ipasir: a shared object with the functions of IPASIR. words, settings, free_division: see clausify().
    """

    def __init__(self, words="all", settings=(), seed=0, threads=1, command="", ipasir="", free_division=False, ctx=None):
        self._ctx = ctx or _default
        self._s = _vell._Solver(self._ctx, words, list(settings), seed, threads, command, ipasir, free_division)
        self._variables = {}
        self._limits = [0, 0]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._s = None

    def add(self, *formulas):
        """Asserts formulas, or lists of them, until their level is popped."""
        self._s.add(_raw(list(formulas)), "")

    def assert_and_track(self, formula, name):
        """Asserts a formula that unsat_core() can tell by its name."""
        self._s.add(_raw([formula]), str(name))

    def push(self, levels=1):
        """Opens levels."""
        self._s.push(levels)

    def pop(self, levels=1):
        """Closes levels, with their assertions."""
        self._s.pop(levels)

    @property
    def levels(self):
        """Open levels."""
        return self._s.levels

    def check(self, *assumptions):
        """"sat", "unsat" or "unknown", under assumptions that hold for this check only. Ctrl-C ends it."""
        return self._s.check(_raw(list(assumptions)))

    def value(self, term):
        """After "sat": the value of any term, an int or a bool."""
        return self._s.value(term._t)

    def model(self, *terms):
        """After "sat": the values of these variables, which outlive the next check."""
        return Model({t: self.value(t) for t in terms}, ctx=self._ctx)

    def unsat_core(self):
        """After "unsat": names of tracked assertions, and then assumptions, that cannot hold together with the rest."""
        return self._s.core() + [Term(t) for t in self._s.failed()]

    def reason_unknown(self):
        """After "unknown": timeout, resourceout, memout, interrupted or incomplete."""
        return self._s.reason

    def set_limits(self, seconds=None, conflicts=None):
        """For each check from now on; None for no limit. One on conflicts gives the same answer on every machine."""
        self._s.limit(max(1, round(seconds * 1000)) if seconds else 0, conflicts or 0)

    def interrupt(self):
        """Ends the check that runs in another thread."""
        self._s.interrupt()

    def statistics(self):
        """Counters, and times in seconds, by name."""
        return _json.loads(self._s.statistics())


# ---- scripts ----


class Script:
    """An SMT-LIB script; made by read() and read_text()."""

    def __init__(self, script):
        self._s = script

    @property
    def queries(self):
        """How many check-sats it has."""
        return self._s.queries

    def formulas(self, query=0):
        """What holds at a check-sat, assumptions last. query counts from 1; 0 is the first one, or the end of a script
        without any."""
        return [Term(f[0]) for f in self._s.formulas(query)]

    def positions(self, query=0):
        """Of each of these formulas: its name or "", line, and column."""
        return [f[1:] for f in self._s.formulas(query)]

    @property
    def assertions(self):
        """The same as formulas()."""
        return self.formulas()

    def constants(self, query=0):
        """The constants declared there, by name."""
        return {t.name: t for t in map(Term, self._s.constants(query))}

    def __getitem__(self, name):
        """The constant declared last under that name, or the term of a define-fun without parameters."""
        found = self._s.find(name)
        if found is None:
            raise KeyError(name)
        return Term(found)


def read(path, ctx=None):
    """Reads a script from a file, which may be compressed; "-" is standard input. ScriptError has file, line, column."""
    return Script(_vell._read_file(ctx or _default, str(path)))


def read_text(text, name="<text>", ctx=None):
    """Reads a script from a text; name stands for the file in messages.

    >>> s = read_text("(declare-const p Bool)(assert (not p))(check-sat)")
    >>> s.formulas()
    [<Bool (not p)>]
    >>> read_text("(assert q)")
    Traceback (most recent call last):
    vell.ScriptError: <text>:1:9: unknown symbol `q`
    """
    return Script(_vell._read_text(ctx or _default, text, name))


def write_cnf(script, output, query=0, words="all", raw=False, annotate=False):
    """Writes a check-sat of a script file as DIMACS, as `vell-bv cnf` does."""
    _vell._write_cnf(str(script), str(output), query, words, raw, annotate)


def decode(cnf, solution):
    """The model, as get-model prints it, of a CNF file with map lines and a SAT solver's output, both files."""
    return _vell._decode(str(cnf), str(solution))


class Profile:
    """Which terms the clauses of a script's check-sat come from; made by profile()."""

    def __init__(self, text, data):
        self.text = text
        self.data = data

    def __repr__(self):
        return self.text

    def _repr_html_(self):
        rows = self.data.get("operators", [])
        if not rows:
            return f"<pre>{_html.escape(self.text)}</pre>"
        heads = [k for k in rows[0] if not isinstance(rows[0][k], (dict, list))]
        return _table(heads, [[r.get(h, "") for h in heads] for r in rows[:30]])


def profile(script, query=0, words="all", top=20):
    """The Profile of a script file: `text` are tables, `data` the same and more as dicts (docs/profile.md)."""
    text = _vell._profile(str(script), query, words, False, top)
    return Profile(text, _json.loads(_vell._profile(str(script), query, words, True, top)))

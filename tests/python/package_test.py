#!/usr/bin/env python3
"""The Python package: its doctests, and what they do not show. PYTHONPATH says where it is."""

import ast
import doctest
import gc
import inspect
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import numpy

import vell

ROOT = pathlib.Path(__file__).resolve().parents[2]


def hard():
    """Formulas that take a SAT solver long."""
    a, b = vell.bitvecs("a b", 64)
    return [a * b == 1152921470247108503, a.ult(1 << 32), b.ult(1 << 32), a.ugt(1), b.ugt(1)]


class Terms(unittest.TestCase):
    def values(self, term, **given):
        return vell.Model({v: given[v.name] for v in (x, y)}).value(term)

    def test_operators(self):
        global x, y
        x, y = vell.bitvecs("x y", 8)
        a, b = 0xB7, 0x05
        signed = lambda v: v - 256 if v > 127 else v
        for term, value in [
            (x + y, a + b), (x - y, a - b), (x * y, a * b), (x & y, a & b), (x | y, a | b), (x ^ y, a ^ b), (~x, ~a),
            (-x, -a), (x << y, a << b), (x >> y, signed(a) >> b), (x.lshr(y), a >> b), (3 - x, 3 - a), (2 + x, 2 + a),
            (x.udiv(y), a // b), (x.urem(y), a % b), (x.sdiv(y), -(-signed(a) // b)), (x.srem(y), -(-signed(a) % b)),
            (x.smod(y), signed(a) % b), (x[7:4], a >> 4), (x[0], a & 1), (x[:6], a >> 6), (x[2:], a & 7),
            (vell.concat(x, y)[15:8], a), (vell.zext(x, 4), a), (vell.sext(x, 4), signed(a) % 4096),
            (vell.If(x.ult(y), x, 9), 9), (vell.rotate_left(x, 4), 0x7B),
        ]:
            self.assertEqual(value % (1 << term.width), self.values(term, x=a, y=b), term)
        for term, value in [
            (x.ult(y), a < b), (x.slt(y), signed(a) < b), (x.ugt(y), a > b), (x.sge(b), signed(a) >= b), (x == a, True),
            (x != a, False), (vell.And(x.ult(y), True), False), (vell.Or(False, [x.ugt(y)]), True), (~(x == a), False),
            ((x == a) & (y == b), True), ((x == a) ^ (y == b), False), (vell.Implies(x == a, y == a), False),
            (vell.Distinct(x, y, 3), True), (vell.ULT(y, x), True), (vell.UDiv(x, 2) == 0x5B, True), (5 == y, True),
        ]:
            self.assertIs(value, self.values(term, x=a, y=b), term)

    def test_mistakes(self):
        u, v, p = vell.bitvec("u", 8), vell.bitvec("v", 4), vell.boolean("p")
        for wrong in (lambda: u + v, lambda: u + p, lambda: u + 1.5, lambda: p & 3, lambda: u / 2, lambda: u % 2,
                      lambda: bool(u.ult(3)), lambda: u < 3, lambda: list(u), lambda: vell.clausify(u), lambda: u["0"],
                      lambda: vell.clausify([u == 1, "p"])):
            self.assertRaises(TypeError, wrong)
        for wrong in (lambda: u + 256, lambda: u == -129, lambda: vell.bitvec("w", 0),
                      lambda: u + vell.bitvec("w", 8, ctx=vell.Context())):
            self.assertRaises(ValueError, wrong)
        self.assertRaises(IndexError, lambda: u[8])
        self.assertRaises(IndexError, lambda: u[3:4])

    def test_terms_are_keys(self):
        u, v = vell.bitvecs("u v", 8)
        self.assertEqual({u: 1, v: 2}[v], 2)
        self.assertIn(v + 1, [u + 1, v + 1])
        self.assertNotIn(u + 2, [u + 1, v + 1])

    def test_html(self):
        self.assertEqual("<code>(bvult u (_ bv3 8))</code> <small>Bool</small>",
                         vell.bitvec("u", 8).ult(3)._repr_html_())
        self.assertIn("&lt;b&gt;", vell.bitvec("<b>", 8)._repr_html_())


class Cnfs(unittest.TestCase):
    def test_arrays_are_views(self):
        u = vell.bitvec("u", 16)
        cnf = vell.clausify([u * u == 1225], words="none")
        literals, offsets = cnf.literals, cnf.offsets
        self.assertEqual((numpy.int32, numpy.uint64), (literals.dtype, offsets.dtype))
        self.assertEqual(literals.__array_interface__["data"][0], cnf.literals.__array_interface__["data"][0])
        self.assertFalse(literals.flags.writeable or literals.flags.owndata)
        lists = cnf.clauses()
        self.assertEqual(lists, [literals[offsets[i]:offsets[i + 1]].tolist() for i in range(len(cnf))])
        copy = literals.copy()
        del cnf, offsets
        gc.collect()
        self.assertTrue((literals == copy).all())  # the array keeps its memory

    def test_bits(self):
        u = vell.bitvec("u", 2)
        cnf = vell.clausify(vell.concat(vell.bitvec_value(1, 2), u).ult(6), words="none")
        self.assertEqual([1, 2], cnf.bits(u))
        self.assertEqual([1, 2, True, False], cnf.bits(vell.concat(vell.bitvec_value(1, 2), u)))
        self.assertEqual([None] * 3, cnf.bits(vell.bitvec("v", 3)))

    def test_files(self):
        u = vell.bitvec("u", 8)
        with tempfile.TemporaryDirectory() as folder:
            script, cnf, solution = (os.path.join(folder, n) for n in ("a.smt2", "a.cnf.xz", "a.out"))
            pathlib.Path(script).write_text("(declare-const u (_ BitVec 8))(assert (= (bvmul u #x03) #x21))(check-sat)")
            formulas = vell.read(script).assertions
            made = vell.clausify(formulas)
            made.write(cnf)
            pathlib.Path(solution).write_text("s SATISFIABLE\nv " + " ".join(map(str, range(1, made.variables + 1))) + " 0\n")
            self.assertIn("#b00001011", vell.decode(cnf, solution))
            vell.write_cnf(script, os.path.join(folder, "b.cnf"))
            self.assertTrue(pathlib.Path(folder, "b.cnf").read_text().startswith("c vell-bv "))
            profile = vell.profile(script, words="none")
            self.assertIn("bvmul", profile.text)
            self.assertIn("<table>", profile._repr_html_())
            self.assertRaises(vell.Error, made.write, os.path.join(folder, "none", "a.cnf"))
        self.assertRaises(vell.Error, vell.clausify(u == 1, words="none").decode, [-1])


class Solvers(unittest.TestCase):
    def test_levels_and_cores(self):
        u = vell.bitvec("u", 8)
        with vell.Solver() as s:
            s.assert_and_track(u.ult(10), "low")
            s.push()
            s.assert_and_track(u.ugt(20), "high")
            self.assertEqual("unsat", s.check())
            self.assertEqual(["low", "high"], s.unsat_core())
            s.pop()
            self.assertEqual(vell.unsat, s.check(u.ugt(30)))
            self.assertIs(True, s.unsat_core()[-1] == u.ugt(30) and True)
            self.assertEqual("sat", s.check())
            model = s.model(u)
            s.add(u == 3)
            self.assertRaises(vell.Error, s.value, u)
            self.assertLess(model["u"], 10)
            self.assertEqual(2, s.statistics()["sat"] + 0 * s.levels + 1)
            self.assertRaises(vell.Error, s.pop)

    def test_limits(self):
        s = vell.Solver()
        s.add(hard())
        s.set_limits(conflicts=10)
        self.assertEqual(("unknown", "resourceout"), (s.check(), s.reason_unknown()))
        s.set_limits(seconds=0.05)
        self.assertEqual(("unknown", "timeout"), (s.check(), s.reason_unknown()))

    def test_other_threads_run_during_a_check(self):
        s = vell.Solver()
        s.add(hard())
        counted = [0]
        ended = threading.Event()

        def count():
            while not ended.wait(0.001):
                counted[0] += 1
                if counted[0] >= 20:
                    s.interrupt()

        thread = threading.Thread(target=count)
        thread.start()
        self.assertEqual("unknown", s.check())
        ended.set()
        thread.join()
        self.assertEqual("interrupted", s.reason_unknown())
        self.assertGreaterEqual(counted[0], 20)

    def test_threads_share_a_context(self):
        u = vell.bitvec("u", 32)
        found = []

        def work(n):
            cnf = vell.clausify([u * (2 * n + 1) == 7], words="none")
            found.append(len(cnf))

        threads = [threading.Thread(target=work, args=(n,)) for n in range(8)]
        for t in threads:
            t.start()
        for _ in range(1000):
            u + 5
        for t in threads:
            t.join()
        self.assertEqual(8, len(found))

    def test_ctrl_c(self):
        program = ("import vell, sys\nsys.path.insert(0, %r)\nfrom package_test import hard\ns = vell.Solver()\n"
                   "s.add(hard())\nprint('go', flush=True)\n"
                   "try:\n  s.check()\nexcept KeyboardInterrupt:\n  print('stopped', s.check(False) if 0 else '')\n"
                   % str(ROOT / "tests/python"))
        child = subprocess.Popen([sys.executable, "-c", program], stdout=subprocess.PIPE, text=True)
        self.assertEqual("go\n", child.stdout.readline())
        time.sleep(0.3)
        child.send_signal(signal.SIGINT)
        self.assertIn("stopped", child.communicate(timeout=60)[0])
        self.assertEqual(0, child.returncode)


class Scripts(unittest.TestCase):
    def test_positions(self):
        s = vell.read_text("(declare-const p Bool)\n  (assert (! p :named first))\n(check-sat-assuming ((not p)))")
        self.assertEqual([("first", 2, 3), ("", 3, 1)], s.positions())
        self.assertEqual(1, s.queries)
        self.assertEqual(["p"], list(s.constants()))
        self.assertEqual("p", s["p"].name)
        with self.assertRaises(KeyError):
            s["q"]
        with self.assertRaises(vell.ScriptError) as caught:
            vell.read_text("(declare-const p Bool)\n(assert q)", "a.smt2")
        self.assertEqual(("a.smt2", 2, 9), (caught.exception.file, caught.exception.line, caught.exception.column))


class Stubs(unittest.TestCase):
    def test_every_public_name_has_a_stub_and_a_docstring(self):
        package = pathlib.Path(vell.__file__).parent
        self.assertTrue((package / "py.typed").exists())
        stubs = ast.parse((package / "__init__.pyi").read_text())
        named = lambda body: {n.name for n in body if isinstance(n, (ast.FunctionDef, ast.ClassDef))} | {
            t.id for n in body if isinstance(n, ast.Assign) for t in n.targets} | {
            n.target.id for n in body if isinstance(n, ast.AnnAssign)}
        classes = {n.name: named(n.body) for n in stubs.body if isinstance(n, ast.ClassDef)}
        for name, thing in vars(vell).items():
            if name.startswith("_"):
                continue
            self.assertIn(name, named(stubs.body))
            if inspect.isclass(thing) and thing.__module__ == "vell":
                for member, value in vars(thing).items():
                    if not member.startswith("_"):
                        self.assertIn(member, classes[name], name)
                        self.assertTrue(getattr(value, "__doc__", None), f"{name}.{member}")
            elif inspect.isfunction(thing):
                self.assertTrue(thing.__doc__, name)


def load_tests(loader, tests, ignore):
    tests.addTests(doctest.DocTestSuite(vell))
    page = ROOT / "docs/python.md"
    if page.exists():
        tests.addTests(doctest.DocFileSuite(str(page), module_relative=False))
    return tests


if __name__ == "__main__":
    unittest.main()

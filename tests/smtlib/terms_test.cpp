// Syntax of terms and sorts, and the errors in them.

#include <gtest/gtest.h>

#include "tests/smtlib/script.h"
#include "vell/smtlib/operatortable.h"

namespace vell::smtlib {
namespace {

std::string const declarations =
    "(declare-const a (_ BitVec 4)) (declare-const b (_ BitVec 4)) (declare-const p Bool) (declare-const q "
    "Bool)\n";

// The term on a line of its own.
std::string built(std::string const& term) {
  std::string const text = declarations + "(get-value (\n" + term + "))";
  Script s(text);
  return text_of(s.terms, s.commands.back().terms.at(0));
}
// "COLUMN: message" of the error in the term.
std::string wrong(std::string const& term) {
  std::string const e = error_of(declarations + "(get-value (\n" + term + "\n))");
  return e.rfind("3:", 0) == 0 ? e.substr(2) : e;
}
// The same for a sort.
std::string wrong_sort(std::string const& sort) {
  std::string const e = error_of("(declare-const x\n" + sort + "\n)");
  return e.rfind("2:", 0) == 0 ? e.substr(2) : e;
}

TEST(Terms, Literals) {
  EXPECT_EQ(built("#b0101"), "#b0101");
  EXPECT_EQ(built("#xaF"), "#b10101111");
  EXPECT_EQ(built("(_ bv5 4)"), "#b0101");
  EXPECT_EQ(built("(_ bv15 4)"), "#b1111");
  EXPECT_EQ(built("(_ bv0 1)"), "#b0");
  EXPECT_EQ(built("(_ bv007 4)"), "#b0111");
  EXPECT_EQ(built("#xffffffffffffffff"), "#b" + std::string(64, '1'));
  EXPECT_EQ(built("(_ bv18446744073709551615 64)"), "#b" + std::string(64, '1'));
  EXPECT_EQ(built("(_ bv18446744073709551616 65)"), "#b1" + std::string(64, '0'));
  EXPECT_EQ(built("(_ bv9999999999999999999 70)"),
            "#b" + std::string(6, '0') + "1000101011000111001000110000010010001001111001111111111111111111");
  EXPECT_EQ(built("#b1" + std::string(64, '0')), "#b1" + std::string(64, '0'));
  EXPECT_EQ(built("#x1" + std::string(16, '0')), "#b0001" + std::string(64, '0'));
  EXPECT_EQ(built("true"), "true");
  EXPECT_EQ(built("(and false p)"), "(and false p)");
  // One numeral for every way to write it, on both sides of the word size.
  for (char const* same : {"(get-value (#x0a (_ bv10 8) #b00001010))",
                           "(get-value (#xffffffffffffffff (_ bv18446744073709551615 64)))",
                           "(get-value (#x8000000000000000 (_ bv9223372036854775808 64)))",
                           "(get-value (#x00000000000000000a (_ bv10 72)))"}) {
    Script s(same);
    for (Term_ const* t : s.commands[0].terms) EXPECT_EQ(t, s.commands[0].terms[0]) << same;
  }
}

TEST(Terms, LongLiterals) {
  std::string const bits = "1" + std::string(4999, '0');
  EXPECT_EQ(built("#b" + bits), "#b" + bits);
}

TEST(Terms, LiteralErrors) {
  EXPECT_EQ(wrong("(_ bv16 4)"), "4: bv16 does not fit 4 bits");
  EXPECT_EQ(wrong("(_ bv2 1)"), "4: bv2 does not fit 1 bit");
  EXPECT_EQ(wrong("(_ bv18446744073709551616 64)"), "4: bv18446744073709551616 does not fit 64 bits");
  EXPECT_EQ(wrong("(_ bv340282366920938463463374607431768211456 128)"),
            "4: bv34028236692093846346... does not fit 128 bits");
  EXPECT_EQ(wrong("(_ bv0 0)"), "8: the width of a bit-vector is at least 1");
  EXPECT_EQ(wrong("(_ bv0 4294967296)"),
            "8: the width of a bit-vector is at most 4294967295, not 4294967296");
  EXPECT_EQ(wrong("(_ bv0 18446744073709551616)"), "8: numeral `18446744073709551616` is too large");
  EXPECT_EQ(wrong("(_ bv0 x)"), "8: expected a numeral, found `x`");
  EXPECT_EQ(wrong("(_ bv0 4 4)"), "10: expected `)` after the width of a numeral, found `4`");
  EXPECT_EQ(wrong("(_ bv 4)"), "4: unknown symbol `bv`");
  EXPECT_EQ(wrong("(_ bvx 4)"), "4: unknown symbol `bvx`");
  EXPECT_EQ(wrong("(_ 5 4)"), "4: expected an indexed symbol, found `5`");
  EXPECT_EQ(wrong("(_ let 4)"), "4: expected an indexed symbol, found the reserved word `let`");
  EXPECT_EQ(wrong("(_ a 4)"), "4: `a` takes no index");
  EXPECT_EQ(wrong("(_ bvadd 4)"), "4: `bvadd` takes no index");
  EXPECT_EQ(wrong("(_ extract 1 0)"), "4: `extract` is a function: write ((_ extract ...) argument)");
  EXPECT_EQ(wrong("17"),
            "1: integer `17`: integers and reals are not supported; a bit-vector is written (_ bv17 WIDTH)");
  EXPECT_EQ(error_of("(declare-const x (_ BitVec 8))(assert (= x 5))"),
            "1:44: integer `5`: integers and reals are not supported; a bit-vector is written (_ bv5 8)");
  EXPECT_EQ(wrong("1.5"), "1: real number `1.5`: integers and reals are not supported");
  EXPECT_EQ(wrong("\"s\""), "1: string `\"s\"`: strings and sequences are not supported");
  EXPECT_EQ(wrong(":k"), "1: expected a term, found `:k`");
  EXPECT_EQ(wrong("let"), "1: expected a term, found the reserved word `let`");
}

TEST(Terms, QuotedAndPlainAreOneSymbol) {
  EXPECT_EQ(built("(|bvadd| |a| b)"), "(bvadd a b)");
  EXPECT_EQ(built("(let ((|x| a)) x)"), "a");
  // A reserved word in bars is an ordinary symbol.
  EXPECT_EQ(built("(let ((|let| a)) |let|)"), "a");
  EXPECT_EQ(error_of("(declare-const |_| Bool)(assert |_|)"), "");
  EXPECT_EQ(wrong("(|let| ((x a)) x)"), "2: unknown symbol `let`");
}

TEST(Terms, ApplicationErrors) {
  EXPECT_EQ(wrong("(foo a)"), "2: unknown symbol `foo`");
  EXPECT_EQ(wrong("(bvadd a foo)"), "10: unknown symbol `foo`");
  EXPECT_EQ(wrong("|x y|"), "1: unknown symbol `x y`");
  EXPECT_EQ(wrong("(assert p)"),
            "2: unknown symbol `assert`; a `)` may be missing before this command in the `get-value` that "
            "began on line 2");
  EXPECT_EQ(wrong("(a)"), "2: `a` takes no arguments; write it without parentheses");
  EXPECT_EQ(wrong("(a b)"), "2: `a` takes no arguments; write it without parentheses");
  EXPECT_EQ(wrong("(true)"), "2: `true` takes no arguments; write it without parentheses");
  EXPECT_EQ(wrong("(let ((x a)) (x b))"), "15: `x` is a variable, not a function");
  EXPECT_EQ(wrong("bvadd"), "1: `bvadd` is a function and needs arguments");
  EXPECT_EQ(wrong("(bvnot bvnot)"), "8: `bvnot` is a function and needs arguments");
  EXPECT_EQ(wrong("()"), "2: expected a function, found `)`");
  EXPECT_EQ(wrong("(#b1 a)"), "2: expected a function, found `#b1`");
  EXPECT_EQ(wrong("(par a)"), "2: expected a function, found the reserved word `par`");
  EXPECT_EQ(wrong("((bvnot) a)"), "3: expected `_` or `as`, found `bvnot`");
  EXPECT_EQ(wrong("((let) a)"), "3: expected `_` or `as`, found `let`");
  EXPECT_EQ(wrong("(bvadd a b"), "2:1: the file ends inside this `get-value`");
}

TEST(Terms, ArgumentCounts) {
  EXPECT_EQ(wrong("(bvnot)"), "1: `bvnot` takes 1 argument, not 0");
  EXPECT_EQ(wrong("(bvnot a a)"), "1: `bvnot` takes 1 argument, not 2");
  EXPECT_EQ(wrong("(bvsub a)"), "1: `bvsub` takes 2 arguments, not 1");
  EXPECT_EQ(wrong("(bvsub a a a)"), "1: `bvsub` takes 2 arguments, not 3");
  EXPECT_EQ(wrong("(bvadd a)"), "1: `bvadd` takes at least 2 arguments, not 1");
  EXPECT_EQ(wrong("(and)"), "1: `and` takes at least 1 argument, not 0");
  EXPECT_EQ(wrong("(= a)"), "1: `=` takes at least 2 arguments, not 1");
  EXPECT_EQ(wrong("(ite p a)"), "1: `ite` takes 3 arguments, not 2");
  for (char const* op : {"bvnand", "bvnor", "bvcomp", "bvudiv", "bvsmod", "bvshl", "bvult", "bvuaddo"})
    EXPECT_EQ(wrong("(" + std::string(op) + " a a a)"),
              "1: `" + std::string(op) + "` takes 2 arguments, not 3");
}

TEST(Terms, Sorts) {
  EXPECT_EQ(wrong("(bvadd a #b1)"),
            "1: `bvadd` takes bit-vectors of one width; argument 1 has sort (_ BitVec 4), argument 2 has "
            "sort (_ BitVec 1)");
  EXPECT_EQ(wrong("(bvadd a b p)"), "1: `bvadd` takes bit-vectors; argument 3 has sort Bool");
  EXPECT_EQ(wrong("(bvuge a #b1)"),
            "1: `bvuge` takes bit-vectors of one width; argument 1 has sort (_ BitVec 4), argument 2 has "
            "sort (_ BitVec 1)");
  EXPECT_EQ(wrong("(bvcomp p p)"), "1: `bvcomp` takes bit-vectors; argument 1 has sort Bool");
  EXPECT_EQ(wrong("(concat a p)"), "1: `concat` takes bit-vectors; argument 2 has sort Bool");
  EXPECT_EQ(wrong("(and p a)"), "1: `and` takes Booleans; argument 2 has sort (_ BitVec 4)");
  EXPECT_EQ(wrong("(and a)"), "1: `and` takes Booleans; argument 1 has sort (_ BitVec 4)");
  EXPECT_EQ(wrong("(= a b p)"),
            "1: `=` takes terms of one sort; argument 1 has sort (_ BitVec 4), argument 3 has sort Bool");
  EXPECT_EQ(
      wrong("(distinct p a)"),
      "1: `distinct` takes terms of one sort; argument 1 has sort Bool, argument 2 has sort (_ BitVec 4)");
  EXPECT_EQ(wrong("(ite a a a)"), "1: `ite` takes a Boolean first; argument 1 has sort (_ BitVec 4)");
  EXPECT_EQ(
      wrong("(ite p a p)"),
      "1: `ite` takes two terms of one sort; argument 2 has sort (_ BitVec 4), argument 3 has sort Bool");
  EXPECT_EQ(wrong("((_ extract 0 0) p)"), "1: `extract` takes bit-vectors; argument 1 has sort Bool");
  EXPECT_EQ(error_of("(declare-const a (_ BitVec 4))\n(assert (bvadd a a))"),
            "2:9: the asserted term has sort (_ BitVec 4), not Bool");
  EXPECT_EQ(error_of("(define-fun f () Bool\n#b1)"), "2:1: the body has sort (_ BitVec 1), not Bool");
  EXPECT_EQ(error_of("(define-const f (_ BitVec 2)\n#b1)"),
            "2:1: the body has sort (_ BitVec 1), not (_ BitVec 2)");
}

// Every operator refuses what its sorts exclude.
TEST(Terms, NoOperatorTakesWrongSorts) {
  for (Operator const& op : operator_table()) {
    if (op.max_arguments == 0) continue;
    std::string head = op.name;
    if (op.indices == 1) head = "(_ " + head + " 1)";
    if (op.indices == 2) head = "(_ " + head + " 0 0)";
    unsigned const n = op.min_arguments;
    auto call = [&](std::vector<std::string> const& arguments) {
      std::string s = "(" + head;
      for (std::string const& x : arguments) s += " " + x;
      return s + ")";
    };
    std::string const boolean = op.sorts == Sorts::booleans ? "a" : "p";
    if (op.sorts != Sorts::ite && op.sorts != Sorts::one_sort) {
      for (unsigned bad = 0; bad < n; ++bad) {
        std::vector<std::string> arguments(n, op.sorts == Sorts::booleans ? "p" : "a");
        EXPECT_EQ(wrong(call(arguments)), "") << op.name;
        arguments[bad] = boolean;
        EXPECT_NE(wrong(call(arguments)), "") << call(arguments);
      }
    }
    if (op.sorts == Sorts::words_of_one_width) {
      EXPECT_NE(wrong(call({"a", "#b1"})), "") << op.name;
    }
  }
}

TEST(Terms, Indices) {
  EXPECT_EQ(wrong("(extract 1 0 a)"), "2: `extract` is written with two indices, ((_ extract 1 0) ...)");
  EXPECT_EQ(wrong("(repeat a)"), "2: `repeat` is written with an index, ((_ repeat 1) ...)");
  EXPECT_EQ(wrong("((_ extract 1) a)"), "5: `extract` takes 2 indices, not 1");
  EXPECT_EQ(wrong("((_ extract 2 1 0) a)"), "5: `extract` takes 2 indices, not 3");
  EXPECT_EQ(wrong("((_ zero_extend) a)"), "5: `zero_extend` takes 1 index, not 0");
  EXPECT_EQ(wrong("((_ bvadd 1) a b)"), "5: `bvadd` takes no index");
  EXPECT_EQ(wrong("((_ foo 1) a)"), "5: unknown symbol `foo`");
  EXPECT_EQ(wrong("((_ a 1) a)"), "5: `a` takes no index");
  EXPECT_EQ(wrong("((_ bv5 8) a)"), "5: `bv5` is no function");
  EXPECT_EQ(wrong("((_ extract x 0) a)"), "13: expected a numeral, found `x`");
  EXPECT_EQ(wrong("((_ extract -1 0) a)"), "13: expected a numeral, found `-1`");
  EXPECT_EQ(wrong("((_ extract 18446744073709551616 0) a)"),
            "13: numeral `18446744073709551616` is too large");
  EXPECT_EQ(wrong("((_ extract 4 0) a)"), "1: `extract` takes bit 4 of 4 bits");
  EXPECT_EQ(wrong("((_ extract 18446744073709551615 0) a)"),
            "1: `extract` takes bit 18446744073709551615 of 4 bits");
  EXPECT_EQ(wrong("((_ extract 0 1) a)"), "1: the first index of `extract` is below the second: 0 and 1");
  EXPECT_EQ(wrong("((_ repeat 0) a)"), "1: the index of `repeat` is 0; it must be at least 1");
  EXPECT_EQ(wrong("((_ repeat 2000000000) a)"), "1: the result of `repeat` is wider than 4294967295 bits");
  EXPECT_EQ(wrong("((_ repeat 18446744073709551615) a)"),
            "1: the result of `repeat` is wider than 4294967295 bits");
  EXPECT_EQ(wrong("((_ zero_extend 18446744073709551615) a)"),
            "1: the result of `zero_extend` is wider than 4294967295 bits");
  EXPECT_EQ(wrong("((_ sign_extend 4294967292) a)"),
            "1: the result of `sign_extend` is wider than 4294967295 bits");
  EXPECT_EQ(wrong("(concat ((_ zero_extend 4294967290) a) a)"),
            "1: the result of `concat` is wider than 4294967295 bits");
  EXPECT_EQ(wrong("(bvumulo ((_ zero_extend 2147483648) a) ((_ zero_extend 2147483648) a))"),
            "1: the result of `bvumulo` is wider than 4294967295 bits");
}

TEST(Terms, Qualified) {
  EXPECT_EQ(built("(as a (_ BitVec 4))"), "a");
  EXPECT_EQ(built("(as true Bool)"), "true");
  EXPECT_EQ(built("(as (_ bv5 4) (_ BitVec 4))"), "#b0101");
  EXPECT_EQ(built("((as bvadd (_ BitVec 4)) a b)"), "(bvadd a b)");
  EXPECT_EQ(built("((as (_ extract 1 0) (_ BitVec 2)) a)"), "((_ extract 1 0) a)");
  EXPECT_EQ(built("((as bvnot (_ BitVec 4)) ((as bvadd (_ BitVec 4)) a (as b (_ BitVec 4))))"),
            "(bvnot (bvadd a b))");
  EXPECT_EQ(built("(let ((x a)) (as x (_ BitVec 4)))"), "a");
  EXPECT_EQ(wrong("(as a Bool)"), "1: the term has sort (_ BitVec 4), not Bool");
  EXPECT_EQ(wrong("((as bvadd Bool) a b)"), "1: the term has sort (_ BitVec 4), not Bool");
  EXPECT_EQ(wrong("(as a)"), "6: expected a sort, found `)`");
  EXPECT_EQ(wrong("(as a Bool Bool)"), "1: the term has sort (_ BitVec 4), not Bool");
  EXPECT_EQ(wrong("(as p Bool Bool)"), "12: expected `)` after the sort of a qualified symbol, found `Bool`");
  EXPECT_EQ(wrong("((as bvnot Bool Bool) a)"),
            "17: expected `)` after the sort of a qualified function, found `Bool`");
  EXPECT_EQ(wrong("(as (as a Bool) Bool)"), "6: expected `_`, found `as`");
  EXPECT_EQ(wrong("(as bvadd Bool)"), "5: `bvadd` is a function and needs arguments");
  EXPECT_EQ(wrong("(as 5 Bool)"), "5: expected a symbol, found `5`");
}

TEST(Terms, Let) {
  EXPECT_EQ(built("(let ((x a)) (bvnot x))"), "(bvnot a)");
  EXPECT_EQ(built("(let ((x a) (y (bvnot b))) (bvadd x y x))"), "(bvadd (bvadd a (bvnot b)) a)");
  // In parallel: the second binding sees the outer a.
  EXPECT_EQ(built("(let ((a b) (b a)) (bvsub a b))"), "(bvsub b a)");
  EXPECT_EQ(built("(let ((x a)) (let ((x (bvnot x))) (let ((x (bvneg x))) x)))"), "(bvneg (bvnot a))");
  EXPECT_EQ(built("(bvadd (let ((a b)) a) a)"), "(bvadd b a)");
  EXPECT_EQ(built("(let ((x (let ((x a)) (bvnot x)))) (bvneg x))"), "(bvneg (bvnot a))");
  // Variables shadow theory symbols and global names, until the let ends.
  EXPECT_EQ(built("(bvadd (let ((bvadd a)) bvadd) b)"), "(bvadd a b)");
  EXPECT_EQ(built("(and (let ((true q)) true) true)"), "(and q true)");
  EXPECT_EQ(wrong("(let ((bvadd a)) (bvadd a b))"), "19: `bvadd` is a variable, not a function");
  EXPECT_EQ(wrong("(bvadd (let ((x a)) x) x)"), "24: unknown symbol `x`");
  EXPECT_EQ(wrong("(let ((x a) (y x)) y)"), "16: unknown symbol `x`");
}

TEST(Terms, LetMayBindTwiceToOneTerm) { EXPECT_EQ(built("(let ((x p) (x p)) (and x q))"), "(and p q)"); }

TEST(Terms, LetErrors) {
  EXPECT_EQ(wrong("(let ((x a) (x b)) x)"), "14: `x` is bound to two terms in one let");
  EXPECT_EQ(wrong("(let ((x (let ((x a)) x)) (x b)) x)"), "28: `x` is bound to two terms in one let");
  EXPECT_EQ(wrong("(let ((x a) (|x| b)) x)"), "14: `x` is bound to two terms in one let");
  EXPECT_EQ(wrong("(let () a)"), "7: expected a let variable, found `)`");
  EXPECT_EQ(wrong("(let a a)"), "6: expected the list of let variables, found `a`");
  EXPECT_EQ(wrong("(let (x a) a)"), "7: expected a let binding in parentheses, found `x`");
  EXPECT_EQ(wrong("(let ((x)) a)"), "9: expected a term, found `)`");
  EXPECT_EQ(wrong("(let ((x a b)) a)"), "12: expected `)` after the value of a let variable, found `b`");
  EXPECT_EQ(wrong("(let ((5 a)) a)"), "8: expected a let variable, found `5`");
  EXPECT_EQ(wrong("(let ((let a)) a)"), "8: expected a let variable, found the reserved word `let`");
  EXPECT_EQ(wrong("(let ((x a)))"), "13: expected a term, found `)`");
  EXPECT_EQ(wrong("(let ((x a)) x x)"), "16: expected `)` after the body of let, found `x`");
}

TEST(Terms, Annotations) {
  EXPECT_EQ(built("(! a :foo)"), "a");
  EXPECT_EQ(built("(! a :foo bar :baz (x (y |z|) \"s\" 1.5) :named n :w 5)"), "a");
  EXPECT_EQ(built("(bvadd (! a :named n) n)"), "(bvadd a a)");
  EXPECT_EQ(built("(let ((x a)) (bvadd (! (bvnot x) :named n) n))"), "(bvadd (bvnot a) (bvnot a))");
  EXPECT_EQ(wrong("(! a)"), "5: expected an attribute, found `)`");
  EXPECT_EQ(wrong("(! a b)"), "6: expected an attribute, found `b`");
  EXPECT_EQ(wrong("(! a :k b c)"), "11: expected an attribute or `)`, found `c`");
  EXPECT_EQ(wrong("(! a :k _)"), "9: expected an attribute's value, found the reserved word `_`");
  EXPECT_EQ(wrong("(! a :named)"), "12: expected the name of the term, found `)`");
  EXPECT_EQ(wrong("(! a :named 5)"), "13: expected the name of the term, found `5`");
  EXPECT_EQ(wrong("(! :named n)"), "4: expected a term, found `:named`");
  EXPECT_EQ(wrong("(! a :named p)"), "13: symbol `p` is already declared");
  EXPECT_EQ(wrong("(bvadd (! a :named n) (! b :named n))"), "35: symbol `n` is already declared");
}

// A name given under a let variable of the same name is the global one once the let is left.
TEST(Terms, NameUnderALetOfTheSameName) {
  EXPECT_EQ(built("(bvadd (let ((n a)) (bvsub (! b :named n) n)) n)"), "(bvadd (bvsub b a) b)");
}

TEST(Terms, OnlyClosedTermsAreNamed) {
  EXPECT_EQ(error_of("(define-fun f ((x Bool)) Bool\n(! (not x) :named n))"),
            "2:19: the term named `n` depends on a parameter of the definition around it");
  EXPECT_EQ(error_of("(define-fun f ((x Bool)) Bool (and x (! true :named n)))(assert (f n))"), "");
  EXPECT_EQ(error_of("(define-fun f ((x Bool)) Bool x)(assert (f (! true :named n)))(assert n)"), "");
}

TEST(Terms, RefusedByName) {
  EXPECT_EQ(wrong("(forall ((x Bool)) x)"), "2: quantifiers are not supported");
  EXPECT_EQ(wrong("(exists ((x Bool)) x)"), "2: quantifiers are not supported");
  EXPECT_EQ(wrong("(match a ((x x)))"), "2: datatypes are not supported");
  EXPECT_EQ(wrong("(lambda ((x Bool)) x)"), "2: functions as values are not supported");
  EXPECT_EQ(wrong("(fp.to_real a)"),
            "2: `fp.to_real`: conversions of floating-point values to reals are not supported");
  EXPECT_EQ(wrong("(fp.foo a)"), "2: `fp.foo`: no operator of the theory of floating point");
  EXPECT_EQ(wrong("(select a b)"), "2: `select`: arrays are not supported");
  EXPECT_EQ(wrong("(+ a b)"), "2: `+`: integers and reals are not supported");
  EXPECT_EQ(wrong("(bv2nat a)"),
            "2: `bv2nat`: conversions between bit-vectors and integers are not supported");
  EXPECT_EQ(wrong("((_ int2bv 4) a)"),
            "5: `int2bv`: conversions between bit-vectors and integers are not supported");
  EXPECT_EQ(wrong("(ubv_to_int a)"),
            "2: `ubv_to_int`: conversions between bit-vectors and integers are not supported");
  EXPECT_EQ(wrong("(str.len a)"), "2: `str.len`: strings and sequences are not supported");
  EXPECT_EQ(wrong("((as const (Array Bool Bool)) a)"), "6: `const`: arrays are not supported");
}

// ---- sorts ----

TEST(SortSyntax, Accepted) {
  auto sort_of = [](std::string const& prefix, std::string const& sort) {
    Script s(prefix + "(declare-const x " + sort + ")");
    return sort_text(s.declared.at("x")->symbol->get_output_type());
  };
  EXPECT_EQ(sort_of("", "Bool"), "Bool");
  EXPECT_EQ(sort_of("", "|Bool|"), "Bool");
  EXPECT_EQ(sort_of("", "(_ BitVec 1)"), "(_ BitVec 1)");
  EXPECT_EQ(sort_of("", "(_ BitVec 4294967295)"), "(_ BitVec 4294967295)");
  EXPECT_EQ(sort_of("(define-sort W () (_ BitVec 7))", "W"), "(_ BitVec 7)");
  EXPECT_EQ(sort_of("(define-sort W () (_ BitVec 7))(define-sort V () W)", "V"), "(_ BitVec 7)");
  EXPECT_EQ(sort_of("(define-sort First (X Y) X)", "(First (First Bool (_ BitVec 3)) (_ BitVec 2))"), "Bool");
  EXPECT_EQ(sort_of("(define-sort Second (X Y) Y)(define-sort S (Z) (Second Bool Z))", "(S (_ BitVec 2))"),
            "(_ BitVec 2)");
  EXPECT_EQ(sort_of("(define-sort C (X) (_ BitVec 9))", "(C Bool)"), "(_ BitVec 9)");
  EXPECT_EQ(sort_of("(define-sort C (Bool) Bool)", "(C (_ BitVec 9))"), "(_ BitVec 9)");
}

TEST(SortSyntax, Errors) {
  EXPECT_EQ(wrong_sort("(_ BitVec 0)"), "11: the width of a bit-vector is at least 1");
  EXPECT_EQ(wrong_sort("(_ BitVec 4294967296)"),
            "11: the width of a bit-vector is at most 4294967295, not 4294967296");
  EXPECT_EQ(wrong_sort("(_ BitVec x)"), "11: expected a numeral, found `x`");
  EXPECT_EQ(wrong_sort("(_ BitVec)"), "10: expected a numeral, found `)`");
  EXPECT_EQ(wrong_sort("(_ BitVec 1 2)"), "13: expected `)` after the width of a bit-vector, found `2`");
  EXPECT_EQ(wrong_sort("BitVec"), "1: `BitVec` is written with a width, (_ BitVec 8)");
  EXPECT_EQ(wrong_sort("(BitVec 8)"), "2: `BitVec` is written with a width, (_ BitVec 8)");
  EXPECT_EQ(wrong_sort("(_ Bool 1)"), "4: sort `Bool` takes no index");
  EXPECT_EQ(wrong_sort("(Bool)"), "2: sort `Bool` takes no arguments");
  EXPECT_EQ(wrong_sort("foo"), "1: unknown sort `foo`");
  EXPECT_EQ(wrong_sort("(foo Bool)"), "2: unknown sort `foo`");
  EXPECT_EQ(wrong_sort("(_ foo 1)"), "4: unknown sort `foo`");
  EXPECT_EQ(wrong_sort("(Array Bool Bool)"), "2: sort `Array`: arrays are not supported");
  EXPECT_EQ(wrong_sort("Int"), "1: sort `Int`: integers and reals are not supported");
  EXPECT_EQ(wrong_sort("Real"), "1: sort `Real`: integers and reals are not supported");
  EXPECT_EQ(wrong_sort("String"), "1: sort `String`: strings and sequences are not supported");
  EXPECT_EQ(wrong_sort("(Seq Bool)"), "2: sort `Seq`: strings and sequences are not supported");
  EXPECT_EQ(wrong_sort("FloatingPoint"),
            "1: `FloatingPoint` is written with two widths, (_ FloatingPoint 8 24)");
  EXPECT_EQ(wrong_sort("(_ FloatingPoint 1 24)"),
            "4: the exponent of a floating-point format has 2 to 24 bits, not 1");
  EXPECT_EQ(wrong_sort("(_ FloatingPoint 8 1)"),
            "4: the significand of a floating-point format has 2 to 65536 bits, not 1");
  EXPECT_EQ(wrong_sort("(_ FloatingPoint 25 1000000)"),
            "4: the exponent of a floating-point format has 2 to 24 bits, not 25");
  EXPECT_EQ(wrong_sort("(_ Float32 8)"), "4: sort `Float32` takes no index");
  EXPECT_EQ(wrong_sort("(RoundingMode)"), "");
  EXPECT_EQ(wrong_sort("(Float32 Bool)"), "1: sort `Float32` takes no arguments");
  EXPECT_EQ(wrong_sort("5"), "1: expected a sort, found `5`");
  EXPECT_EQ(wrong_sort("()"), "2: expected the name of a sort, found `)`");
  EXPECT_EQ(wrong_sort("let"), "1: expected a sort, found the reserved word `let`");
  EXPECT_EQ(error_of("(define-sort F (X) X)(declare-const x F)"), "1:39: sort `F` takes 1 argument, not 0");
  EXPECT_EQ(error_of("(define-sort F (X) X)(declare-const x (F Bool Bool))"),
            "1:39: sort `F` takes 1 argument, not 2");
  EXPECT_EQ(error_of("(define-sort F () Bool)(declare-const x (F Bool))"),
            "1:42: sort `F` takes no arguments");
  EXPECT_EQ(error_of("(define-sort F (X X) X)"), "1:19: sort parameter `X` occurs twice");
  EXPECT_EQ(error_of("(define-sort F (X) (X Bool))"), "1:21: sort `X` takes no arguments");
  EXPECT_EQ(error_of("(define-sort F (X) X)(declare-const x X)"), "1:39: unknown sort `X`");
  EXPECT_EQ(error_of("(define-sort F (5) Bool)"), "1:17: expected a sort parameter, found `5`");
}

}  // namespace
}  // namespace vell::smtlib

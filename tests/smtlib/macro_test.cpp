#include "vell/smtlib/macro.h"

#include <gtest/gtest.h>

#include "tests/smtlib/script.h"

namespace vell::smtlib {
namespace {

std::string const declarations =
    "(declare-const a (_ BitVec 4))(declare-const b (_ BitVec 4))(declare-const p Bool)";
std::string const words = "((x (_ BitVec 4)) (y (_ BitVec 4)))";

std::string built(std::string const& definitions, std::string const& term) {
  Script s(declarations + definitions + "(get-value (" + term + "))");
  return text_of(s.terms, s.commands.back().terms.at(0));
}

TEST(Macro, PutsArgumentsInPlace) {
  std::string const f = "(define-fun f " + words + " (_ BitVec 4) (bvsub (bvadd x y) (bvnot y)))";
  EXPECT_EQ(built(f, "(f a b)"), "(bvsub (bvadd a b) (bvnot b))");
  EXPECT_EQ(built(f, "(f b b)"), "(bvsub (bvadd b b) (bvnot b))");
  EXPECT_EQ(built(f, "(f (f a #x1) b)"),
            "(bvsub (bvadd (bvsub (bvadd a #b0001) (bvnot #b0001)) b) (bvnot b))");
  EXPECT_EQ(built("(define-fun f " + words + " (_ BitVec 4) y)", "(f a b)"), "b");
  EXPECT_EQ(built("(define-fun f " + words + " (_ BitVec 4) (bvnot a))", "(f b b)"), "(bvnot a)");
  EXPECT_EQ(built("(define-fun f ((x Bool)) Bool (not x))", "(f (f p))"), "(not (not p))");
}

// Arguments are put in place all at once.
TEST(Macro, ArgumentsThatMentionParametersOfAnotherDefinition) {
  std::string const swap = "(define-fun f " + words + " (_ BitVec 4) (bvsub x y))(define-fun g " + words +
                           " (_ BitVec 4) (f y (bvneg x)))";
  EXPECT_EQ(built(swap, "(g a b)"), "(bvsub b (bvneg a))");
  EXPECT_EQ(built(swap, "(g (g a b) a)"), "(bvsub a (bvneg (bvsub b (bvneg a))))");
}

TEST(Macro, ParametersShadow) {
  EXPECT_EQ(built("(define-fun f ((a (_ BitVec 4))) (_ BitVec 4) (bvnot a))", "(bvadd (f b) a)"),
            "(bvadd (bvnot b) a)");
  EXPECT_EQ(built("(define-fun f ((bvadd Bool)) Bool bvadd)", "(f p)"), "p");
  EXPECT_EQ(built("(define-fun f ((x (_ BitVec 4))) (_ BitVec 4) (let ((x (bvnot x)) (y x)) (bvadd x y)))",
                  "(f a)"),
            "(bvadd (bvnot a) a)");
  EXPECT_EQ(built("(define-fun f ((x (_ BitVec 4))) (_ BitVec 4) x)(define-fun x () Bool true)", "(and x p)"),
            "(and true p)");
}

TEST(Macro, ConstantArgumentOfAProductGoesFirst) {
  EXPECT_EQ(built("(define-fun f " + words + " (_ BitVec 4) (bvmul x y))", "(f a #x3)"), "(bvmul #b0011 a)");
}

TEST(Macro, Errors) {
  std::string const f = "(define-fun f ((x Bool) (y (_ BitVec 2))) Bool x)\n";
  EXPECT_EQ(error_of(f + "(assert (f true))"), "2:9: the function takes 2 arguments, not 1");
  EXPECT_EQ(error_of(f + "(assert (f true #b00 true))"), "2:9: the function takes 2 arguments, not 3");
  EXPECT_EQ(error_of(f + "(assert (f true true))"), "2:9: argument 2 has sort Bool, not (_ BitVec 2)");
  EXPECT_EQ(error_of(f + "(assert f)"), "2:9: `f` is a function and needs arguments");
  EXPECT_EQ(error_of(f + "(assert ((_ f 1) true #b00))"), "2:13: `f` takes no index");
  EXPECT_EQ(error_of(f + "(assert ((as f Bool) true #b00))"), "");
  EXPECT_EQ(error_of(f + "(assert ((as f (_ BitVec 1)) true #b00))"),
            "2:9: the term has sort Bool, not (_ BitVec 1)");
  EXPECT_EQ(error_of("(define-fun f ((x Bool)) Bool (f x))"), "1:32: unknown symbol `f`");
  EXPECT_EQ(error_of("(define-fun f ((x Bool) (x Bool)) Bool x)"), "1:26: parameter `x` occurs twice");
  EXPECT_EQ(error_of("(define-fun f (x) Bool x)"), "1:16: expected a parameter in parentheses, found `x`");
  EXPECT_EQ(error_of("(define-fun f ((x)) Bool x)"), "1:18: expected a sort, found `)`");
  EXPECT_EQ(error_of("(define-fun f ((x Bool y)) Bool x)"),
            "1:24: expected `)` after the sort of a parameter, found `y`");
  EXPECT_EQ(error_of("(define-fun f ((x Bool)) (_ BitVec 1) x)"),
            "1:39: the body has sort Bool, not (_ BitVec 1)");
  EXPECT_EQ(error_of("(define-fun f ((x Bool)) Bool x)(assert x)"), "1:41: unknown symbol `x`");
}

// A body whose tree has 2^60 leaves.
TEST(Macro, CostIsThatOfTheDag) {
  std::string body = "x";
  std::string text = declarations + "(define-fun f ((x (_ BitVec 4))) (_ BitVec 4) ";
  std::string close;
  for (int i = 0; i < 60; ++i) {
    std::string const v = "v" + std::to_string(i);
    text += "(let ((" + v + " (bvadd " + body + " " + body + "))) ";
    close += ")";
    body = v;
  }
  text += body + close + ")(assert (= (f a) (f (f b))))";
  Script s(text);
  EXPECT_LT(s.terms.term_count(), 60u * 4 + 10);
}

TEST(Macro, DirectUse) {
  TermManager tm;
  Term_ const* const x = tm.mk_variable("x", tm.bv_type(4));
  Term_ const* const y = tm.mk_variable("y", tm.bv_type(4));
  Term_ const* const sum = tm.mk_app(SymbolTag::bv_add, {x, x});
  Macro const m({x}, sum);
  Term_ const* const arguments[] = {y};
  EXPECT_EQ(m.instance(tm, arguments), tm.mk_app(SymbolTag::bv_add, {y, y}));
  Term_ const* const self[] = {x};
  EXPECT_EQ(m.instance(tm, self), sum);
  Term_ const* const xs[] = {x};
  EXPECT_TRUE(occurs(xs, sum));
  EXPECT_FALSE(occurs(xs, tm.mk_app(SymbolTag::bv_add, {y, y})));
  EXPECT_FALSE(occurs({}, sum));
}

}  // namespace
}  // namespace vell::smtlib

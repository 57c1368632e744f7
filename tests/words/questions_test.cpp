// Questions that simplification answers alone, however long their words and their chains of definitions: what
// is left of them is "false".

#include <gtest/gtest.h>

#include <string>

#include "tests/words/passfixture.h"

namespace vell::words {
namespace {

class QuestionsTest : public test::PassTest {
 protected:
  std::vector<std::string> left(std::string const& script) {
    Formulas formulas = read(script);
    Simplifier(tm, false, Passes::all, limits, tunables).simplify(formulas);
    return texts(formulas.permanent);
  }
  static std::string declare(std::string const& names, unsigned width) {
    std::string out;
    for (char name : names)
      out += std::string("(declare-const ") + name + " (_ BitVec " + std::to_string(width) + "))";
    return out;
  }
  void decided(std::string const& script) { EXPECT_EQ(std::vector<std::string>{"false"}, left(script)); }
};

TEST_F(QuestionsTest, ThreeLinearEquations) {
  decided(declare("ijkr", 32) +
          "(assert (= (bvsub (bvadd i j) k) #x00000000))(assert (= (bvsub k j) r))"
          "(assert (= (bvsub (bvadd #x00000001 j) k) #x00000000))"
          "(assert (not (= (bvmul #x00000004 r) (bvmul #x00000004 i))))");
}

TEST_F(QuestionsTest, ComparisonsThatADefinitionMakesTrivial) {
  decided(declare("yuvz", 32) +
          "(assert (= y (bvsub v u)))(assert (bvslt z (bvsub (bvadd y u) v)))"
          "(assert (not (bvslt z #x00000000)))");
}

TEST_F(QuestionsTest, LongWords) {
  for (unsigned width : {64u, 2048u, 4096u}) {
    std::string const words = declare("abc", width);
    std::string const half = "(_ bv" + std::to_string(width / 2) + " " + std::to_string(width) + ")";
    std::string const small =
        "(bvudiv (bvnot (_ bv0 " + std::to_string(width) + ")) (_ bv4 " + std::to_string(width) + "))";
    decided(words + "(assert (distinct (bvsub (bvadd a b) (bvadd a c)) (bvsub b c)))");
    decided(words + "(assert (= a (bvadd a (_ bv1 " + std::to_string(width) + "))))");
    decided(words + "(assert (distinct (bvmul (bvadd a b) c) (bvadd (bvmul a c) (bvmul c b))))");
    // No sum of two words below a quarter of the range is in the upper half.
    decided(words + "(assert (bvule a " + small + "))(assert (bvule b " + small +
            "))(assert (bvslt (bvadd a b) (_ bv0 " + std::to_string(width) + ")))");
    decided(words + "(assert (distinct ((_ extract 0 0) (bvlshr (bvshl a " + half + ") " + half +
            ")) ((_ extract 0 0) a)))");
  }
}

TEST_F(QuestionsTest, RemaindersByANumeral) {
  decided(declare("x", 32) + "(assert (not (bvult (bvurem x (_ bv10 32)) (_ bv10 32))))");
  decided(declare("xy", 32) +
          "(assert (bvult x (_ bv100 32)))(assert (bvult y (_ bv10 32)))"
          "(assert (bvult (_ bv108 32) (bvadd (bvurem x (_ bv100 32)) y)))");
}

TEST_F(QuestionsTest, ChainsOfDefinitions) {
  std::string script = "(declare-const x0 (_ BitVec 32))";
  unsigned const n = 3000;
  for (unsigned i = 1; i <= n; ++i) {
    std::string const x = "x" + std::to_string(i);
    script += "(declare-const " + x + " (_ BitVec 32))(assert (= " + x + " (" + (i % 2 ? "bvadd" : "bvxor") +
              " x" + std::to_string(i - 1) + " x" + std::to_string(i / 2) + ")))";
  }
  std::string const last = "x" + std::to_string(n);
  decided(script + "(assert (distinct (bvxor " + last + " x5) (bvxor x5 " + last + ")))");
}

TEST_F(QuestionsTest, DeeplyNestedOperators) {
  for (SymbolTag::tag tag : {SymbolTag::bv_add, SymbolTag::bv_xor, SymbolTag::bv_and, SymbolTag::bv_mul}) {
    Term_ const* const x = tm.mk_variable("x", tm.bv_type(32));
    Term_ const* sides[2] = {x, x};
    Term_ const* words[4] = {x};
    for (unsigned i = 1; i < 4; ++i) words[i] = tm.mk_variable("y", tm.bv_type(32));
    for (unsigned i = 0; i < 20'000; ++i) {
      sides[0] = tm.mk_app(tag, {sides[0], words[i % 4]});
      sides[1] = tm.mk_app(tag, {words[i % 4], sides[1]});
    }
    Formulas formulas;
    formulas.first = true;
    formulas.permanent.push_back(
        {tm.mk_app(SymbolTag::bool_not, {tm.mk_app(SymbolTag::equal, {sides[0], sides[1]})}), 0});
    Simplifier(tm, false, Passes::all, limits, tunables).simplify(formulas);
    EXPECT_EQ(std::vector<std::string>{"false"}, texts(formulas.permanent));
  }
}

}  // namespace
}  // namespace vell::words

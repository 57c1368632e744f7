#include "vell/words/facts.h"

#include "tests/words/passfixture.h"

namespace vell::words {
namespace {

using Texts = std::vector<std::string>;

class FactsTest : public test::PassTest {
 protected:
  Texts after(std::string const& script) {
    Formulas formulas = read(
        "(declare-const p Bool)(declare-const q Bool)(declare-const r Bool)"
        "(declare-const x (_ BitVec 4))(declare-const y (_ BitVec 4))" +
        script);
    replaced = make_facts(context)->apply(formulas);
    origins.clear();
    for (Formula const& f : formulas.permanent) origins.push_back(f.origin);
    return texts(formulas.permanent);
  }
  std::uint64_t replaced = 0;
  std::vector<std::size_t> origins;
};

TEST_F(FactsTest, TakesConjunctionsApartInTheirOrder) {
  EXPECT_EQ((Texts{"p", "(bvult x y)", "(not q)", "(not r)"}),
            after("(assert (and p (bvult x y)))(assert (not (or q r)))"));
  EXPECT_EQ((std::vector<std::size_t>{0, 0, 1, 1}), origins);
  EXPECT_GT(replaced, 0u);
}

TEST_F(FactsTest, PutsInWhatAFormulaDecides) {
  EXPECT_EQ((Texts{"p", "(or true q)"}), after("(assert p)(assert (or p q))"));
  EXPECT_EQ((Texts{"(not p)", "(or false q)"}), after("(assert (not p))(assert (or p q))"));
  EXPECT_EQ((Texts{"(= x (_ bv5 4))", "(bvult (_ bv5 4) y)"}),
            after("(assert (= x #b0101))(assert (bvult x y))"));
  EXPECT_EQ((Texts{"(= (bvmul x y) (_ bv1 4))", "(bvult (_ bv1 4) (bvadd (_ bv1 4) x))"}),
            after("(assert (= (bvmul x y) #b0001))(assert (bvult (bvmul x y) (bvadd (bvmul x y) x)))"));
}

TEST_F(FactsTest, AFactBelowAnotherIsPutIn) {
  // Neither is lost: x is given, and so is the sum over it.
  EXPECT_EQ((Texts{"(= (bvadd (_ bv1 4) y) (_ bv3 4))", "(= x (_ bv1 4))"}),
            after("(assert (= (bvadd x y) #b0011))(assert (= x #b0001))"));
}

TEST_F(FactsTest, AContradictionIsFalse) {
  EXPECT_EQ((Texts{"false"}), after("(assert (bvult x y))(assert q)(assert (not (bvult x y)))"));
  EXPECT_EQ((Texts{"false"}), after("(assert p)(assert (and q false))"));
}

TEST_F(FactsTest, WhatWasSaidIsNotSaidAgain) {
  EXPECT_EQ((Texts{"p", "q"}), after("(assert p)(assert q)(assert true)(assert p)"));
}

TEST_F(FactsTest, AConcatenationIsTakenApart) {
  EXPECT_EQ((Texts{"(= ((_ extract 3 2) x) ((_ extract 3 2) (bvadd x y)))",
                   "(= ((_ extract 1 0) y) ((_ extract 1 0) (bvadd x y)))"}),
            after("(assert (= (concat ((_ extract 3 2) x) ((_ extract 1 0) y)) (bvadd x y)))"));
}

TEST_F(FactsTest, FormulasThatMayBeTakenBackSayNothing) {
  Formulas formulas = read("(declare-const p Bool)(declare-const q Bool)(assert (or p q))");
  formulas.retractable.push_back({formulas.permanent[0].term->children[0], 1});
  make_facts(context)->apply(formulas);
  EXPECT_EQ((Texts{"(or p q)"}), texts(formulas.permanent));
}

TEST_F(FactsTest, LaterFormulasTakeTheFactsOfTheFirst) {
  std::unique_ptr<Pass> const pass = make_facts(context);
  Formulas first = read("(declare-const p Bool)(assert p)");
  Term_ const* const p = first.permanent[0].term;
  Term_ const* const disjunction = tm.mk_app(SymbolTag::bool_or, {p, tm.mk_variable("r", tm.bool_type)});
  pass->apply(first);
  Formulas later;
  later.retractable.push_back({disjunction, 0});
  EXPECT_GT(pass->apply(later), 0u);
  EXPECT_EQ((Texts{"(or true r)"}), texts(later.retractable));
}

}  // namespace
}  // namespace vell::words

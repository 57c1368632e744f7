#include "vell/sat/sweeplemmas.h"

#include <gtest/gtest.h>

#include "vell/sat/cadicalsolver.h"
#include "vell/sat/clausifier.h"
#include "vell/sinks/solversink.h"

namespace vell::sat {
namespace {

class SweepLemmasTest : public testing::Test {
 protected:
  Term_ const* word(char const* name) { return tm.mk_variable(name, tm.bv_type(6)); }
  Term_ const* app(SymbolTag::tag tag, Term_ const* a, Term_ const* b) { return tm.mk_app(tag, {a, b}); }
  // a * b != b * a, which is false.
  Term_ const* products() {
    Term_ const* a = word("a");
    Term_ const* b = word("b");
    Term_ const* equal = app(SymbolTag::equal, app(SymbolTag::bv_mul, a, b), app(SymbolTag::bv_mul, b, a));
    return tm.mk_app(SymbolTag::bool_not, {equal});
  }
  void assert_formula(Term_ const* formula) {
    sink.add_clause({clausifier.bit_blast(formula, &sink)});
    lemmas.add(formula);
  }

  TermManager tm;
  run::Limits limits;
  run::Tunables tunables;
  Configuration::Theory::Bv config;
  ScriptClausifier clausifier{&tm, &config};
  sinks::SolverSink sink{std::make_unique<CadicalSolver>()};
  SweepLemmas lemmas{tm, clausifier, limits, tunables};
};

TEST_F(SweepLemmasTest, TheyFollowAndDecideTheFormula) {
  Term_ const* formula = products();
  assert_formula(formula);
  std::vector<bv::BvLitList> const found = lemmas.lemmas();
  ASSERT_FALSE(found.empty());
  // Each holds in every model of the circuits, the formula itself being left open. The literals are the same.
  sinks::SolverSink definitions(std::make_unique<CadicalSolver>());
  ScriptClausifier again(&tm, &config);
  again.bit_blast(formula, &definitions);
  for (bv::BvLitList const& lemma : found) {
    bv::BvLitList negated;
    for (bv::BvLit l : lemma) negated.push_back(-l);
    EXPECT_EQ(sinks::Answer::unsat, definitions.solve(negated));
    sink.lits = lemma;
    sink.add_clause();
  }
  EXPECT_EQ(sinks::Answer::unsat, sink.solve({}, {.conflicts = 20}));
}

TEST_F(SweepLemmasTest, TheSameFormulasAreNotSweptAgain) {
  EXPECT_TRUE(lemmas.lemmas().empty());
  assert_formula(products());
  EXPECT_FALSE(lemmas.lemmas().empty());
  EXPECT_TRUE(lemmas.lemmas().empty());
  assert_formula(tm.mk_app(SymbolTag::equal, {word("c"), word("d")}));
  EXPECT_FALSE(lemmas.lemmas().empty());  // half of the formulas are new
}

TEST_F(SweepLemmasTest, FewEqualSignalsAreNotWorthAStop) {
  // One equal pair among many signals that are not.
  Term_ const* x = word("x");
  Term_ const* y = word("y");
  Term_ const* one = app(SymbolTag::bv_and, x, y);
  Term_ const* two = app(SymbolTag::bv_and, y, x);
  Term_ const* sum = app(SymbolTag::bv_add, app(SymbolTag::bv_mul, x, y), app(SymbolTag::bv_add, x, one));
  assert_formula(app(SymbolTag::equal, sum, app(SymbolTag::bv_or, two, y)));
  tunables.sweep_share = 1;
  EXPECT_TRUE(lemmas.lemmas().empty());
}

}  // namespace
}  // namespace vell::sat

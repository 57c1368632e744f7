// The checker of the simplification: that it reaches every pass, and notices one that breaks its promise. The
// many formulas are a test of their own, vell-words-check.

#include "tests/words/simplification.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "vell/words/rewriter.h"

namespace vell::test {
namespace {

TEST(Simplification, EveryPassFindsSomethingInTheFormulas) {
  Tally tally;
  Failed failed{};
  ASSERT_TRUE(check_cases(1'000'000, 3000, "", tally, failed))
      << failed.seed << ' ' << failed.check << ' ' << failed.script;
  EXPECT_EQ(tally.cases, 3000u);
  // Formulas that may be taken back say nothing about others.
  for (std::size_t i = 0; i < tally.names.size(); ++i) {
    if (tally.names[i] == "facts-retractable") continue;
    EXPECT_GT(tally.changed[i], 10u) << tally.names[i];
  }
  auto const defined = [&](std::string const& name) {
    for (std::size_t i = 0; i < tally.names.size(); ++i)
      if (tally.names[i] == name) return tally.defined[i];
    return std::uint64_t{0};
  };
  EXPECT_GT(defined("unconstrained"), 10u);
  EXPECT_GT(defined("equations"), 0u);
  EXPECT_GT(defined("solver"), 10u);
}

TEST(Simplification, EveryRuleOfTheRewriterAppliesToSomeFormula) {
  std::vector<std::uint64_t> counts(words::normal_rules().size());
  for (std::uint64_t seed = 0; seed < 8000; ++seed) {
    TermManager tm;
    Case const c = random_case(tm, seed);
    words::Rewriter rewriter(tm, c.free_division, run::no_limits());
    for (auto const part : parts_of_a_case())
      for (Term_ const* f : c.*part) rewriter.rewrite(f);
    for (std::size_t i = 0; i < counts.size(); ++i) counts[i] += rewriter.counts()[i];
  }
  for (std::size_t i = 0; i < counts.size(); ++i) EXPECT_GT(counts[i], 2u) << words::normal_rules()[i].name;
}

TEST(Simplification, TheFormulasOfASeedAreAlwaysTheSame) {
  unsigned free = 0;
  for (std::uint64_t seed = 0; seed < 100; ++seed) {
    TermManager a;
    TermManager b;
    Case const c = random_case(a, seed);
    EXPECT_EQ(script_of(a, c), script_of(b, random_case(b, seed)));
    free += c.free_division ? 1 : 0;
  }
  EXPECT_GT(free, 5u);
  EXPECT_LT(free, 50u);
}

class BrokenPass : public testing::Test {
 protected:
  // x = 1 and y = x, with x = z kept.
  BrokenPass() {
    auto const word = [&] { return tm.mk_variable("x", tm.bv_type(2)); };
    auto const equal = [&](Term_ const* a, Term_ const* b) { return tm.mk_app(SymbolTag::equal, {a, b}); };
    c.variables = {word(), word(), word()};
    c.formulas = {equal(c.variables[0], tm.mk_bv(1, 2)), equal(c.variables[1], c.variables[0])};
    c.kept = {equal(c.variables[0], c.variables[2])};
  }
  std::string what(Guarantee guarantee, void (*broken)(Work&)) {
    Work work{tm, c.free_division, c.formulas, c.kept, {}, run::no_limits()};
    broken(work);
    return Checked(tm, c).outcome(work, guarantee);
  }

  TermManager tm;
  Case c;
};

TEST_F(BrokenPass, FormulasThatChangeTheirValue) {
  auto const negate_second = [](Work& w) {
    w.formulas[1] = w.tm.mk_app(SymbolTag::bool_not, {w.formulas[1]});
  };
  EXPECT_NE(what(Guarantee::each, negate_second), "");
  EXPECT_NE(what(Guarantee::together, negate_second), "");
  // y = 1 for y = x: the same together, though not alone.
  auto const substitute = [](Work& w) {
    w.formulas[1] = w.tm.mk_app(SymbolTag::equal, {w.formulas[1]->children[0], w.tm.mk_bv(1, 2)});
  };
  EXPECT_NE(what(Guarantee::each, substitute), "");
  EXPECT_EQ(what(Guarantee::together, substitute), "");
  EXPECT_NE(what(Guarantee::together, [](Work& w) { w.formulas.pop_back(); }), "");
  EXPECT_NE(what(Guarantee::each, [](Work& w) { w.formulas.pop_back(); }), "");
}

TEST_F(BrokenPass, KeptFormulasThatChangeTheirValue) {
  auto const substitute = [](Work& w) {
    w.kept[0] = w.tm.mk_app(SymbolTag::equal, {w.kept[0]->children[1], w.tm.mk_bv(1, 2)});
  };
  EXPECT_NE(what(Guarantee::each, substitute), "");
  EXPECT_EQ(what(Guarantee::together, substitute), "");
  EXPECT_NE(what(Guarantee::together, [](Work& w) { w.kept[0] = w.tm.mk_bool(true); }), "");
}

TEST_F(BrokenPass, Definitions) {
  // y goes, being x.
  auto const define = [](Work& w) {
    w.definitions = {{w.formulas[1]->children[0], w.formulas[1]->children[1]}};
    w.formulas.pop_back();
  };
  EXPECT_EQ(what(Guarantee::completed, define), "");
  EXPECT_NE(what(Guarantee::together, define), "");
  // A wrong value, a variable that is still held, a lost formula, a lost model, a circle.
  EXPECT_NE(what(Guarantee::completed,
                 [](Work& w) {
                   w.definitions = {{w.formulas[1]->children[0], w.tm.mk_bv(2, 2)}};
                   w.formulas.pop_back();
                 }),
            "");
  EXPECT_NE(what(Guarantee::completed,
                 [](Work& w) {
                   w.definitions = {{w.formulas[1]->children[0], w.tm.mk_bv(1, 2)}};
                 }),
            "");
  EXPECT_NE(what(Guarantee::completed,
                 [](Work& w) {
                   w.definitions = {{w.formulas[0]->children[0], w.tm.mk_bv(1, 2)}};
                   w.formulas = {};
                 }),
            "");
  EXPECT_NE(what(Guarantee::completed,
                 [](Work& w) {
                   w.definitions = {{w.formulas[1]->children[0], w.formulas[1]->children[1]}};
                   w.formulas = {w.tm.mk_bool(false)};
                 }),
            "");
  EXPECT_THROW(what(Guarantee::completed,
                    [](Work& w) {
                      Term_ const* y = w.formulas[1]->children[0];
                      w.definitions = {{y, y}};
                      w.formulas.pop_back();
                    }),
               std::logic_error);
}

TEST_F(BrokenPass, ACaseIsMadeSmall) {
  Term_ const* y = c.variables[1];
  auto const holds_y = [&](Case const& s) {
    std::vector<Term_ const*> const terms = terms_of(s);
    return std::find(terms.begin(), terms.end(), y) != terms.end();
  };
  Case const small = shrink(tm, c, holds_y);
  EXPECT_TRUE(holds_y(small));
  EXPECT_TRUE(small.kept.empty());
  EXPECT_LE(terms_of(small).size(), 3u);
}

}  // namespace
}  // namespace vell::test

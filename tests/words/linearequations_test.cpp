// Systems of linear equations in formulas: what is solved keeps its models.

#include "vell/words/linearequations.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/values/values.h"

namespace vell::words {
namespace {

using test::hold;
using test::Values;

class LinearEquationsTest : public testing::Test {
 protected:
  Term_ const* word(char const* name, std::uint64_t width) { return tm.mk_variable(name, tm.bv_type(width)); }
  Term_ const* num(std::uint64_t n) { return tm.mk_bv(n & ((std::uint64_t{1} << w) - 1), w); }
  Term_ const* sum(std::vector<std::pair<std::uint64_t, Term_ const*>> const& parts) {
    Term_ const* s = num(0);
    for (auto const& [c, x] : parts)
      s = tm.mk_app(SymbolTag::bv_add, {s, tm.mk_app(SymbolTag::bv_mul, {num(c), x})});
    return s;
  }
  Term_ const* eq(Term_ const* a, Term_ const* b) { return tm.mk_app(SymbolTag::equal, {a, b}); }

  std::uint64_t w = 4;
  TermManager tm;
};

TEST_F(LinearEquationsTest, RandomSystemsKeepTheirModels) {
  std::mt19937 random(2);
  unsigned solved = 0;
  for (int round = 0; round < 60; ++round) {
    std::vector<Term_ const*> x{word("x", w), word("y", w), word("z", w)};
    Term_ const* narrow = word("n", 2);
    Term_ const* n = tm.mk_app(SymbolTag::bv_zero_extend, {narrow}, 2);
    std::vector<Term_ const*> formulas;
    for (int i = 0; i < 3; ++i) {
      static std::uint64_t const factors[] = {3, 5, 6, 7, 9, 10, 11, 13, 0, 8};
      auto const c = [&] { return factors[random() % 10]; };
      formulas.push_back(eq(sum({{c(), x[0]}, {c(), x[1]}, {c(), x[2]}, {c(), n}}), num(c())));
    }
    if (round % 2 == 0) formulas.push_back(tm.mk_app(SymbolTag::bv_ult, {x[0], x[1]}));
    if (round % 3 == 0) {
      Term_ const* both = tm.mk_app(SymbolTag::bool_and, {formulas[0], formulas[1]});
      formulas.erase(formulas.begin(), formulas.begin() + 2);
      formulas.push_back(both);
    }
    std::vector<Term_ const*> now = formulas;
    Definitions definitions;
    bool const with_definitions = round % 5 < 3;
    if (!solve_linear_equations(tm, now, {}, with_definitions ? &definitions : nullptr)) continue;
    ++solved;
    Values values;
    for (unsigned v = 0; v < 1u << 14; ++v) {
      for (unsigned i = 0; i < 3; ++i) values.of[x[i]] = (v >> (4 * i)) & 15;
      values.of[narrow] = v >> 12;
      bool defined = true;
      values::Evaluator evaluator(tm);
      evaluator.set_assignment(values);
      for (Definition const& d : definitions)
        defined &= *evaluator.value(d.value) == values.of.at(d.variable);
      ASSERT_EQ(hold(tm, formulas, values), hold(tm, now, values) && defined);
    }
  }
  EXPECT_GT(solved, 8u);
}

TEST_F(LinearEquationsTest, SeesASystemWithoutSolution) {
  w = 32;
  Term_ const* x = word("x", w);
  Term_ const* y = word("y", w);
  Term_ const* z = word("z", w);
  // The third is the sum of the others but for its constant.
  std::vector<Term_ const*> formulas{eq(sum({{11, x}, {13, y}, {19, z}}), num(5)),
                                     eq(sum({{22, x}, {25, y}, {37, z}}), num(8)),
                                     eq(sum({{30, x}, {38, y}, {56, z}, {3, x}}), num(14))};
  solve_linear_equations(tm, formulas, {}, nullptr);
  EXPECT_EQ(formulas, std::vector<Term_ const*>{tm.mk_bool(false)});
}

TEST_F(LinearEquationsTest, DefinesOnlyWhatStandsNowhereElse) {
  w = 32;
  Term_ const* x = word("x", w);
  Term_ const* y = word("y", w);
  Term_ const* z = word("z", w);
  std::vector<Term_ const*> const formulas{eq(sum({{11, x}, {13, y}, {19, z}}), num(5)),
                                           eq(sum({{22, x}, {25, y}, {37, z}}), num(8))};
  std::vector<Term_ const*> now = formulas;
  Definitions definitions;
  ASSERT_TRUE(solve_linear_equations(tm, now, {}, &definitions));
  EXPECT_EQ(definitions.size(), 2u);
  EXPECT_TRUE(now.empty());

  now = formulas;
  definitions.clear();
  std::vector<Term_ const*> const kept{eq(x, y)};
  ASSERT_TRUE(solve_linear_equations(tm, now, kept, &definitions));
  for (Definition const& d : definitions) EXPECT_EQ(d.variable, z);
}

TEST_F(LinearEquationsTest, LeavesTheRestAlone) {
  Term_ const* x = word("x", w);
  Term_ const* y = word("y", w);
  Term_ const* z = word("z", w);
  // Powers of two are shifts; a single equation is no system; products of variables are not linear.
  std::vector<Term_ const*> const shifts{eq(sum({{1, x}, {2, y}, {4, z}}), num(3)),
                                         eq(sum({{2, x}, {8, y}, {1, z}}), num(1))};
  std::vector<Term_ const*> const single{eq(sum({{3, x}, {5, y}, {11, z}}), num(3))};
  Term_ const* xy = tm.mk_app(SymbolTag::bv_mul, {x, tm.mk_app(SymbolTag::bv_add, {x, y})});
  Term_ const* p = tm.mk_app(SymbolTag::bv_add, {xy, sum({{3, x}, {5, y}, {11, z}})});
  std::vector<Term_ const*> const products{eq(p, num(1)), eq(p, num(2))};
  for (auto const& formulas : {shifts, single, products}) {
    std::vector<Term_ const*> now = formulas;
    EXPECT_FALSE(solve_linear_equations(tm, now, {}, nullptr));
    EXPECT_EQ(now, formulas);
  }
}

}  // namespace
}  // namespace vell::words

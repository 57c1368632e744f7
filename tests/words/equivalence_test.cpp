#include "tests/words/equivalence.h"

#include <gtest/gtest.h>

#include <vector>

namespace vell::test {
namespace {

using Tag = SymbolTag::tag;

class EquivalenceTest : public ::testing::TestWithParam<unsigned> {
 protected:
  Term_ const* app(Tag tag, std::initializer_list<Term_ const*> operands) { return tm.mk_app(tag, operands); }

  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(GetParam()));
  Term_ const* y = tm.mk_variable("y", tm.bv_type(GetParam()));
  TermPair equal{app(Tag::bv_sub, {x, y}), app(Tag::bv_add, {x, app(Tag::bv_neg, {y})})};
  TermPair different{app(Tag::bv_or, {x, y}), app(Tag::bv_add, {x, y})};
  TermPair formulas{app(Tag::bv_ult, {x, y}), app(Tag::bool_not, {app(Tag::bv_ule, {y, x})})};
  TermPair different_formulas{app(Tag::bv_ult, {x, y}), app(Tag::bool_not, {app(Tag::bv_ult, {y, x})})};
};

TEST_P(EquivalenceTest, SolvesAndTriesAtRandom) {
  EXPECT_EQ("", solved_difference(tm, std::vector{equal, formulas}));
  for (TermPair const& pair : {equal, formulas}) EXPECT_EQ("", random_difference(tm, pair, 500, 1));
  for (TermPair const& pair : {different, different_formulas}) {
    EXPECT_NE("", random_difference(tm, pair, 500, 1));
    EXPECT_NE("", solved_difference(tm, std::vector{equal, pair, formulas}));
  }
}

TEST_P(EquivalenceTest, TabulatesWhereItCan) {
  ASSERT_EQ(GetParam() <= 8, tabulable(tm, equal));
  if (!tabulable(tm, equal)) return;
  for (TermPair const& pair : {equal, formulas}) EXPECT_EQ("", tabulated_difference(tm, pair));
  for (TermPair const& pair : {different, different_formulas}) EXPECT_NE("", tabulated_difference(tm, pair));
}

INSTANTIATE_TEST_SUITE_P(Widths, EquivalenceTest, ::testing::Values(1, 3, 8, 9, 17));

}  // namespace
}  // namespace vell::test

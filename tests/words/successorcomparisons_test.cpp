// Every form of the comparison with a neighbour, every value of its words.

#include "vell/words/successorcomparisons.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/values/values.h"

namespace vell::words {
namespace {

class NeighboursTest : public testing::TestWithParam<std::uint64_t> {
 protected:
  Term_ const* app(SymbolTag::tag tag, std::initializer_list<Term_ const*> c) { return tm.mk_app(tag, c); }

  std::uint64_t width = GetParam();
  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(width));
  Term_ const* y = tm.mk_variable("y", tm.bv_type(width));
  Term_ const* one = tm.mk_bv(1, width);
  Term_ const* ones = tm.mk_bv(~std::uint64_t{0} >> (64 - width), width);
  std::vector<Term_ const*> up{app(SymbolTag::bv_add, {x, one}), app(SymbolTag::bv_add, {one, x}),
                               app(SymbolTag::bv_sub, {x, ones})};
  std::vector<Term_ const*> down{app(SymbolTag::bv_sub, {x, one}), app(SymbolTag::bv_add, {x, ones}),
                                 app(SymbolTag::bv_add, {ones, x})};
};

TEST_P(NeighboursTest, EveryFormKeepsItsValue) {
  std::vector<Term_ const*> comparisons;
  for (SymbolTag::tag less : {SymbolTag::bv_ult, SymbolTag::bv_slt}) {
    for (Term_ const* next : up) comparisons.push_back(app(less, {y, next}));
    for (Term_ const* before : down) comparisons.push_back(app(less, {before, y}));
  }
  for (SymbolTag::tag at_most : {SymbolTag::bv_ule, SymbolTag::bv_sle}) {
    for (Term_ const* next : up) comparisons.push_back(app(at_most, {next, y}));
    for (Term_ const* before : down) comparisons.push_back(app(at_most, {y, before}));
  }
  test::Values values;
  for (Term_ const* t : comparisons) {
    ASSERT_TRUE(is_successor_comparison(tm, t)) << t->to_shallow_str();
    Term_ const* now = replace_successor_comparison(tm, t);
    ASSERT_NE(now, nullptr);
    for (std::uint64_t n = 0; n < std::uint64_t{1} << (2 * width); ++n) {
      values.assign(tm, {x, y}, n);
      ASSERT_EQ(test::hold(tm, {t}, values), test::hold(tm, {now}, values))
          << t->to_shallow_str() << " at " << n;
    }
  }
}

TEST_P(NeighboursTest, NoSumIsLeft) {
  Term_ const* now = replace_successor_comparison(tm, app(SymbolTag::bv_ult, {y, up[0]}));
  Term_ const* at_bound = app(SymbolTag::equal, {x, ones});
  Term_ const* less = app(SymbolTag::bv_ult, {x, y});
  EXPECT_EQ(now, app(SymbolTag::bool_and,
                     {app(SymbolTag::bool_not, {at_bound}), app(SymbolTag::bool_not, {less})}));
}

TEST_P(NeighboursTest, OtherComparisonsAreNotTouched) {
  for (Term_ const* t : {app(SymbolTag::bv_ult, {x, y}), app(SymbolTag::equal, {x, up[0]}), up[0],
                         app(SymbolTag::bv_ult, {y, app(SymbolTag::bv_add, {x, y})}),
                         app(SymbolTag::bv_ult, {y, app(SymbolTag::bv_mul, {x, one})})}) {
    EXPECT_FALSE(is_successor_comparison(tm, t)) << t->to_shallow_str();
    EXPECT_EQ(replace_successor_comparison(tm, t), nullptr);
  }
  if (width == 1) return;
  // The wrong side: x + 1 < y says more than x < y does.
  for (Term_ const* t : {app(SymbolTag::bv_ult, {up[0], y}), app(SymbolTag::bv_ule, {y, up[0]}),
                         app(SymbolTag::bv_slt, {y, down[0]}), app(SymbolTag::bv_sle, {down[0], y}),
                         app(SymbolTag::bv_ult, {y, app(SymbolTag::bv_add, {x, tm.mk_bv(2, width)})})})
    EXPECT_FALSE(is_successor_comparison(tm, t)) << t->to_shallow_str();
}

INSTANTIATE_TEST_SUITE_P(Widths, NeighboursTest, testing::Values(1, 2, 3, 4));

}  // namespace
}  // namespace vell::words

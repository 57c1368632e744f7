#include "vell/words/substitution.h"

#include <gtest/gtest.h>

namespace vell::words {
namespace {

using Tag = SymbolTag::tag;

class SubstitutionTest : public testing::Test {
 protected:
  TermManager tm;
  run::Limits limits;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(8));
  Term_ const* y = tm.mk_variable("y", tm.bv_type(8));
  Term_ const* z = tm.mk_variable("z", tm.bv_type(8));
  Term_ const* sum(Term_ const* a, Term_ const* b) { return tm.mk_app(Tag::bv_add, {a, b}); }
};

TEST_F(SubstitutionTest, ReplacesEverywhereAndInTurn) {
  Substitution s(tm, false, limits);
  EXPECT_TRUE(s.empty());
  s.replace(x, sum(y, y));
  s.replace(y, z);
  EXPECT_EQ(sum(sum(z, z), z), s.apply(sum(x, y)));
  EXPECT_TRUE(s.is_replaced(x));
  EXPECT_FALSE(s.is_replaced(z));
  EXPECT_FALSE(s.stays(x));
}

TEST_F(SubstitutionTest, ATermMayBeReplacedAsAWhole) {
  Substitution s(tm, false, limits);
  s.replace(sum(x, y), z);
  EXPECT_EQ(sum(z, x), s.apply(sum(sum(x, y), x)));
  // Below it, it is not itself replaced.
  EXPECT_EQ(sum(x, y), s.apply_below(sum(x, y)));
  EXPECT_EQ(sum(z, x), s.apply_below(sum(sum(x, y), x)));
}

TEST_F(SubstitutionTest, ACircleKeepsATerm) {
  Substitution s(tm, false, limits);
  s.replace(x, sum(y, y));
  s.replace(y, sum(x, z));
  EXPECT_EQ(x, s.apply(x));
  EXPECT_TRUE(s.stays(x));
  EXPECT_EQ(sum(x, z), s.apply(y));
  EXPECT_FALSE(s.stays(y));
}

TEST_F(SubstitutionTest, AnOpenValuedTermStays) {
  Term_ const* quotient = tm.mk_app(Tag::bv_udiv, {x, y});
  Substitution free(tm, true, limits);
  free.replace(x, z);
  EXPECT_EQ(sum(quotient, z), free.apply(sum(quotient, x)));
  Substitution closed(tm, false, limits);
  closed.replace(x, z);
  EXPECT_EQ(sum(tm.mk_app(Tag::bv_udiv, {z, y}), z), closed.apply(sum(quotient, x)));
}

TEST_F(SubstitutionTest, StopsWhenItIsTold) {
  Substitution s(tm, false, limits);
  s.replace(x, y);
  limits.stop(run::StopReason::timeout);
  EXPECT_THROW(s.apply(sum(x, y)), run::Stopped);
}

}  // namespace
}  // namespace vell::words

#include "vell/sinks/countingsink.h"

#include <gtest/gtest.h>

namespace vell::sinks {
namespace {

TEST(CountingSink, CountsClausesLiteralsAndFreshLiterals) {
  CountingSink sink;
  EXPECT_EQ(0u, sink.fresh_literals());
  EXPECT_EQ(2, sink.new_lit());
  EXPECT_EQ(3, sink.new_lit());
  sink.lits = {2, -3};
  sink.add_clause();
  sink.lits = {2, 1, 3};
  sink.add_clause();
  sink.lits = {-1};
  sink.add_clause();
  EXPECT_EQ(2u, sink.fresh_literals());
  EXPECT_EQ(3u, sink.clauses());
  EXPECT_EQ(6u, sink.literals());
  EXPECT_EQ(1u, sink.satisfied_clauses());
}

}  // namespace
}  // namespace vell::sinks

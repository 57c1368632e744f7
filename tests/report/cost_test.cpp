#include "vell/report/cost.h"

#include <gtest/gtest.h>

namespace vell::report {
namespace {

void add(CostSink& sink, bv::BvLitList const& clause) {
  sink.lits = clause;
  sink.add_clause();
}

TEST(Cost, CountsWhatAFileHas) {
  CostSink sink;
  EXPECT_EQ(2, sink.new_lit());
  EXPECT_EQ(3, sink.new_lit());
  add(sink, {2, -3});
  add(sink, {2, bv::l_true, -3});  // satisfied
  add(sink, {2, bv::l_false, 3});
  add(sink, {bv::l_false});
  add(sink, {2, 3, 4, 5, 6});
  add(sink, {2, 3, 4, 5, 6, 7, 8});
  Cost const& c = sink.total();
  EXPECT_EQ(2u, c.fresh);
  EXPECT_EQ(5u, c.clauses);
  EXPECT_EQ(16u, c.literals);
  EXPECT_EQ((std::array<std::uint64_t, 6>{1, 0, 2, 0, 0, 2}), c.by_length);
  bv::BvLit out = 7;
  EXPECT_FALSE(sink.atom_lit(nullptr, out));
}

TEST(Cost, AddsAndSubtracts) {
  Cost a{3, 4, 5, {1, 2, 3, 4, 5, 6}};
  Cost const b{1, 1, 2, {1, 1, 1, 1, 1, 1}};
  a += b;
  EXPECT_EQ((Cost{4, 5, 7, {2, 3, 4, 5, 6, 7}}), a);
  a -= b;
  a -= b;
  EXPECT_EQ((Cost{2, 3, 3, {0, 1, 2, 3, 4, 5}}), a);
}

}  // namespace
}  // namespace vell::report

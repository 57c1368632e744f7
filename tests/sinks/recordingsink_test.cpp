#include "vell/sinks/recordingsink.h"

#include <gtest/gtest.h>

#include "vell/terms/termmanager.h"

namespace vell::sinks {
namespace {

using Kind = RecordingSink::Event::Kind;

TEST(RecordingSink, KeepsEventsInOrder) {
  TermManager tm;
  Term_ const* p = tm.mk_variable("p", tm.bool_type);
  RecordingSink sink;
  EXPECT_EQ(2, sink.new_lit());
  sink.lits = {1, -2};
  sink.add_clause();
  bv::BvLit out = 77;
  EXPECT_FALSE(sink.atom_lit(p, out));
  EXPECT_EQ(77, out);
  sink.set_atom_literal(p, -9);
  EXPECT_TRUE(sink.atom_lit(p, out));
  EXPECT_EQ(-9, out);

  ASSERT_EQ(4u, sink.events().size());
  EXPECT_EQ(Kind::new_lit, sink.events()[0].kind);
  EXPECT_EQ(2, sink.events()[0].literal);
  EXPECT_EQ((bv::BvLitList{1, -2}), sink.events()[1].clause);
  EXPECT_EQ(Kind::atom_lit, sink.events()[2].kind);
  EXPECT_EQ(bv::l_undef, sink.events()[2].literal);
  EXPECT_EQ(p, sink.events()[3].term);
  EXPECT_EQ(-9, sink.events()[3].literal);
  EXPECT_EQ(1u, sink.clauses().size());
}

TEST(RecordingSink, NextLiteralCanBeSet) {
  RecordingSink sink;
  sink.set_next_literal(100);
  EXPECT_EQ(100, sink.new_lit());
  EXPECT_EQ(101, sink.new_lit());
  sink.clear();
  EXPECT_TRUE(sink.events().empty());
  EXPECT_EQ(102, sink.new_lit());
}

}  // namespace
}  // namespace vell::sinks

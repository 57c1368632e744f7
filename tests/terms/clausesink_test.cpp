#include "vell/terms/clausesink.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "tests/support/recordingsink.h"
#include "tests/support/slots.h"

namespace vell::bv {
namespace {

TEST(ClauseSinkTest, PushAppendsInArgumentOrder) {
  test::RecordingSink sink;
  EXPECT_TRUE(sink.lits.empty());
  sink.push(2, -3);
  EXPECT_EQ(sink.lits, (BvLitList{2, -3}));
  sink.push(4, 5, -6);
  EXPECT_EQ(sink.lits, (BvLitList{2, -3, 4, 5, -6}));
  sink.push(7, -8, 9, -1);
  EXPECT_EQ(sink.lits, (BvLitList{2, -3, 4, 5, -6, 7, -8, 9, -1}));
}

TEST(ClauseSinkTest, PushReservesNothingInAdvance) {
  test::RecordingSink sink;
  BvLitList plain;
  for (BvLit l : {2, 3, 4}) plain.push_back(l);
  sink.push(2, 3, 4);
  EXPECT_EQ(sink.lits.capacity(), plain.capacity());
}

TEST(ClauseSinkTest, OperationsFollowEachOtherInTheVirtualTable) {
  std::ptrdiff_t const first = test::virtual_slot(&ClauseSink::new_lit);
  EXPECT_GE(first, 0);
  EXPECT_EQ(test::virtual_slot(&ClauseSink::atom_lit), first + 1);
  EXPECT_EQ(test::virtual_slot(&ClauseSink::add_clause), first + 2);
  EXPECT_TRUE(std::has_virtual_destructor_v<ClauseSink>);
}

TEST(LiteralTest, IsASigned32BitInteger) {
  EXPECT_TRUE((std::is_same_v<BvLit, std::int32_t>));
  EXPECT_TRUE((std::is_same_v<BvLitList, std::vector<BvLit>>));
}

}  // namespace
}  // namespace vell::bv

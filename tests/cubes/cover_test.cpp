#include "vell/cubes/cover.h"

#include <gtest/gtest.h>

#include "tests/support/scratch.h"

namespace vell::cubes {
namespace {

TEST(Cover, OfAnyShape) {
  EXPECT_TRUE(cover_everything({{}}, run::no_limits()));
  EXPECT_TRUE(cover_everything({{1}, {-1}}, run::no_limits()));
  EXPECT_TRUE(cover_everything({{1, 2}, {-2}, {-1, 3}, {-1, -3}}, run::no_limits()));
  EXPECT_FALSE(cover_everything({}, run::no_limits()));
  EXPECT_FALSE(cover_everything({{1}}, run::no_limits()));
  EXPECT_FALSE(cover_everything({{1, 2}, {1, -2}, {-1, 2}}, run::no_limits()));
  EXPECT_FALSE(cover_everything({{1, -1}, {2}}, run::no_limits()));
}

TEST(Cover, ProofOnlyWhereThereIsOne) {
  test::Scratch const scratch;
  EXPECT_TRUE(prove_cover({{1}, {-1}}, scratch.file("yes"), run::no_limits()));
  EXPECT_EQ(1U, scratch.files());
  EXPECT_FALSE(prove_cover({{1}}, scratch.file("no"), run::no_limits()));
  EXPECT_EQ(1U, scratch.files());
}

}  // namespace
}  // namespace vell::cubes

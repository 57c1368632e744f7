#include "vell/utils/arena.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace vell {
namespace {

TEST(ArenaTest, PiecesAreAlignedAndApart) {
  Arena arena(256);
  std::vector<char*> pieces;
  for (std::size_t n = 1; n < 300; ++n) {
    pieces.push_back(static_cast<char*>(arena.alloc(n)));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pieces.back()) % 8, 0u);
    std::memset(pieces.back(), static_cast<int>(n % 251), n);
  }
  for (std::size_t n = 1; n < 300; ++n)
    EXPECT_EQ(std::string(pieces[n - 1], n), std::string(n, static_cast<char>(n % 251)));
}

TEST(ArenaTest, ContentStaysWhenChunksAreAdded) {
  Arena arena(64);
  std::vector<char const*> copies;
  for (int i = 0; i < 200; ++i) copies.push_back(arena.copy("text " + std::to_string(i)));
  for (int i = 0; i < 200; ++i) EXPECT_EQ(copies[static_cast<std::size_t>(i)], "text " + std::to_string(i));
}

TEST(ArenaTest, LargePieceGetsItsOwnChunkAndTheCurrentOneServesOn) {
  Arena arena(64);
  char* a = static_cast<char*>(arena.alloc(8));
  void* big = arena.alloc(1000);
  std::memset(big, 0, 1000);
  EXPECT_EQ(static_cast<char*>(arena.alloc(8)), a + 8);
  EXPECT_EQ(arena.bytes_reserved(), 64u + 1000u);
}

TEST(ArenaTest, TakesNothingAtFirstAndChunksOnDemand) {
  Arena arena(64);
  EXPECT_EQ(arena.bytes_reserved(), 0u);
  for (int i = 0; i < 8; ++i) arena.alloc(8);
  EXPECT_EQ(arena.bytes_reserved(), 64u);
  arena.alloc(1);
  EXPECT_EQ(arena.bytes_reserved(), 128u);
}

TEST(ArenaTest, CopyOfEmptyTextIsAnEmptyString) {
  Arena arena;
  EXPECT_STREQ(arena.copy(""), "");
  EXPECT_STREQ(arena.copy({}), "");
}

}  // namespace
}  // namespace vell

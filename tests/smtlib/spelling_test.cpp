#include "vell/smtlib/spelling.h"

#include <gtest/gtest.h>

namespace vell::smtlib {
namespace {

std::string hint(std::string_view word, std::initializer_list<std::string_view> candidates) {
  Spelling spelling(word);
  for (std::string_view c : candidates) spelling.offer(c);
  return spelling.hint();
}

TEST(Spelling, CountsEdits) {
  EXPECT_EQ(edit_distance("assert", "assert", 2), 0u);
  EXPECT_EQ(edit_distance("asert", "assert", 2), 1u);
  EXPECT_EQ(edit_distance("assert", "assrt", 2), 1u);
  EXPECT_EQ(edit_distance("assert", "assurt", 2), 1u);
  EXPECT_EQ(edit_distance("assert", "asesrt", 2), 1u);
  EXPECT_EQ(edit_distance("counter", "coutre", 2), 2u);
  EXPECT_EQ(edit_distance("", "ab", 2), 2u);
  EXPECT_EQ(edit_distance("abc", "xyz", 2), 3u);
  EXPECT_EQ(edit_distance("abc", "abcdefgh", 2), 3u);
}

TEST(Spelling, OffersTheNearest) {
  EXPECT_EQ(hint("asert", {"echo", "assert", "exit"}), "; did you mean `assert`?");
  EXPECT_EQ(hint("bvad", {"bvor", "bvadd", "bvand"}), "; did you mean `bvadd` or `bvand`?");
  EXPECT_EQ(hint("value", {"valse", "valle", "velue", "walue"}),
            "; did you mean `valse`, `valle` or `velue`?");
  EXPECT_EQ(hint("counter", {"coutre", "coutner"}), "; did you mean `coutner`?");
}

TEST(Spelling, OffersNothingFarFetched) {
  EXPECT_EQ(hint("x", {"y", "z"}), "");
  EXPECT_EQ(hint("foo", {"or", "f", "fab"}), "");
  EXPECT_EQ(hint("counter", {"count", "counter"}), "; did you mean `count`?");
  EXPECT_EQ(hint("counter", {"county_r", "pointers"}), "; did you mean `county_r`?");
  EXPECT_EQ(hint("counter", {"pointers", ""}), "");
  EXPECT_EQ(hint(std::string(200, 'a'), {std::string(199, 'a')}), "");
}

}  // namespace
}  // namespace vell::smtlib

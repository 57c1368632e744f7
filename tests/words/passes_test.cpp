#include "vell/words/passes.h"

#include <gtest/gtest.h>

#include "vell/terms/exception.h"

namespace vell::words {
namespace {

TEST(Passes, NamesAndNothingElse) {
  for (char const* text : {"all", "none", "all,-products", "none,+identities"})
    EXPECT_EQ(text, passes_text(parse_passes(text)));
  for (char const* text : {"", "All", "some", "none,", "all ", "products", "+sums", "-"})
    EXPECT_THROW(parse_passes(text), Exception) << text;
}

TEST(Passes, FromLeftToRight) {
  EXPECT_EQ("all", passes_text(parse_passes("none,-products,all")));
  EXPECT_EQ("all,-products", passes_text(parse_passes("-products")));
  EXPECT_EQ("all,-equations,-products", passes_text(parse_passes("-products,-equations")));
  EXPECT_EQ("none,+products", passes_text(parse_passes("none,+products,+equations,-equations")));
}

}  // namespace
}  // namespace vell::words

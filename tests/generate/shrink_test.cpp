#include "tests/generate/shrink.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vell::generate {
namespace {

TEST(ShrinkTest, DroppedDeclarationsTakeTheirUsesAlong) {
  Script const all = {"var x bv 2", "var y bv 2", "term s bvadd bv 2 x y",
                      "blast s",    "blast x",    "atomlit later 5"};
  Script const without_y = {all[0], all[2], all[3], all[4], all[5]};
  EXPECT_EQ(without_undeclared(without_y, all), (Script{all[0], all[4], all[5]}));
}

TEST(ShrinkTest, LeavesTheLinesThatMatter) {
  Script script;
  for (int i = 0; i < 60; ++i) {
    std::string const n = std::to_string(i);
    script.push_back("var x" + n + " bv 2");
    script.push_back("blast x" + n);
  }
  int tries = 0;
  Script const small = shrink(script, [&](Script const& s) {
    ++tries;
    auto const has = [&](char const* line) { return std::count(s.begin(), s.end(), line) != 0; };
    return has("blast x7") && has("blast x41");
  });
  EXPECT_EQ(small, (Script{"var x7 bv 2", "blast x7", "var x41 bv 2", "blast x41"}));
  EXPECT_LT(tries, 200);
}

}  // namespace
}  // namespace vell::generate

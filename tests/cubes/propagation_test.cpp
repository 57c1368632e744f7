#include "vell/cubes/propagation.h"

#include <gtest/gtest.h>

#include <random>

namespace vell::cubes {
namespace {

Formula formula(std::int32_t variables, std::vector<std::int32_t> clauses) {
  return {variables, std::move(clauses), {}};
}

TEST(Propagation, FollowsClausesAndWithdraws) {
  Propagation p(formula(4, {-1, 2, 0, -2, -3, 4, 0}));
  ASSERT_TRUE(p.consistent());
  EXPECT_TRUE(p.assume(std::vector<std::int32_t>{1, 3}));
  EXPECT_EQ(4U, p.assigned());
  EXPECT_EQ(1, p.value(4));
  EXPECT_EQ(-1, p.value(-2));
  p.withdraw(0);
  EXPECT_EQ(0, p.value(4));
  EXPECT_TRUE(p.assume(std::vector<std::int32_t>{-4, 1}));
  EXPECT_EQ(-1, p.value(3));
}

TEST(Propagation, Conflicts) {
  EXPECT_FALSE(Propagation(formula(1, {1, 0, -1, 0})).consistent());
  EXPECT_FALSE(Propagation(formula(1, {0})).consistent());
  Propagation p(formula(3, {-1, 2, 0, -1, -2, 0, 3, 3, 0}));
  ASSERT_TRUE(p.consistent());
  EXPECT_EQ(1, p.value(3));
  EXPECT_FALSE(p.assume(std::vector<std::int32_t>{1}));
  p.withdraw(1);
  EXPECT_TRUE(p.assume(std::vector<std::int32_t>{-1}));
  EXPECT_FALSE(p.assume(std::vector<std::int32_t>{1}));
}

// Against a propagation that looks at every clause until nothing changes.
TEST(Propagation, RandomFormulas) {
  std::mt19937 random(1);
  auto const pick = [&](std::int32_t n) {
    return static_cast<std::int32_t>(random() % static_cast<unsigned>(n));
  };
  int conflicts = 0;
  for (int round = 0; round < 300; ++round) {
    Formula f = formula(12, {});
    for (int c = 0; c < 25; ++c) {
      for (int n = 2 + pick(2); n > 0; --n) f.clauses.push_back((1 + pick(12)) * (pick(2) == 0 ? 1 : -1));
      f.clauses.push_back(0);
    }
    Propagation p(f);
    for (int attempt = 0; attempt < 5; ++attempt) {
      std::vector<std::int32_t> cube;
      for (int n = 1 + pick(3); n > 0; --n) cube.push_back((1 + pick(12)) * (pick(2) == 0 ? 1 : -1));
      std::vector<int> value(13, 0);
      bool good = true;
      auto const set = [&](std::int32_t l) {
        int& v = value[static_cast<std::size_t>(std::abs(l))];
        good = good && v != (l > 0 ? -1 : 1);
        v = l > 0 ? 1 : -1;
      };
      for (std::int32_t l : cube) set(l);
      for (bool changed = true; changed && good;) {
        changed = false;
        f.each([&](std::span<std::int32_t const> clause) {
          std::int32_t open = 0;
          int opens = 0;
          for (std::int32_t l : clause) {
            int const v = value[static_cast<std::size_t>(std::abs(l))] * (l > 0 ? 1 : -1);
            if (v > 0) return;
            if (v == 0 && l != open) ++opens, open = l;
          }
          if (opens == 0) good = false;
          if (opens != 1) return;
          set(open);
          changed = true;
        });
      }
      std::size_t const start = p.assigned();
      bool const holds = p.consistent() && p.assume(cube);
      if (p.consistent()) {
        EXPECT_EQ(good, holds);
      }
      for (std::int32_t v = 1; holds && v <= 12; ++v)
        EXPECT_EQ(value[static_cast<std::size_t>(v)], p.value(v));
      conflicts += good ? 0 : 1;
      p.withdraw(start);
    }
  }
  EXPECT_GT(conflicts, 50);
}

}  // namespace
}  // namespace vell::cubes

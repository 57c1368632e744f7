// Elimination modulo 2^w against counting the solutions one by one.

#include "vell/words/linearsystem.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace vell::words {
namespace {

using Row = LinearSystem::Row;

// Every solution, as a number with the unknowns' values side by side.
std::set<std::uint64_t> solutions(std::vector<Row> const& rows, std::uint64_t width, std::size_t unknowns) {
  std::set<std::uint64_t> out;
  std::uint64_t const mask = (std::uint64_t{1} << width) - 1;
  for (std::uint64_t all = 0; all < (std::uint64_t{1} << (width * unknowns)); ++all) {
    bool holds = true;
    for (Row const& r : rows) {
      std::uint64_t sum = 0;
      for (std::size_t j = 0; j < unknowns; ++j) sum += r.c[j].get_ui() * ((all >> (width * j)) & mask);
      holds &= ((sum ^ r.right.get_ui()) & mask) == 0;
    }
    if (holds) out.insert(all);
  }
  return out;
}

TEST(LinearSystem, KeepsItsSolutions) {
  std::mt19937 random(1);
  unsigned unsolvable = 0;
  for (int round = 0; round < 3000; ++round) {
    std::uint64_t const width = 1 + random() % 4;
    std::size_t const unknowns = 1 + random() % 3;
    std::size_t const count = 1 + random() % 4;
    LinearSystem system(width, unknowns);
    // Even coefficients in every other system: there no pivot has an inverse.
    unsigned const step = round % 2 == 0 ? 1 : 2;
    for (std::size_t i = 0; i < count; ++i) {
      Row row;
      for (std::size_t j = 0; j < unknowns; ++j) row.c.emplace_back(step * (random() % 16));
      row.right = static_cast<unsigned long>(random() % 16);
      system.add(row);
    }
    std::set<std::uint64_t> const before = solutions(system.rows(), width, unknowns);
    std::vector<LinearSystem::Pivot> pivots;
    bool const solvable = system.reduce(pivots);
    EXPECT_EQ(solvable, !before.empty());
    if (!solvable) {
      ++unsolvable;
      continue;
    }
    EXPECT_EQ(solutions(system.rows(), width, unknowns), before);
    ASSERT_EQ(system.rows().size(), pivots.size());
    for (std::size_t i = 0; i < pivots.size(); ++i) {
      mpz_class const unit = 1ul << pivots[i].valuation;
      EXPECT_EQ(system.rows()[i].c[pivots[i].unknown], unit);
      for (mpz_class const& c : system.rows()[i].c)
        EXPECT_TRUE(mpz_divisible_p(c.get_mpz_t(), unit.get_mpz_t()));
      for (std::size_t other = 0; other < pivots.size(); ++other) {
        if (other == i) continue;
        EXPECT_LT(system.rows()[other].c[pivots[i].unknown], unit);
      }
    }
  }
  EXPECT_GT(unsolvable, 300u);
}

TEST(LinearSystem, TakesNumbersModuloThePowerOfTwo) {
  LinearSystem system(8, 2);
  system.add({{-1, 258}, -3});
  EXPECT_EQ(system.rows()[0].c[0], 255);
  EXPECT_EQ(system.rows()[0].c[1], 2);
  EXPECT_EQ(system.rows()[0].right, 253);
}

TEST(LinearSystem, AnEvenRowWithAnOddConstantHasNoSolution) {
  LinearSystem system(8, 2);
  system.add({{6, 10}, 7});
  std::vector<LinearSystem::Pivot> pivots;
  EXPECT_FALSE(system.reduce(pivots));
}

}  // namespace
}  // namespace vell::words

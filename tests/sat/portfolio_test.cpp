#include "vell/sat/portfolio.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>

namespace vell::sat {
namespace {

using bv::BvLit;

// Waits for the answer; the time is there to end a broken run, not to measure one.
SatSolver::Answer wait(Portfolio const& search) {
  auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(120);
  while (!search.done() && std::chrono::steady_clock::now() < end)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return search.done() ? search.answer() : SatSolver::Answer::unknown;
}

TEST(Portfolio, FindsAModel) {
  // Random clauses that the hidden assignment satisfies.
  std::mt19937 random(7);
  std::vector<bool> hidden(200);
  for (std::size_t i = 0; i < hidden.size(); ++i) hidden[i] = random() % 2 == 0;
  std::vector<BvLit> clauses;
  for (int c = 0; c < 760; ++c) {
    std::vector<BvLit> clause;
    bool satisfied = false;
    for (int k = 0; k < 3; ++k) {
      std::size_t const v = random() % hidden.size();
      bool const positive = random() % 2 == 0;
      satisfied |= hidden[v] == positive;
      clause.push_back(positive ? static_cast<BvLit>(v + 2) : -static_cast<BvLit>(v + 2));
    }
    if (!satisfied) continue;
    clauses.insert(clauses.end(), clause.begin(), clause.end());
    clauses.push_back(0);
  }
  run::Limits limits;
  BvLit const assumed = hidden[3] ? 5 : -5;
  Portfolio search(clauses, {assumed}, 0, limits);
  ASSERT_EQ(wait(search), SatSolver::Answer::sat);
  EXPECT_TRUE(search.result().value(assumed));
  bool holds = false;
  for (BvLit l : clauses) {
    if (l != 0) {
      holds |= search.result().value(l);
      continue;
    }
    EXPECT_TRUE(holds);
    holds = false;
  }
}

TEST(Portfolio, TellsTheAssumptionsThatFailed) {
  std::vector<BvLit> const clauses{-2, -3, 0, 4, 1, 0};
  run::Limits limits;
  Portfolio search(clauses, {2, 4, 3}, 0, limits);
  ASSERT_EQ(wait(search), SatSolver::Answer::unsat);
  EXPECT_TRUE(search.result().failed(2));
  EXPECT_TRUE(search.result().failed(3));
  EXPECT_FALSE(search.result().failed(4));
}

TEST(Portfolio, EndsWithItsOwner) {
  // Twelve pigeons in eleven holes: nobody answers that here. The test ends when the search does.
  std::vector<BvLit> clauses;
  auto const in = [](int pigeon, int hole) { return 2 + pigeon * 11 + hole; };
  for (int p = 0; p < 12; ++p) {
    for (int h = 0; h < 11; ++h) clauses.push_back(in(p, h));
    clauses.push_back(0);
  }
  for (int h = 0; h < 11; ++h)
    for (int p = 0; p < 12; ++p)
      for (int q = 0; q < p; ++q) clauses.insert(clauses.end(), {-in(p, h), -in(q, h), 0});
  run::Limits limits;
  Portfolio search(clauses, {}, 3, limits);
  EXPECT_FALSE(search.done());
}

}  // namespace
}  // namespace vell::sat

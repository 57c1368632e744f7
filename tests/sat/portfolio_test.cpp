#include "vell/sat/portfolio.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <random>

#include "tests/sat/pigeons.h"
#include "vell/sinks/solversink.h"

namespace vell::sat {
namespace {

using sinks::Answer;

// Waits for the answer; the time is there to end a broken run, not to measure one.
Answer wait(FurtherSearch const& search) {
  auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(120);
  while (!search.done() && std::chrono::steady_clock::now() < end)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return search.done() ? search.answer() : Answer::unknown;
}

TEST(FurtherSearch, FindsAModel) {
  // Random clauses that the hidden assignment satisfies.
  std::mt19937 random(7);
  std::vector<bool> hidden(200);
  for (std::size_t i = 0; i < hidden.size(); ++i) hidden[i] = random() % 2 == 0;
  std::vector<std::int32_t> clauses;
  for (int c = 0; c < 760; ++c) {
    std::vector<std::int32_t> clause;
    bool satisfied = false;
    for (int k = 0; k < 3; ++k) {
      std::size_t const v = random() % hidden.size();
      bool const positive = random() % 2 == 0;
      satisfied |= hidden[v] == positive;
      clause.push_back(positive ? static_cast<std::int32_t>(v + 1) : -static_cast<std::int32_t>(v + 1));
    }
    if (!satisfied) continue;
    clauses.insert(clauses.end(), clause.begin(), clause.end());
    clauses.push_back(0);
  }
  run::Limits limits;
  std::int32_t const assumed = hidden[3] ? 4 : -4;
  FurtherSearch search(clauses, {assumed}, 0, 50'000, limits);
  ASSERT_EQ(wait(search), Answer::sat);
  EXPECT_EQ(hidden[3], search.result().value(4));
  bool holds = false;
  for (std::int32_t l : clauses) {
    if (l != 0) {
      holds |= search.result().value(std::abs(l)) == (l > 0);
      continue;
    }
    EXPECT_TRUE(holds);
    holds = false;
  }
}

TEST(FurtherSearch, TellsTheAssumptionsThatFailed) {
  std::vector<std::int32_t> const clauses{-1, -2, 0, 3, 4, 0};
  run::Limits limits;
  FurtherSearch search(clauses, {1, 3, 2}, 0, 50'000, limits);
  ASSERT_EQ(wait(search), Answer::unsat);
  EXPECT_TRUE(search.result().failed(1));
  EXPECT_TRUE(search.result().failed(2));
  EXPECT_FALSE(search.result().failed(3));
}

TEST(FurtherSearch, EndsWithItsOwner) {
  // Twelve pigeons in eleven holes: nobody answers that here. The test ends when the search does.
  std::vector<std::int32_t> clauses;
  auto const in = [](int pigeon, int hole) { return 1 + pigeon * 11 + hole; };
  for (int p = 0; p < 12; ++p) {
    for (int h = 0; h < 11; ++h) clauses.push_back(in(p, h));
    clauses.push_back(0);
  }
  for (int h = 0; h < 11; ++h)
    for (int p = 0; p < 12; ++p)
      for (int q = 0; q < p; ++q) clauses.insert(clauses.end(), {-in(p, h), -in(q, h), 0});
  run::Limits limits;
  FurtherSearch search(clauses, {}, 3, 50'000, limits);
  EXPECT_FALSE(search.done());
}

// Counts its clauses and conflicts, and searches without an end of its own.
class EndlessSolver : public sinks::SatSolver {
 public:
  void add(std::span<std::int32_t const>) override { ++clauses; }
  Answer solve(std::span<std::int32_t const>, sinks::Effort const&) override {
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (!terminate() && std::chrono::steady_clock::now() < end) {
      ++conflicts_;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return Answer::unknown;
  }
  bool value(std::int32_t) override { return false; }
  bool failed(std::int32_t) override { return false; }
  void set_terminate(std::function<bool()> f) override { terminate = std::move(f); }
  bool counts_conflicts() const override { return true; }
  std::uint64_t conflicts() const override { return conflicts_; }

  std::function<bool()> terminate;
  std::uint64_t clauses = 0;
  std::uint64_t conflicts_ = 0;
};

class PortfolioTest : public testing::Test {
 protected:
  void make() {
    auto solver = std::make_unique<EndlessSolver>();
    first = solver.get();
    sink = std::make_unique<sinks::SolverSink>(
        std::make_unique<Portfolio>(std::move(solver), 0, limits, tunables));
    for (int i = 0; i < 3; ++i) sink->new_lit();
  }

  run::Limits limits;
  run::Tunables tunables;
  EndlessSolver* first = nullptr;
  std::unique_ptr<sinks::SolverSink> sink;
};

TEST_F(PortfolioTest, AFurtherSearchAnswersForTheFirst) {
  tunables.long_search = 20;
  make();
  sink->add_clause({2, 3});
  sink->add_clause({-2, 3});
  ASSERT_EQ(Answer::sat, sink->solve({-4}));
  EXPECT_EQ(2u, first->clauses);
  EXPECT_GE(first->conflicts_, 20u);
  EXPECT_TRUE(sink->value(3));
  EXPECT_FALSE(sink->value(4));
  std::uint64_t const answered = first->conflicts_;
  sink->add_clause({-3, 4});
  ASSERT_EQ(Answer::unsat, sink->solve({-4, 2}));
  EXPECT_TRUE(sink->failed(-4));
  EXPECT_FALSE(sink->failed(2));
  EXPECT_GE(first->conflicts_, answered + 20);  // they count from the last answer
}

// Several searches join; what they told is given to the first one before its next search.
TEST_F(PortfolioTest, ManySearches) {
  tunables.long_search = 20;
  auto solver = std::make_unique<EndlessSolver>();
  first = solver.get();
  auto const units = std::make_shared<UnitPool>();
  sink = std::make_unique<sinks::SolverSink>(
      std::make_unique<Portfolio>(std::move(solver), 0, limits, tunables, 5, units));
  test::put_pigeons(*sink, 7);
  ASSERT_EQ(Answer::unsat, sink->solve());
  std::uint64_t const given = first->clauses;
  std::size_t const known = units->units().size();
  ASSERT_EQ(Answer::unsat, sink->solve());
  EXPECT_EQ(given + known, first->clauses);
}

TEST(FurtherSearch, SharesUnits) {
  std::vector<std::int32_t> const clauses{-1, 2, 0, 1, -2, 0, -2, 3, 0, 2, -3, 0, 1, 3, 0, 4, 5, 0};
  run::Limits limits;
  UnitPool units;
  units.add(-4);
  FurtherSearch search(clauses, {}, 0, 50'000, limits, 2, &units);
  ASSERT_EQ(wait(search), Answer::sat);
  EXPECT_FALSE(search.result().value(4));  // which the clauses leave open: it was told
  EXPECT_TRUE(search.result().value(5));
  EXPECT_TRUE(search.result().value(1));
}

TEST_F(PortfolioTest, NoFurtherSearchWithALimitOfConflicts) {
  tunables.long_search = 0;
  make();
  sink->set_terminate([this] { return first->conflicts_ >= 100; });
  sink->add_clause({2});
  EXPECT_EQ(Answer::unknown, sink->solve({}, {.conflicts = 1000}));
}

TEST_F(PortfolioTest, NoFurtherSearchOverLargeFormulas) {
  tunables.long_search = 0;
  tunables.portfolio_literals = 8;
  make();
  sink->add_clause({2, 3, 4});
  EXPECT_EQ(Answer::sat, sink->solve());
  sink->set_terminate([this] { return first->conflicts_ >= 100; });
  sink->add_clause({2, 3, -4});
  EXPECT_EQ(Answer::unknown, sink->solve());
}

TEST_F(PortfolioTest, AStopEndsBothSearches) {
  tunables.long_search = 0;
  make();
  test::put_pigeons(*sink, 12);
  int asked = 0;
  sink->set_terminate([&asked] { return ++asked >= 100; });
  EXPECT_EQ(Answer::unknown, sink->solve());
  EXPECT_GE(asked, 100);
}

}  // namespace
}  // namespace vell::sat

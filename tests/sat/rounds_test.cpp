#include "vell/sat/rounds.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/sat/pigeons.h"
#include "vell/sinks/solversink.h"

namespace vell::sat {
namespace {

using sinks::Answer;

// Random clauses of three literals, near the threshold where they are hard.
std::vector<std::vector<std::int32_t>> random_clauses(unsigned seed, std::int32_t variables) {
  std::mt19937 random(seed);
  std::vector<std::vector<std::int32_t>> out(static_cast<std::size_t>(4.26 * variables));
  for (std::vector<std::int32_t>& clause : out)
    for (int i = 0; i < 3; ++i) {
      auto const v = static_cast<std::int32_t>(1 + random() % static_cast<unsigned>(variables));
      clause.push_back(random() % 2 == 0 ? v : -v);
    }
  return out;
}

struct Outcome {
  Answer answer;
  std::uint64_t conflicts;
  std::vector<bool> values;
  bool operator==(Outcome const&) const = default;
};

Outcome solve(unsigned seed, std::int32_t variables, unsigned threads, std::uint64_t alone) {
  run::Limits const limits;
  run::Tunables tunables;
  tunables.long_search = alone;
  Rounds solver(0, threads, limits, tunables);
  auto const clauses = random_clauses(seed, variables);
  for (auto const& clause : clauses) solver.add(clause);
  Outcome out{solver.solve({}, {}), 0, {}};
  out.conflicts = solver.conflicts();
  if (out.answer != Answer::sat) return out;
  for (std::int32_t v = 1; v <= variables; ++v) out.values.push_back(solver.value(v));
  for (auto const& clause : clauses)
    EXPECT_TRUE(std::any_of(clause.begin(), clause.end(), [&](std::int32_t l) {
      return out.values[static_cast<std::size_t>(std::abs(l)) - 1] == (l > 0);
    }));
  return out;
}

// Rounds end at the same conflict each time, whoever is faster; the answer is that of a single search.
TEST(Rounds, TheSameInEveryRun) {
  int sat = 0;
  int unsat = 0;
  for (unsigned seed = 0; seed < 6; ++seed) {
    Outcome const alone = solve(seed, 150, 2, 1'000'000'000);
    Outcome const first = solve(seed, 150, 3, 20);
    EXPECT_EQ(alone.answer, first.answer) << seed;
    for (int again = 0; again < 3; ++again) EXPECT_TRUE(first == solve(seed, 150, 3, 20)) << seed;
    ++(first.answer == Answer::sat ? sat : unsat);
  }
  EXPECT_GT(sat, 0);
  EXPECT_GT(unsat, 0);
}

// More than one round: units are exchanged, and the answer is right.
TEST(Rounds, ManyRounds) {
  run::Limits const limits;
  run::Tunables tunables;
  tunables.long_search = 10;
  sinks::SolverSink sink(std::make_unique<Rounds>(0, 3, limits, tunables));
  test::put_pigeons(sink, 9);
  EXPECT_EQ(Answer::unsat, sink.solve());
}

TEST(Rounds, Incremental) {
  run::Limits const limits;
  run::Tunables tunables;
  tunables.long_search = 0;
  sinks::SolverSink sink(std::make_unique<Rounds>(0, 2, limits, tunables));
  for (int i = 0; i < 3; ++i) sink.new_lit();
  sink.add_clause({2, 3});
  sink.add_clause({-2, 3});
  ASSERT_EQ(Answer::sat, sink.solve({-4}));
  EXPECT_TRUE(sink.value(3));
  EXPECT_FALSE(sink.value(4));
  sink.add_clause({-3, 4});
  ASSERT_EQ(Answer::unsat, sink.solve({-4, 2}));
  EXPECT_TRUE(sink.failed(-4));
  EXPECT_FALSE(sink.failed(2));
  ASSERT_EQ(Answer::sat, sink.solve({2}));
}

// The termination test ends every search, and the solver goes on afterwards.
TEST(Rounds, Ends) {
  run::Limits const limits;
  run::Tunables tunables;
  tunables.long_search = 100;
  sinks::SolverSink sink(std::make_unique<Rounds>(0, 3, limits, tunables));
  std::vector<bv::BvLit> const in = test::put_pigeons(sink, 13);
  sink.set_terminate([&] { return sink.conflicts() > 2000; });
  EXPECT_EQ(Answer::unknown, sink.solve());
  EXPECT_EQ(Answer::unknown, sink.solve({}, {.conflicts = 50}));
  sink.set_terminate({});
  sink.add_clause({in[0]});
  sink.add_clause({-in[0]});
  EXPECT_EQ(Answer::unsat, sink.solve());
}

}  // namespace
}  // namespace vell::sat

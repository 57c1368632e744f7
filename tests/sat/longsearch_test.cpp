#include "vell/sat/longsearch.h"

#include <gtest/gtest.h>

#include <new>
#include <vector>

#include "tests/sat/pigeons.h"
#include "vell/sat/solvers.h"

namespace vell::sat {
namespace {

using bv::BvLit;
using sinks::Answer;

// Gives what it is told to, and counts how often it is asked.
class GivenLemmas : public LemmaSource {
 public:
  std::vector<bv::BvLitList> lemmas() override {
    ++asked;
    if (no_memory) throw std::bad_alloc();
    return given;
  }
  std::vector<bv::BvLitList> given;
  bool no_memory = false;
  int asked = 0;
};

class LongSearchTest : public testing::TestWithParam<unsigned> {
 protected:
  void SetUp() override {
    tunables.long_search = 2'000;
    solver = std::make_unique<sinks::SolverSink>(make_solver({.threads = GetParam()}, limits, tunables));
    search = std::make_unique<LongSearch>(*solver, &source, limits, statistics, tunables);
  }

  run::Limits limits;
  run::Statistics statistics;
  run::Tunables tunables;
  GivenLemmas source;
  std::unique_ptr<sinks::SolverSink> solver;
  std::unique_ptr<LongSearch> search;
};

TEST_P(LongSearchTest, AShortSearchAsksNothing) {
  test::put_pigeons(*solver, 4);
  EXPECT_EQ(Answer::unsat, search->solve({}));
  EXPECT_EQ(0, source.asked);
}

TEST_P(LongSearchTest, WithoutLemmasTheSearchGoesOn) {
  test::put_pigeons(*solver, 9);
  EXPECT_EQ(Answer::unsat, search->solve({}));
  EXPECT_EQ(1, source.asked);
  EXPECT_GE(statistics.conflicts, 2'000u);
}

TEST_P(LongSearchTest, WithoutMemoryForLemmasTheSearchGoesOn) {
  source.no_memory = true;
  test::put_pigeons(*solver, 9);
  EXPECT_EQ(Answer::unsat, search->solve({}));
  EXPECT_EQ(1, source.asked);
}

TEST_P(LongSearchTest, LemmasAreAddedAndTheSearchBeginsAnew) {
  std::vector<BvLit> const in = test::put_pigeons(*solver, 11);
  // Two pigeons in the first hole, and it is over.
  source.given = {{in[0]}, {in[10], bv::l_false}, {bv::l_true, in[1]}};
  std::uint64_t const clauses = solver->clauses();
  EXPECT_EQ(Answer::unsat, search->solve({}));
  EXPECT_EQ(1, source.asked);
  EXPECT_EQ(clauses + 2, solver->clauses());
  EXPECT_LT(solver->conflicts(), 10'000u);
}

TEST_P(LongSearchTest, TheLimitOfConflictsHoldsForBothSearches) {
  std::vector<BvLit> const in = test::put_pigeons(*solver, 11);
  source.given = {{in[0], -in[0], in[1]}};  // of no help
  EXPECT_EQ(Answer::unknown, search->solve({}, 4'000));
  EXPECT_EQ(1, source.asked);
  EXPECT_GE(solver->conflicts(), 3'500u);
  EXPECT_LE(solver->conflicts(), 4'500u);
}

TEST_P(LongSearchTest, TheLimitsEndIt) {
  test::put_pigeons(*solver, 11);
  limits.stop(run::StopReason::timeout);
  EXPECT_EQ(Answer::unknown, search->solve({}));
  EXPECT_EQ(0, source.asked);
}

INSTANTIATE_TEST_SUITE_P(Threads, LongSearchTest, testing::Values(1u, 2u));

}  // namespace
}  // namespace vell::sat

// The embedded solver with a second search beside it from the start: whichever answers, answers, values and
// failed assumptions fit together.

#include "vell/sat/solvers.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tests/sat/pigeons.h"
#include "vell/sinks/solversink.h"

namespace vell::sat {
namespace {

using bv::BvLit;
using sinks::Answer;

class EmbeddedSolverTest : public testing::TestWithParam<unsigned> {
 protected:
  EmbeddedSolverTest() { tunables.long_search = 0; }

  run::Limits limits;
  run::Tunables tunables;
  std::unique_ptr<sinks::SolverSink> solver;
  void SetUp() override {
    solver = std::make_unique<sinks::SolverSink>(make_solver({.threads = GetParam()}, limits, tunables));
  }
};

TEST_P(EmbeddedSolverTest, ValuesAreThoseOfTheAnswer) {
  // Random clauses near the threshold, kept where a hidden assignment satisfies them.
  std::mt19937 random(9);
  std::vector<BvLit> variables(250);
  for (BvLit& v : variables) v = solver->new_lit();
  std::vector<bool> hidden(variables.size());
  for (std::size_t i = 0; i < hidden.size(); ++i) hidden[i] = random() % 2 == 0;
  std::vector<std::vector<BvLit>> clauses;
  while (clauses.size() < 1000) {
    std::vector<BvLit> clause;
    bool satisfied = false;
    for (int k = 0; k < 3; ++k) {
      std::size_t const v = random() % variables.size();
      bool const positive = random() % 2 == 0;
      satisfied |= hidden[v] == positive;
      clause.push_back(positive ? variables[v] : -variables[v]);
    }
    if (!satisfied) continue;
    solver->lits.assign(clause.begin(), clause.end());
    solver->add_clause();
    clauses.push_back(clause);
  }
  BvLit const assumed = hidden[0] ? variables[0] : -variables[0];
  ASSERT_EQ(Answer::sat, solver->solve({assumed, bv::l_true}));
  EXPECT_TRUE(solver->value(assumed));
  for (std::vector<BvLit> const& clause : clauses)
    EXPECT_TRUE(solver->value(clause[0]) || solver->value(clause[1]) || solver->value(clause[2]));
}

TEST_P(EmbeddedSolverTest, FailedAssumptionsAndWhatFollows) {
  BvLit const a = solver->new_lit();
  BvLit const b = solver->new_lit();
  BvLit const c = solver->new_lit();
  solver->add_clause({-a, -b});
  ASSERT_EQ(Answer::unsat, solver->solve({a, c, b}));
  EXPECT_TRUE(solver->failed(a));
  EXPECT_TRUE(solver->failed(b));
  EXPECT_FALSE(solver->failed(c));
  // The same solver goes on.
  ASSERT_EQ(Answer::sat, solver->solve({a}));
  EXPECT_FALSE(solver->value(b));
  solver->add_clause({b, -c});
  ASSERT_EQ(Answer::sat, solver->solve({a}));
  EXPECT_FALSE(solver->value(c));
  solver->add_clause({c});
  EXPECT_EQ(Answer::unsat, solver->solve({a}));
  EXPECT_EQ(Answer::sat, solver->solve({}));
  EXPECT_TRUE(solver->value(b));
}

// Pigeons in fewer holes keep every thread busy, and the other threads end when one has the answer.
TEST_P(EmbeddedSolverTest, AnswersUnsatOnce) {
  test::put_pigeons(*solver, 9);
  EXPECT_EQ(Answer::unsat, solver->solve({}));
  EXPECT_EQ(Answer::unsat, solver->solve({}));
}

TEST_P(EmbeddedSolverTest, ALimitOfConflictsIsObeyed) {
  test::put_pigeons(*solver, 11);
  ASSERT_TRUE(solver->counts_conflicts());
  EXPECT_EQ(Answer::unknown, solver->solve({}, {.conflicts = 500}));
  std::uint64_t const first = solver->conflicts();
  EXPECT_GE(first, 400u);
  EXPECT_LE(first, 600u);
  EXPECT_EQ(Answer::unknown, solver->solve({}, {.conflicts = 500}));
  EXPECT_LE(solver->conflicts(), 2 * first + 200);
}

INSTANTIATE_TEST_SUITE_P(Threads, EmbeddedSolverTest, testing::Values(1u, 2u));

}  // namespace
}  // namespace vell::sat

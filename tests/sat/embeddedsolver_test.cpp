// The embedded solver with a second search beside it from the start: whichever answers, answers, values and
// failed assumptions fit together.

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "vell/sat/satsolver.h"

namespace vell::sat {
namespace {

using Answer = SatSolver::Answer;
using bv::BvLit;

class EmbeddedSolverTest : public testing::TestWithParam<unsigned> {
 protected:
  run::Limits limits;
  run::Statistics statistics;
  std::unique_ptr<SatSolver> solver = make_cadical(limits, statistics, 0, GetParam(), "");

  // Every pigeon in one of n - 1 holes, no two in the same. Pigeon p in hole h is variable p * (n - 1) + h.
  std::vector<BvLit> put_pigeons(std::ptrdiff_t n) {
    std::ptrdiff_t const holes = n - 1;
    std::vector<BvLit> in(static_cast<std::size_t>(n * holes));
    for (BvLit& l : in) l = solver->sink().new_lit();
    for (std::ptrdiff_t p = 0; p < n; ++p) {
      solver->sink().lits.assign(in.begin() + p * holes, in.begin() + (p + 1) * holes);
      solver->sink().add_clause();
    }
    for (std::ptrdiff_t h = 0; h < holes; ++h)
      for (std::ptrdiff_t p = 0; p < n; ++p)
        for (std::ptrdiff_t q = 0; q < p; ++q)
          solver->add_clause(
              {-in[static_cast<std::size_t>(p * holes + h)], -in[static_cast<std::size_t>(q * holes + h)]});
    return in;
  }
  std::uint64_t solver_conflicts() {
    solver->report(statistics);
    return statistics.conflicts;
  }
};

TEST_P(EmbeddedSolverTest, ValuesAreThoseOfTheAnswer) {
  // Random clauses near the threshold, kept where a hidden assignment satisfies them.
  std::mt19937 random(9);
  std::vector<BvLit> variables(250);
  for (BvLit& v : variables) v = solver->sink().new_lit();
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
    solver->sink().lits.assign(clause.begin(), clause.end());
    solver->sink().add_clause();
    clauses.push_back(clause);
  }
  BvLit const assumed = hidden[0] ? variables[0] : -variables[0];
  ASSERT_EQ(Answer::sat, solver->solve({assumed, bv::l_true}));
  EXPECT_TRUE(solver->value(assumed));
  for (std::vector<BvLit> const& clause : clauses)
    EXPECT_TRUE(solver->value(clause[0]) || solver->value(clause[1]) || solver->value(clause[2]));
}

TEST_P(EmbeddedSolverTest, FailedAssumptionsAndWhatFollows) {
  BvLit const a = solver->sink().new_lit();
  BvLit const b = solver->sink().new_lit();
  BvLit const c = solver->sink().new_lit();
  solver->add_clause({-a, -b});
  ASSERT_EQ(Answer::unsat, solver->solve({a, c, b}));
  EXPECT_TRUE(solver->failed(a));
  EXPECT_TRUE(solver->failed(b));
  EXPECT_FALSE(solver->failed(c));
  // The same solver goes on.
  ASSERT_EQ(Answer::sat, solver->solve({a}, [] { return true; }));
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
  put_pigeons(9);
  EXPECT_EQ(Answer::unsat, solver->solve({}));
  EXPECT_EQ(Answer::unsat, solver->solve({}));
}

TEST_P(EmbeddedSolverTest, ALongSearchAsksOnceAndGoesOn) {
  put_pigeons(10);
  int asked = 0;
  EXPECT_EQ(Answer::unsat, solver->solve({}, [&asked] { return ++asked == 0; }));
  EXPECT_EQ(1, asked);
}

TEST_P(EmbeddedSolverTest, ALongSearchEndsForClausesToAdd) {
  std::vector<BvLit> const in = put_pigeons(11);
  bool asked = false;
  EXPECT_EQ(Answer::unknown, solver->solve({}, [&asked] { return asked = true; }));
  EXPECT_TRUE(asked);
  EXPECT_LT(solver_conflicts(), 40'000u);
  // Two pigeons in the first hole, and it is over.
  solver->add_clause({in[0]});
  solver->add_clause({in[10]});
  EXPECT_EQ(Answer::unsat, solver->solve({}));
}

TEST_P(EmbeddedSolverTest, AShortSearchAsksNothing) {
  put_pigeons(4);
  bool asked = false;
  EXPECT_EQ(Answer::unsat, solver->solve({}, [&asked] { return asked = true; }));
  EXPECT_FALSE(asked);
}

INSTANTIATE_TEST_SUITE_P(Threads, EmbeddedSolverTest, testing::Values(1u, 2u));

}  // namespace
}  // namespace vell::sat

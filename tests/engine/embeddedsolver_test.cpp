// The embedded solver with a second search beside it from the start: whichever answers, answers, values and failed
// assumptions fit together.

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "vell/engine/satsolver.h"

namespace vell::engine {
namespace {

using Answer = SatSolver::Answer;
using bv::BvLit;

class EmbeddedSolverTest : public testing::TestWithParam<unsigned> {
 protected:
  Limits limits;
  Statistics statistics;
  std::unique_ptr<SatSolver> solver = make_cadical(limits, statistics, 0, GetParam(), "");
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
  // The same solver goes on, also after calls that were given little to spend.
  ASSERT_EQ(Answer::sat, solver->solve_briefly({a}));
  EXPECT_FALSE(solver->value(b));
  solver->add_clause({b, -c});
  ASSERT_EQ(Answer::sat, solver->solve({a}));
  EXPECT_FALSE(solver->value(c));
  solver->add_clause({c});
  EXPECT_EQ(Answer::unsat, solver->solve({a}));
  EXPECT_EQ(Answer::sat, solver->solve({}));
  EXPECT_TRUE(solver->value(b));
}

// Nine pigeons in eight holes keep every thread busy, and the other threads end when one has the answer.
TEST_P(EmbeddedSolverTest, AnswersUnsatOnce) {
  std::vector<BvLit> in(72);
  for (BvLit& l : in) l = solver->sink().new_lit();
  for (int p = 0; p < 9; ++p) {
    solver->sink().lits.assign(in.begin() + p * 8, in.begin() + p * 8 + 8);
    solver->sink().add_clause();
  }
  for (int h = 0; h < 8; ++h)
    for (int p = 0; p < 9; ++p)
      for (int q = 0; q < p; ++q) solver->add_clause({-in[p * 8 + h], -in[q * 8 + h]});
  EXPECT_EQ(Answer::unsat, solver->solve({}));
  EXPECT_EQ(Answer::unsat, solver->solve({}));
}

INSTANTIATE_TEST_SUITE_P(Threads, EmbeddedSolverTest, testing::Values(1u, 2u));

}  // namespace
}  // namespace vell::engine

#include "vell/sinks/solversink.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "vell/terms/exception.h"

namespace vell::sinks {
namespace {

// Keeps what reaches it and answers as it is told to.
class ScriptedSolver : public SatSolver {
 public:
  void add(std::span<std::int32_t const> clause) override {
    clauses.emplace_back(clause.begin(), clause.end());
  }
  Answer solve(std::span<std::int32_t const> a, Effort const& e) override {
    assumptions.assign(a.begin(), a.end());
    effort = e;
    ++solved;
    return answer;
  }
  bool value(std::int32_t variable) override { return variable % 2 == 1; }
  bool failed(std::int32_t assumption) override { return assumption < 0; }
  void set_terminate(std::function<bool()> f) override { terminate = std::move(f); }
  void set_variables(std::int32_t last) override { variables = last; }

  std::vector<std::vector<std::int32_t>> clauses;
  std::vector<std::int32_t> assumptions;
  Effort effort;
  int solved = 0;
  Answer answer = Answer::unknown;
  std::int32_t variables = -1;
  std::function<bool()> terminate;
};

class SolverSinkTest : public testing::Test {
 protected:
  SolverSinkTest() {
    auto made = std::make_unique<ScriptedSolver>();
    solver = made.get();
    sink = std::make_unique<SolverSink>(std::move(made));
    for (int i = 0; i < 3; ++i) sink->new_lit();
  }
  using Ints = std::vector<std::int32_t>;

  ScriptedSolver* solver;
  std::unique_ptr<SolverSink> sink;
};

TEST_F(SolverSinkTest, VariablesStartAtOneAndConstantsAreRemoved) {
  EXPECT_EQ(5, sink->new_lit());
  EXPECT_EQ(4u, sink->fresh_literals());
  sink->add_clause({2, -3, bv::l_false});
  sink->add_clause({2, bv::l_true});
  sink->add_clause({bv::l_false});
  EXPECT_EQ((std::vector<Ints>{{1, -2}, {}}), solver->clauses);
  EXPECT_EQ(2u, sink->clauses());
  EXPECT_EQ(2u, sink->literals());
  EXPECT_EQ(Answer::unknown, sink->solve({-4, bv::l_true, 2}, {.conflicts = 7}));
  EXPECT_EQ((Ints{-3, 1}), solver->assumptions);
  EXPECT_EQ(7u, solver->effort.conflicts);
  EXPECT_EQ(Effort::any, solver->effort.decisions);
  EXPECT_EQ(4, solver->variables);
}

TEST_F(SolverSinkTest, AFalseAssumptionIsDecidedHere) {
  solver->answer = Answer::sat;
  EXPECT_EQ(Answer::sat, sink->solve());
  EXPECT_EQ(Answer::unsat, sink->solve({-2, bv::l_false}));
  EXPECT_EQ(1, solver->solved);
  EXPECT_TRUE(sink->failed(bv::l_false));
  EXPECT_FALSE(sink->failed(-2));
  EXPECT_THROW(sink->value(2), Exception);
}

TEST_F(SolverSinkTest, ValuesAreThoseOfTheLastAnswer) {
  EXPECT_THROW(sink->value(2), Exception);
  sink->add_clause({2, 3});
  solver->answer = Answer::sat;
  ASSERT_EQ(Answer::sat, sink->solve());
  EXPECT_TRUE(sink->value(2));
  EXPECT_FALSE(sink->value(3));
  EXPECT_TRUE(sink->value(-3));
  EXPECT_TRUE(sink->value(bv::l_true));
  EXPECT_FALSE(sink->value(bv::l_false));
  EXPECT_FALSE(sink->value(4));  // the solver never saw it
  EXPECT_TRUE(sink->value(-4));
  EXPECT_THROW(sink->failed(2), Exception);
  sink->add_clause({4, bv::l_true});  // does not reach the solver
  EXPECT_TRUE(sink->value(2));
  sink->add_clause({4});
  EXPECT_THROW(sink->value(2), Exception);
  ASSERT_EQ(Answer::sat, sink->solve());
  EXPECT_TRUE(sink->value(4));
  solver->answer = Answer::unknown;
  ASSERT_EQ(Answer::unknown, sink->solve());
  EXPECT_THROW(sink->value(2), Exception);
  EXPECT_THROW(sink->failed(2), Exception);
}

// The solver was never told of the variable, and need not answer for it.
TEST_F(SolverSinkTest, AVariableOfSatisfiedClausesOnlyIsFalse) {
  solver->answer = Answer::sat;
  sink->add_clause({4, bv::l_true});
  sink->add_clause({2});
  ASSERT_EQ(Answer::sat, sink->solve());
  EXPECT_TRUE(solver->value(3));
  EXPECT_FALSE(sink->value(4));
}

TEST_F(SolverSinkTest, FailedAssumptionsAreThoseOfTheLastAnswer) {
  solver->answer = Answer::unsat;
  ASSERT_EQ(Answer::unsat, sink->solve({2, -3}));
  EXPECT_FALSE(sink->failed(2));
  EXPECT_TRUE(sink->failed(-3));
  EXPECT_FALSE(sink->failed(bv::l_true));
  EXPECT_THROW(sink->value(2), Exception);
  sink->add_clause({2});
  EXPECT_THROW(sink->failed(-3), Exception);
}

TEST_F(SolverSinkTest, TheTerminationTestReachesTheSolver) {
  sink->set_terminate([] { return true; });
  EXPECT_TRUE(solver->terminate());
}

}  // namespace
}  // namespace vell::sinks

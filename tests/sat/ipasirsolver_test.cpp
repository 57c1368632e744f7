#include "vell/sat/ipasirsolver.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/sat/pigeons.h"
#include "vell/terms/exception.h"

namespace vell::sat {
namespace {

using sinks::Answer;

class IpasirSolverTest : public testing::TestWithParam<char const*> {};

TEST_P(IpasirSolverTest, DecidesIncrementally) {
  IpasirSolver solver(GetParam());
  auto const add = [&](std::vector<std::int32_t> const& clause) { solver.add(clause); };
  auto const solve = [&](std::vector<std::int32_t> const& assumptions) {
    return solver.solve(assumptions, {});
  };
  add({1, 2});
  add({-1, 3});
  ASSERT_EQ(Answer::sat, solve({-2}));
  EXPECT_TRUE(solver.value(1));
  EXPECT_FALSE(solver.value(2));
  EXPECT_TRUE(solver.value(3));
  ASSERT_EQ(Answer::unsat, solve({-2, -3}));
  EXPECT_TRUE(solver.failed(-2));
  EXPECT_TRUE(solver.failed(-3));
  ASSERT_EQ(Answer::sat, solve({}));
  add({-3});
  add({-2});
  EXPECT_EQ(Answer::unsat, solve({}));
  EXPECT_FALSE(solver.counts_conflicts());
}

TEST_P(IpasirSolverTest, IsStopped) {
  sinks::SolverSink solver(std::make_unique<IpasirSolver>(GetParam()));
  test::put_pigeons(solver, 12);
  int asked = 0;
  solver.set_terminate([&] { return ++asked > 3; });
  EXPECT_EQ(Answer::unknown, solver.solve());
  EXPECT_GT(asked, 3);
}

INSTANTIATE_TEST_SUITE_P(Solvers, IpasirSolverTest,
                         testing::Values(VELL_IPASIR_CADICAL, VELL_IPASIR_CRYPTOMINISAT),
                         [](auto const& info) { return info.index == 0 ? "CaDiCaL" : "CryptoMiniSat"; });

TEST(IpasirSolver, RefusesWhatIsNone) { EXPECT_THROW(IpasirSolver("/nowhere/solver.so"), Exception); }

}  // namespace
}  // namespace vell::sat

#include "vell/sat/cadicalsolver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <random>
#include <stdexcept>

#include "vell/sinks/solversink.h"

namespace vell::sat {
namespace {

using sinks::Answer;
using sinks::SolverSink;

// The solver under the clausifier's literals.
class CadicalSink : public SolverSink {
 public:
  explicit CadicalSink(int seed = 0, CadicalSolver::Search how = CadicalSolver::Search::from_ones)
      : SolverSink(std::make_unique<CadicalSolver>(seed, how)) {}
};

TEST(CadicalSolver, AnswersAndValues) {
  CadicalSink sink;
  bv::BvLit const a = sink.new_lit();
  bv::BvLit const b = sink.new_lit();
  sink.add_clause({a, b});
  sink.add_clause({-a, b});
  ASSERT_EQ(Answer::sat, sink.solve());
  EXPECT_TRUE(sink.value(b));
  EXPECT_FALSE(sink.value(-b));
  EXPECT_NE(sink.value(a), sink.value(-a));
  sink.add_clause({-b});
  EXPECT_EQ(Answer::unsat, sink.solve());
}

TEST(CadicalSolver, ConstantsInClauses) {
  CadicalSink sink;
  bv::BvLit const a = sink.new_lit();
  sink.add_clause({a, bv::l_true});
  EXPECT_EQ(0u, sink.clauses());
  sink.add_clause({a, bv::l_false});
  ASSERT_EQ(Answer::sat, sink.solve());
  EXPECT_TRUE(sink.value(a));
  EXPECT_TRUE(sink.value(bv::l_true));
  EXPECT_FALSE(sink.value(bv::l_false));
  sink.add_clause({bv::l_false});
  EXPECT_EQ(Answer::unsat, sink.solve());
}

TEST(CadicalSolver, AConflictLimitEndsOneCall) {
  // Eight pigeons in seven holes: thousands of conflicts, and soon done.
  CadicalSink sink(0, CadicalSolver::Search::models_from_ones);
  std::vector<bv::BvLit> in(56);
  for (bv::BvLit& l : in) l = sink.new_lit();
  for (int p = 0; p < 8; ++p) {
    sink.lits.assign(in.begin() + p * 7, in.begin() + p * 7 + 7);
    sink.add_clause();
  }
  for (int h = 0; h < 7; ++h)
    for (int p = 0; p < 8; ++p)
      for (int q = 0; q < p; ++q) sink.add_clause({-in[p * 7 + h], -in[q * 7 + h]});
  EXPECT_EQ(Answer::unknown, sink.solve({}, {.conflicts = 10}));
  EXPECT_EQ(Answer::unknown, sink.solve({}, {.decisions = 3}));
  EXPECT_EQ(Answer::unsat, sink.solve());
}

TEST(CadicalSolver, EveryWayOfSearchingAnswersTheSame) {
  using Search = CadicalSolver::Search;
  for (Search how : {Search::from_zeros, Search::from_ones, Search::models_from_zeros,
                     Search::models_from_ones, Search::plain}) {
    // A circle of implications, cut by one clause; then closed.
    CadicalSink sink(3, how);
    std::vector<bv::BvLit> v(40);
    for (bv::BvLit& l : v) l = sink.new_lit();
    for (std::size_t i = 0; i + 1 < v.size(); ++i) sink.add_clause({-v[i], v[i + 1]});
    sink.add_clause({v[20]});
    ASSERT_EQ(Answer::sat, sink.solve({-v[19]}));
    for (std::size_t i = 0; i < v.size(); ++i) EXPECT_EQ(sink.value(v[i]), i >= 20);
    sink.add_clause({-v[39], -v[20]});
    EXPECT_EQ(Answer::unsat, sink.solve());
  }
}

TEST(CadicalSolver, UnseenVariablesAreFalse) {
  CadicalSink sink;
  bv::BvLit const a = sink.new_lit();
  ASSERT_EQ(Answer::sat, sink.solve());
  EXPECT_FALSE(sink.value(a));
  EXPECT_TRUE(sink.value(-a));
}

TEST(CadicalSolver, AssumptionsFailAndAreForgotten) {
  CadicalSink sink;
  bv::BvLit const a = sink.new_lit();
  bv::BvLit const b = sink.new_lit();
  bv::BvLit const c = sink.new_lit();
  sink.add_clause({-a, -b});
  sink.add_clause({c, -c, a});
  ASSERT_EQ(Answer::unsat, sink.solve({c, a, b, bv::l_true}));
  EXPECT_TRUE(sink.failed(a));
  EXPECT_TRUE(sink.failed(b));
  EXPECT_FALSE(sink.failed(c));
  EXPECT_FALSE(sink.failed(bv::l_true));
  EXPECT_EQ(Answer::sat, sink.solve());
  ASSERT_EQ(Answer::unsat, sink.solve({a, bv::l_false}));
  EXPECT_TRUE(sink.failed(bv::l_false));
  EXPECT_FALSE(sink.failed(a));
  EXPECT_EQ(Answer::sat, sink.solve({a}));
}

// Pigeons in holes: hard enough that the solver must have been stopped.
void add_pigeons(CadicalSink& sink, int holes) {
  std::vector<std::vector<bv::BvLit>> in(holes + 1, std::vector<bv::BvLit>(holes));
  for (auto& pigeon : in)
    for (bv::BvLit& l : pigeon) l = sink.new_lit();
  for (auto& pigeon : in) {
    sink.lits = pigeon;
    sink.add_clause();
  }
  for (int h = 0; h < holes; ++h)
    for (int p = 0; p <= holes; ++p)
      for (int q = 0; q < p; ++q) sink.add_clause({-in[p][h], -in[q][h]});
}

TEST(CadicalSolver, TerminatorEndsTheSearch) {
  CadicalSink sink;
  add_pigeons(sink, 12);
  std::uint64_t calls = 0;
  sink.set_terminate([&] { return ++calls > 50; });
  EXPECT_EQ(Answer::unknown, sink.solve());
  EXPECT_GT(calls, 50u);
  EXPECT_GT(sink.conflicts(), 0u);
}

// The solver is in no state to be used or destroyed.
TEST(CadicalSolver, AnExceptionThatLeavesTheSolverAbandonsIt) {
  CadicalSink sink;
  add_pigeons(sink, 12);
  sink.set_terminate([]() -> bool { throw std::runtime_error("no more"); });
  EXPECT_THROW(sink.solve(), std::runtime_error);
  EXPECT_THROW(sink.solve(), std::bad_alloc);
  EXPECT_THROW(sink.add_clause({2}), std::bad_alloc);
  EXPECT_THROW(sink.set_terminate({}), std::bad_alloc);
  EXPECT_EQ(0u, sink.conflicts());
}

TEST(CadicalSolver, SmallPigeonsAreUnsat) {
  CadicalSink sink;
  add_pigeons(sink, 5);
  EXPECT_EQ(Answer::unsat, sink.solve());
}

// Units are consequences of the clauses, also where they were found under assumptions: they hold in a model
// that was there before the clauses.
TEST(CadicalSolver, LearnedUnits) {
  std::mt19937 random(3);
  std::vector<bool> model(151);
  for (std::size_t v = 1; v < model.size(); ++v) model[v] = random() % 2 == 0;
  auto const holds = [&](std::int32_t l) { return model[static_cast<std::size_t>(std::abs(l))] == (l > 0); };
  CadicalSolver solver;
  std::vector<std::int32_t> units;
  solver.set_learned_unit([&](std::int32_t l) { units.push_back(l); });
  for (int c = 0; c < 800; ++c) {
    std::vector<std::int32_t> clause;
    do {
      clause.clear();
      for (int i = 0; i < 3; ++i) {
        auto const v = static_cast<std::int32_t>(1 + random() % 150);
        clause.push_back(random() % 2 == 0 ? v : -v);
      }
    } while (std::none_of(clause.begin(), clause.end(), holds));
    solver.add(clause);
  }
  for (std::int32_t v = 1; v <= 10; ++v) {
    std::int32_t const assumption = model[static_cast<std::size_t>(v)] ? -v : v;
    solver.solve({&assumption, 1}, {});
  }
  EXPECT_FALSE(units.empty());
  for (std::int32_t l : units) EXPECT_TRUE(holds(l)) << l;
}

}  // namespace
}  // namespace vell::sat

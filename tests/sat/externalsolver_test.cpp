// What a program of one's own is given and how its answer is taken: every clause once and in order, however
// many there are, and nothing of it left behind.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>

#include "tests/support/scratch.h"
#include "vell/sat/solvers.h"
#include "vell/sinks/solversink.h"

namespace vell::sat {
namespace {

using bv::BvLit;
using sinks::Answer;

class ExternalSolverTest : public testing::Test {
 protected:
  ExternalSolverTest() { setenv("TMPDIR", temporary.file("").c_str(), 1); }
  ~ExternalSolverTest() override { unsetenv("TMPDIR"); }

  std::unique_ptr<sinks::SolverSink> solver(std::string const& command) {
    return std::make_unique<sinks::SolverSink>(make_external_solver(limits, command));
  }
  // Keeps what it is given, and prints the text.
  std::string keep_and_say(std::string const& text) {
    return "cat {cnf} > '" + kept.file("query") + "'; printf '" + text + "'";
  }

  test::Scratch temporary;
  test::Scratch kept;
  run::Limits limits;
};

TEST_F(ExternalSolverTest, EveryClauseOnceAndInOrder) {
  auto s = solver(keep_and_say("s UNSATISFIABLE\\n"));
  // Some two megabytes, and more between two calls, in lines of many lengths.
  std::string expected;
  std::uint64_t clauses = 0;
  BvLit last = 0;
  auto const add = [&](int n) {
    for (int i = 0; i < n; ++i) {
      BvLit const l = s->new_lit();
      BvLit const other = last == 0 ? l : last;
      s->add_clause(i % 3 == 0 ? std::initializer_list<BvLit>{-l} : std::initializer_list<BvLit>{l, -other});
      // The first literal, 2, is variable 1.
      expected += std::to_string(i % 3 == 0 ? 1 - l : l - 1) +
                  (i % 3 == 0 ? "" : " " + std::to_string(1 - other)) + " 0\n";
      last = l;
      ++clauses;
    }
  };
  for (int n : {100000, 1, 0, 30000}) {
    add(n);
    ASSERT_EQ(Answer::unsat, s->solve({last}));
    std::string const header = "p cnf " + std::to_string(last - 1) + " " + std::to_string(clauses + 1) + "\n";
    // Not EXPECT_EQ: it would print megabytes.
    ASSERT_TRUE(kept.read("query") == header + expected + std::to_string(last - 1) + " 0\n") << n;
    EXPECT_EQ(0u, temporary.files());
  }
}

TEST_F(ExternalSolverTest, TheModelIsTheProgramsOwn) {
  auto s = solver(keep_and_say("s SATISFIABLE\\nv 1 -2\\nv 3 0\\n"));
  BvLit const a = s->new_lit();
  BvLit const b = s->new_lit();
  BvLit const c = s->new_lit();
  s->add_clause({a, b, c});
  ASSERT_EQ(Answer::sat, s->solve({}));
  EXPECT_TRUE(s->value(a));
  EXPECT_FALSE(s->value(b));
  EXPECT_TRUE(s->value(-b));
  EXPECT_TRUE(s->value(c));
}

TEST_F(ExternalSolverTest, TheProgramIsToldWhereItsProofGoes) {
  sinks::SolverSink s(make_external_solver(limits, "echo 1 0 > {proof}; : {cnf}; echo s UNSATISFIABLE",
                                           kept.file("it's one")));
  s.add_clause({s.new_lit()});
  ASSERT_EQ(Answer::unsat, s.solve({}));
  EXPECT_EQ("1 0\n", kept.read("it's one"));
}

TEST_F(ExternalSolverTest, StoppedItWritesNoFile) {
  auto s = solver(keep_and_say("s UNSATISFIABLE\\n"));
  s->add_clause({s->new_lit()});
  limits.stop(run::StopReason::interrupted);
  EXPECT_THROW(s->solve({}), run::Stopped);
  EXPECT_EQ(0u, temporary.files());
  EXPECT_EQ(0u, kept.files());
}

TEST_F(ExternalSolverTest, TheTerminationTestEndsTheProgram) {
  auto s = solver("sleep 100; cat {cnf}");
  int asked = 0;
  s->set_terminate([&asked] { return ++asked >= 3; });
  s->add_clause({s->new_lit()});
  EXPECT_FALSE(s->counts_conflicts());
  EXPECT_EQ(Answer::unknown, s->solve());
  EXPECT_GE(asked, 3);
}

}  // namespace
}  // namespace vell::sat

#include "vell/script/solver.h"

#include <gtest/gtest.h>

#include <thread>

#include "vell/terms/exception.h"
#include "vell/terms/theory.h"

namespace vell::script {
namespace {

class SolverTest : public testing::Test {
 protected:
  Term_ const* word(std::uint64_t n) { return terms.mk_bv(n, 8); }
  Term_ const* below(Term_ const* a, Term_ const* b) { return mk_app(terms, "bvult", {a, b}); }
  Answer check(std::vector<Term_ const*> const& assumptions = {}) { return solver.check(assumptions); }
  // Two primes of 30 bits: nothing for a test's patience.
  void assert_hard() {
    Term_ const* a = solver.declare("a", terms.bv_type(64));
    Term_ const* b = solver.declare("b", terms.bv_type(64));
    Term_ const* bound = terms.mk_bv(std::uint64_t{1} << 32, 64);
    solver.assert_formula(
        mk_app(terms, "=", {mk_app(terms, "bvmul", {a, b}), terms.mk_bv(1152921470247108503, 64)}));
    for (Term_ const* t : {a, b}) {
      solver.assert_formula(below(t, bound));
      solver.assert_formula(mk_app(terms, "bvugt", {t, terms.mk_bv(1, 64)}));
    }
  }

  TermManager terms;
  Solver solver{terms};
};

TEST_F(SolverTest, FindsAModel) {
  Term_ const* x = solver.declare("x", terms.bv_type(8));
  solver.assert_formula(mk_app(terms, "=", {mk_app(terms, "bvmul", {x, word(3)}), word(33)}));
  ASSERT_EQ(Answer::sat, check());
  EXPECT_EQ((std::vector<std::uint64_t>{11}), solver.words(x));
  EXPECT_EQ("#b00001011", solver.text(x));
  EXPECT_EQ("#b00001100", solver.text(mk_app(terms, "bvadd", {x, word(1)})));
  EXPECT_TRUE(solver.is_true(below(x, word(12))));
  Model model = solver.model();
  solver.assert_formula(below(x, word(3)));
  EXPECT_THROW(solver.words(x), Exception);
  EXPECT_EQ((std::vector<std::uint64_t>{11}), model.words(x));
}

TEST_F(SolverTest, HasLevels) {
  Term_ const* x = solver.declare("x", terms.bv_type(8));
  solver.assert_formula(below(x, word(10)));
  solver.push();
  solver.assert_formula(below(word(20), x));
  EXPECT_EQ(1U, solver.levels());
  EXPECT_EQ(Answer::unsat, check());
  solver.pop();
  EXPECT_EQ(Answer::sat, check());
  solver.push(2);
  EXPECT_THROW(solver.pop(3), Exception);
  EXPECT_EQ(2U, solver.levels());
  solver.pop(2);
  EXPECT_EQ(Answer::unsat, check({below(word(20), x)}));
  EXPECT_EQ(Answer::sat, check());
}

TEST_F(SolverTest, TellsCores) {
  Term_ const* x = solver.declare("x", terms.bv_type(8));
  solver.assert_formula(below(x, word(10)), "low");
  solver.assert_formula(below(word(20), x), "high");
  solver.assert_formula(below(word(0), x), "some");
  ASSERT_EQ(Answer::unsat, check());
  EXPECT_EQ((std::vector<std::string>{"low", "high"}), solver.core());
  EXPECT_THROW(solver.words(x), Exception);
}

// A name after a check: what was asserted before holds on.
TEST_F(SolverTest, TellsCoresOfLateNames) {
  Term_ const* x = solver.declare("x", terms.bv_type(8));
  solver.assert_formula(below(x, word(10)));
  ASSERT_EQ(Answer::sat, check());
  solver.push();
  solver.assert_formula(below(word(20), x), "high");
  ASSERT_EQ(Answer::unsat, check());
  EXPECT_EQ((std::vector<std::string>{"high"}), solver.core());
  solver.pop();
  EXPECT_EQ(Answer::sat, check());
  EXPECT_THROW(solver.core(), Exception);
}

TEST_F(SolverTest, TellsFailedAssumptions) {
  Term_ const* x = solver.declare("x", terms.bv_type(8));
  Term_ const* low = below(x, word(10));
  Term_ const* high = below(word(20), x);
  Term_ const* odd = mk_app(terms, "=", {mk_app(terms, "extract", {x}, {0, 0}), terms.mk_bv(1, 1)});
  ASSERT_EQ(Answer::unsat, check({low, odd, high}));
  EXPECT_EQ((std::vector<Term_ const*>{low, high}), solver.failed_assumptions());
}

TEST_F(SolverTest, ObeysLimits) {
  assert_hard();
  solver.set_conflict_limit(100);
  ASSERT_EQ(Answer::unknown, check());
  EXPECT_EQ("resourceout", solver.reason_unknown());
  solver.set_conflict_limit(0);
  solver.set_time_limit(50);
  ASSERT_EQ(Answer::unknown, check());
  EXPECT_EQ("timeout", solver.reason_unknown());
  // The next check has its own time.
  solver.set_time_limit(0);
  solver.assert_formula(terms.mk_bool(false));
  EXPECT_EQ(Answer::unsat, check());
}

TEST_F(SolverTest, IsInterruptedByAnotherThread) {
  assert_hard();
  std::atomic<bool> done = false;
  std::thread other([&] {
    while (!done) {
      solver.interrupt();
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  });
  Answer const answer = check();
  done = true;
  other.join();
  ASSERT_EQ(Answer::unknown, answer);
  EXPECT_EQ("interrupted", solver.reason_unknown());
  solver.assert_formula(terms.mk_bool(false));
  EXPECT_EQ(Answer::unsat, check());
}

TEST_F(SolverTest, RefusesWhatIsNoFormula) {
  Term_ const* x = solver.declare("x", terms.bv_type(8));
  EXPECT_THROW(solver.assert_formula(x), Exception);
  EXPECT_THROW(check({x}), Exception);
}

// A check that throws in the middle of its work leaves nothing behind.
TEST_F(SolverTest, GoesOnAfterATermWithoutBits) {
  Term_ const* x = solver.declare("x", terms.bv_type(8));
  Term_ const* n = terms.mk_variable("n", terms.int_type);
  solver.assert_formula(below(x, word(1)));
  solver.push();
  solver.assert_formula(terms.mk_term(terms.operator_symbol(SymbolTag::equal, 2, terms.bool_type),
                                      std::vector<Term_ const*>{n, terms.mk_variable("m", terms.int_type)}));
  EXPECT_THROW(check(), Exception);
  EXPECT_THROW(solver.words(x), Exception);
  solver.pop();
  ASSERT_EQ(Answer::sat, check());
  EXPECT_EQ((std::vector<std::uint64_t>{0}), solver.words(x));
}

TEST_F(SolverTest, CountsItsChecks) {
  check();
  check();
  EXPECT_NE(std::string::npos, solver.control().statistics_json().find("\"check-sats\": 2"))
      << solver.control().statistics_json();
}

TEST(Solver, RefusesUnknownOptions) {
  TermManager terms;
  SolverOptions options;
  options.words = "some";
  EXPECT_THROW(Solver(terms, options), Exception);
}

TEST(Solver, WorksWithASharedObject) {
  TermManager terms;
  SolverOptions options;
  options.ipasir = VELL_IPASIR_CADICAL;
  Solver solver(terms, options);
  Term_ const* x = solver.declare("x", terms.bv_type(8));
  solver.assert_formula(
      mk_app(terms, "=", {mk_app(terms, "bvmul", {x, terms.mk_bv(3, 8)}), terms.mk_bv(33, 8)}), "product");
  ASSERT_EQ(Answer::sat, solver.check());
  EXPECT_EQ((std::vector<std::uint64_t>{11}), solver.words(x));
  solver.push();
  solver.assert_formula(mk_app(terms, "bvult", {x, terms.mk_bv(5, 8)}), "small");
  ASSERT_EQ(Answer::unsat, solver.check());
  EXPECT_EQ((std::vector<std::string>{"product", "small"}), solver.core());
  solver.pop();
  EXPECT_EQ(Answer::sat, solver.check());
  EXPECT_THROW(solver.set_conflict_limit(5), Exception);
  options.ipasir = "/nowhere/solver.so";
  EXPECT_THROW(Solver(terms, options), Exception);
}

TEST(Solver, WorksWithoutPassesAndWithAnotherSolver) {
  TermManager terms;
  SolverOptions options;
  options.words = "none";
  options.command = "cadical -q {cnf}";
  Solver solver(terms, options);
  Term_ const* x = solver.declare("x", terms.bv_type(8));
  solver.assert_formula(
      mk_app(terms, "=", {mk_app(terms, "bvmul", {x, terms.mk_bv(3, 8)}), terms.mk_bv(33, 8)}));
  ASSERT_EQ(Answer::sat, solver.check());
  EXPECT_EQ((std::vector<std::uint64_t>{11}), solver.words(x));
  EXPECT_THROW(solver.set_conflict_limit(5), Exception);
}

}  // namespace
}  // namespace vell::script

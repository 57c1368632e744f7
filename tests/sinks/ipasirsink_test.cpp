// Two real solvers in one program, each behind its shared object, and a table of functions that records its
// calls.

#include "vell/sinks/ipasirsink.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "vell/bv/wordclausifier.h"
#include "vell/terms/exception.h"
#include "vell/terms/termmanager.h"

namespace vell::sinks {
namespace {

using bv::BvLit;
using bv::BvLitList;

IpasirLibrary& library(std::string const& solver) {
  static IpasirLibrary cadical(VELL_IPASIR_CADICAL);
  static IpasirLibrary cryptominisat(VELL_IPASIR_CRYPTOMINISAT);
  return solver == "cadical" ? cadical : cryptominisat;
}

class IpasirSolverTest : public testing::TestWithParam<char const*> {
 protected:
  Term_ const* variable(char const* name, std::uint64_t width) {
    return tm.mk_variable(name, tm.bv_type(width));
  }
  std::uint64_t value_of(Term_ const* t) {
    BvLitList bits;
    EXPECT_TRUE(clausifier.get_bits(t, bits));
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bits.size(); ++i) value |= std::uint64_t{sink.value(bits[i])} << i;
    return value;
  }
  // x * y = product, both factors above 1, as words wide enough for it.
  void assert_factors(std::uint64_t product, std::uint64_t width) {
    x = variable("x", width);
    y = variable("y", width);
    auto wide = [&](Term_ const* t) { return tm.mk_app(SymbolTag::bv_zero_extend, {t}, width); };
    assert_true(tm.mk_app(SymbolTag::equal,
                          {tm.mk_app(SymbolTag::bv_mul, {wide(x), wide(y)}), tm.mk_bv(product, 2 * width)}));
    assert_true(tm.mk_app(SymbolTag::bv_ult, {tm.mk_bv(1, width), x}));
    assert_true(tm.mk_app(SymbolTag::bv_ule, {x, y}));
  }
  void assert_true(Term_ const* t) { sink.add_clause({clausifier.bit_blast(t, &sink)}); }

  TermManager tm;
  IpasirSink sink{library(GetParam()).functions()};
  bv::WordClausifier clausifier{&tm, nullptr};
  Term_ const* x = nullptr;
  Term_ const* y = nullptr;
};

TEST_P(IpasirSolverTest, NamesItself) {
  EXPECT_EQ(library(GetParam()).signature().rfind(std::string(GetParam()) + "-", 0), 0u);
}

TEST_P(IpasirSolverTest, FindsFactors) {
  assert_factors(11 * 13, 8);
  ASSERT_EQ(sink.solve(), Answer::sat);
  EXPECT_EQ(value_of(x), 11u);
  EXPECT_EQ(value_of(y), 13u);
}

TEST_P(IpasirSolverTest, FindsThatAPrimeHasNoFactors) {
  assert_factors(251, 8);
  EXPECT_EQ(sink.solve(), Answer::unsat);
}

TEST_P(IpasirSolverTest, EnumeratesModelsWithClausesBetweenTheAnswers) {
  assert_factors(2 * 2 * 3 * 5, 8);  // 2*30, 3*20, 4*15, 5*12, 6*10
  std::uint64_t sum = 0;
  int models = 0;
  while (sink.solve() == Answer::sat) {
    ASSERT_EQ(value_of(x) * value_of(y), 60u);
    sum += value_of(x);
    ++models;
    assert_true(tm.mk_app(SymbolTag::bool_not, {tm.mk_app(SymbolTag::equal, {x, tm.mk_bv(value_of(x), 8)})}));
  }
  EXPECT_EQ(models, 5);
  EXPECT_EQ(sum, 2u + 3 + 4 + 5 + 6);
}

TEST_P(IpasirSolverTest, NamesTheAssumptionsUsed) {
  x = variable("x", 16);
  BvLit const below = clausifier.bit_blast(tm.mk_app(SymbolTag::bv_ult, {x, tm.mk_bv(100, 16)}), &sink);
  BvLit const above = clausifier.bit_blast(tm.mk_app(SymbolTag::bv_ult, {tm.mk_bv(200, 16), x}), &sink);
  BvLit const unrelated = sink.new_lit();
  ASSERT_EQ(sink.solve({below, unrelated}), Answer::sat);
  EXPECT_LT(value_of(x), 100u);
  EXPECT_TRUE(sink.value(unrelated));
  EXPECT_FALSE(sink.value(-unrelated));
  ASSERT_EQ(sink.solve({below, -unrelated, above}), Answer::unsat);
  EXPECT_TRUE(sink.failed(below));
  EXPECT_TRUE(sink.failed(above));
  EXPECT_FALSE(sink.failed(-unrelated));
  ASSERT_EQ(sink.solve({above}), Answer::sat);
  EXPECT_GT(value_of(x), 200u);
}

TEST_P(IpasirSolverTest, TakesConstants) {
  BvLit const a = sink.new_lit();
  sink.add_clause({a, bv::l_true});
  EXPECT_EQ(sink.clauses(), 0u);
  sink.add_clause({bv::l_false, -a});
  EXPECT_EQ(sink.clauses(), 1u);
  EXPECT_EQ(sink.literals(), 1u);
  ASSERT_EQ(sink.solve({bv::l_true}), Answer::sat);
  EXPECT_FALSE(sink.value(a));
  EXPECT_TRUE(sink.value(bv::l_true));
  EXPECT_FALSE(sink.value(bv::l_false));
  ASSERT_EQ(sink.solve({-a, bv::l_false}), Answer::unsat);
  EXPECT_TRUE(sink.failed(bv::l_false));
  EXPECT_FALSE(sink.failed(-a));
  ASSERT_EQ(sink.solve({a, bv::l_true}), Answer::unsat);
  EXPECT_TRUE(sink.failed(a));
  EXPECT_FALSE(sink.failed(bv::l_true));
  sink.add_clause({bv::l_false});
  EXPECT_EQ(sink.solve(), Answer::unsat);
  EXPECT_EQ(sink.solve({-a}), Answer::unsat);
  EXPECT_FALSE(sink.failed(-a));
}

TEST_P(IpasirSolverTest, AVariableTheSolverNeverSawIsFalse) {
  BvLit const a = sink.new_lit();
  ASSERT_EQ(sink.solve(), Answer::sat);
  EXPECT_FALSE(sink.value(a));
  EXPECT_TRUE(sink.value(-a));
}

TEST_P(IpasirSolverTest, RefusesQuestionsWithoutAnAnswer) {
  BvLit const a = sink.new_lit();
  EXPECT_THROW(sink.value(a), Exception);
  EXPECT_THROW(sink.failed(a), Exception);
  ASSERT_EQ(sink.solve({a}), Answer::sat);
  EXPECT_THROW(sink.failed(a), Exception);
  sink.add_clause({-a});
  EXPECT_THROW(sink.value(a), Exception);
  ASSERT_EQ(sink.solve({a}), Answer::unsat);
  EXPECT_THROW(sink.value(a), Exception);
}

// A product of two primes of 31 bits takes far longer than the test may.
TEST_P(IpasirSolverTest, StopsWhenTold) {
  assert_factors(1518500279ull * 1836311951ull, 31);
  auto const start = std::chrono::steady_clock::now();
  sink.set_terminate(
      [&] { return std::chrono::steady_clock::now() - start > std::chrono::milliseconds(200); });
  EXPECT_EQ(sink.solve(), Answer::unknown);
  EXPECT_THROW(sink.value(2), Exception);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

TEST_P(IpasirSolverTest, AnExceptionOfTheTestLeavesSolve) {
  assert_factors(1518500279ull * 1836311951ull, 31);
  sink.set_terminate([]() -> bool { throw std::runtime_error("enough"); });
  try {
    sink.solve();
    FAIL() << "solve() came back";
  } catch (std::runtime_error const& e) {
    EXPECT_STREQ(e.what(), "enough");
  }
  // The solver is whole, and the test can be taken away.
  sink.set_terminate(nullptr);
  EXPECT_EQ(sink.solve({clausifier.bit_blast(tm.mk_app(SymbolTag::equal, {x, tm.mk_bv(2, 31)}), &sink)}),
            Answer::unsat);
}

INSTANTIATE_TEST_SUITE_P(Solvers, IpasirSolverTest, testing::Values("cadical", "cryptominisat"),
                         [](auto const& info) { return std::string(info.param); });

// ---- both at once, against truth tables ----

constexpr int variables = 7;

bool holds(std::vector<BvLitList> const& clauses, unsigned assignment) {
  for (BvLitList const& clause : clauses) {
    bool satisfied = false;
    for (BvLit l : clause) satisfied |= ((assignment >> (std::abs(l) - 2)) & 1) == (l > 0);
    if (!satisfied) return false;
  }
  return true;
}

bool satisfiable(std::vector<BvLitList> clauses, std::vector<BvLit> const& assumptions) {
  for (BvLit a : assumptions) clauses.push_back({a});
  for (unsigned assignment = 0; assignment < 1u << variables; ++assignment)
    if (holds(clauses, assignment)) return true;
  return false;
}

TEST(IpasirSinkTest, TwoSolversAgreeWithTruthTables) {
  std::mt19937 random(20240229);
  auto literal = [&] {
    BvLit const v = 2 + static_cast<BvLit>(random() % variables);
    return random() % 2 == 0 ? v : -v;
  };
  int answered_sat = 0;
  int answered_unsat = 0;
  int strict_cores = 0;
  for (int round = 0; round < 120; ++round) {
    IpasirSink first(library("cadical").functions());
    IpasirSink second(library("cryptominisat").functions());
    for (int i = 0; i < variables; ++i) ASSERT_EQ(first.new_lit(), second.new_lit());
    std::vector<BvLitList> clauses;
    for (int step = 0; step < 5; ++step) {
      for (int i = 0; i < 5; ++i) {
        BvLitList clause;
        for (unsigned n = 1 + random() % 4; n > 0; --n) clause.push_back(literal());
        clauses.push_back(clause);
        first.lits = second.lits = clause;
        first.add_clause();
        second.add_clause();
      }
      std::vector<BvLit> assumptions;
      for (unsigned n = random() % 4; n > 0; --n) assumptions.push_back(literal());
      bool const expected = satisfiable(clauses, assumptions);
      ++(expected ? answered_sat : answered_unsat);
      for (IpasirSink* sink : {&first, &second}) {
        ASSERT_EQ(sink->solve(assumptions), expected ? Answer::sat : Answer::unsat) << "round " << round;
        if (expected) {
          unsigned assignment = 0;
          for (int v = 0; v < variables; ++v) assignment |= unsigned{sink->value(2 + v)} << v;
          EXPECT_TRUE(holds(clauses, assignment));
          for (BvLit a : assumptions) EXPECT_TRUE(sink->value(a));
        } else {
          std::vector<BvLit> core;
          for (BvLit a : assumptions)
            if (sink->failed(a)) core.push_back(a);
          EXPECT_FALSE(satisfiable(clauses, core));
          strict_cores += core.size() < assumptions.size();
        }
      }
    }
  }
  EXPECT_GT(answered_sat, 50);
  EXPECT_GT(answered_unsat, 50);
  EXPECT_GT(strict_cores, 20);
}

// ---- the loader ----

std::string message_of(std::string const& path) {
  try {
    IpasirLibrary loaded(path);
  } catch (Exception const& e) {
    return e.what();
  }
  return "loaded";
}

TEST(IpasirLibraryTest, SaysWhatIsMissing) {
  std::string const missing = message_of("/nowhere/solver.so");
  EXPECT_EQ(missing.rfind("cannot load a SAT solver: /nowhere/solver.so", 0), 0u) << missing;
  EXPECT_EQ(message_of("libm.so.6"), "libm.so.6: no IPASIR solver, it lacks the function ipasir_signature");
}

// ---- a table of functions ----

struct Recorder {
  std::vector<int> calls;  // literals added; assumptions with 1000 on top
  int answer = 0;
} recorder;

IpasirFunctions recording_functions() {
  IpasirFunctions f;
  f.signature = [] { return "recorder-1"; };
  f.init = []() -> void* { return &recorder; };
  f.release = [](void* s) { static_cast<Recorder*>(s)->calls.push_back(-9999); };
  f.add = [](void* s, std::int32_t l) { static_cast<Recorder*>(s)->calls.push_back(l); };
  f.assume = [](void* s, std::int32_t l) { static_cast<Recorder*>(s)->calls.push_back(1000 + l); };
  f.solve = [](void* s) { return static_cast<Recorder*>(s)->answer; };
  f.val = [](void*, std::int32_t l) { return l == 1 ? 0 : -l; };
  f.failed = [](void*, std::int32_t) { return 0; };
  return f;
}

TEST(IpasirSinkTest, PassesLiteralsOneLower) {
  recorder = {};
  {
    IpasirSink sink(recording_functions());
    EXPECT_EQ(sink.solver(), &recorder);
    BvLit const a = sink.new_lit();
    BvLit const b = sink.new_lit();
    EXPECT_EQ(a, 2);
    EXPECT_EQ(b, 3);
    EXPECT_EQ(sink.fresh_literals(), 2u);
    sink.add_clause({a, bv::l_false, -b});
    sink.add_clause({bv::l_true, a});
    sink.add_clause({bv::l_false});
    EXPECT_EQ(sink.solve({-b, bv::l_true, a}), Answer::unknown);
    EXPECT_EQ(recorder.calls, (std::vector<int>{1, -2, 0, 0, 998, 1001}));
    EXPECT_EQ(sink.clauses(), 2u);
    EXPECT_EQ(sink.literals(), 2u);
    EXPECT_FALSE(sink.atom_lit(nullptr, sink.lits.emplace_back()));
    // A value that does not matter is one value, not two.
    recorder.answer = 10;
    EXPECT_EQ(sink.solve(), Answer::sat);
    EXPECT_FALSE(sink.value(a));
    EXPECT_TRUE(sink.value(-a));
    recorder.answer = 7;
    EXPECT_THROW(sink.solve(), Exception);
    EXPECT_THROW(sink.set_terminate([] { return true; }), Exception);
    EXPECT_NO_THROW(sink.set_terminate(nullptr));
  }
  EXPECT_EQ(recorder.calls.back(), -9999);
}

TEST(IpasirSinkTest, ASolverThatCannotBeMadeIsAnError) {
  IpasirFunctions f = recording_functions();
  f.init = []() -> void* { return nullptr; };
  EXPECT_THROW(IpasirSink{f}, Exception);
}

}  // namespace
}  // namespace vell::sinks

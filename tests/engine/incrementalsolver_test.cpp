// What a check solves before it clausifies must not show in any answer, however the script goes on.

#include "vell/engine/incrementalsolver.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/scratch.h"
#include "vell/engine/engine.h"

namespace vell::engine {
namespace {

std::string execute(std::string const& script, char const* passes, run::Statistics& statistics) {
  test::Scratch scratch;
  {
    Console console;
    console.set_regular_channel(scratch.file("answers"));
    run::Limits limits;
    IncrementalSolverOptions options;
    options.passes = words::parse_passes(passes);
    ScriptEngine engine(options, console, limits, statistics);
    EXPECT_TRUE(engine.run(io::Source::text(script, "s"))) << script;
  }
  return scratch.read("answers");
}

// An identity of products: without simplifications, two multipliers.
constexpr char commuted[] =
    "(declare-const x (_ BitVec 5))(declare-const y (_ BitVec 5))(assert (distinct (bvmul x y) (bvmul y "
    "x)))(check-sat)";

std::string both(std::string const& script) {
  run::Statistics statistics;
  std::string const eliminated = execute(script, "-definitions", statistics);
  EXPECT_EQ(eliminated, execute(script, "-unconstrained", statistics)) << script;
  return eliminated;
}

TEST(IncrementalSolver, AHugeCircuitUnderAFreeVariableIsNotBuilt) {
  run::Statistics statistics;
  EXPECT_EQ(
      "sat\n(((bvult y z) true))\n",
      execute(
          "(declare-const x (_ BitVec 128))(declare-const y (_ BitVec 128))(declare-const z (_ BitVec 128))"
          "(declare-const f (_ BitVec 128))(assert (= (bvadd f (bvudiv x (bvudiv y z))) y))"
          "(assert (bvult y z))(check-sat)(get-value ((bvult y z)))",
          "all", statistics));
  EXPECT_LT(statistics.clauses, 1000u);
}

TEST(IncrementalSolver, AModelHoldsForWhatWasEliminated) {
  run::Statistics statistics;
  EXPECT_EQ(
      "sat\n(((= (bvadd f (bvmul x y)) #x1234) true) ((bvugt x #x0002) true))\n",
      execute("(declare-const x (_ BitVec 16))(declare-const y (_ BitVec 16))(declare-const f (_ BitVec 16))"
              "(assert (= (bvadd f (bvmul x y)) #x1234))(assert (bvugt x #x0002))(check-sat)"
              "(get-value ((= (bvadd f (bvmul x y)) #x1234) (bvugt x #x0002)))",
              "all", statistics));
}

TEST(IncrementalSolver, SimplificationsAreSwitched) {
  run::Statistics simplified;
  run::Statistics plain;
  EXPECT_EQ("unsat\n\"all\"\n", execute(std::string(commuted) + "(get-option :words)", "all", simplified));
  EXPECT_EQ(
      "unsat\n\"none\"\n",
      execute("(set-option :words \"none\")" + std::string(commuted) + "(get-option :words)", "all", plain));
  EXPECT_LT(simplified.clauses, 10u);
  EXPECT_GT(plain.clauses, 100u);
}

// What a run with a wrong pass, which takes every disjunction for false, answers, and what it says on stderr.
std::string with_wrong_pass(std::string const& script, bool check_unsat, bool good) {
  IncrementalSolverOptions options;
  options.passes = words::parse_passes("-unconstrained");
  options.last_pass = [](TermManager& tm, words::Formulas& formulas) {
    formulas.each([&](words::Formula& f) {
      if (f.term->symbol->tag() == SymbolTag::bool_or) f.term = tm.mk_bool(false);
    });
  };
  test::Scratch scratch;
  testing::internal::CaptureStderr();
  {
    Console console;
    console.set_regular_channel(scratch.file("answers"));
    run::Limits limits;
    run::Statistics statistics;
    ScriptEngine engine(options, console, limits, statistics, {.check_unsat = check_unsat});
    EXPECT_EQ(good, engine.run(io::Source::text(script, "s")));
  }
  return scratch.read("answers") + testing::internal::GetCapturedStderr();
}

TEST(IncrementalSolver, AWrongUnsatIsRecalled) {
  std::string const declarations =
      "(declare-const p Bool)(declare-const q Bool)(declare-const r Bool)(assert (not (and p r)))";
  std::string const message =
      "vell-bv: internal error: unsat, but without simplifications on words there is a model\n";
  std::string const asserted = declarations + "(assert (or p q))(check-sat)";
  EXPECT_EQ("unsat\n", with_wrong_pass(asserted, false, true));
  EXPECT_EQ("unknown\n(:reason-unknown incomplete)\n" + message,
            with_wrong_pass(asserted + "(get-info :reason-unknown)", true, false));
  EXPECT_EQ("unknown\n" + message,
            with_wrong_pass(declarations + "(check-sat-assuming ((or p q)))", true, false));
  EXPECT_EQ("unknown\n" + message,
            with_wrong_pass(declarations + "(push)(assert (or p q))(check-sat)", true, false));
  // What is right stays.
  EXPECT_EQ(
      "unsat\nsat\n",
      with_wrong_pass(declarations + "(push)(assert (and r p))(check-sat)(pop)(check-sat)", true, true));
}

TEST(IncrementalSolver, ALaterFormulaBringsThemBack) {
  std::string const start =
      "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))(declare-const f (_ BitVec 8))"
      "(assert (= (bvadd f (bvmul x y)) #x12))(check-sat)";
  EXPECT_EQ("sat\nunsat\nsat\nunsat\n",
            both(start + "(push 1)(assert (= f #x12))(assert (= x #x03))(assert (= y #x01))"
                         "(check-sat)(pop 1)(check-sat)"
                         "(check-sat-assuming ((and (= f #x00) (= x #x00))))"));
  EXPECT_EQ("sat\nunsat\n", both(start + "(assert (and (= f #x12) (= x #x01) (= y #x03)))(check-sat)"));
}

TEST(IncrementalSolver, WhatIsAssumedIsNotEliminated) {
  EXPECT_EQ("unsat\nsat\n",
            both("(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))(declare-const f (_ BitVec 8))"
                 "(assert (= (bvadd f (bvmul x y)) #x12))"
                 "(check-sat-assuming ((= f #x00) (= x #x00)))(check-sat-assuming ((= f #x12) (= x #x00)))"));
  EXPECT_EQ("unsat\nsat\n",
            both("(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))(declare-const f (_ BitVec 8))"
                 "(assert (= (bvadd f (bvmul x y)) #x12))(push)(assert (= f #x00))(assert (= x "
                 "#x00))(check-sat)(pop)"
                 "(check-sat)"));
}

TEST(IncrementalSolver, LinearEquationsAcrossChecks) {
  std::string const system =
      "(declare-const x (_ BitVec 32))(declare-const y (_ BitVec 32))(declare-const z (_ BitVec 32))"
      "(assert (= (bvadd (bvmul #x0000000b x) (bvmul #x0000000d y) (bvmul #x00000013 z)) #x00000005))"
      "(assert (= (bvadd (bvmul #x00000016 x) (bvmul #x00000019 y) (bvmul #x00000025 z)) "
      "#x00000008))(check-sat)";
  EXPECT_EQ(
      "sat\nunsat\n",
      both(system +
           "(assert (= (bvadd (bvmul #x00000021 x) (bvmul #x00000026 y) (bvmul #x00000038 z)) #x0000000e))"
           "(check-sat)"));
  EXPECT_EQ("sat\nsat\nunsat\nsat\n",
            both(system + "(push)(assert (= z #x00000007))(check-sat)(assert (bvult (bvadd x y) z))"
                          "(assert (bvugt (bvadd x y) z))(check-sat)(pop)(check-sat)"));
}

// Products of two words of n bits out of single bits, row by row, with the carries as majorities or by way of
// the sums.
std::string two_array_multipliers(unsigned n) {
  std::string const width = std::to_string(n);
  std::string script = "(declare-const x (_ BitVec " + width + "))(declare-const y (_ BitVec " + width + "))";
  unsigned made = 0;
  auto const define = [&](std::string const& term, unsigned bits = 1) {
    std::string const name = "t" + std::to_string(made++);
    script += "(define-fun " + name + " () (_ BitVec " + std::to_string(bits) + ") " + term + ")";
    return name;
  };
  auto const apply = [](char const* f, std::string const& a, std::string const& b) {
    return std::string("(") + f + " " + a + " " + b + ")";
  };
  auto const bit = [&](char const* word, unsigned i) {
    std::string const index = std::to_string(i);
    return "((_ extract " + index + " " + index + ") " + word + ")";
  };
  auto const product = [&](bool majority) {
    std::vector<std::string> sum(2 * n, "#b0");
    for (unsigned j = 0; j < n; ++j) {
      std::string carry = "#b0";
      for (unsigned i = 0; i < n; ++i) {
        std::string const a = sum[i + j];
        std::string const b = define(apply("bvand", bit("x", i), bit("y", j)));
        std::string const c = carry;
        if (majority) {
          carry = define(apply("bvor", apply("bvand", a, b), apply("bvand", apply("bvor", a, b), c)));
          std::string const all = apply("bvand", apply("bvand", a, b), c);
          std::string const any = apply("bvor", apply("bvor", a, b), c);
          sum[i + j] = define(apply("bvor", apply("bvand", "(bvnot " + carry + ")", any), all));
        } else {
          std::string const half = define(apply("bvxor", a, b));
          sum[i + j] = define(apply("bvxor", half, c));
          carry = define(apply("bvor", apply("bvand", a, b), apply("bvand", half, c)));
        }
      }
      sum[n + j] = carry;
    }
    std::string word = sum[0];
    for (unsigned i = 1; i < 2 * n; ++i) word = apply("concat", sum[i], word);
    return define(word, 2 * n);
  };
  std::string const one = product(false);
  std::string const other = product(true);
  return script + "(assert (distinct " + one + " " + other + "))(check-sat)";
}

TEST(IncrementalSolver, TwoCircuitsForOneFunctionFallTogether) {
  // With 30,000 conflicts it looks for equal signals, and few are left to do; without, there would be 80,000.
  run::Statistics statistics;
  EXPECT_EQ("unsat\n", execute(two_array_multipliers(9), "all", statistics));
  EXPECT_GT(statistics.conflicts, 25'000u);
  EXPECT_LT(statistics.conflicts, 40'000u);
}

TEST(IncrementalSolver, RandomScriptsHaveTheSameAnswers) {
  std::mt19937 random(5);
  unsigned sat = 0;
  unsigned unsat = 0;
  for (int round = 0; round < 150; ++round) {
    auto const pick = [&](std::vector<std::string> const& from) { return from[random() % from.size()]; };
    std::ostringstream script;
    std::vector<std::string> words;
    for (char const* name : {"a", "b", "c", "d", "e", "f"}) {
      script << "(declare-const " << name << " (_ BitVec 3))";
      words.emplace_back(name);
    }
    std::vector<std::string> const operators{"bvadd", "bvsub", "bvxor",  "bvand",
                                             "bvor",  "bvmul", "bvudiv", "bvurem"};
    std::vector<std::string> const relations{"=", "bvult", "bvsle", "distinct"};
    auto const word = [&] {
      std::string w = pick(words);
      for (unsigned depth = random() % 3; depth > 0; --depth)
        w = "(" + pick(operators) + " " + w + " " + pick(words) + ")";
      return w;
    };
    int levels = 0;
    for (int step = 0; step < 14; ++step) {
      switch (random() % 8) {
        case 0: script << "(push 1)", ++levels; break;
        case 1:
          if (levels > 0) script << "(pop 1)", --levels;
          break;
        case 2: script << "(check-sat)"; break;
        case 3:
          script << "(check-sat-assuming ((" << pick(relations) << " " << word() << " " << word() << ")))";
          break;
        default: script << "(assert (" << pick(relations) << " " << word() << " " << word() << "))"; break;
      }
    }
    script << "(check-sat)";
    std::string const answers = both(script.str());
    unsat += answers.find("unsat") != std::string::npos ? 1 : 0;
    sat += answers.rfind("sat\n", 0) == 0 ? 1 : 0;
  }
  EXPECT_GT(sat, 30u);
  EXPECT_GT(unsat, 30u);
}

}  // namespace
}  // namespace vell::engine

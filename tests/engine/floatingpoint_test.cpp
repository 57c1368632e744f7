// Scripts of floating-point values, from the text to the answer.

#include <gtest/gtest.h>

#include "tests/support/scratch.h"
#include "vell/engine/engine.h"

namespace vell::engine {
namespace {

std::string answers(std::string const& script) {
  test::Scratch scratch;
  {
    Console console;
    console.set_regular_channel(scratch.file("answers"));
    run::Limits limits;
    run::Statistics statistics;
    ScriptEngine engine(IncrementalSolverOptions(), console, limits, statistics);
    engine.run(io::Source::text(script, "s"));
  }
  return scratch.read("answers");
}

constexpr char floats[] = "(declare-const x Float16)(declare-const y Float16)(declare-const m RoundingMode)";

TEST(FloatingPointScripts, ModelsAreWrittenAsConstants) {
  EXPECT_EQ(answers(std::string(floats) + "(assert (= x ((_ to_fp 5 11) RNE 1.5)))(assert (fp.isNaN "
                                          "y))(assert (= m RNA))(check-sat)(get-model)"
                                          "(get-value ((fp.add m x x) (fp.neg y) (fp.lt x x) ((_ fp.to_sbv "
                                          "4) m x) (fp.div RNE x (_ -zero 5 11))))"),
            "sat\n(\n  (define-fun x () (_ FloatingPoint 5 11) (fp #b0 #b01111 #b1000000000))\n"
            "  (define-fun y () (_ FloatingPoint 5 11) (_ NaN 5 11))\n"
            "  (define-fun m () RoundingMode roundNearestTiesToAway)\n)\n"
            "(((fp.add m x x) (fp #b0 #b10000 #b1000000000)) ((fp.neg y) (_ NaN 5 11)) ((fp.lt x x) false) "
            "(((_ fp.to_sbv 4) m x) #b0010) ((fp.div RNE x (_ -zero 5 11)) (_ -oo 5 11)))\n");
}

TEST(FloatingPointScripts, NaNIsOneValueAndZerosAreTwo) {
  EXPECT_EQ(answers(std::string(floats) +
                    "(assert (fp.isNaN x))(assert (fp.isNaN y))(assert (distinct x y))(check-sat)"),
            "unsat\n");
  EXPECT_EQ(answers(std::string(floats) +
                    "(assert (fp.isZero x))(assert (fp.isZero y))(assert (distinct x y))(check-sat)"),
            "sat\n");
  EXPECT_EQ(answers(std::string(floats) +
                    "(assert (= x y))(assert (not (fp.eq x y)))(assert (not (fp.isNaN x)))(check-sat)"),
            "unsat\n");
}

// Five modes, and no sixth.
TEST(FloatingPointScripts, EveryModeIsAValue) {
  std::string const none =
      std::string(floats) +
      "(assert (distinct m RNE))(assert (distinct m RNA))(assert (distinct m RTP))(assert (distinct m RTN))";
  EXPECT_EQ(answers(none + "(check-sat)(get-value (m))"), "sat\n((m roundTowardZero))\n");
  EXPECT_EQ(answers(none + "(assert (distinct m RTZ))(check-sat)"), "unsat\n");
}

TEST(FloatingPointScripts, WhatTheStandardLeavesOpenIsFree) {
  char const* const possible[] = {
      "(= ((_ fp.to_ubv 8) RNE (_ NaN 5 11)) #x5a)",
      "(distinct ((_ fp.to_ubv 8) RNE (_ NaN 5 11)) ((_ fp.to_ubv 8) RTZ (_ NaN 5 11)))",
      "(= ((_ fp.to_sbv 4) RNE ((_ to_fp 5 11) RNE 8.0)) #x3)",
      "(= (fp.min (_ +zero 5 11) (_ -zero 5 11)) (_ +zero 5 11))",
      "(= (fp.min (_ +zero 5 11) (_ -zero 5 11)) (_ -zero 5 11))",
      "(distinct (fp.max (_ +zero 5 11) (_ -zero 5 11)) (fp.max (_ -zero 5 11) (_ +zero 5 11)))",
      "(= (fp.to_ieee_bv (_ NaN 5 11)) #xfc01)"};
  for (char const* formula : possible)
    EXPECT_EQ(answers("(assert " + std::string(formula) + ")(check-sat)"), "sat\n") << formula;
  char const* const impossible[] = {
      "(and (fp.isNaN x) (fp.isNaN y) (distinct ((_ fp.to_ubv 8) m x) ((_ fp.to_ubv 8) m y)))",
      "(and (fp.isNaN x) (fp.isNaN y) (distinct (fp.to_ieee_bv x) (fp.to_ieee_bv y)))",
      "(= (fp.to_ieee_bv (_ NaN 5 11)) #x0000)",
      "(= (fp.min (_ +zero 5 11) (_ -zero 5 11)) ((_ to_fp 5 11) RNE 1.0))",
      "(= ((_ fp.to_sbv 4) RNE ((_ to_fp 5 11) RNE 7.0)) #x3)"};
  for (char const* formula : impossible)
    EXPECT_EQ(answers(std::string(floats) + "(assert " + formula + ")(check-sat)"), "unsat\n") << formula;
}

TEST(FloatingPointScripts, LevelsAssumptionsAndCores) {
  EXPECT_EQ(
      answers("(set-option :produce-unsat-cores true)(set-option :produce-unsat-assumptions true)" +
              std::string(floats) +
              "(assert (! (fp.lt x y) :named lt))(check-sat)(push)(assert (! (fp.lt y x) :named gt))"
              "(check-sat)(get-unsat-core)(pop)"
              "(push)(assert (= (fp.add RNE x y) (_ +oo 5 11)))(assert (not (fp.isInfinite y)))(check-sat)"
              "(check-sat-assuming ((fp.isZero y)))(get-unsat-assumptions)(pop)"
              "(assert (fp.isNaN (fp.add RNE x y)))(check-sat)(get-value (x y))"),
      "sat\nunsat\n(lt gt)\nsat\nunsat\n((fp.isZero y))\nsat\n((x (_ -oo 5 11)) (y (_ +oo 5 11)))\n");
}

TEST(FloatingPointScripts, OddFormatsAreRefused) {
  for (char const* sort : {"(_ FloatingPoint 1 5)", "(_ FloatingPoint 5 1)", "(_ FloatingPoint 60 3)",
                           "(_ FloatingPoint 8 99999999)"}) {
    std::string const out = answers("(declare-const x " + std::string(sort) + ")(check-sat)");
    EXPECT_TRUE(out.starts_with("(error \"s:1:")) << out;
  }
  EXPECT_EQ(answers("(declare-const x (_ FloatingPoint 15 113))(assert (fp.gt (fp.abs x) x))(check-sat)"),
            "sat\n");
}

}  // namespace
}  // namespace vell::engine

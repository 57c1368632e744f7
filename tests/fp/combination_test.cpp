#include "vell/fp/combination.h"

#include <gtest/gtest.h>

#include "vell/bv/standardclausifier.h"
#include "vell/sat/cadicalsolver.h"
#include "vell/sinks/solversink.h"
#include "vell/terms/exception.h"
#include "vell/terms/theory.h"

namespace vell::fp {
namespace {

class CombinationTest : public ::testing::Test {
 protected:
  CombinationTest()
      : sink(std::make_unique<sat::CadicalSolver>(0, sat::CadicalSolver::Search::plain)),
        clausifier(&tm),
        floats(tm, clausifier, sink) {
    clausifier.set_fp_combination(&floats);
    x = tm.mk_variable("x", tm.fp_type(5, 10));
    y = tm.mk_variable("y", tm.fp_type(5, 10));
  }

  Term_ const* app(char const* name, std::initializer_list<Term_ const*> arguments,
                   std::initializer_list<std::uint64_t> indices = {}) {
    return mk_app(tm, name, arguments, indices);
  }
  Term_ const* number(double value) {
    // Halves of small integers are exact in every format.
    Term_ const* const twice = tm.mk_bv(static_cast<std::uint64_t>(value * 2), 16);
    Term_ const* const half = app("to_fp", {tm.mk_bv(0x3800, 16)}, {5, 11});
    return app("fp.mul", {app("RNE", {}), app("to_fp", {app("RNE", {}), twice}, {5, 11}), half});
  }
  bool satisfiable(std::initializer_list<Term_ const*> formulas) {
    bv::BvLitList assumed;
    for (Term_ const* f : formulas) assumed.push_back(clausifier.bit_blast(floats.lower(f), &sink));
    return sink.solve(assumed) == sinks::Answer::sat;
  }

  TermManager tm;
  sinks::SolverSink sink;
  bv::StandardClausifier clausifier;
  Combination floats;
  Term_ const* x;
  Term_ const* y;
};

TEST_F(CombinationTest, BitsHaveTheLayoutOfTheClausifier) {
  Term_ const* const t = app("fp.add", {app("RNE", {}), x, y});
  floats.encode_term(t);
  EXPECT_TRUE(floats.is_encoded(t));
  bv::BvLitList bits;
  floats.get_term_bits(t, &bits);
  EXPECT_EQ(bits.size(), 16u);
  bits.clear();
  Term_ const* const constant = number(1.5);
  floats.encode_term(constant);
  floats.get_term_bits(constant, &bits);
  // 1.5: fraction 1000000000, exponent 01111, sign 0.
  bv::BvLitList expected(16, bv::l_false);
  for (std::size_t i : {9, 10, 11, 12, 13}) expected[i] = bv::l_true;
  EXPECT_EQ(bits, expected);
}

TEST_F(CombinationTest, ConversionsOfTheClausifierWorkOnEveryTerm) {
  Term_ const* const sum = app("fp.add", {app("RNE", {}), x, y});
  Term_ const* const word = app("fp.to_sbv", {app("RTZ", {}), sum}, {8});
  Term_ const* const is_five = app("=", {word, tm.mk_bv(5, 8)});
  // Not lowered: the clausifier's own handler asks the layer for the bits of the sum.
  bv::BvLit const five = clausifier.bit_blast(is_five, &sink);
  bv::BvLit const two = clausifier.bit_blast(app("=", {x, number(2.5)}), &sink);
  bv::BvLit const three = clausifier.bit_blast(app("=", {y, number(3)}), &sink);
  EXPECT_EQ(sink.solve({two, three, -five}), sinks::Answer::unsat);
  EXPECT_EQ(sink.solve({two, five}), sinks::Answer::sat);
  EXPECT_EQ(sink.solve({two, three, five}), sinks::Answer::sat);
  Term_ const* const bits = app("fp.to_ieee_bv", {sum});
  bv::BvLit const pattern = clausifier.bit_blast(app("=", {bits, tm.mk_bv(0x4580, 16)}), &sink);
  EXPECT_EQ(sink.solve({two, three, -pattern}), sinks::Answer::unsat);
}

TEST_F(CombinationTest, FormulasAreLowered) {
  EXPECT_TRUE(satisfiable({app("fp.lt", {x, y}), app("fp.lt", {number(1), x})}));
  EXPECT_FALSE(satisfiable({app("fp.lt", {x, y}), app("fp.lt", {y, x})}));
  EXPECT_FALSE(satisfiable({app("fp.isNaN", {x}), app("fp.eq", {x, x})}));
  // NaN is one value, whichever bits the variables have.
  EXPECT_FALSE(satisfiable({app("fp.isNaN", {x}), app("fp.isNaN", {y}), app("distinct", {x, y})}));
}

TEST_F(CombinationTest, ModesAreThoseOfTheClausifier) {
  Term_ const* const m = tm.mk_variable("m", tm.rounding_mode_type);
  Term_ const* const up = app("fp.to_ubv", {m, x}, {8});
  Term_ const* const rounded = app("fp.roundToIntegral", {m, x});
  bv::BvLit const is_half = clausifier.bit_blast(app("=", {x, number(2.5)}), &sink);
  bv::BvLit const three = clausifier.bit_blast(app("=", {up, tm.mk_bv(3, 8)}), &sink);
  bv::BvLit const two = clausifier.bit_blast(floats.lower(app("=", {rounded, number(2)})), &sink);
  EXPECT_EQ(sink.solve({is_half, three, two}), sinks::Answer::unsat);
  EXPECT_EQ(sink.solve({is_half, three, -two}), sinks::Answer::sat);
  EXPECT_EQ(sink.solve({is_half, -three, two}), sinks::Answer::sat);
}

TEST_F(CombinationTest, RetractedTermsAreTranslatedAgain) {
  Term_ const* const t = app("=", {app("fp.neg", {x}), y});
  clausifier.push_backtrack_point();
  bv::BvLit const first = clausifier.bit_blast(t, &sink);
  clausifier.pop_backtrack_point();
  EXPECT_FALSE(floats.is_encoded(x));
  bv::BvLit const second = clausifier.bit_blast(t, &sink);
  EXPECT_NE(first, second);
  EXPECT_EQ(sink.solve({second}), sinks::Answer::sat);
}

TEST_F(CombinationTest, WhatTheClausifierWouldGetWrongIsRefused) {
  EXPECT_THROW(clausifier.bit_blast(app("fp.lt", {x, y}), &sink), Exception);
  EXPECT_THROW(clausifier.bit_blast(app("fp.isNaN", {x}), &sink), Exception);
  EXPECT_THROW(clausifier.bit_blast(app("fp.to_ubv", {app("RNA", {}), x}, {8}), &sink), Exception);
  EXPECT_TRUE(satisfiable({app("=", {app("fp.to_ubv", {app("RNA", {}), x}, {8}), tm.mk_bv(3, 8)})}));
}

}  // namespace
}  // namespace vell::fp

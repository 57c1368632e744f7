// Variables, numerals and Boolean constants: bits, fresh literals, traces, and what is left behind on errors.

#include "tests/support/clausifiertest.h"
#include "tests/support/meaning.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::WordClausifier;

constexpr BvLit T = bv::l_true;
constexpr BvLit F = bv::l_false;

class LeavesTest : public ClausifierTest {
 protected:
  // The bits of a numeral; no literal is taken and no clause made.
  BvLitList constant(QNumber const& value, Type const* type) {
    Term_ const* t = tm.mk_number(value, type);
    c.word_constant(&sink, t);
    EXPECT_NO_EVENTS();
    return bits(t);
  }
  static BvLitList word(std::size_t width, std::initializer_list<std::size_t> ones) {
    BvLitList w(width, F);
    for (std::size_t const i : ones) w[i] = T;
    return w;
  }
};

// ---- numerals ----

TEST_F(LeavesTest, NumeralFiveOfWidthFour) {
  EXPECT_EQ(constant(QNumber(5), tm.bv_type(4)), (BvLitList{T, F, T, F}));
  EXPECT_EQ(constant(QNumber::from_digits("5", 10, true), tm.bv_type(4)), (BvLitList{T, F, T, F}));
}

TEST_F(LeavesTest, SmallFormHasNoBitsAboveTheMachineWord) {
  EXPECT_EQ(constant(QNumber(5), tm.bv_type(70)), word(70, {0, 2}));
  BvLitList minus_one(70, T);
  for (std::size_t i = 64; i < 70; ++i) minus_one[i] = F;
  EXPECT_EQ(constant(QNumber(-1), tm.bv_type(70)), minus_one);
  BvLitList minus_six = minus_one;
  minus_six[0] = F;
  minus_six[2] = F;
  EXPECT_EQ(constant(QNumber(-6), tm.bv_type(70)), minus_six);
  EXPECT_EQ(constant(QNumber(INT64_MIN), tm.bv_type(66)), word(66, {63}));
}

TEST_F(LeavesTest, BigFormHasItsTrueBits) {
  EXPECT_EQ(constant(QNumber::from_digits("200000000000000005", 16), tm.bv_type(70)), word(70, {0, 2, 69}));
  EXPECT_EQ(constant(QNumber::from_digits("-1", 10, true), tm.bv_type(70)), BvLitList(70, T));
  BvLitList minus_six(70, T);
  minus_six[0] = F;
  minus_six[2] = F;
  EXPECT_EQ(constant(QNumber::from_digits("-6", 10, true), tm.bv_type(70)), minus_six);
}

TEST_F(LeavesTest, NumeralLongerThanItsWidthIsCut) {
  EXPECT_EQ(constant(QNumber(13), tm.bv_type(3)), (BvLitList{T, F, T}));
  EXPECT_EQ(constant(QNumber::from_digits("13", 10, true), tm.bv_type(3)), (BvLitList{T, F, T}));
}

TEST_F(LeavesTest, NumeralOfAnotherTypeHasOneBit) {
  EXPECT_EQ(constant(QNumber(3), tm.int_type), (BvLitList{T}));
  EXPECT_EQ(constant(QNumber(4), tm.int_type), (BvLitList{F}));
  EXPECT_EQ(constant(QNumber(3, 2), tm.real_type), (BvLitList{T}));
  EXPECT_EQ(constant(QNumber(1), tm.bool_type), (BvLitList{T}));
}

TEST_F(LeavesTest, FloatingPointNumeralIsAsLongAsItsPattern) {
  // 3.140625: 0 10000000 10010010000000000000000.
  EXPECT_EQ(constant(QNumber(0x40490000), tm.fp_type(8, 23)), word(32, {16, 19, 22, 30}));
  EXPECT_EQ(constant(QNumber(1), tm.fp_type(2, 3)), word(6, {0}));
}

TEST_F(LeavesTest, NumeralOfWidthZero) { EXPECT_EQ(constant(QNumber(1), tm.bv_type(0)), BvLitList{}); }

TEST_F(LeavesTest, AnswerOfTheTermLayerIsNotChecked) {
  Term_ const* x = bv_var("x", 3);
  c.word_constant(&sink, x);
  EXPECT_EQ(bits(x), (BvLitList{F, F, F}));
}

TEST_F(LeavesTest, TracesOfANumeral) {
  Term_ const* t = tm.mk_bv(5, 4);
  auto const action = [&](WordClausifier& fresh, RecordingSink& out) { fresh.word_constant(&out, t); };
  std::string const name = t->to_shallow_str();
  EXPECT_TRACE_LEVELS(action,
                      "3 \"word_constant " + name + "\"\n4 \"Constant " + name + ": [ F, T, F, T ]\"");
}

TEST_F(LeavesTest, NumeralTooWideForAVectorLeavesNothing) {
  Term_ const* t =
      tm.mk_number(QNumber::from_digits("123456789012345678901234567890", 10), tm.bv_type(1ull << 62));
  EXPECT_THROW(c.word_constant(&sink, t), std::length_error);
  EXPECT_FALSE(c.is_cached(t));
  EXPECT_EQ(trail(), "");
  EXPECT_EQ(stray_lists(c), 0);
}

// ---- variables ----

TEST_F(LeavesTest, WordVariableTakesLiteralsFromBitZeroUp) {
  Term_ const* x = bv_var("x", 3);
  c.word_variable(&sink, x);
  EXPECT_EVENTS("new 100\n new 101\n new 102");
  EXPECT_EQ(bits(x), (BvLitList{100, 101, 102}));
  EXPECT_EQ(trail(), "x");
  EXPECT_EQ(stray_lists(c), 0);
}

TEST_F(LeavesTest, WordVariableOfNoBitVectorTypeIsEmpty) {
  Term_ const* b = bool_var("b");
  c.word_variable(&sink, b);
  EXPECT_NO_EVENTS();
  EXPECT_EQ(bits(b), BvLitList{});
  Term_ const* z = bv_var("z", 0);
  c.word_variable(&sink, z);
  EXPECT_EQ(bits(z), BvLitList{});
}

TEST_F(LeavesTest, BooleanVariableTakesOneLiteral) {
  Term_ const* b = bool_var("b");
  c.bool_variable(&sink, b);
  EXPECT_EVENTS("new 100");
  EXPECT_EQ(bits(b), (BvLitList{100}));
  EXPECT_EQ(trail(), "b");
}

TEST_F(LeavesTest, TracesOfVariables) {
  Term_ const* x = bv_var("x", 2);
  Term_ const* b = bool_var("b");
  auto const action = [&](WordClausifier& fresh, RecordingSink& out) {
    fresh.word_variable(&out, x);
    fresh.bool_variable(&out, b);
  };
  EXPECT_TRACE_LEVELS(action, R"(
    3 "word_variable x"
    3 "bool variable b"
    4 "Variable b: [ 100 ]"
  )");
}

// The last line shows the literal, so it is written after the sink was asked.
TEST_F(LeavesTest, OrderOfTracesAndLiterals) {
  logger.set_verbosity(5);
  c.bool_variable(&sink, bool_var("b"));
  EXPECT_EVENTS(R"(
    log "bool variable b"
    new 100
    log "Variable b: [ 98 ]"
  )");
  c.word_variable(&sink, bv_var("x", 2));
  EXPECT_EVENTS(R"(
    log "word_variable x"
    new 101
    new 102
  )");
}

TEST_F(LeavesTest, NewLiteralsAfterRetraction) {
  Term_ const* x = bv_var("x", 2);
  EXPECT_EQ(c.bit_blast(x, &sink), 100);
  EXPECT_EQ(c.bit_blast(x, &sink), 100);
  EXPECT_EVENTS("new 100\n new 101");
  c.retract_upto(x);
  c.retract_upto(x);
  EXPECT_EQ(c.bit_blast(x, &sink), 102);
  EXPECT_EVENTS("new 102\n new 103");
}

TEST_F(LeavesTest, AThrowingSinkLeavesNothing) {
  Term_ const* x = bv_var("x", 4);
  Term_ const* b = bool_var("b");
  for (int left = 0; left < 4; ++left) {
    sink.new_lits_left = left;
    EXPECT_THROW(c.word_variable(&sink, x), Interrupted);
    EXPECT_FALSE(c.is_cached(x));
    EXPECT_EQ(stray_lists(c), 0);
  }
  sink.new_lits_left = 0;
  EXPECT_THROW(c.bool_variable(&sink, b), Interrupted);
  EXPECT_FALSE(c.is_cached(b));
  EXPECT_EQ(trail(), "");
  EXPECT_EQ(stray_lists(c), 0);
}

// ---- Boolean constants ----

TEST_F(LeavesTest, BooleanConstants) {
  Term_ const* t = tm.mk_bool(true);
  Term_ const* f = tm.mk_bool(false);
  c.bool_true(&sink, t);
  c.bool_false(&sink, f);
  EXPECT_NO_EVENTS();
  EXPECT_EQ(bits(t), (BvLitList{T}));
  EXPECT_EQ(bits(f), (BvLitList{F}));
  EXPECT_EQ(trail(), "true false");
  QuietClausifier d(&tm, nullptr);
  EXPECT_EQ(d.bit_blast(t, &sink), T);
  EXPECT_EQ(d.bit_blast(f, &sink), F);
}

TEST_F(LeavesTest, TracesOfBooleanConstants) {
  auto const action = [&](WordClausifier& fresh, RecordingSink& out) {
    fresh.bool_true(&out, tm.mk_bool(true));
    fresh.bool_false(&out, tm.mk_bool(false));
  };
  EXPECT_TRACE_LEVELS(action, R"(
    3 "bool true true"
    3 "bool false false"
  )");
}

// ---- choice by type ----

TEST_F(LeavesTest, GenericVariableChoosesByType) {
  Term_ const* x = bv_var("x", 2);
  Term_ const* b = bool_var("b");
  Term_ const* f = tm.mk_variable("f", tm.fp_type(2, 3));
  Term_ const* m = tm.mk_variable("m", tm.rounding_mode_type);
  for (Term_ const* t : {x, b, f, m}) EXPECT_TRUE(c.generic_variable(&sink, t));
  EXPECT_EQ(bits(x), (BvLitList{100, 101}));
  EXPECT_EQ(bits(b), (BvLitList{102}));
  EXPECT_EQ(bits(f), (BvLitList{103, 104, 105, 106, 107, 108}));
  EXPECT_EQ(bits(m), (BvLitList{109, 110}));
  EXPECT_EQ(trail(), "x b f m");
  EXPECT_TRUE(sink.clauses.empty());
}

TEST_F(LeavesTest, GenericVariableOfATypeWithoutBits) {
  Type const* arguments[] = {tm.bool_type};
  for (Type const* type :
       {tm.int_type, tm.real_type, tm.function_type(arguments, tm.bool_type), tm.bv_type_marker}) {
    Term_ const* t = tm.mk_variable("t", type);
    EXPECT_FALSE(c.generic_variable(&sink, t));
    EXPECT_FALSE(c.is_cached(t));
  }
  EXPECT_NO_EVENTS();
  EXPECT_EQ(trail(), "");
  EXPECT_EQ(inspect.bits_cache().size(), 0u);
}

// A function from one Boolean has two components as well; it is no word all the same.
TEST_F(LeavesTest, GenericVariableLooksAtTheFirstComponent) {
  Type const* arguments[] = {tm.bv_type(2)};
  Term_ const* t = tm.mk_variable("g", tm.function_type(arguments, tm.bv_type(2)));
  EXPECT_FALSE(c.generic_variable(&sink, t));
  EXPECT_NO_EVENTS();
}

TEST_F(LeavesTest, TracesOfGenericVariables) {
  Term_ const* x = bv_var("x", 2);
  Term_ const* b = bool_var("b");
  Term_ const* i = tm.mk_variable("i", tm.int_type);
  Term_ const* f = tm.mk_variable("f", tm.fp_type(2, 3));
  Term_ const* m = tm.mk_variable("m", tm.rounding_mode_type);
  auto const action = [&](WordClausifier& fresh, RecordingSink& out) {
    for (Term_ const* t : {x, b, i, f, m}) fresh.generic_variable(&out, t);
  };
  EXPECT_TRACE_LEVELS(action, R"(
    3 "generic variable x"
    3 "word_variable x"
    3 "generic variable b"
    3 "bool variable b"
    4 "Variable b: [ 100 ]"
    3 "generic variable i"
    3 "generic variable f"
    3 "fp_variable f"
    3 "generic variable m"
    3 "fp_rounding_variable m"
  )");
}

}  // namespace
}  // namespace vell::test

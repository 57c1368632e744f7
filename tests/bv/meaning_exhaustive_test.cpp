// Every operator on every input at widths 1 to 4, against plain arithmetic: variables on both sides, every
// constant in either number form on either side, constants on both sides, and one term as both operands.

#include <gtest/gtest.h>

#include "tests/support/meaning.h"

namespace vell::test {
namespace {

using Kind = Operand::Kind;
using Values = std::vector<std::vector<Word>>;

constexpr unsigned max_width = 4;

Values all_pairs(unsigned v, unsigned w) {
  Values values;
  for (Word a = 0; a <= all_ones(v); ++a)
    for (Word b = 0; b <= all_ones(w); ++b) values.push_back({a, b});
  return values;
}

void check_binary(SymbolTag::tag tag, unsigned v, unsigned w, std::int32_t div_semantics = 0) {
  Operation const op{tag};
  expect_meaning(op, {{v}, {w}}, all_pairs(v, w), div_semantics);
  for (Kind const kind : {Kind::small_constant, Kind::big_constant}) {
    for (Word a = 0; a <= all_ones(v); ++a) {
      Values values;
      for (Word b = 0; b <= all_ones(w); ++b) values.push_back({a, b});
      expect_meaning(op, {{v, kind, a}, {w}}, values, div_semantics);
    }
    for (Word b = 0; b <= all_ones(w); ++b) {
      Values values;
      for (Word a = 0; a <= all_ones(v); ++a) values.push_back({a, b});
      expect_meaning(op, {{v}, {w, kind, b}}, values, div_semantics);
    }
  }
  for (Word a = 0; a <= all_ones(v); ++a)
    for (Word b = 0; b <= all_ones(w); ++b)
      expect_meaning(op, {{v, Kind::small_constant, a}, {w, Kind::small_constant, b}}, {{a, b}},
                     div_semantics);
  if (v == w) {
    Values values;
    for (Word a = 0; a <= all_ones(v); ++a) values.push_back({a, a});
    expect_meaning(op, {{v}, {w, Kind::first_operand}}, values, div_semantics);
  }
}

void check_unary(Operation const& op, unsigned w) {
  Values values;
  for (Word a = 0; a <= all_ones(w); ++a) {
    values.push_back({a});
    for (Kind const kind : {Kind::small_constant, Kind::big_constant})
      expect_meaning(op, {{w, kind, a}}, {{a}});
  }
  expect_meaning(op, {{w}}, values);
}

class ExhaustiveMeaning : public ::testing::TestWithParam<SymbolTag::tag> {};

TEST_P(ExhaustiveMeaning, EveryInput) {
  for (unsigned w = 1; w <= max_width; ++w) check_binary(GetParam(), w, w);
}

std::string name_of(::testing::TestParamInfo<SymbolTag::tag> const& info) { return test_name(info.param); }

INSTANTIATE_TEST_SUITE_P(Words, ExhaustiveMeaning, ::testing::ValuesIn(word_operators()), name_of);
INSTANTIATE_TEST_SUITE_P(Orders, ExhaustiveMeaning, ::testing::ValuesIn(order_operators()), name_of);

class ExhaustiveDivision : public ::testing::TestWithParam<SymbolTag::tag> {};

TEST_P(ExhaustiveDivision, ZeroDivisorLeavesTheResultFree) {
  for (unsigned w = 1; w <= max_width; ++w) check_binary(GetParam(), w, w, 1);
}

TEST_P(ExhaustiveDivision, OtherSettingsMeanTheTotalFunction) {
  for (std::int32_t const setting : {-1, 2}) check_binary(GetParam(), 3, 3, setting);
}

// Every output value of every width is possible at once, not only those that expect_meaning samples.
TEST_P(ExhaustiveDivision, EveryResultOfAZeroDivisorIsPossible) {
  for (unsigned w = 1; w <= max_width; ++w) {
    Meaning m(1);
    m.translate({GetParam()}, {{w}, {w}});
    std::vector<Word> every;
    for (Word v = 0; v <= all_ones(w); ++v) every.push_back(v);
    for (Word a = 0; a <= all_ones(w); ++a) EXPECT_EQ(m.check({a, 0}, every), "");
  }
}

INSTANTIATE_TEST_SUITE_P(Division, ExhaustiveDivision,
                         ::testing::Values(SymbolTag::bv_udiv, SymbolTag::bv_urem, SymbolTag::bv_sdiv,
                                           SymbolTag::bv_srem),
                         name_of);

TEST(ExhaustiveMeaningOf, NotAndNeg) {
  for (unsigned w = 1; w <= max_width; ++w) {
    check_unary({SymbolTag::bv_not}, w);
    check_unary({SymbolTag::bv_neg}, w);
  }
}

TEST(ExhaustiveMeaningOf, Concat) {
  for (unsigned v = 1; v <= max_width; ++v)
    for (unsigned w = 1; w <= max_width; ++w) check_binary(SymbolTag::bv_concat, v, w);
}

TEST(ExhaustiveMeaningOf, Extract) {
  for (unsigned w = 1; w <= max_width; ++w)
    for (unsigned msb = 0; msb < w; ++msb)
      for (unsigned lsb = 0; lsb <= msb; ++lsb) check_unary({SymbolTag::bv_extract, msb, lsb}, w);
}

TEST(ExhaustiveMeaningOf, RotationsByEveryAmount) {
  for (unsigned w = 1; w <= max_width; ++w)
    for (unsigned amount = 0; amount <= w; ++amount) {
      check_unary({SymbolTag::bv_rotate_left, amount}, w);
      check_unary({SymbolTag::bv_rotate_right, amount}, w);
    }
}

TEST(ExhaustiveMeaningOf, Extensions) {
  for (unsigned w = 1; w <= max_width; ++w)
    for (unsigned amount : {0u, 1u, 2u, 5u, 64u}) {
      check_unary({SymbolTag::bv_zero_extend, amount}, w);
      check_unary({SymbolTag::bv_sign_extend, amount}, w);
    }
}

// Width 0 stands for a Boolean here.
TEST(ExhaustiveMeaningOf, BooleanConnectives) {
  for (SymbolTag::tag const tag : {SymbolTag::bool_and, SymbolTag::bool_or, SymbolTag::bool_iff}) {
    Operation const op{tag};
    Values const pairs = all_pairs(1, 1);
    expect_meaning(op, {{0}, {0}}, pairs);
    expect_meaning(op, {{0}, {0, Kind::first_operand}}, {{0, 0}, {1, 1}});
    for (Word a : {0, 1}) {
      expect_meaning(op, {{0, Kind::small_constant, a}, {0}}, {{a, 0}, {a, 1}});
      expect_meaning(op, {{0}, {0, Kind::small_constant, a}}, {{0, a}, {1, a}});
      for (Word b : {0, 1})
        expect_meaning(op, {{0, Kind::small_constant, a}, {0, Kind::small_constant, b}}, {{a, b}});
    }
  }
  expect_meaning({SymbolTag::bool_not}, {{0}}, {{0}, {1}});
  for (Word a : {0, 1}) expect_meaning({SymbolTag::bool_not}, {{0, Kind::small_constant, a}}, {{a}});
}

void check_ite(SymbolTag::tag tag, unsigned operand_width) {
  unsigned const w = operand_width == 0 ? 1 : operand_width;
  Operation const op{tag};
  Values all;
  for (Word c : {0, 1})
    for (Word a = 0; a <= all_ones(w); ++a)
      for (Word b = 0; b <= all_ones(w); ++b) all.push_back({c, a, b});
  expect_meaning(op, {{0}, {operand_width}, {operand_width}}, all);
  for (std::size_t fixed = 0; fixed < 3; ++fixed)
    for (Word k = 0; k <= (fixed == 0 ? 1 : all_ones(w)); ++k) {
      std::vector<Operand> operands = {{0}, {operand_width}, {operand_width}};
      operands[fixed].kind = Kind::small_constant;
      operands[fixed].value = k;
      Values some;
      for (std::vector<Word> const& v : all)
        if (v[fixed] == k) some.push_back(v);
      expect_meaning(op, operands, some);
    }
  for (Word a = 0; a <= all_ones(w); ++a)
    for (Word b = 0; b <= all_ones(w); ++b)
      expect_meaning(
          op, {{0}, {operand_width, Kind::small_constant, a}, {operand_width, Kind::small_constant, b}},
          {{0, a, b}, {1, a, b}});
}

TEST(ExhaustiveMeaningOf, IteOfBooleans) { check_ite(SymbolTag::bool_ite, 0); }

TEST(ExhaustiveMeaningOf, IteOfWords) {
  for (unsigned w = 1; w <= max_width; ++w) check_ite(SymbolTag::term_ite, w);
}

// The check itself must be able to fail: a sum is not a difference, and a free literal is not decided.
TEST(MeaningCheck, NoticesAWrongValueAndAnOpenOne) {
  Meaning m;
  Term_ const* x = m.tm.mk_variable("x", m.tm.bv_type(3));
  m.c.bit_blast(x, &m.sink);
  bv::BvLitList bits;
  ASSERT_TRUE(m.c.get_bits(x, bits));
  bv::BvLit const free = m.sink.new_lit();
  m.sink.clauses.push_back({-bits[0], bits[1], bits[2]});
  Propagator p(m.sink);
  std::vector<bool> values;
  bv::BvLitList const some = {bits[0], -bits[1]};
  EXPECT_EQ(p.decide(some, bits, values), Propagator::Answer::decided);
  EXPECT_EQ(from_bits(values), 5u);
  bv::BvLitList const one = {bits[0]};
  EXPECT_EQ(p.decide(one, bits, values), Propagator::Answer::ambiguous);
  bv::BvLitList const none = {bits[0], -bits[1], -bits[2]};
  EXPECT_EQ(p.decide(none, bits, values), Propagator::Answer::contradictory);
  bv::BvLitList const out = {free};
  EXPECT_EQ(p.decide(some, out, values), Propagator::Answer::ambiguous);
}

// Propagation alone finds nothing here; only search does.
TEST(MeaningCheck, SearchesWherePropagationStops) {
  RecordingSink sink;
  bv::BvLit const a = sink.new_lit();
  bv::BvLit const b = sink.new_lit();
  for (bv::BvLit const x : {a, -a})
    for (bv::BvLit const y : {b, -b})
      if (x != -a || y != -b) sink.clauses.push_back({x, y});
  Propagator p(sink);
  EXPECT_EQ(p.value(a), 0);
  std::vector<bool> values;
  bv::BvLitList const outputs = {a, b};
  EXPECT_EQ(p.decide({}, outputs, values), Propagator::Answer::decided);
  EXPECT_EQ(from_bits(values), 3u);
  sink.clauses.push_back({-a, -b});
  Propagator q(sink);
  EXPECT_FALSE(q.satisfiable());
}

}  // namespace
}  // namespace vell::test

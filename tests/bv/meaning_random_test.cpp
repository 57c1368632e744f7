// Every operator on random inputs at the widths where something can go wrong, against plain arithmetic: past
// 4 bits, around 32 and 64 bits, and above. Constants stand at either operand.

#include <gtest/gtest.h>

#include "tests/support/meaning.h"

namespace vell::test {
namespace {

using Kind = Operand::Kind;
using Values = std::vector<std::vector<Word>>;

void check_width(SymbolTag::tag tag, unsigned w, int assignments, int constants,
                 std::int32_t div_semantics = 0) {
  WordSource source(w * 1000 + tag);
  Operation const op{tag};
  Values values;
  for (int i = 0; i < assignments; ++i) values.push_back({source.next(w), source.next(w)});
  for (int i = 0; i < 8; ++i) {
    Word const a = source.next(w);
    values.push_back({a, a});
    values.push_back({a, 0});
    values.push_back({a, all_ones(w)});
    values.push_back({Word{1} << (w - 1), all_ones(w)});
  }
  expect_meaning(op, {{w}, {w}}, values, div_semantics);
  for (int i = 0; i < constants; ++i) {
    Kind const kind = i % 2 == 0 ? Kind::small_constant : Kind::big_constant;
    Word const constant = i == 0 ? 0 : i == 1 ? all_ones(w) : source.next(w);
    for (std::size_t fixed = 0; fixed < 2; ++fixed) {
      std::vector<Operand> operands = {{w}, {w}};
      operands[fixed].kind = kind;
      operands[fixed].value = constant;
      Values some;
      for (int k = 0; k < 12; ++k) {
        some.push_back({source.next(w), source.next(w)});
        some.back()[fixed] = constant;
      }
      expect_meaning(op, operands, some, div_semantics);
    }
  }
}

class RandomMeaning : public ::testing::TestWithParam<SymbolTag::tag> {};

TEST_P(RandomMeaning, Widths5To70) {
  for (unsigned const w : {5u, 7u, 8u, 13u, 31u, 32u, 33u, 63u, 64u, 65u, 70u})
    check_width(GetParam(), w, 150, 12);
}

std::string name_of(::testing::TestParamInfo<SymbolTag::tag> const& info) { return test_name(info.param); }

std::vector<SymbolTag::tag> without_division() {
  std::vector<SymbolTag::tag> tags;
  for (SymbolTag::tag const tag : word_operators())
    if (!is_division(tag)) tags.push_back(tag);
  return tags;
}

INSTANTIATE_TEST_SUITE_P(Words, RandomMeaning, ::testing::ValuesIn(without_division()), name_of);
INSTANTIATE_TEST_SUITE_P(Orders, RandomMeaning, ::testing::ValuesIn(order_operators()), name_of);

class RandomDivision : public ::testing::TestWithParam<SymbolTag::tag> {};

TEST_P(RandomDivision, Widths5To40) {
  for (unsigned const w : {5u, 6u, 8u, 13u, 31u, 32u, 33u, 40u}) check_width(GetParam(), w, 80, 8);
}

TEST_P(RandomDivision, FreeResultOfAZeroDivisor) {
  for (unsigned const w : {5u, 8u, 17u}) check_width(GetParam(), w, 30, 4, 1);
}

INSTANTIATE_TEST_SUITE_P(Division, RandomDivision,
                         ::testing::Values(SymbolTag::bv_udiv, SymbolTag::bv_urem, SymbolTag::bv_sdiv,
                                           SymbolTag::bv_srem),
                         name_of);

// The weight of an amount bit no longer fits 32 bits from stage 31 on; an amount with such a bit alone must
// still empty the word, and the bits below must still shift it.
TEST(ShiftAmounts, EveryAmountBitAtWidths33And64) {
  for (SymbolTag::tag const tag : {SymbolTag::bv_shl, SymbolTag::bv_lshr, SymbolTag::bv_ashr})
    for (unsigned const w : {33u, 64u}) {
      WordSource source(w);
      Values values;
      for (unsigned k = 0; k < w; ++k)
        for (Word const low : {0u, 1u, 5u}) {
          values.push_back({source.next(w) | 1 | Word{1} << (w - 1), (Word{1} << k) | low});
          values.push_back({all_ones(w) >> 1, (Word{1} << k) | low});
        }
      for (unsigned amount = 0; amount <= w + 1; ++amount) values.push_back({source.next(w), amount});
      expect_meaning({tag}, {{w}, {w}}, values);
    }
}

TEST(ShiftAmounts, NumeralsBelowAtAndAboveTheWidth) {
  for (SymbolTag::tag const tag : {SymbolTag::bv_shl, SymbolTag::bv_lshr, SymbolTag::bv_ashr})
    for (unsigned const w : {5u, 8u, 33u, 64u, 70u})
      for (Kind const kind : {Kind::small_constant, Kind::big_constant}) {
        std::vector<Word> amounts = {0, 1, 2, w - 1, w, w + 1, all_ones(w), Word{1} << (w - 1)};
        if (w == 70) amounts.push_back((Word{1} << 64) + 3);
        for (Word amount : amounts) {
          amount &= all_ones(w);
          WordSource source(w);
          Values values;
          for (int i = 0; i < 10; ++i) values.push_back({source.next(w), amount});
          expect_meaning({tag}, {{w}, {w, kind, amount}}, values);
        }
      }
}

TEST(RandomMeaningOf, NotAndNeg) {
  for (SymbolTag::tag const tag : {SymbolTag::bv_not, SymbolTag::bv_neg})
    for (unsigned const w : {5u, 31u, 32u, 33u, 63u, 64u, 65u, 70u}) {
      WordSource source(w);
      Values values;
      for (int i = 0; i < 30; ++i) values.push_back({source.next(w)});
      expect_meaning({tag}, {{w}}, values);
      expect_meaning({tag}, {{w, Kind::big_constant, values[0][0]}}, {values[0]});
    }
}

TEST(RandomMeaningOf, StructuralOperators) {
  for (unsigned const w : {5u, 31u, 32u, 33u, 63u, 64u, 65u, 70u}) {
    WordSource source(w);
    std::mt19937 random(w);
    Values values;
    for (int i = 0; i < 12; ++i) values.push_back({source.next(w)});
    for (int i = 0; i < 12; ++i) {
      unsigned const msb = random() % w;
      unsigned const lsb = random() % (msb + 1);
      expect_meaning({SymbolTag::bv_extract, msb, lsb}, {{w}}, values);
      unsigned const amount = random() % (w + 1);
      expect_meaning({SymbolTag::bv_rotate_left, amount}, {{w}}, values);
      expect_meaning({SymbolTag::bv_rotate_right, amount}, {{w}}, values);
      unsigned const extension = random() % (128 - w);
      expect_meaning({SymbolTag::bv_zero_extend, extension}, {{w}}, values);
      expect_meaning({SymbolTag::bv_sign_extend, extension}, {{w}}, values);
      unsigned const v = 1 + random() % (127 - w);
      Values pairs;
      for (int k = 0; k < 12; ++k) pairs.push_back({source.next(w), source.next(v)});
      expect_meaning({SymbolTag::bv_concat}, {{w}, {v}}, pairs);
    }
  }
}

TEST(RandomMeaningOf, IteOfWords) {
  for (unsigned const w : {5u, 33u, 64u, 70u}) {
    WordSource source(w);
    Values values;
    for (Word i = 0; i < 30; ++i) values.push_back({i % 2, source.next(w), source.next(w)});
    expect_meaning({SymbolTag::term_ite}, {{0}, {w}, {w}}, values);
    Word const constant = source.next(w);
    for (std::vector<Word>& v : values) v[1] = constant;
    expect_meaning({SymbolTag::term_ite}, {{0}, {w, Kind::big_constant, constant}, {w}}, values);
  }
}

}  // namespace
}  // namespace vell::test

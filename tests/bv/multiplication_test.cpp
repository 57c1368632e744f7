// Products: by a constant first operand, and in general.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/clausifiertest.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::WordClausifier;

constexpr BvLit T = bv::l_true;
constexpr BvLit F = bv::l_false;

class MultiplicationTest : public ClausifierTest {
 protected:
  // The numeral with the bits that a translation would give it.
  Term_ const* numeral(QNumber const& value, std::size_t width) {
    Term_ const* t = tm.mk_number(value, tm.bv_type(width));
    if (c.is_cached(t)) return t;
    BvLitList b;
    for (std::size_t i = 0; i < width; ++i) b.push_back(value.test_bit(i) ? T : F);
    return with_bits(t, b);
  }
  Term_ const* product(Term_ const* a, Term_ const* b) {
    Term_ const* t = raw_term(SymbolTag::bv_mul, a->symbol->get_output_type(), {a, b}, "product");
    events.clear();
    return t;
  }
  // The bits of numeral * x; events of the handler stay.
  BvLitList times(QNumber const& value, BvLitList const& x) {
    Term_ const* t = product(numeral(value, x.size()), bv_var("x", x));
    c.word_mul(&sink, t);
    return bits(t);
  }
  std::size_t count(std::string const& event) {
    std::size_t n = 0;
    for (std::string const& e : events) n += e == event;
    return n;
  }
  std::uint64_t lists_in_use() const {
    return inspect.list_pool().chunk_count() * 1024 - inspect.list_pool().free_count();
  }
};

QNumber big(char const* digits) { return QNumber::from_digits(digits, 10, true); }

// ---- by a constant ----

TEST_F(MultiplicationTest, ByZeroOneAndPowersOfTwoIsFree) {
  for (bool force_big : {false, true}) {
    auto number = [&](char const* d) { return QNumber::from_digits(d, 10, force_big); };
    EXPECT_EQ(times(number("0"), {2, 3, 4, 5}), (BvLitList{F, F, F, F}));
    EXPECT_EQ(times(number("1"), {2, 3, 4, 5}), (BvLitList{2, 3, 4, 5}));
    EXPECT_EQ(times(number("2"), {2, 3, 4, 5}), (BvLitList{F, 2, 3, 4}));
    EXPECT_EQ(times(number("4"), {2, 3, 4, 5}), (BvLitList{F, F, 2, 3}));
    EXPECT_EQ(times(number("8"), {2, 3, 4, 5}), (BvLitList{F, F, F, 2}));
    EXPECT_EQ(times(number("16"), {2, 3, 4, 5}), (BvLitList{F, F, F, F}));
  }
  EXPECT_NO_EVENTS();
}

TEST_F(MultiplicationTest, ByThreeIsOneAdder) {
  EXPECT_EQ(times(QNumber(3), {2, 3}), (BvLitList{2, 100}));
  EXPECT_EVENTS(R"(
    new 100
    clauses -3 -2 -100 | 3 2 -100 | -3 2 100 | 3 -2 100
    new 101
    clauses -3 -2 101 | 3 -101 | 2 -101
  )");
}

TEST_F(MultiplicationTest, OneAdderForEverySetBitBeyondBitZero) {
  logger.set_verbosity(3);
  struct Case {
    std::int64_t value;
    std::size_t adders;
  };
  for (Case const& k : std::vector<Case>{
           {0, 0}, {1, 0}, {2, 1}, {3, 1}, {6, 2}, {7, 2}, {13, 2}, {15, 3}, {16, 1}, {0x71, 3}}) {
    times(QNumber(k.value), {2, 3, 4, 5});
    EXPECT_EQ(count(log_event("word_add ")), k.adders) << k.value;
    events.clear();
  }
}

TEST_F(MultiplicationTest, ShiftedOperandsAreAddedFromTheLowestBitUp) {
  EXPECT_TRACE_LEVELS(
      [this](WordClausifier& w, RecordingSink& s) {
        Term_ const* five = tm.mk_bv(6, 3);
        Term_ const* x = tm.mk_variable("x", tm.bv_type(3));
        Term_ const* t = tm.mk_app(SymbolTag::bv_mul, {five, x});
        w.set_bits(five, &s, {F, T, T});
        w.set_bits(x, &s, {2, T, 4});
        w.word_mul(&s, t);
      },
      R"-(
        3 "word_mul (bvmul (_ bv6 3) x)"
        3 "word mul by c (bvmul (_ bv6 3) x)"
        3 "word_add "
        5 "sum_consts "
        4 "i = 0 x = F y = F cin = F"
        4 "   sum = F = F"
        5 "sum_consts "
        4 "i = 1 x = F y = 0 cin = F"
        4 "   sum = 0 = F"
        5 "sum_consts "
        4 "i = 2 x = F y = T cin = F"
        4 "   sum = T = F"
        4 "[ F, F, F ] + [ T, 0, F ] = [ T, 0, F ]"
        3 "word_add "
        5 "sum_consts "
        4 "i = 0 x = F y = F cin = F"
        4 "   sum = F = F"
        5 "sum_consts "
        4 "i = 1 x = 0 y = F cin = F"
        4 "   sum = 0 = F"
        5 "sum_consts "
        4 "i = 2 x = T y = 0 cin = F"
        4 "   sum = ~0 = 0"
        4 "[ T, 0, F ] + [ 0, F, F ] = [ ~0, 0, F ]"
      )-");
}

TEST_F(MultiplicationTest, BothFormsOfTheConstantGiveTheSame) {
  for (char const* value : {"0", "1", "5", "11", "255", "128"}) {
    sink.next = 100;
    BvLitList const small = times(QNumber::from_digits(value, 10), {2, 3, 4, 5, 6, 7, 8, 9});
    Events const small_events = events;
    sink.next = 100;
    BvLitList const large = times(big(value), {2, 3, 4, 5, 6, 7, 8, 9});
    EXPECT_EQ(large, small);
    EXPECT_EQ(events, small_events);
    events.clear();
  }
}

TEST_F(MultiplicationTest, ConstantsBeyondAMachineWord) {
  BvLitList x;
  for (int i = 0; i < 70; ++i) x.push_back(2 + i);
  BvLitList shifted(70, F);
  for (int i = 65; i < 70; ++i) shifted[static_cast<std::size_t>(i)] = 2 + i - 65;
  EXPECT_EQ(times(big("36893488147419103232"), x), shifted);  // 2^65
  EXPECT_NO_EVENTS();
  BvLitList shifted_by_63(70, F);
  for (int i = 63; i < 70; ++i) shifted_by_63[static_cast<std::size_t>(i)] = 2 + i - 63;
  EXPECT_EQ(times(QNumber::from_digits("9223372036854775808", 10), x), shifted_by_63);
  EXPECT_NO_EVENTS();
}

TEST_F(MultiplicationTest, OfANegativeNumeralOnlyBitZeroCounts) {
  for (bool force_big : {false, true}) {
    EXPECT_EQ(times(QNumber::from_digits("-1", 10, force_big), {2, 3, 4}), (BvLitList{2, 3, 4}));
    EXPECT_EQ(times(QNumber::from_digits("-2", 10, force_big), {2, 3, 4}), (BvLitList{F, F, F}));
    EXPECT_EQ(times(QNumber::from_digits("-7", 10, force_big), {2, 3, 4}), (BvLitList{2, 3, 4}));
  }
  EXPECT_NO_EVENTS();
}

TEST_F(MultiplicationTest, ProductsOfConstantsFold) {
  for (std::uint64_t a = 0; a < 16; ++a)
    for (std::uint64_t b = 0; b < 16; ++b) {
      BvLitList x;
      BvLitList expected;
      for (int i = 0; i < 4; ++i) {
        x.push_back((b >> i & 1) != 0 ? T : F);
        expected.push_back((a * b >> i & 1) != 0 ? T : F);
      }
      EXPECT_EQ(times(QNumber(static_cast<std::int64_t>(a)), x), expected);
    }
  EXPECT_NO_EVENTS();
}

TEST_F(MultiplicationTest, TheCachedNumeralStaysAsItIs) {
  Term_ const* seven = numeral(QNumber(7), 3);
  Term_ const* t = product(seven, bv_var("x", BvLitList{2, 3, 4}));
  c.word_mul(&sink, t);
  EXPECT_EQ(tm.number(seven->symbol)->to_str(), "7");
  EXPECT_EQ(bits(seven), (BvLitList{T, T, T}));
}

TEST_F(MultiplicationTest, LengthByAConstantIsThatOfTheNumeral) {
  Term_ const* t = product(numeral(QNumber(2), 3), bv_var("x", BvLitList{2, 3, 4, 5, 6}));
  c.word_mul_by_constant(&sink, t);
  EXPECT_EQ(bits(t), (BvLitList{F, 2, 3}));
}

TEST_F(MultiplicationTest, AnOddNumeralGivesTheLengthOfTheOtherOperand) {
  BvLitList const longer{2, 3, 4, 5, 6};
  Term_ const* one = product(numeral(QNumber(1), 3), bv_var("x", longer));
  c.word_mul_by_constant(&sink, one);
  EXPECT_EQ(bits(one), longer);
  EXPECT_NO_EVENTS();
  // 5 * x: bits from 3 up are those of x, and what is carried into them.
  Term_ const* five = product(numeral(QNumber(5), 3), bv_var("y", longer));
  c.word_mul_by_constant(&sink, five);
  EXPECT_EQ(bits(five).size(), 5u);
  EXPECT_EQ(bits(five)[0], 2);
  EXPECT_EQ(bits(five)[1], 3);
  EXPECT_EQ(sink.clauses[0], (BvLitList{-4, -2, -100}));
  EXPECT_EQ(sink.clauses.size(), 3 * 7u);  // three half adders
  EXPECT_EQ(stray_lists(c), 0);
  BvLitList const shorter{2, 3};
  events.clear();
  sink.next = 100;
  for (std::int64_t const factor : {1, 3, 5, 9, 13}) {
    Term_ const* t = product(numeral(QNumber(factor), 4), bv_var("z", shorter));
    c.word_mul_by_constant(&sink, t);
    EXPECT_EQ(bits(t).size(), 2u) << factor;
    EXPECT_EQ(bits(t)[0], 2) << factor;
    EXPECT_EQ(bits(t)[1] == 3, factor % 4 == 1) << factor;
  }
  // An even one that of the numeral.
  Term_ const* six = product(numeral(QNumber(6), 4), bv_var("z", shorter));
  c.word_mul_by_constant(&sink, six);
  EXPECT_EQ(bits(six).size(), 4u);
  EXPECT_EQ(stray_lists(c), 0);
}

// ---- in general ----

TEST_F(MultiplicationTest, OneBitIsOneGate) {
  Term_ const* t = product(bv_var("x", BvLitList{2}), bv_var("y", BvLitList{3}));
  logger.set_verbosity(5);
  c.word_mul(&sink, t);
  EXPECT_EVENTS(R"(
    log "word_mul product"
    log "word mul generic product"
    log "bit_and "
    new 100
    clauses -2 -3 100 | 2 -100 | 3 -100
  )");
  EXPECT_EQ(bits(t), (BvLitList{100}));
}

TEST_F(MultiplicationTest, RowsOfPartialProducts) {
  Term_ const* t = product(bv_var("x", BvLitList{2, 3, 4}), bv_var("y", BvLitList{5, 6, 7}));
  logger.set_verbosity(3);
  c.word_mul(&sink, t);
  EXPECT_EVENTS(R"(
    log "word_mul product"
    log "word mul generic product"
    log "bit_and "
    new 100
    clauses -2 -5 100 | 2 -100 | 5 -100
    log "bit_and "
    new 101
    clauses -3 -5 101 | 3 -101 | 5 -101
    log "bit_and "
    new 102
    clauses -4 -5 102 | 4 -102 | 5 -102
    log "bit_and "
    new 103
    clauses -6 -2 103 | 6 -103 | 2 -103
    log "bit_and "
    new 104
    clauses -6 -3 104 | 6 -104 | 3 -104
    log "word_add "
    log "bit xor "
    new 105
    clauses -101 -103 -105 | 101 103 -105 | -101 103 105 | 101 -103 105
    log "bit_and "
    new 106
    clauses -101 -103 106 | 101 -106 | 103 -106
    new 107
    clauses -102 -104 -106 107 | -102 -104 106 -107 | -102 104 -106 -107 | 102 -104 -106 -107
    clauses -102 104 106 107 | 102 -104 106 107 | 102 104 -106 107 | 102 104 106 -107
    new 108
    clauses -102 -104 108 | -102 -106 108 | -104 -106 108 | 102 104 -108 | 102 106 -108 | 106 104 -108
    log "bit_and "
    new 109
    clauses -7 -2 109 | 7 -109 | 2 -109
    log "word_add "
    log "bit xor "
    new 110
    clauses -107 -109 -110 | 107 109 -110 | -107 109 110 | 107 -109 110
    log "bit_and "
    new 111
    clauses -107 -109 111 | 107 -111 | 109 -111
  )");
  EXPECT_EQ(bits(t), (BvLitList{100, 105, 110}));
}

TEST_F(MultiplicationTest, AConstantSecondOperandIsNotExamined) {
  Term_ const* t = product(bv_var("x", BvLitList{2, 3}), numeral(QNumber(2), 2));
  logger.set_verbosity(3);
  c.word_mul(&sink, t);
  EXPECT_EVENTS(R"(
    log "word_mul product"
    log "word mul generic product"
    log "bit_and "
    log "bit_and "
    log "bit_and "
    log "word_add "
  )");
  EXPECT_EQ(bits(t), (BvLitList{F, 2}));
}

TEST_F(MultiplicationTest, AFirstOperandOfConstantBitsIsNoNumeral) {
  Term_ const* t = product(bv_var("x", BvLitList{F, T}), bv_var("y", BvLitList{2, 3}));
  logger.set_verbosity(3);
  c.word_mul(&sink, t);
  EXPECT_EQ(count(log_event("word mul generic product")), 1u);
  EXPECT_EQ(bits(t), (BvLitList{F, 2}));
}

TEST_F(MultiplicationTest, ConstantBitsFoldInTheGates) {
  for (std::uint64_t a = 0; a < 16; ++a)
    for (std::uint64_t b = 0; b < 16; ++b) {
      BvLitList x, y, expected;
      for (int i = 0; i < 4; ++i) {
        x.push_back((a >> i & 1) != 0 ? T : F);
        y.push_back((b >> i & 1) != 0 ? T : F);
        expected.push_back((a * b >> i & 1) != 0 ? T : F);
      }
      Term_ const* t = product(bv_var("x", x), bv_var("y", y));
      c.word_mul_generic(&sink, t);
      EXPECT_EQ(bits(t), expected);
    }
  EXPECT_NO_EVENTS();
}

// ---- both ----

TEST_F(MultiplicationTest, OnlyTheResultStaysInUse) {
  Term_ const* a = product(bv_var("x", BvLitList{2, 3, 4}), bv_var("y", BvLitList{5, 6, 7}));
  std::uint64_t const before = lists_in_use();
  c.word_mul(&sink, a);
  EXPECT_EQ(lists_in_use(), before + 1);
  times(QNumber(7), {2, 3, 4});  // numeral, variable, product
  EXPECT_EQ(lists_in_use(), before + 4);
  times(QNumber(0), {2, 3, 4});
  EXPECT_EQ(lists_in_use(), before + 7);
}

TEST_F(MultiplicationTest, AThrowCachesNothingAndLosesNothing) {
  Term_ const* general = product(bv_var("x", BvLitList{2, 3, 4}), bv_var("y", BvLitList{5, 6, 7}));
  Term_ const* constant = product(numeral(QNumber(7), 3), bv_var("z", BvLitList{2, 3, 4}));
  std::string const before = trail();
  std::uint64_t const lists = lists_in_use();
  for (Term_ const* t : {general, constant})
    for (int clauses = 0; clauses < 20; ++clauses) {
      sink.clauses_left = clauses;
      EXPECT_THROW(c.word_mul(&sink, t), Interrupted);
      EXPECT_FALSE(c.is_cached(t));
      EXPECT_EQ(trail(), before);
      EXPECT_EQ(lists_in_use(), lists);
    }
}

}  // namespace
}  // namespace vell::test

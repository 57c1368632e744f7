// Against the values themselves: every operator over every value that the bounds of its operands admit.

#include "vell/words/analysis/wordbounds.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tests/generate/random.h"

namespace vell::words {
namespace {

using S = SymbolTag::tag;
using Number = std::uint64_t;

std::vector<Number> values(WordBounds const& b) {
  std::vector<Number> out;
  for (Number n = 0; n < Number{1} << b.width(); ++n)
    if (b.contains(mpz_class(static_cast<unsigned long>(n)))) out.push_back(n);
  return out;
}

mpz_class number(Number n) { return mpz_class(static_cast<unsigned long>(n)); }

// Bounds that admit the value, and that are often tight.
WordBounds some(generate::Random& r, std::uint64_t width, Number value) {
  WordBounds out(width);
  for (std::int64_t i = r.between(0, 3); i > 0; --i) {
    switch (r.below(5)) {
      case 0: out.at_least(number(r.below(value + 1))); break;
      case 1: out.at_most(number(value + r.below((Number{1} << width) - value))); break;
      case 2: {
        std::uint64_t const lsb = r.below(width);
        std::uint64_t const count = 1 + r.below(width - lsb);
        out.has_bits(number(value >> lsb & ((Number{1} << count) - 1)), lsb, count);
        break;
      }
      case 3: {
        Number const other = r.below(Number{1} << width);
        if (other != value) out.not_equal(number(other));
        break;
      }
      default: out.join(WordBounds::constant(number(r.below(Number{1} << width)), width));
    }
  }
  return out;
}

std::int64_t as_signed(Number n, std::uint64_t width) {
  return static_cast<std::int64_t>(n << (64 - width)) >> (64 - width);
}

Number value_of(S tag, Number a, Number b, std::uint64_t width, std::uint64_t width_b,
                std::uint64_t out_width, std::uint64_t lsb) {
  switch (tag) {
    case S::bv_not: return ~a;
    case S::bv_neg: return 0 - a;
    case S::bv_and: return a & b;
    case S::bv_or: return a | b;
    case S::bv_xor: return a ^ b;
    case S::bv_add: return a + b;
    case S::bv_sub: return a - b;
    case S::bv_mul: return a * b;
    case S::bv_udiv: return b == 0 ? ~Number{0} : a / b;
    case S::bv_urem: return b == 0 ? a : a % b;
    case S::bv_shl: return b >= width ? 0 : a << b;
    case S::bv_lshr: return b >= width ? 0 : a >> b;
    case S::bv_ashr: return static_cast<Number>(as_signed(a, width) >> (b >= width ? width - 1 : b));
    case S::bv_concat: return a << width_b | b;
    case S::bv_extract: return a >> lsb;
    case S::bv_zero_extend: return a;
    case S::bv_sign_extend: return static_cast<Number>(as_signed(a, width));
    default: ADD_FAILURE(); return out_width;
  }
}

TEST(WordBounds, EveryOperatorAdmitsEveryValue) {
  constexpr S unary[] = {S::bv_not, S::bv_neg, S::bv_extract, S::bv_zero_extend, S::bv_sign_extend};
  constexpr S binary[] = {S::bv_and,  S::bv_or,   S::bv_xor, S::bv_add,  S::bv_sub,  S::bv_mul,
                          S::bv_udiv, S::bv_urem, S::bv_shl, S::bv_lshr, S::bv_ashr, S::bv_concat};
  generate::Random r(1);
  std::vector<unsigned> better(64);  // how often something was found out
  for (unsigned round = 0; round < 400; ++round) {
    std::uint64_t const w = 1 + r.below(4);
    WordBounds const a = some(r, w, r.below(Number{1} << w));
    WordBounds const b = some(r, w, r.below(Number{1} << w));
    WordBounds const* const operands[] = {&a, &b};
    auto const check = [&](S tag, std::uint64_t out_width, std::uint64_t msb, std::uint64_t lsb, bool two) {
      WordBounds const out = WordBounds::of(tag, std::span(operands, two ? 2 : 1), out_width, msb, lsb);
      better[tag] += out.is_top() ? 0 : 1;
      EXPECT_FALSE(out.empty());
      Number const mask = (Number{1} << out_width) - 1;
      for (Number x : values(a))
        for (Number y : two ? values(b) : std::vector<Number>{0})
          ASSERT_TRUE(out.contains(number(value_of(tag, x, y, w, w, out_width, lsb) & mask)))
              << "operator " << tag << " of " << x << " and " << y << " in " << w << " bits";
    };
    for (S tag : binary) check(tag, tag == S::bv_concat ? 2 * w : w, 0, 0, true);
    for (S tag : unary) {
      std::uint64_t const lsb = tag == S::bv_extract ? r.below(w) : 0;
      std::uint64_t const msb = lsb + r.below(w - lsb);
      bool const extension = tag == S::bv_zero_extend || tag == S::bv_sign_extend;
      check(tag, tag == S::bv_extract ? msb - lsb + 1 : extension ? w + 2 : w, msb, lsb, false);
    }
  }
  for (S tag : unary) EXPECT_LT(20u, better[tag]) << "operator " << tag;
  for (S tag : binary) EXPECT_LT(20u, better[tag]) << "operator " << tag;
}

TEST(WordBounds, ComparisonsAreDecidedWhereAllValuesAgree) {
  generate::Random r(2);
  unsigned decided = 0;
  for (unsigned round = 0; round < 2000; ++round) {
    std::uint64_t const w = 1 + r.below(4);
    WordBounds const a = some(r, w, r.below(Number{1} << w));
    WordBounds const b = some(r, w, r.below(Number{1} << w));
    for (S tag : {S::bv_ule, S::bv_ult, S::bv_sle, S::bv_slt, S::equal}) {
      int const known = WordBounds::compare(tag, a, b);
      decided += known >= 0 ? 1 : 0;
      if (known < 0) continue;
      for (Number x : values(a))
        for (Number y : values(b)) {
          std::int64_t const sx = as_signed(x, w);
          std::int64_t const sy = as_signed(y, w);
          bool const value = tag == S::bv_ule   ? x <= y
                             : tag == S::bv_ult ? x < y
                             : tag == S::bv_sle ? sx <= sy
                             : tag == S::bv_slt ? sx < sy
                                                : x == y;
          ASSERT_EQ(value ? 1 : 0, known) << "operator " << tag << " of " << x << " and " << y;
        }
    }
  }
  EXPECT_LT(500u, decided);
}

TEST(WordBounds, BitsAndIntervalsTellEachOther) {
  WordBounds small(8);
  small.at_most(9);
  EXPECT_EQ(0xf0, small.zeros());
  WordBounds even(8);
  even.has_bits(0, 0, 1);
  EXPECT_EQ(254, even.high());
  even.at_most(3);
  even.at_least(2);
  EXPECT_TRUE(even.is_constant());
  EXPECT_EQ(2, even.low());
  even.has_bits(1, 7, 1);
  EXPECT_TRUE(even.empty());
}

TEST(WordBounds, WideWords) {
  WordBounds a(4096);
  a.at_most(mpz_class(1) << 100);
  WordBounds const* const operands[] = {&a, &a};
  EXPECT_EQ(mpz_class(1) << 101, WordBounds::of(S::bv_add, operands, 4096).high());
  EXPECT_EQ(mpz_class(1) << 200, WordBounds::of(S::bv_mul, operands, 4096).high());
}

}  // namespace
}  // namespace vell::words

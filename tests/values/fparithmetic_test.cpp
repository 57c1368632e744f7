#include "vell/values/fparithmetic.h"

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <bit>
#include <cfenv>
#include <cmath>
#include <random>
#include <vector>

namespace vell::values {
namespace {

using Tag = SymbolTag::tag;

constexpr FpFormat float32{8, 23};
constexpr FpFormat float64{11, 52};
constexpr Rounding processor_modes[] = {Rounding::even, Rounding::zero, Rounding::plus_inf,
                                        Rounding::minus_inf};

int processor_mode(Rounding mode) {
  switch (mode) {
    case Rounding::zero: return FE_TOWARDZERO;
    case Rounding::plus_inf: return FE_UPWARD;
    case Rounding::minus_inf: return FE_DOWNWARD;
    default: return FE_TONEAREST;
  }
}

// Computes under a rounding mode of the processor.
template <typename F>
auto under(Rounding mode, F f) {
  std::fesetround(processor_mode(mode));
  auto const result = f();
  std::fesetround(FE_TONEAREST);
  return result;
}

template <typename Float>
struct Bits;
template <>
struct Bits<float> {
  using Word = std::uint32_t;
  static constexpr FpFormat format = float32;
};
template <>
struct Bits<double> {
  using Word = std::uint64_t;
  static constexpr FpFormat format = float64;
};

// Values near the borders of the format and near one another, and any.
template <typename Float>
Float random_float(std::mt19937_64& random) {
  using B = Bits<Float>;
  std::uint64_t const top = (std::uint64_t{1} << B::format.exponent) - 1;
  std::uint64_t const exponents[] = {0,
                                     0,
                                     1,
                                     2,
                                     top,
                                     top - 1,
                                     top / 2,
                                     top / 2 + 1,
                                     top / 2 + B::format.fraction,
                                     random() & top,
                                     random() & top,
                                     random() & top};
  std::uint64_t const ones = (std::uint64_t{1} << B::format.fraction) - 1;
  std::uint64_t const fractions[] = {
      0, 1, ones, ones - 1, ones / 2, ones / 2 + 1, random() & ones, random() & ones, random() & ones};
  std::uint64_t const word = (random() & 1) << (B::format.width() - 1) |
                             exponents[random() % 12] << B::format.fraction | fractions[random() % 9];
  return std::bit_cast<Float>(static_cast<typename B::Word>(word));
}

template <typename Float>
std::uint64_t bits_of(Float x) {
  std::uint64_t word = std::bit_cast<typename Bits<Float>::Word>(x);
  fp_unify_nan(Bits<Float>::format, &word);
  return word;
}

template <typename Float>
void compare_with_processor(unsigned rounds) {
  FpFormat const f = Bits<Float>::format;
  std::mt19937_64 random(7);
  for (unsigned i = 0; i < rounds; ++i) {
    // The compiler may not compute ahead, under another mode.
    Float volatile const a = random_float<Float>(random);
    Float volatile const b = random_float<Float>(random);
    Float volatile const c = random_float<Float>(random);
    std::uint64_t const x[] = {bits_of<Float>(a), bits_of<Float>(b), bits_of<Float>(c)};
    std::uint64_t const* const operands[] = {&x[0], &x[1], &x[2]};
    auto const result = [&](Tag op, Rounding mode, unsigned n) {
      std::uint64_t out = 0;
      fp_operation(op, f, mode, std::span(operands, n), &out);
      return out;
    };
    for (Rounding const mode : processor_modes) {
      auto const expect = [&](Tag op, unsigned n, auto compute) {
        ASSERT_EQ(result(op, mode, n), bits_of<Float>(under(mode, compute)))
            << op << " of " << a << ' ' << b << ' ' << c << " mode " << static_cast<int>(mode);
      };
      expect(Tag::fp_add, 2, [&] {
        Float volatile const r = a + b;
        return Float(r);
      });
      expect(Tag::fp_sub, 2, [&] {
        Float volatile const r = a - b;
        return Float(r);
      });
      expect(Tag::fp_mul, 2, [&] {
        Float volatile const r = a * b;
        return Float(r);
      });
      expect(Tag::fp_div, 2, [&] {
        Float volatile const r = a / b;
        return Float(r);
      });
      expect(Tag::fp_sqrt, 1, [&] {
        Float volatile const r = std::sqrt(Float(a));
        return Float(r);
      });
      expect(Tag::fp_fma, 3, [&] {
        Float volatile const r = std::fma(Float(a), Float(b), Float(c));
        return Float(r);
      });
      expect(Tag::fp_round_to_integral, 1, [&] {
        Float volatile const r = std::nearbyint(Float(a));
        return Float(r);
      });
      if (::testing::Test::HasFatalFailure()) return;
    }
    // A zero has the sign of the dividend; the C library has some of them without it.
    Float const rest = std::remainder(Float(a), Float(b));
    ASSERT_EQ(result(Tag::fp_rem, Rounding::even, 2),
              bits_of<Float>(rest == 0 ? std::copysign(rest, Float(a)) : rest))
        << a << ' ' << b;
    ASSERT_EQ(result(Tag::fp_round_to_integral, Rounding::away, 1), bits_of<Float>(std::round(Float(a))))
        << a;
    ASSERT_EQ(result(Tag::fp_neg, Rounding::even, 1), bits_of<Float>(-a)) << a;
    ASSERT_EQ(result(Tag::fp_abs, Rounding::even, 1), bits_of<Float>(std::fabs(Float(a)))) << a;
    ASSERT_EQ(fp_test(Tag::fp_lt, f, std::span(operands, 2)), a < b);
    ASSERT_EQ(fp_test(Tag::fp_leq, f, std::span(operands, 2)), a <= b);
    ASSERT_EQ(fp_test(Tag::fp_eq, f, std::span(operands, 2)), a == b);
    ASSERT_EQ(fp_test(Tag::fp_is_normal, f, std::span(operands, 1)), std::isnormal(Float(a)));
    ASSERT_EQ(fp_test(Tag::fp_is_subnormal, f, std::span(operands, 1)),
              std::fpclassify(Float(a)) == FP_SUBNORMAL);
  }
}

TEST(FpArithmetic, SinglePrecisionIsTheProcessors) { compare_with_processor<float>(5000); }
TEST(FpArithmetic, DoublePrecisionIsTheProcessors) { compare_with_processor<double>(5000); }

TEST(FpArithmetic, ConversionsBetweenFormatsAreTheProcessors) {
  std::mt19937_64 random(8);
  for (unsigned i = 0; i < 5000; ++i) {
    double volatile const a = random_float<double>(random);
    float volatile const b = random_float<float>(random);
    std::int64_t volatile const n = static_cast<std::int64_t>(random()) >> (random() % 64);
    std::uint64_t const x = bits_of<double>(a);
    std::uint64_t const y = bits_of<float>(b);
    std::uint64_t const word = static_cast<std::uint64_t>(n);
    for (Rounding const mode : processor_modes) {
      std::uint64_t out = 0;
      fp_from_fp(float64, &x, float32, mode, &out);
      ASSERT_EQ(out, bits_of<float>(under(mode,
                                          [&] {
                                            float volatile const r = static_cast<float>(a);
                                            return float(r);
                                          })))
          << a;
      fp_from_fp(float32, &y, float64, mode, &out);
      ASSERT_EQ(out, bits_of<double>(static_cast<double>(b))) << b;
      fp_from_word(&word, 64, true, float32, mode, &out);
      ASSERT_EQ(out, bits_of<float>(under(mode,
                                          [&] {
                                            float volatile const r = static_cast<float>(n);
                                            return float(r);
                                          })))
          << n;
      fp_from_word(&word, 64, true, float64, mode, &out);
      ASSERT_EQ(out, bits_of<double>(under(mode,
                                           [&] {
                                             double volatile const r = static_cast<double>(n);
                                             return double(r);
                                           })))
          << n;
    }
  }
}

// The two ways of rounding agree in the modes that both have: MPFR's, and integers.
TEST(FpArithmetic, IntegersRoundAsMpfrDoes) {
  std::mt19937_64 random(9);
  for (FpFormat const from : {FpFormat{5, 12}, FpFormat{6, 9}})
    for (FpFormat const to : {FpFormat{2, 2}, FpFormat{3, 3}, FpFormat{2, 6}, FpFormat{4, 1}, FpFormat{5, 4}})
      for (unsigned i = 0; i < 3000; ++i) {
        std::uint64_t const x = random() & ((std::uint64_t{1} << from.width()) - 1);
        if (fp_is_nan(from, &x) || fp_is_infinite(from, &x)) continue;
        std::int64_t const exponent =
            static_cast<std::int64_t>(x >> from.fraction & ((1u << from.exponent) - 1));
        std::int64_t const bias = (std::int64_t{1} << (from.exponent - 1)) - 1;
        mpz_class m = static_cast<unsigned long>(x & ((1u << from.fraction) - 1));
        if (exponent != 0) m += 1u << from.fraction;
        for (Rounding const mode : processor_modes) {
          std::uint64_t a = 0;
          std::uint64_t b = 0;
          fp_from_fp(from, &x, to, mode, &a);
          fp_from_scaled(
              fp_is_negative(from, &x), m.get_mpz_t(),
              std::max<std::int64_t>(exponent, 1) - bias - static_cast<std::int64_t>(from.fraction), to, mode,
              &b);
          ASSERT_EQ(a, b) << x << " mode " << static_cast<int>(mode);
        }
      }
}

TEST(FpArithmetic, TiesAwayFromZero) {
  auto const rational = [](long n, long d, FpFormat f, Rounding mode) {
    mpz_class const numerator = n;
    mpz_class const denominator = d;
    std::uint64_t out = 0;
    fp_from_rational(numerator.get_mpz_t(), denominator.get_mpz_t(), f, mode, &out);
    return out;
  };
  FpFormat const f{3, 2};  // 1, 1.25, 1.5, 1.75, 2, 2.5
  EXPECT_EQ(rational(9, 8, f, Rounding::even), rational(1, 1, f, Rounding::even));
  EXPECT_EQ(rational(9, 8, f, Rounding::away), rational(5, 4, f, Rounding::even));
  EXPECT_EQ(rational(-9, 8, f, Rounding::away), rational(-5, 4, f, Rounding::even));
  EXPECT_EQ(rational(11, 8, f, Rounding::away), rational(3, 2, f, Rounding::even));
  EXPECT_EQ(rational(1, 3, float32, Rounding::even), bits_of(1.0f / 3));
  EXPECT_EQ(rational(1, 10, float64, Rounding::even), bits_of(0.1));
  EXPECT_EQ(rational(1, 10, float64, Rounding::zero), bits_of(0.1) - 1);
  EXPECT_EQ(rational(0, 5, float64, Rounding::minus_inf), 0u);
  // Half of the least subnormal, and a little less.
  EXPECT_EQ(rational(1, 32, f, Rounding::away), 1u);
  EXPECT_EQ(rational(1, 32, f, Rounding::even), 0u);
  EXPECT_EQ(rational(1, 33, f, Rounding::away), 0u);
  EXPECT_EQ(rational(1, 33, f, Rounding::plus_inf), 1u);
}

}  // namespace
}  // namespace vell::values

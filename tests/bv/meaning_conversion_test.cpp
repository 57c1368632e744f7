// What the conversions of floating-point values to integers compute, on every input of small formats and on
// chosen and random inputs of half, single and double precision.
//
// Let V be the value of the operand, s the fraction width, e the exponent width, bias = 2^(e-1) - 1. The
// exponent is computed modulo 2^C with C = max(e, bits of s), the significand in a register of n = max(s + 1,
// width) bits (width + 1 for the unsigned conversion), and nothing is special. What follows from that, and is
// pinned here:
//
//  Formats with s <= bias and e <= n (half, single, double and every other standard format):
//   1. An exponent of all ones (infinities and NaN) gives 0 under every mode.
//   2. |V| < 2^(s - bias) gives 0 under every mode. That is the rounded value for zeros and for the modes
//   that round
//      towards 0, and for mode even unless s = bias, where 1/2 < |V| < 1 gives 0 and not +-1. A directed mode
//      that rounds V away from 0 gives 0 and not +-1. (Half: |V| < 2^-5; single: 2^-104; double: 2^-971. All
//      subnormal values are among them.)
//   3. A rounded value outside the range of the result comes out modulo 2^width, for the signed and the
//   unsigned
//      conversion alike; so do negative values of the unsigned one.
//   Everything else is the rounded value.
//
//  Formats with s > bias, such as (2,2), (2,3), (3,4): the amount s - u of the right shift, u the unbiased
//  exponent, does
//   not fit the exponent's bits.
//   4. 1 <= |V| < 2^(s - bias) with s - u < 2^e is shifted left by 2^e - (s - u), not rounded, modulo 2^n.
//   5. |V| < 1, zeros included, with s - u < 2^e gives 0 under every mode. With s - u >= 2^e (that takes s >
//   bias + 1)
//      the operand, hidden bit included even for zeros and subnormal values, is shifted right by s - u - 2^e
//      and rounded at that place: 0 unless it is rounded away from 0, otherwise that shifted significand
//      plus 1.
//   6. Infinities and NaN count as u = -(bias + 1) and fall under 5.
//
//  Formats with s >= 2^e: s itself does not fit e bits; the exponent is widened to the bits of s, where s
//  counts as
//   negative. All-ones exponents are then ordinary exponents (u = bias + 1).
//  Formats with e > n, such as (4,2) with width 3: the shift amount loses its top bits when it is cut to n
//  bits. Both are pinned by the rule alone.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "tests/support/meaning.h"

namespace vell::test {
namespace {

using Mode = IEEEFloat::rounding_mode;

constexpr Mode modes[] = {IEEEFloat::even, IEEEFloat::zero, IEEEFloat::plus_inf, IEEEFloat::minus_inf};

Term_ const* mode_term(TermManager& tm, Mode mode) {
  static constexpr Symbol::Role roles[] = {Symbol::Role::rounding_even, Symbol::Role::rounding_zero,
                                           Symbol::Role::rounding_plus_inf, Symbol::Role::rounding_minus_inf};
  SymbolSpec spec;
  spec.name = "mode";
  spec.output_type = tm.rounding_mode_type;
  spec.role = roles[mode];
  return tm.mk_term(tm.make_symbol(spec));
}

// One translated conversion of a floating-point variable.
class Conversion {
 public:
  // mode: one of the modes, or null for a rounding-mode variable.
  Conversion(FpFormat const& format, Mode const* mode, bool is_signed, unsigned width) : format_(format) {
    Term_ const* x = tm_.mk_variable("x", tm_.fp_type(format.exponent_width, format.fraction_width));
    Term_ const* m = mode == nullptr ? tm_.mk_variable("m", tm_.rounding_mode_type) : mode_term(tm_, *mode);
    Term_ const* t = tm_.mk_app(is_signed ? SymbolTag::fp_to_sbv : SymbolTag::fp_to_ubv, {m, x}, width);
    c_.bit_blast(t, &sink_);
    c_.get_bits(x, input_);
    c_.get_bits(m, mode_bits_);
    c_.get_bits(t, output_);
    EXPECT_EQ(output_.size(), width);
    propagator_.emplace_back(sink_);
  }

  // The forced value of the conversion, or -1 when the clauses do not force one.
  mpz_class convert(Word pattern, Mode mode) {
    bv::BvLitList inputs;
    for (unsigned i = 0; i < format_.width(); ++i)
      inputs.push_back((pattern >> i & 1) != 0 ? input_[i] : -input_[i]);
    for (unsigned i = 0; i < 2; ++i) inputs.push_back((mode >> i & 1) != 0 ? mode_bits_[i] : -mode_bits_[i]);
    std::vector<bool> values;
    if (propagator_[0].decide(inputs, output_, values) != Propagator::Answer::decided) return -1;
    return mpz_class(to_hex(from_bits(values)), 16);
  }

 private:
  FpFormat format_;
  TermManager tm_;
  QuietClausifier c_{&tm_, nullptr};
  RecordingSink sink_;
  bv::BvLitList input_;
  bv::BvLitList mode_bits_;
  bv::BvLitList output_;
  std::vector<Propagator> propagator_;
};

// Points 1 to 3 of the list.
bool is_regular(FpFormat const& f, unsigned register_width) {
  return static_cast<long>(f.fraction_width) <= f.bias() &&
         f.exponent_width <= std::max(f.fraction_width + 1, register_width);
}

mpz_class regular_value(FpFields const& x, FpFormat const& f, Mode mode, unsigned width) {
  if (x.exponent == f.max_exponent()) return 0;
  mpq_class const v = exact_value(x, f);
  mpz_class two_power;
  mpz_setbit(two_power.get_mpz_t(),
             static_cast<unsigned long>(f.bias() - static_cast<long>(f.fraction_width)));
  if (abs(v) * two_power < 1) return 0;
  return modulo_power_of_two(round_to_integer(v, mode), width);
}

// The value of a conversion of either kind: the unsigned one is the signed one of one bit more without its
// top bit.
mpz_class expected_value(FpFields const& x, FpFormat const& f, Mode mode, bool is_signed, unsigned width) {
  return is_signed ? conversion_rule(x, f, mode, width)
                   : modulo_power_of_two(conversion_rule(x, f, mode, width + 1), width);
}

std::string describe(FpFormat const& f, Word pattern, Mode mode, bool is_signed, unsigned width) {
  return "(" + std::to_string(f.exponent_width) + "," + std::to_string(f.fraction_width) + ") pattern " +
         to_hex(pattern) + " mode " + std::to_string(mode) + (is_signed ? " signed " : " unsigned ") +
         std::to_string(width);
}

bool check(Conversion& conversion, FpFormat const& f, Word pattern, Mode mode, bool is_signed,
           unsigned width) {
  FpFields const x = fields_of(pattern, f);
  mpz_class const actual = conversion.convert(pattern, mode);
  EXPECT_EQ(actual, expected_value(x, f, mode, is_signed, width))
      << describe(f, pattern, mode, is_signed, width);
  if (is_regular(f, is_signed ? width : width + 1)) {
    EXPECT_EQ(actual, regular_value(x, f, mode, width)) << describe(f, pattern, mode, is_signed, width);
  }
  return !::testing::Test::HasFailure();
}

void check_every_input(FpFormat const& f, unsigned first_width, unsigned last_width) {
  for (unsigned width = first_width; width <= last_width; ++width)
    for (bool const is_signed : {true, false}) {
      Conversion by_variable(f, nullptr, is_signed, width);
      for (Mode const mode : modes) {
        Conversion by_constant(f, &mode, is_signed, width);
        for (Word pattern = 0; pattern <= all_ones(f.width()); ++pattern) {
          if (!check(by_constant, f, pattern, mode, is_signed, width)) return;
          if (!check(by_variable, f, pattern, mode, is_signed, width)) return;
        }
      }
    }
}

struct FormatName {
  std::string operator()(::testing::TestParamInfo<FpFormat> const& info) const {
    return "e" + std::to_string(info.param.exponent_width) + "s" + std::to_string(info.param.fraction_width);
  }
};

class EveryInput : public ::testing::TestWithParam<FpFormat> {};
TEST_P(EveryInput, Widths1To8) { check_every_input(GetParam(), 1, 8); }
INSTANTIATE_TEST_SUITE_P(Conversion, EveryInput,
                         ::testing::Values(FpFormat{2, 3}, FpFormat{3, 3}, FpFormat{3, 4}, FpFormat{4, 3}),
                         FormatName());

// Formats whose fraction width needs more bits than the exponent has, whose exponent is longer than the
// significand's register, without a fraction, and other corners.
class OddFormat : public ::testing::TestWithParam<FpFormat> {};
TEST_P(OddFormat, EveryInput) {
  bool const large = GetParam().width() > 9;
  check_every_input(GetParam(), large ? 4 : 1, large ? 4 : 5);
}
INSTANTIATE_TEST_SUITE_P(Conversion, OddFormat,
                         ::testing::Values(FpFormat{1, 2}, FpFormat{2, 1}, FpFormat{2, 2}, FpFormat{2, 4},
                                           FpFormat{2, 5}, FpFormat{2, 7}, FpFormat{3, 1}, FpFormat{3, 2},
                                           FpFormat{3, 5}, FpFormat{3, 6}, FpFormat{3, 8}, FpFormat{4, 1},
                                           FpFormat{4, 2}, FpFormat{5, 1}, FpFormat{5, 2}),
                         FormatName());

// The list above is exact: on every input of every small regular format the rule is the rounded value except
// where points 1 to 3 say otherwise.
TEST(ConversionRule, IsTheRoundedValueOnRegularFormats) {
  unsigned formats = 0;
  for (unsigned e = 2; e <= 5; ++e)
    for (unsigned s = 1; s <= 7; ++s) {
      FpFormat const f{e, s};
      if (f.width() > 10) continue;
      for (unsigned const width : {1u, 2u, 3u, 4u, 6u, 9u, 12u}) {
        if (!is_regular(f, width)) continue;
        ++formats;
        for (Word pattern = 0; pattern <= all_ones(f.width()); ++pattern)
          for (Mode const mode : modes) {
            FpFields const x = fields_of(pattern, f);
            ASSERT_EQ(conversion_rule(x, f, mode, width), regular_value(x, f, mode, width))
                << describe(f, pattern, mode, true, width);
          }
      }
    }
  EXPECT_GT(formats, 50u);
}

// Points 4 to 6, on every input of the formats with bias < s < 2^e whose exponent fits the register.
TEST(ConversionRule, ShiftsSmallValuesTheWrongWayWhereTheFractionIsLongerThanTheBias) {
  for (unsigned e = 2; e <= 4; ++e)
    for (unsigned s = 1; s <= 8; ++s) {
      FpFormat const f{e, s};
      long const period = 1L << e;
      if (static_cast<long>(s) <= f.bias() || static_cast<long>(s) >= period) continue;
      for (unsigned const width : {1u, 3u, 6u, 9u, 12u})
        for (Word pattern = 0; pattern <= all_ones(f.width()); ++pattern)
          for (Mode const mode : modes) {
            FpFields const x = fields_of(pattern, f);
            bool const special = x.exponent == f.max_exponent();
            long const u = special ? -(f.bias() + 1) : static_cast<long>(x.exponent) - f.bias();
            long const amount = static_cast<long>(s) - u;
            unsigned const n = std::max(s + 1, width);
            mpz_class const significand = mpz_class(static_cast<unsigned long>(x.fraction)) + (1L << s);
            mpz_class expected;
            if (u >= 0 && amount <= f.bias()) {
              expected = round_to_integer(exact_value(x, f), mode);
            } else if (u >= 0) {
              expected = modulo_power_of_two(significand << static_cast<unsigned long>(period - amount), n);
              if (x.sign) expected = -expected;
            } else if (amount >= period) {
              mpq_class shifted(significand, mpz_class(1L << (amount - period)));
              shifted.canonicalize();
              mpz_class const toward_zero = round_to_integer(shifted, IEEEFloat::zero);
              if (x.sign) shifted = -shifted;
              expected = round_to_integer(shifted, mode);
              if (abs(expected) == toward_zero) expected = 0;
            }
            ASSERT_EQ(conversion_rule(x, f, mode, width), modulo_power_of_two(expected, width))
                << describe(f, pattern, mode, true, width);
          }
    }
}

// ---- standard formats ----

constexpr FpFormat half{5, 10};
constexpr FpFormat single_precision{8, 23};
constexpr FpFormat double_precision{11, 52};

Word pattern_of(float v) {
  std::uint32_t p;
  std::memcpy(&p, &v, sizeof p);
  return p;
}
Word pattern_of(double v) {
  std::uint64_t p;
  std::memcpy(&p, &v, sizeof p);
  return p;
}

// Patterns around every rounding decision: integers and halves with their neighbours, every exponent with
// sparse fractions, the special values.
std::vector<Word> chosen_patterns(FpFormat const& f, std::uint64_t seed, int random_patterns) {
  std::mt19937_64 random(seed);
  std::vector<Word> patterns;
  Word const fraction_mask = all_ones(f.fraction_width);
  Word const sign = Word{1} << (f.width() - 1);
  auto add = [&](std::uint64_t exponent, Word fraction) {
    for (Word const s : {Word{0}, sign})
      patterns.push_back(s | Word{exponent & f.max_exponent()} << f.fraction_width |
                         (fraction & fraction_mask));
  };
  auto const bias = static_cast<std::uint64_t>(f.bias());
  for (std::uint64_t const exponent :
       {std::uint64_t{0}, std::uint64_t{1}, f.max_exponent() - 1, f.max_exponent()})
    for (Word const fraction : {Word{0}, Word{1}, fraction_mask, Word{1} << (f.fraction_width - 1)})
      add(exponent, fraction);
  // The last exponents that the shift amount can hold and the first that it cannot.
  for (std::uint64_t d = 0; d < 3; ++d) {
    add(f.fraction_width - 1 + d, 0);
    add(f.fraction_width - 1 + d, 1);
  }
  // All of them where they are few, every fifth otherwise.
  std::uint64_t const step = f.fraction_width > 10 ? 5 : 1;
  for (std::uint64_t u = 0; u < f.fraction_width + 6; u += u < 5 ? 1 : step) {
    // Exponents -3, -2, ...: one bit at, above and below the half.
    std::uint64_t const exponent = bias - 3 + u;
    unsigned const point = u >= 3 && u - 3 <= f.fraction_width
                               ? f.fraction_width - static_cast<unsigned>(u - 3)
                               : f.fraction_width;
    Word const half_bit = point == 0 ? 0 : Word{1} << (point - 1);
    Word const unit = Word{1} << point;
    for (Word const upper : {Word{0}, unit})
      for (Word const lower : {Word{0}, half_bit, half_bit + 1, half_bit == 0 ? 0 : half_bit - 1})
        add(exponent, upper | lower);
  }
  for (int i = 0; i < random_patterns; ++i) {
    std::uint64_t const exponent = bias - 4 + random() % (f.fraction_width + 10);
    add(i % 4 == 0 ? random() : exponent, Word{random()});
  }
  return patterns;
}

// Takes every stride-th pattern of each mode, another one for each; half as many with the mode as a variable.
void check_chosen(FpFormat const& f, unsigned width, bool is_signed, int random_patterns,
                  std::size_t stride) {
  std::vector<Word> const patterns = chosen_patterns(f, width, random_patterns);
  Conversion by_variable(f, nullptr, is_signed, width);
  for (Mode const mode : modes) {
    Conversion by_constant(f, &mode, is_signed, width);
    for (std::size_t i = mode % stride; i < patterns.size(); i += stride) {
      if (!check(by_constant, f, patterns[i], mode, is_signed, width)) return;
      if (i / stride % 2 == 0 && !check(by_variable, f, patterns[i], mode, is_signed, width)) return;
    }
  }
}

TEST(StandardFormat, Half) {
  for (unsigned const width : {5u, 11u, 16u, 17u}) {
    check_chosen(half, width, true, 100, 1);
    check_chosen(half, width, false, 100, 1);
  }
}

TEST(StandardFormat, Single) {
  check_chosen(single_precision, 8, true, 60, 3);
  check_chosen(single_precision, 32, true, 60, 3);
  check_chosen(single_precision, 24, false, 60, 3);
}

TEST(StandardFormat, Double) {
  check_chosen(double_precision, 64, true, 20, 7);
  check_chosen(double_precision, 32, false, 20, 7);
}

// The hardware's own conversion, where it is defined, as a second witness.
TEST(StandardFormat, SingleAgreesWithTheMachine) {
  Mode const mode = IEEEFloat::even;
  Conversion conversion(single_precision, &mode, true, 32);
  std::mt19937_64 random(7);
  for (int i = 0; i < 300; ++i) {
    float const v =
        std::ldexp(static_cast<float>(static_cast<std::int32_t>(random())), -static_cast<int>(random() % 34));
    long const rounded = std::lrint(v);
    if (rounded < INT32_MIN || rounded > INT32_MAX) continue;
    EXPECT_EQ(conversion.convert(pattern_of(v), mode),
              mpz_class(static_cast<unsigned long>(static_cast<std::uint32_t>(rounded))))
        << v;
  }
}

std::int64_t to_signed(mpz_class const& v, unsigned width) {
  mpz_class const sign = mpz_class(1) << (width - 1);
  return mpz_class(v >= sign ? mpz_class(v - 2 * sign) : v).get_si();
}

struct Example {
  double value;
  std::int64_t even, zero, plus_inf, minus_inf;
};

TEST(StandardFormat, HalvesUnderEveryMode) {
  Example const examples[] = {{2.5, 2, 2, 3, 2},
                              {3.5, 4, 3, 4, 3},
                              {-2.5, -2, -2, -2, -3},
                              {-3.5, -4, -3, -3, -4},
                              {0.5, 0, 0, 1, 0},
                              {0.75, 1, 0, 1, 0},
                              {-0.75, -1, 0, 0, -1},
                              {1.0, 1, 1, 1, 1},
                              {100.25, 100, 100, 101, 100},
                              {-128.0, -128, -128, -128, -128}};
  for (unsigned const width : {8u, 40u})
    for (Mode const mode : modes) {
      Conversion by_constant(single_precision, &mode, true, width);
      Conversion by_variable(single_precision, nullptr, true, width);
      for (Example const& x : examples) {
        std::int64_t const expected[] = {x.even, x.zero, x.plus_inf, x.minus_inf};
        Word const pattern = pattern_of(static_cast<float>(x.value));
        EXPECT_EQ(to_signed(by_constant.convert(pattern, mode), width), expected[mode])
            << x.value << " mode " << mode;
        EXPECT_EQ(to_signed(by_variable.convert(pattern, mode), width), expected[mode])
            << x.value << " mode " << mode;
      }
    }
}

// Where the circuit's value is not the rounded one: of record, see the list above.
TEST(StandardFormat, ValuesOfRecordThatAreNotTheRoundedOnes) {
  for (Mode const mode : modes) {
    Conversion s8(single_precision, &mode, true, 8);
    for (float const v :
         {0.0f, -0.0f, INFINITY, -INFINITY, NAN, std::ldexp(1.0f, -105), -std::ldexp(1.5f, -105),
          std::ldexp(1.0f, -126), std::ldexp(1.0f, -149), -std::ldexp(1.0f, -149)})
      EXPECT_EQ(s8.convert(pattern_of(v), mode), 0) << v << " mode " << mode;
    // The smallest value that a directed mode still rounds away from 0.
    float const least = std::ldexp(1.0f, -104);
    EXPECT_EQ(s8.convert(pattern_of(least), mode), mode == IEEEFloat::plus_inf ? 1 : 0);
    EXPECT_EQ(s8.convert(pattern_of(-least), mode), mode == IEEEFloat::minus_inf ? 255 : 0);
    // Modulo 2^8.
    EXPECT_EQ(s8.convert(pattern_of(300.0f), mode), 44);
    EXPECT_EQ(s8.convert(pattern_of(-300.0f), mode), 256 - 44);
    EXPECT_EQ(s8.convert(pattern_of(128.0f), mode), 128);
    EXPECT_EQ(s8.convert(pattern_of(std::ldexp(1.0f, 100)), mode), 0);
    Conversion u8(single_precision, &mode, false, 8);
    EXPECT_EQ(u8.convert(pattern_of(255.0f), mode), 255);
    EXPECT_EQ(u8.convert(pattern_of(256.0f), mode), 0);
    EXPECT_EQ(u8.convert(pattern_of(-1.0f), mode), 255);
    EXPECT_EQ(u8.convert(pattern_of(INFINITY), mode), 0);
  }
  Mode const up = IEEEFloat::plus_inf;
  Conversion d(double_precision, &up, true, 64);
  EXPECT_EQ(d.convert(pattern_of(std::ldexp(1.0, -971)), up), 1);
  EXPECT_EQ(d.convert(pattern_of(std::ldexp(1.0, -972)), up), 0);
  EXPECT_EQ(d.convert(pattern_of(-9223372036854775808.0), up), mpz_class(1) << 63);
}

// The constants of the longer formats, by hand: (3,3) loses 3/4 under mode even, (2,2) turns 1 into 0 and 1.5
// into 0, (3,4) shifts 1 to the left by 4 out of its register of 5 bits.
TEST(SmallFormat, ValuesOfRecord) {
  Mode const even = IEEEFloat::even;
  Conversion e3s3(FpFormat{3, 3}, &even, true, 4);
  EXPECT_EQ(e3s3.convert(0b0'010'100, even), 0);  // 3/4
  EXPECT_EQ(e3s3.convert(0b0'011'100, even), 2);  // 3/2
  EXPECT_EQ(e3s3.convert(0b0'100'010, even), 2);  // 5/2
  Conversion e2s2(FpFormat{2, 2}, &even, true, 3);
  EXPECT_EQ(e2s2.convert(0b0'01'00, even), 0);  // 1: 100 << 2 leaves the register of 3 bits
  EXPECT_EQ(e2s2.convert(0b0'01'01, even), 4);  // 5/4: 101 << 2
  EXPECT_EQ(e2s2.convert(0b0'10'10, even), 3);  // 3
  EXPECT_EQ(e2s2.convert(0b0'10'01, even), 2);  // 5/2
  Conversion e3s4(FpFormat{3, 4}, &even, true, 8);
  EXPECT_EQ(e3s4.convert(0b0'011'0000, even), 0);   // 1: 10000 << 4 leaves the register of 8 bits
  EXPECT_EQ(e3s4.convert(0b0'011'0001, even), 16);  // 17/16: 10001 << 4
  EXPECT_EQ(e3s4.convert(0b0'100'1000, even), 3);   // 3
}

}  // namespace
}  // namespace vell::test

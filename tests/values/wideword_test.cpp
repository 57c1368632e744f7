// Arithmetic on limbs against GMP's integers, at widths on both sides of a limb's end.

#include "vell/values/wideword.h"

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace vell::values::wide {
namespace {

using Word = std::vector<std::uint64_t>;

constexpr std::uint64_t widths[] = {1, 2, 7, 63, 64, 65, 127, 128, 129, 191, 200};

mpz_class power(std::uint64_t n) { return mpz_class(1) << n; }

mpz_class modulo(mpz_class const& a, std::uint64_t width) {
  mpz_class r;
  mpz_fdiv_r_2exp(r.get_mpz_t(), a.get_mpz_t(), width);
  return r;
}

// All limbs, so that a bit above the width shows.
mpz_class value(Word const& a) {
  mpz_class r;
  mpz_import(r.get_mpz_t(), a.size(), -1, sizeof a[0], 0, 0, a.data());
  return r;
}

Word word(mpz_class const& value, std::uint64_t width) {
  mpz_class const a = modulo(value, width);
  Word r(static_cast<std::size_t>(limbs(width)), 0);
  mpz_export(r.data(), nullptr, -1, sizeof r[0], 0, 0, a.get_mpz_t());
  return r;
}

// A result's room, full of bits that must be written over.
Word room(std::uint64_t width) { return Word(static_cast<std::size_t>(limbs(width)), ~std::uint64_t{0}); }

// The ends of the range, single bits, and random values.
std::vector<mpz_class> values_of(std::uint64_t width) {
  gmp_randclass random(gmp_randinit_default);
  random.seed(static_cast<unsigned long>(width));
  std::vector<mpz_class> values = {0, 1, power(width) - 1, power(width - 1), power(width - 1) - 1};
  for (std::uint64_t const bit :
       {std::uint64_t{62}, std::uint64_t{63}, std::uint64_t{64}, std::uint64_t{128}})
    if (bit < width) values.push_back(power(bit));
  for (int i = 0; i < 4; ++i) values.push_back(random.get_z_bits(width));
  values.push_back(random.get_z_bits((width + 1) / 2));
  return values;
}

std::vector<std::uint64_t> amounts_of(std::uint64_t width) {
  std::vector<std::uint64_t> amounts = {0, 1, width - 1, width, width + 1, width + 1000};
  for (std::uint64_t const k : {2, 63, 64, 65, 127, 128})
    if (k < width) amounts.push_back(k);
  return amounts;
}

std::string what(std::uint64_t width, mpz_class const& a, mpz_class const& b) {
  return "width " + std::to_string(width) + ": " + a.get_str(16) + ", " + b.get_str(16);
}

TEST(WideWord, LimbsThatHoldAWidth) {
  EXPECT_EQ(limbs(1), 1);
  EXPECT_EQ(limbs(64), 1);
  EXPECT_EQ(limbs(65), 2);
  EXPECT_EQ(limbs(128), 2);
  EXPECT_EQ(limbs(129), 3);
}

TEST(WideWord, TrimClearsTheBitsAboveTheWidthAlone) {
  for (std::uint64_t const width : widths) {
    Word a = room(width);
    trim(a.data(), width);
    EXPECT_EQ(value(a), power(width) - 1) << width;
  }
}

TEST(WideWord, Bits) {
  for (std::uint64_t const width : widths)
    for (mpz_class const& a : values_of(width)) {
      Word const w = word(a, width);
      for (std::uint64_t i = 0; i < width; ++i)
        EXPECT_EQ(bit(w.data(), i), mpz_tstbit(a.get_mpz_t(), i) != 0) << what(width, a, 0) << " bit " << i;
      EXPECT_EQ(is_zero(w.data(), width), a == 0) << what(width, a, 0);
    }
}

TEST(WideWord, Comparisons) {
  for (std::uint64_t const width : widths)
    for (mpz_class const& a : values_of(width))
      for (mpz_class const& b : values_of(width)) {
        Word const x = word(a, width);
        Word const y = word(b, width);
        int const c = compare(x.data(), y.data(), width);
        EXPECT_EQ(c < 0, a < b) << what(width, a, b);
        EXPECT_EQ(c > 0, a > b) << what(width, a, b);
        mpz_class const half = power(width - 1);
        mpz_class const sa = a >= half ? mpz_class(a - power(width)) : a;
        mpz_class const sb = b >= half ? mpz_class(b - power(width)) : b;
        EXPECT_EQ(signed_less(x.data(), y.data(), width), sa < sb) << what(width, a, b);
      }
}

TEST(WideWord, ShiftsIntoAnotherWordAndInPlace) {
  for (std::uint64_t const width : widths)
    for (mpz_class const& a : values_of(width))
      for (std::uint64_t const k : amounts_of(width)) {
        Word const x = word(a, width);
        mpz_class const left = k >= width ? mpz_class(0) : modulo(a << k, width);
        mpz_class const right = k >= width ? mpz_class(0) : mpz_class(a >> k);
        Word r = room(width);
        shift_left(r.data(), x.data(), k, width);
        EXPECT_EQ(value(r), left) << what(width, a, k);
        r = x;
        shift_left(r.data(), r.data(), k, width);
        EXPECT_EQ(value(r), left) << what(width, a, k) << " in place";
        r = room(width);
        shift_right(r.data(), x.data(), k, width);
        EXPECT_EQ(value(r), right) << what(width, a, k);
        r = x;
        shift_right(r.data(), r.data(), k, width);
        EXPECT_EQ(value(r), right) << what(width, a, k) << " in place";
      }
}

TEST(WideWord, FillOnesKeepsTheBitsBelow) {
  for (std::uint64_t const width : widths)
    for (mpz_class const& a : values_of(width))
      for (std::uint64_t const low : amounts_of(width)) {
        Word r = word(a, width);
        fill_ones(r.data(), low, width);
        mpz_class const ones = low >= width ? mpz_class(0) : mpz_class(power(width) - power(low));
        EXPECT_EQ(value(r), mpz_class(a | ones)) << what(width, a, low);
      }
}

TEST(WideWord, AmountsAtOrAboveTheWidthAreTheWidth) {
  for (std::uint64_t const width : widths)
    for (mpz_class const& a : values_of(width)) {
      mpz_class const expected = a < width ? a : mpz_class(width);
      EXPECT_EQ(amount(word(a, width).data(), width), expected.get_ui()) << what(width, a, 0);
    }
  // A low limb that would be an amount by itself.
  EXPECT_EQ(amount(word(power(64) + 3, 65).data(), 65), 65u);
  EXPECT_EQ(amount(word(power(128) + 3, 129).data(), 129), 129u);
}

TEST(WideWord, NegationIntoAnotherWordAndInPlace) {
  for (std::uint64_t const width : widths)
    for (mpz_class const& a : values_of(width)) {
      Word const x = word(a, width);
      Word r = room(width);
      negate(r.data(), x.data(), width);
      EXPECT_EQ(value(r), modulo(-a, width)) << what(width, a, 0);
      r = x;
      negate(r.data(), r.data(), width);
      EXPECT_EQ(value(r), modulo(-a, width)) << what(width, a, 0) << " in place";
    }
}

TEST(WideWord, Products) {
  for (std::uint64_t const width : widths)
    for (mpz_class const& a : values_of(width))
      for (mpz_class const& b : values_of(width)) {
        Word r = room(width);
        Word product(2 * r.size());
        multiply(r.data(), word(a, width).data(), word(b, width).data(), width, product.data());
        EXPECT_EQ(value(r), modulo(a * b, width)) << what(width, a, b);
      }
}

TEST(WideWord, QuotientsAndRemainders) {
  for (std::uint64_t const width : widths)
    for (mpz_class const& a : values_of(width))
      for (mpz_class const& b : values_of(width)) {
        if (b == 0) continue;
        Word q = room(width);
        Word r = room(width);
        divide(q.data(), r.data(), word(a, width).data(), word(b, width).data(), width);
        EXPECT_EQ(value(q), mpz_class(a / b)) << what(width, a, b);
        EXPECT_EQ(value(r), mpz_class(a % b)) << what(width, a, b);
      }
}

}  // namespace
}  // namespace vell::values::wide

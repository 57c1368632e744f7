// Both forms of QNumber, against arithmetic done elsewhere.

#include "vell/terms/qnumber.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/allocations.h"
#include "vell/terms/exception.h"
#include "vell/terms/qnumber_gmp.h"

namespace vell {
namespace {

QNumber big(std::string const& digits, int base = 10) { return QNumber::from_digits(digits, base, true); }

__extension__ using Wide = __int128;

// The big form of numerator/denominator as it stands, not reduced.
QNumber big_fraction(std::int64_t numerator, std::int64_t denominator) {
  QNumber q = big(std::to_string(numerator));
  mpz_set_si(const_cast<GmpPair*>(q.gmp())->denominator, denominator);
  return q;
}

std::string low_bits(QNumber const& q, std::uint64_t n) {
  std::string s;
  for (std::uint64_t i = n; i-- > 0;) s += q.test_bit(i) ? '1' : '0';
  return s;
}

TEST(QNumberTest, DefaultIsSmallZero) {
  QNumber q;
  EXPECT_FALSE(q.is_big());
  EXPECT_EQ(q.small_numerator(), 0);
  EXPECT_EQ(q.small_denominator(), 1);
  EXPECT_EQ(q.sign(), 0);
  EXPECT_EQ(q.gmp(), nullptr);
}

TEST(QNumberTest, IsTwoWords) { EXPECT_EQ(sizeof(QNumber), 16u); }

TEST(QNumberTest, DenominatorWordZeroMarksTheBigForm) {
  QNumber const q = big("5");
  EXPECT_TRUE(q.is_big());
  EXPECT_EQ(q.small_denominator(), 0);
  ASSERT_NE(q.gmp(), nullptr);
  EXPECT_EQ(mpz_cmp_si(q.gmp()->numerator, 5), 0);
  EXPECT_EQ(mpz_cmp_si(q.gmp()->denominator, 1), 0);
}

TEST(QNumberTest, CopyKeepsTheFormAndIsApart) {
  for (bool force_big : {false, true}) {
    QNumber const q = QNumber::from_digits("-12", 10, force_big);
    QNumber copy = q;
    EXPECT_EQ(copy.is_big(), force_big);
    EXPECT_EQ(copy.to_str(), "-12");
    copy.clear_bit(2);
    EXPECT_EQ(copy.to_str(), "-16");
    EXPECT_EQ(q.to_str(), "-12");
  }
}

TEST(QNumberTest, CopyKeepsTheDenominator) {
  EXPECT_EQ(QNumber(big_fraction(-6, 4)).to_str(), "-6/4");
  EXPECT_EQ(QNumber(QNumber(6, 4)).to_str(), "6/4");
}

TEST(QNumberTest, AssignmentAcrossForms) {
  QNumber q(3);
  q = big("99999999999999999999");
  EXPECT_EQ(q.to_str(), "99999999999999999999");
  q = QNumber(4);
  EXPECT_EQ(q.to_str(), "4");
  EXPECT_FALSE(q.is_big());
  q = big("7");
  QNumber& alias = q;
  q = alias;
  EXPECT_EQ(q.to_str(), "7");
  EXPECT_TRUE(q.is_big());
}

TEST(QNumberTest, MoveLeavesZero) {
  QNumber q = big("7");
  QNumber const moved = std::move(q);
  EXPECT_EQ(moved.to_str(), "7");
  EXPECT_EQ(q.to_str(), "0");  // NOLINT: the state after a move is stated
  EXPECT_FALSE(q.is_big());
}

TEST(QNumberTest, SwapAcrossForms) {
  QNumber a(1);
  QNumber b = big("2");
  a.swap(b);
  EXPECT_EQ(a.to_str(), "2");
  EXPECT_EQ(b.to_str(), "1");
  EXPECT_TRUE(a.is_big());
  EXPECT_FALSE(b.is_big());
}

// ---- bits ----

TEST(QNumberTest, SmallNegativeReads64BitsAndZerosAbove) {
  QNumber const q(-1);
  for (std::uint64_t i = 0; i < 64; ++i) EXPECT_TRUE(q.test_bit(i)) << i;
  for (std::uint64_t i : {64, 65, 69, 127, 1000}) EXPECT_FALSE(q.test_bit(i)) << i;
  EXPECT_FALSE(q.test_bit(UINT64_MAX));
  EXPECT_EQ(low_bits(QNumber(-6), 66), "00" + std::string(61, '1') + "010");
  EXPECT_EQ(low_bits(QNumber(INT64_MIN), 66), "001" + std::string(63, '0'));
}

TEST(QNumberTest, BigNegativeIsInfiniteTwosComplement) {
  QNumber const q = big("-1");
  for (std::uint64_t i : {0, 63, 64, 69, 1000}) EXPECT_TRUE(q.test_bit(i)) << i;
  EXPECT_EQ(low_bits(big("-6"), 70), std::string(67, '1') + "010");
}

TEST(QNumberTest, PositiveBitsAgreeInBothForms) {
  std::string const digits = "101100111000111100001111100000";
  EXPECT_EQ(low_bits(QNumber::from_digits(digits, 2), digits.size()), digits);
  EXPECT_EQ(low_bits(big(digits, 2), digits.size()), digits);
  std::string const long_digits = digits + digits + digits;
  EXPECT_EQ(low_bits(QNumber::from_digits(long_digits, 2), long_digits.size()), long_digits);
}

TEST(QNumberTest, BitsAreThoseOfTheNumerator) {
  EXPECT_EQ(low_bits(QNumber(5, 2), 3), "101");
  EXPECT_EQ(low_bits(big_fraction(5, 2), 3), "101");
}

TEST(QNumberTest, ClearBit) {
  struct Case {
    char const* value;
    std::uint64_t bit;
    char const* result_small;
    char const* result_big;
  };
  for (Case const& k : std::vector<Case>{{"7", 0, "6", "6"},
                                         {"7", 2, "3", "3"},
                                         {"7", 5, "7", "7"},
                                         {"7", 64, "7", "7"},
                                         {"7", 1000, "7", "7"},
                                         {"-1", 0, "-2", "-2"},
                                         {"-1", 63, "9223372036854775807", "-9223372036854775809"},
                                         {"-1", 64, "-1", "-18446744073709551617"}}) {
    for (bool force_big : {false, true}) {
      QNumber q = QNumber::from_digits(k.value, 10, force_big);
      q.clear_bit(k.bit);
      EXPECT_EQ(q.to_str(), force_big ? k.result_big : k.result_small) << k.value << " bit " << k.bit;
      EXPECT_EQ(q.is_big(), force_big);
    }
  }
}

TEST(QNumberTest, LowestSetBit) {
  for (bool force_big : {false, true}) {
    QNumber const q = QNumber::from_digits("1001000", 2, force_big);
    EXPECT_EQ(q.lowest_set_bit(0), 3u);
    EXPECT_EQ(q.lowest_set_bit(3), 3u);
    EXPECT_EQ(q.lowest_set_bit(4), 6u);
    EXPECT_EQ(q.lowest_set_bit(6), 6u);
    EXPECT_EQ(q.lowest_set_bit(7), UINT64_MAX);
    EXPECT_EQ(q.lowest_set_bit(64), UINT64_MAX);
    EXPECT_EQ(q.lowest_set_bit(1000), UINT64_MAX);
    EXPECT_EQ(QNumber::from_digits("0", 10, force_big).lowest_set_bit(0), UINT64_MAX);
  }
  EXPECT_EQ(QNumber(-8).lowest_set_bit(0), 3u);
  EXPECT_EQ(QNumber(-8).lowest_set_bit(63), 63u);
  EXPECT_EQ(QNumber(-8).lowest_set_bit(64), UINT64_MAX);
  EXPECT_EQ(QNumber(INT64_MIN).lowest_set_bit(1), 63u);
  EXPECT_EQ(big("-8").lowest_set_bit(64), 64u);
  EXPECT_EQ(big("36893488147419103232").lowest_set_bit(1), 65u);  // 2^65
}

TEST(QNumberTest, ClearingSetBitsFromBelowEndsAtZero) {
  for (bool force_big : {false, true}) {
    QNumber q =
        QNumber::from_digits("1000101010000000000000000000000000000000000000000000000000001", 2, force_big);
    std::vector<std::uint64_t> found;
    for (std::uint64_t i = q.lowest_set_bit(0); i != UINT64_MAX; i = q.lowest_set_bit(i + 1)) {
      found.push_back(i);
      q.clear_bit(i);
    }
    EXPECT_EQ(found, (std::vector<std::uint64_t>{0, 52, 54, 56, 60}));
    EXPECT_EQ(q.sign(), 0);
    EXPECT_FALSE(QNumber(0) < q);
  }
}

TEST(QNumberTest, SizeInBase2) {
  struct Case {
    char const* value;
    std::uint64_t size;
  };
  for (Case const& k : std::vector<Case>{{"0", 1},
                                         {"1", 1},
                                         {"2", 2},
                                         {"255", 8},
                                         {"256", 9},
                                         {"-255", 8},
                                         {"-256", 9},
                                         {"9223372036854775807", 63},
                                         {"-9223372036854775808", 64}})
    for (bool force_big : {false, true})
      EXPECT_EQ(QNumber::from_digits(k.value, 10, force_big).size_in_base_2(), k.size) << k.value;
  EXPECT_EQ(big("36893488147419103232").size_in_base_2(), 66u);
}

// ---- order ----

// Every form of a value compares alike with every form of another.
TEST(QNumberTest, ComparisonOfAllFormsAndFractions) {
  struct Value {
    std::int64_t n;
    std::int64_t d;
  };
  std::vector<Value> const values = {{0, 1},          {0, 7},         {1, 1},         {2, 2},
                                     {-1, 1},         {1, 2},         {2, 4},         {-1, 2},
                                     {1, -2},         {-3, -6},       {INT64_MAX, 1}, {INT64_MIN, 1},
                                     {INT64_MAX, 2},  {INT64_MIN, 3}, {1, INT64_MAX}, {1, INT64_MIN},
                                     {-1, INT64_MIN}, {7, 3},         {-7, 3},        {6, 4}};
  for (Value const& a : values)
    for (Value const& b : values) {
      // a.n / a.d < b.n / b.d, the denominators made positive; the products fit 127 bits.
      Wide const left = static_cast<Wide>(a.d < 0 ? -static_cast<Wide>(a.n) : a.n) *
                        (b.d < 0 ? -static_cast<Wide>(b.d) : b.d);
      Wide const right = static_cast<Wide>(b.d < 0 ? -static_cast<Wide>(b.n) : b.n) *
                         (a.d < 0 ? -static_cast<Wide>(a.d) : a.d);
      QNumber const as[] = {QNumber(a.n, a.d), big_fraction(a.n, a.d)};
      QNumber const bs[] = {QNumber(b.n, b.d), big_fraction(b.n, b.d)};
      for (QNumber const& x : as)
        for (QNumber const& y : bs) {
          EXPECT_EQ(x < y, left < right) << x.to_str() << " < " << y.to_str();
          EXPECT_EQ(x == y, left == right) << x.to_str() << " = " << y.to_str();
        }
      EXPECT_EQ(as[0].sign(), (left > 0) - (left < 0)) << as[0].to_str();
      EXPECT_EQ(as[1].sign(), (left > 0) - (left < 0)) << as[1].to_str();
    }
}

TEST(QNumberTest, ComparisonBeyondTheWord) {
  QNumber const huge = big("170141183460469231731687303715884105728");
  EXPECT_LT(QNumber(INT64_MAX), huge);
  EXPECT_FALSE(huge < QNumber(INT64_MAX));
  EXPECT_LT(big("-170141183460469231731687303715884105728"), QNumber(INT64_MIN));
  EXPECT_FALSE(huge < huge);
  EXPECT_LT(huge, big("170141183460469231731687303715884105729"));
}

TEST(QNumberTest, SmallComparisonAllocatesNothing) {
  QNumber const a(3);
  QNumber const b(4);
  std::uint64_t const before = test::allocation_count();
  EXPECT_TRUE(a < b);
  EXPECT_EQ(test::allocation_count(), before);
}

TEST(QNumberTest, ScratchPairIsOneObjectPerThread) {
  GmpPair const* here = &QNumber::gmp_tmp;
  GmpPair const* there = nullptr;
  std::thread([&] {
    there = &QNumber::gmp_tmp;
    EXPECT_TRUE(big("170141183460469231731687303715884105728") <
                big("170141183460469231731687303715884105729"));
  }).join();
  EXPECT_NE(here, there);
  mpz_set_ui(QNumber::gmp_tmp.numerator, 5);
  EXPECT_EQ(mpz_get_ui(here->numerator), 5u);
}

// ---- conversions ----

TEST(QNumberTest, FromDigitsTakesTheSmallFormWhereItFits) {
  struct Case {
    char const* digits;
    int base;
    bool is_big;
    char const* text;
  };
  for (Case const& k : std::vector<Case>{{"0", 10, false, "0"},
                                         {"00012", 10, false, "12"},
                                         {"-5", 10, false, "-5"},
                                         {"9223372036854775807", 10, false, "9223372036854775807"},
                                         {"9223372036854775808", 10, true, "9223372036854775808"},
                                         {"-9223372036854775808", 10, false, "-9223372036854775808"},
                                         {"-9223372036854775809", 10, true, "-9223372036854775809"},
                                         {"1011", 2, false, "11"},
                                         {"fF", 16, false, "255"},
                                         {"-10", 16, false, "-16"},
                                         {"8000000000000000", 16, true, "9223372036854775808"}}) {
    QNumber const q = QNumber::from_digits(k.digits, k.base);
    EXPECT_EQ(q.is_big(), k.is_big) << k.digits;
    EXPECT_EQ(q.to_str(), k.text);
    EXPECT_TRUE(QNumber::from_digits(k.digits, k.base, true).is_big());
    EXPECT_EQ(QNumber::from_digits(k.digits, k.base, true).to_str(), k.text);
  }
}

TEST(QNumberTest, FromDigitsRejectsWhatIsNoInteger) {
  struct Case {
    char const* digits;
    int base;
  };
  for (Case const& k : std::vector<Case>{{"", 10},
                                         {"-", 10},
                                         {"--1", 10},
                                         {"+1", 10},
                                         {"12a", 10},
                                         {" 1", 10},
                                         {"1 ", 10},
                                         {"1 2", 10},
                                         {"102", 2},
                                         {"0x10", 16},
                                         {"g", 16},
                                         {"1.5", 10},
                                         {"0b1", 2}})
    EXPECT_THROW(QNumber::from_digits(k.digits, k.base), Exception) << '"' << k.digits << '"';
  EXPECT_THROW(QNumber::from_digits(std::string_view("1\0002", 3), 10), Exception);
}

TEST(QNumberTest, PowerOfTwoMinusOne) {
  EXPECT_EQ(QNumber::power_of_two_minus_one(0).to_str(), "0");
  EXPECT_EQ(QNumber::power_of_two_minus_one(1).to_str(), "1");
  EXPECT_EQ(QNumber::power_of_two_minus_one(62).to_str(), "4611686018427387903");
  EXPECT_EQ(QNumber::power_of_two_minus_one(63).to_str(), "9223372036854775807");
  EXPECT_FALSE(QNumber::power_of_two_minus_one(63).is_big());
  EXPECT_EQ(QNumber::power_of_two_minus_one(64).to_str(), "18446744073709551615");
  EXPECT_EQ(low_bits(QNumber::power_of_two_minus_one(130), 132), "00" + std::string(130, '1'));
}

TEST(QNumberTest, FromWords) {
  std::uint64_t const words[] = {5, 0, 0};
  EXPECT_EQ(QNumber::from_words(words, 3).to_str(), "5");
  EXPECT_FALSE(QNumber::from_words(words, 3).is_big());
  EXPECT_EQ(QNumber::from_words(words, 0).to_str(), "0");
  std::uint64_t const top[] = {std::uint64_t{1} << 63};
  EXPECT_EQ(QNumber::from_words(top, 1).to_str(), "9223372036854775808");
  EXPECT_TRUE(QNumber::from_words(top, 1).is_big());
  std::uint64_t const two[] = {1, 2};
  EXPECT_EQ(QNumber::from_words(two, 2).to_str(), "36893488147419103233");
  std::uint64_t const largest[] = {INT64_MAX};
  EXPECT_FALSE(QNumber::from_words(largest, 1).is_big());
}

TEST(QNumberTest, MachineIntegers) {
  EXPECT_TRUE(QNumber(INT64_MIN).fits_int64());
  EXPECT_EQ(QNumber(INT64_MIN).to_int64(), INT64_MIN);
  EXPECT_TRUE(big("-9223372036854775808").fits_int64());
  EXPECT_EQ(big("-9223372036854775808").to_int64(), INT64_MIN);
  EXPECT_TRUE(big("9223372036854775807").fits_int64());
  EXPECT_EQ(big("9223372036854775807").to_int64(), INT64_MAX);
  EXPECT_FALSE(big("9223372036854775808").fits_int64());
  EXPECT_EQ(big("9223372036854775808").to_int64(), 0);
  EXPECT_FALSE(big("-9223372036854775809").fits_int64());
}

TEST(QNumberTest, ExactQuotient) {
  EXPECT_EQ(QNumber(12, 4).exact_quotient().to_str(), "3");
  EXPECT_EQ(QNumber(-12, 4).exact_quotient().to_str(), "-3");
  EXPECT_EQ(QNumber(12, -1).exact_quotient().to_str(), "-12");
  EXPECT_EQ(QNumber(INT64_MIN, -1).exact_quotient().to_str(), "9223372036854775808");
  EXPECT_EQ(big_fraction(12, -3).exact_quotient().to_str(), "-4");
  EXPECT_EQ(big("36893488147419103232").exact_quotient().to_str(), "36893488147419103232");
}

TEST(QNumberTest, Numerator) {
  mpz_t z;
  mpz_init(z);
  get_numerator(QNumber(-7, 2), z);
  EXPECT_EQ(mpz_cmp_si(z, -7), 0);
  get_numerator(big_fraction(9, 4), z);
  EXPECT_EQ(mpz_cmp_si(z, 9), 0);
  mpz_clear(z);
}

TEST(QNumberTest, EqualNumbersOfOneFormHashAlike) {
  EXPECT_EQ(QNumber(5).hash(), QNumber(5).hash());
  EXPECT_EQ(big("99999999999999999999").hash(), big("99999999999999999999").hash());
  EXPECT_NE(QNumber(5).hash(), QNumber(6).hash());
  EXPECT_NE(big("5").hash(), big("-5").hash());
}

}  // namespace
}  // namespace vell

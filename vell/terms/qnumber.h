#pragma once

// Exact rationals in two forms: a machine-word pair, or GMP integers behind a pointer.
//
// Nearly every constant of a bit-vector problem fits a word, so the small form needs no allocation; a
// denominator word of 0 marks the big form. Which form a number has is visible (bits above 63 of a small
// negative number read 0, those of a big one 1), so operations keep the form of their operand.
//
// Tested by tests/terms/qnumber_test.cpp.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "vell/utils/export.h"

namespace vell {

struct GmpPair;  // numerator and denominator as GMP integers; defined in qnumber_gmp.h

class VELL_API QNumber {
 public:
  QNumber() : QNumber(0) {}
  // Small form. denominator must not be 0.
  explicit QNumber(std::int64_t numerator, std::int64_t denominator = 1)
      : small_(numerator), denominator_(denominator) {}
  // A copy has the form of its source; copying a small number allocates nothing.
  QNumber(QNumber const& other);
  // The source is 0 afterwards.
  QNumber(QNumber&& other) noexcept : small_(other.small_), denominator_(other.denominator_) {
    other.small_ = 0;
    other.denominator_ = 1;
  }
  // Takes the other's value and form.
  QNumber& operator=(QNumber other) noexcept {
    swap(other);
    return *this;
  }
  ~QNumber() {
    if (is_big()) release();
  }
  // Exchanges values and forms.
  void swap(QNumber& other) noexcept;

  // The integer written in digits of base 2, 10 or 16 (either case), an optional '-' first. Small when it
  // fits a signed 64-bit word, big otherwise; always big with force_big. Throws Exception for text that is no
  // such integer.
  static QNumber from_digits(std::string_view digits, int base, bool force_big = false);
  // 2^exponent - 1.
  static QNumber power_of_two_minus_one(std::uint64_t exponent);
  // The unsigned integer held in `count` words, least significant first. Small when it fits a signed 64-bit
  // word.
  static QNumber from_words(std::uint64_t const* words, std::size_t count);

  // Whether the number is held as GMP integers.
  bool is_big() const { return denominator_ == 0; }

  // Bit i of the numerator. Small form: bit i of the 64-bit two's-complement word, 0 for i >= 64.
  // Big form: infinite two's complement.
  bool test_bit(std::uint64_t i) const {
    if (!is_big()) return i < 64 && ((static_cast<std::uint64_t>(small_) >> i) & 1) != 0;
    return big_test_bit(i);
  }
  // Clears bit i of the numerator.
  void clear_bit(std::uint64_t i);
  // Index of the lowest set bit of the numerator at or above `from`; UINT64_MAX when there is none.
  std::uint64_t lowest_set_bit(std::uint64_t from) const;
  // -1, 0 or 1.
  int sign() const;
  // Number of bits of the numerator's magnitude; 1 for 0.
  std::uint64_t size_in_base_2() const;
  // Whether the numerator fits a signed 64-bit word.
  bool fits_int64() const;
  // The numerator as a signed 64-bit word; 0 when it does not fit.
  std::int64_t to_int64() const;
  // Integer division of the numerator's value where the denominator divides it; the caller knows that it
  // does.
  QNumber exact_quotient() const;

  // Decimal text, "n" or "n/d".
  std::string to_str() const;
  // Of numerator and form: equal numbers of the same form, in lowest terms, have the same. Cost: the number's
  // length.
  std::uint64_t hash() const;

  // Order and equality of the rational values, whichever forms they have. Small numbers of one denominator,
  // so all small integers, cost a comparison; anything else goes through GMP.
  friend VELL_API bool operator<(QNumber const& a, QNumber const& b);
  friend VELL_API bool operator==(QNumber const& a, QNumber const& b);

  // Scratch pair of the comparisons, so that none of them allocates once it has grown. One per thread: two
  // managers may be used by two threads. A complete type with qnumber_gmp.h.
  static thread_local GmpPair gmp_tmp;

  // The GMP integers of the big form; null for the small one.
  GmpPair const* gmp() const { return is_big() ? big_ : nullptr; }
  // The two words of the small form; the denominator is 0 for the big one, the numerator then meaningless.
  std::int64_t small_numerator() const { return small_; }
  std::int64_t small_denominator() const { return denominator_; }

 private:
  bool big_test_bit(std::uint64_t i) const;
  void release();

  union {
    std::int64_t small_;
    GmpPair* big_;
  };
  std::int64_t denominator_;  // 0 marks the big form
};

}  // namespace vell

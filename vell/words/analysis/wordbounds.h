#pragma once

// What is known of the value of a word: bits that are 0, bits that are 1, and an interval of unsigned
// numbers.
//
// Tested by tests/words/wordbounds_test.cpp.

#include <gmpxx.h>

#include <cstdint>
#include <span>

#include "vell/terms/symboltag.h"

namespace vell::words {

class WordBounds {
 public:
  // Nothing is known.
  explicit WordBounds(std::uint64_t width);
  static WordBounds constant(mpz_class const& n, std::uint64_t width);

  std::uint64_t width() const { return width_; }
  mpz_class const& zeros() const { return zeros_; }  // a mask of the bits known to be 0
  mpz_class const& ones() const { return ones_; }    // a mask of the bits known to be 1
  mpz_class const& low() const { return low_; }      // at least, unsigned
  mpz_class const& high() const { return high_; }    // at most, unsigned
  // No value is left: what was said of the word contradicts itself. Only meet() and the restrictions below
  // bring this about.
  bool empty() const { return low_ > high_ || (zeros_ & ones_) != 0; }
  bool is_constant() const { return low_ == high_; }
  bool is_top() const { return zeros_ == 0 && ones_ == 0 && low_ == 0 && high_ == mask_; }
  bool contains(mpz_class const& n) const;
  // Whether bit i is known.
  bool knows(std::uint64_t i) const;
  // -1 for an unknown sign bit.
  int sign() const;

  // ---- what else is said of the word ----
  void at_least(mpz_class const& n);
  void at_most(mpz_class const& n);
  void not_equal(mpz_class const& n);
  // The bits from lsb up are those of n, as many as `count` says.
  void has_bits(mpz_class const& n, std::uint64_t lsb, std::uint64_t count);
  // One of the two: what both say.
  void join(WordBounds const& other);

  // ---- operators ----
  // What is known of an operator with the tag over words, with the parameters of an extraction. Division by
  // zero is that of SMT-LIB. Nothing is known of the result of operators that it does not look into.
  static WordBounds of(SymbolTag::tag tag, std::span<WordBounds const* const> operands, std::uint64_t width,
                       std::uint64_t msb = 0, std::uint64_t lsb = 0);

  // 1 or 0 where a comparison with the tag bv_ule, bv_ult, bv_sle, bv_slt or equal is decided, -1 where not.
  static int compare(SymbolTag::tag tag, WordBounds const& a, WordBounds const& b);

 private:
  // Lets bits and interval say what follows from each other.
  void tighten();
  WordBounds complemented() const;
  static WordBounds sum(WordBounds const& a, WordBounds const& b, bool carry);
  static WordBounds product(WordBounds const& a, WordBounds const& b);
  static WordBounds division(SymbolTag::tag tag, WordBounds const& a, WordBounds const& b);
  static WordBounds shift(SymbolTag::tag tag, WordBounds const& a, WordBounds const& b);
  static WordBounds bitwise(SymbolTag::tag tag, WordBounds const& a, WordBounds const& b);

  std::uint64_t width_;
  mpz_class mask_;  // 2^width - 1
  mpz_class zeros_;
  mpz_class ones_;
  mpz_class low_;
  mpz_class high_;
};

}  // namespace vell::words

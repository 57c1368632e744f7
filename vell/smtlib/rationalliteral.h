#pragma once

// The numbers that scripts round to a floating-point format: 1, 0.5, (/ 1 3), (- 0.5), (- (/ 1 3)), (/ (- 1)
// 3), and -0.5 as some write it.
//
// Tested by tests/smtlib/floatingpoint_test.cpp.

#include <gmpxx.h>

#include <cstdint>

#include "vell/smtlib/lexer.h"
#include "vell/terms/termmanager.h"

namespace vell::smtlib {

class RationalLiteral {
 public:
  RationalLiteral() = default;
  // Reads the number that begins with the current token or, at a `-` or `/`, with the parenthesis before it.
  // Then its last token is the current one. Throws Error for anything else, and for a division by zero. No
  // recursion.
  explicit RationalLiteral(Lexer& lexer);

  // Whether the symbol is a number with its sign in front.
  static bool is_negative_number(std::string_view symbol);

  mpq_class const& value() const { return value_; }
  // Multiplies by a power of two. Throws Exception for an exponent that is no integer or beyond every format.
  void scale(mpq_class const& exponent);

  // The number rounded once, exactly, under the rounding mode; where that is no constant, the choice of five
  // values.
  Term_ const* rounded(TermManager& terms, Term_ const* mode, std::uint64_t exponent_width,
                       std::uint64_t significand_width) const;

 private:
  mpq_class value_;
};

}  // namespace vell::smtlib

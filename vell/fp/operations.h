#pragma once

// The operations of SymFPU on terms.
//
// SymFPU (Brain, Schanda and Sun, "Building Better Bit-Blasting for Floating-Point Problems", TACAS 2019)
// works on unpacked values: the special ones as flags, and a significand with its leading one, subnormals
// too. This keeps its templates in one place.
//
// Tested by tests/fp/operations_test.cpp.

#include <cstdint>
#include <span>

#include "vell/fp/foldingbuilder.h"

namespace vell::fp {

// Widths in bits, the fraction without the hidden bit.
struct Format {
  std::uint64_t exponent;
  std::uint64_t fraction;
};

// Booleans and words. Where a flag is set, exponent and significand are those of one.
struct Unpacked {
  Term_ const* nan;
  Term_ const* infinite;
  Term_ const* zero;
  Term_ const* sign;
  Term_ const* exponent;     // unbiased, two's complement
  Term_ const* significand;  // with its leading one
};

class Operations {
 public:
  using Tag = SymbolTag::tag;

  // Both must outlive this. The test is called for each term.
  Operations(TermManager& tm, TerminationTest const& test) : builder_(tm, test) {}

  FoldingBuilder const& builder() const { return builder_; }

  // A value from its bits, and back: fraction, biased exponent, sign, least significant first. Of NaN, pack()
  // gives the one pattern: positive, quiet, no payload.
  Unpacked unpack(Format f, Term_ const* bits) const;
  Term_ const* pack(Format f, Unpacked const& x) const;

  Unpacked choose(Term_ const* condition, Unpacked const& a, Unpacked const& b) const;
  // Identity: NaN is NaN, and zeros differ.
  Term_ const* same(Format f, Unpacked const& a, Unpacked const& b) const;

  // An operator from fp_abs to fp_round_to_integral. mode: a word of three bits that holds the number of the
  // rounding mode (0 even, 1 zero, 2 plus infinity, 3 minus infinity, 4 away); not read where the operator
  // has none.
  Unpacked operation(Tag op, Format f, Term_ const* mode, std::span<Unpacked const> x) const;
  // fp_min or fp_max; of zeros, fp_min is `a` where zero_case holds, fp_max is `b`.
  Unpacked extreme(Tag op, Format f, Unpacked const& a, Unpacked const& b, Term_ const* zero_case) const;
  // An operator from fp_leq to fp_is_positive.
  Term_ const* test(Tag op, Format f, std::span<Unpacked const> x) const;

  Unpacked convert(Format from, Unpacked const& x, Format to, Term_ const* mode) const;
  Unpacked from_word(Term_ const* word, bool is_signed, Format to, Term_ const* mode) const;
  // otherwise: the result where the integer does not fit.
  Term_ const* to_word(Format f, Unpacked const& x, Term_ const* mode, std::uint64_t width, bool is_signed,
                       Term_ const* otherwise) const;

 private:
  FoldingBuilder builder_;
};

}  // namespace vell::fp

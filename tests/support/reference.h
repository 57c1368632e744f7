#pragma once

// What the operators mean, computed the obvious way: machine words of up to 128 bits for bit-vectors, GMP
// rationals for floating-point values. Shares nothing with the circuits or with the evaluator of the script
// engine.

#include <gmpxx.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "vell/terms/ieeefloat.h"
#include "vell/terms/symboltag.h"

namespace vell::test {

// The unsigned value of a word of at most 128 bits; bits above the width are 0. A Boolean is a word of one
// bit.
__extension__ typedef unsigned __int128 Word;

// 2^width - 1.
Word all_ones(unsigned width);
// The value as a hexadecimal numeral without prefix.
std::string to_hex(Word value);
// Element i is bit i.
std::vector<bool> to_bits(Word value, unsigned width);
Word from_bits(std::vector<bool> const& bits);

// An operator applied to operands of the given widths; parameters as the term layer counts them (extract:
// msb, lsb; rotations and extensions: the amount).
struct Operation {
  SymbolTag::tag tag;
  std::uint64_t parameter0 = 0;
  std::uint64_t parameter1 = 0;
};

// The value of the operation as SMT-LIB defines it: division by zero gives a quotient of all ones (1 for a
// negative signed dividend) and the dividend as the remainder; shifts by the width or more give the fill.
Word evaluate(Operation const& op, std::span<Word const> operands, std::span<unsigned const> widths);

// A binary floating-point format: widths of the exponent and of the fraction (without the hidden bit) in
// bits.
struct FpFormat {
  unsigned exponent_width;
  unsigned fraction_width;

  long bias() const { return (1L << (exponent_width - 1)) - 1; }
  unsigned width() const { return exponent_width + fraction_width + 1; }
  std::uint64_t max_exponent() const { return (std::uint64_t{1} << exponent_width) - 1; }
};

// The fields of a floating-point value; a fraction has at most 63 bits.
struct FpFields {
  bool sign;
  std::uint64_t exponent;
  std::uint64_t fraction;
};

// Fields of a bit pattern: fraction low, sign on top.
FpFields fields_of(Word pattern, FpFormat const& format);

// The number that a finite pattern (exponent field not all ones) stands for.
mpq_class exact_value(FpFields const& x, FpFormat const& format);
// The integer next to v in the direction of the mode; ties of mode even go to the even neighbour.
mpz_class round_to_integer(mpq_class const& v, IEEEFloat::rounding_mode mode);
// v modulo 2^width, in 0 .. 2^width - 1.
mpz_class modulo_power_of_two(mpz_class const& v, unsigned width);

// What the conversion circuit computes, in plain integers: its exponent arithmetic is modulo a power of two,
// its significand register is max(s + 1, width) bits long, and it knows no special values. In 0 .. 2^width
// - 1.
mpz_class conversion_rule(FpFields const& x, FpFormat const& format, IEEEFloat::rounding_mode mode,
                          unsigned width);

}  // namespace vell::test

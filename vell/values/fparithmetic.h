#pragma once

// Floating-point operations on bits, computed with MPFR and GMP, never with a circuit.
//
// A value is e + s + 1 bits in words of 64, least significant first: s bits of fraction, e of biased
// exponent, the sign; bits above are zero. Every result that is NaN has the one pattern of NaN: positive,
// quiet, no payload.
//
// Tested by tests/values/fparithmetic_test.cpp.

#include <gmp.h>

#include <cstdint>
#include <span>

#include "vell/terms/symboltag.h"

namespace vell::values {

// Widths in bits, the fraction without the hidden bit.
struct FpFormat {
  std::uint64_t exponent;
  std::uint64_t fraction;
  std::uint64_t width() const { return exponent + fraction + 1; }
  bool operator==(FpFormat const&) const = default;
};

// As the values of rounding-mode terms.
enum class Rounding : std::uint8_t { even, zero, plus_inf, minus_inf, away };

// ---- classes ----
bool fp_is_nan(FpFormat f, std::uint64_t const* x);
bool fp_is_infinite(FpFormat f, std::uint64_t const* x);
bool fp_is_zero(FpFormat f, std::uint64_t const* x);
bool fp_is_subnormal(FpFormat f, std::uint64_t const* x);
bool fp_is_negative(FpFormat f, std::uint64_t const* x);  // of NaN as well, whose sign is not looked at
// Writes the one pattern of NaN over any other.
void fp_unify_nan(FpFormat f, std::uint64_t* x);

// An operator from fp_abs to fp_max on values of one format. `out` may be none of the operands. fp.min and
// fp.max of two zeros give the first.
void fp_operation(SymbolTag::tag op, FpFormat f, Rounding mode, std::span<std::uint64_t const* const> x,
                  std::uint64_t* out);
// An operator from fp_leq to fp_is_positive.
bool fp_test(SymbolTag::tag op, FpFormat f, std::span<std::uint64_t const* const> x);

// ---- conversions to a format ----
void fp_from_fp(FpFormat from, std::uint64_t const* x, FpFormat to, Rounding mode, std::uint64_t* out);
void fp_from_word(std::uint64_t const* x, std::uint64_t width, bool is_signed, FpFormat to, Rounding mode,
                  std::uint64_t* out);
// numerator / denominator, which is positive.
void fp_from_rational(mpz_srcptr numerator, mpz_srcptr denominator, FpFormat to, Rounding mode,
                      std::uint64_t* out);

// (-1)^negative * m * 2^k rounded by integers alone, m at least zero: what the operations do where MPFR lacks
// the mode. Here for the tests of the others.
void fp_from_scaled(bool negative, mpz_srcptr m, std::int64_t k, FpFormat to, Rounding mode,
                    std::uint64_t* out);

}  // namespace vell::values

#pragma once

// Arithmetic on words of any width, held as GMP limbs, least significant first, unused high bits zero.
//
// n is the number of limbs of a word of `width` bits. Results may stand in the place of an operand where it
// says so.
//
// Tested by tests/values/wideword_test.cpp.

#include <gmp.h>

#include <cstdint>

namespace vell::values::wide {

static_assert(sizeof(mp_limb_t) == 8 && GMP_NAIL_BITS == 0, "limbs are 64-bit words");

inline mp_size_t limbs(std::uint64_t width) { return static_cast<mp_size_t>((width + 63) / 64); }

// GMP's limb type is unsigned long; std::uint64_t is the same type where limbs have 64 bits.
static_assert(sizeof(unsigned long) == 8);

inline bool bit(std::uint64_t const* a, std::uint64_t i) { return ((a[i / 64] >> (i % 64)) & 1) != 0; }

// Clears the bits at and above width.
inline void trim(std::uint64_t* a, std::uint64_t width) {
  if (width % 64 != 0) a[width / 64] &= (std::uint64_t{1} << (width % 64)) - 1;
}

bool is_zero(std::uint64_t const* a, std::uint64_t width);
int compare(std::uint64_t const* a, std::uint64_t const* b, std::uint64_t width);
bool signed_less(std::uint64_t const* a, std::uint64_t const* b, std::uint64_t width);

// r = a shifted by amount bits, vacated bits zero. r may be a.
void shift_left(std::uint64_t* r, std::uint64_t const* a, std::uint64_t amount, std::uint64_t width);
void shift_right(std::uint64_t* r, std::uint64_t const* a, std::uint64_t amount, std::uint64_t width);
// Sets the bits from low to width - 1.
void fill_ones(std::uint64_t* r, std::uint64_t low, std::uint64_t width);
// The word as a shift amount: width where it is width or more.
std::uint64_t amount(std::uint64_t const* a, std::uint64_t width);
// r = -a. r may be a.
void negate(std::uint64_t* r, std::uint64_t const* a, std::uint64_t width);
// Quotient and remainder, b not zero; q, r, a, b apart from each other.
void divide(std::uint64_t* q, std::uint64_t* r, std::uint64_t const* a, std::uint64_t const* b,
            std::uint64_t width);
// r = a * b modulo 2^width; product is room for 2n limbs.
void multiply(std::uint64_t* r, std::uint64_t const* a, std::uint64_t const* b, std::uint64_t width,
              std::uint64_t* product);

}  // namespace vell::values::wide

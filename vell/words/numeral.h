#pragma once

#include <gmpxx.h>

#include <cstdint>

#include "vell/terms/termmanager.h"

namespace vell::words {

// The word of `width` bits with the value n modulo 2^width.
Term_ const* make_numeral(TermManager& tm, mpz_class const& n, std::uint64_t width);

// The value of a numeral.
mpz_class numeral_value(TermManager const& tm, Term_ const* numeral);

}  // namespace vell::words

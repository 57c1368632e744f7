#pragma once

// The GMP side of QNumber, apart so that qnumber.h can be included without gmp.h.

#include <gmp.h>

#include "vell/terms/qnumber.h"
#include "vell/utils/export.h"

namespace vell {

// A fraction of GMP integers, initialised and cleared with the object.
struct GmpPair {
  mpz_t numerator;    // carries the sign
  mpz_t denominator;  // not 0 once the number is made
  GmpPair() { mpz_inits(numerator, denominator, nullptr); }
  ~GmpPair() { mpz_clears(numerator, denominator, nullptr); }
  GmpPair(GmpPair const&) = delete;
  GmpPair& operator=(GmpPair const&) = delete;
};

// out = the numerator of q, whichever form it has.
VELL_API void get_numerator(QNumber const& q, mpz_t out);

}  // namespace vell

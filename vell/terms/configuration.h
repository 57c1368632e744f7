#pragma once

#include <cstdint>

#include "vell/utils/export.h"

namespace vell {

// Options of the theories, nested as a solver groups them.
struct Configuration {
  struct Theory {
    // Bit-vectors.
    struct Bv {
      // 1: every bit of a quotient or remainder whose divisor is zero is an unconstrained fresh literal.
      // Any other value: a quotient of all ones and a remainder equal to the dividend.
      std::int32_t div_semantics = 0;
    };
  };
};

}  // namespace vell

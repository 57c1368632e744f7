#pragma once

#include <cstdint>

#include "vell/terms/qnumber.h"
#include "vell/utils/export.h"

namespace vell {

// The little that the clausifier needs to know about IEEE 754 formats.
class VELL_API IEEEFloat {
 public:
  // The numbers are the two-bit encoding of rounding-mode terms.
  enum rounding_mode : std::uint32_t { even = 0, zero = 1, plus_inf = 2, minus_inf = 3 };

  // The shape of a binary format.
  class VELL_API format {
   public:
    // exponent_width, fraction_width in bits; the fraction without the hidden bit.
    format(std::uint64_t exponent_width, std::uint64_t fraction_width)
        : exponent_width_(exponent_width), fraction_width_(fraction_width) {}

    // In bits.
    std::uint64_t exponent_width() const { return exponent_width_; }
    std::uint64_t fraction_width() const { return fraction_width_; }

    // 2^(exponent_width - 1) - 1; 0 for an exponent width of 0.
    QNumber bias() const;

   private:
    std::uint64_t exponent_width_;
    std::uint64_t fraction_width_;
  };
};

}  // namespace vell

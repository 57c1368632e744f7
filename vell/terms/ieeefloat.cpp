#include "vell/terms/ieeefloat.h"

namespace vell {

QNumber IEEEFloat::format::bias() const {
  if (exponent_width_ == 0) return QNumber(0);
  return QNumber::power_of_two_minus_one(exponent_width_ - 1);
}

}  // namespace vell

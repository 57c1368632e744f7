#pragma once

#include <cstddef>

#include "vell/utils/export.h"

namespace vell {

// Takes bytes in the order written. Throws when it cannot.
class VELL_API ByteOutput {
 public:
  virtual ~ByteOutput() = default;
  // Takes size bytes; the data is not kept.
  virtual void write(char const* data, std::size_t size) = 0;
};

}  // namespace vell

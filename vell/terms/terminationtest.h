#pragma once

#include "vell/utils/export.h"

namespace vell {

// Polled once for every term that is translated. A derived test stops the work by throwing; the exception
// reaches the caller unchanged. The base test never stops anything.
class VELL_API TerminationTest {
 public:
  virtual ~TerminationTest() = default;
  // Returns to go on, throws to stop.
  virtual void operator()() const {}
};

}  // namespace vell

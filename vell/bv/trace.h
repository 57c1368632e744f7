#pragma once

// Tracing that costs one test when it is off: the pieces of a message are not even evaluated. No side effects
// in them. A message that is not written leaves the logger's module and level as they were: to set them would
// be 2 to 9 % more instructions in the gates and circuits.
//
//   VELL_TRACE(3) << "bit_and " << endlog;

#include "vell/terms/logger.h"

namespace vell::bv {

struct TraceStatement {
  void operator&(Logger&) const {}
};

}  // namespace vell::bv

// For members of WordClausifier. The opening text is written only when the level passes.
#define VELL_TRACE(level) !logger->enabled(level) ? (void)0 : ::vell::bv::TraceStatement{} & log(level)

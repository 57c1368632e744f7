#pragma once

// Tracing that costs two stores and a test when it is off: the pieces of a message are not even evaluated. No
// side effects in them. The logger's module and level are those of the last message, also of one that was not
// written.
//
//   VELL_TRACE(3) << "bit_and " << endlog;

#include "vell/terms/logger.h"

namespace vell::bv {

struct TraceStatement {
  void operator&(Logger&) const {}
};

}  // namespace vell::bv

// For members of WordClausifier. The opening text is written only when the level passes.
#define VELL_TRACE(level) !logger->begin("BV", level) ? (void)0 : ::vell::bv::TraceStatement{} & log(level)

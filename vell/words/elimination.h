#pragma once

// Eliminates variables that a formula defines.
//
// Tested by tests/words/elimination_test.cpp.

#include <memory>

#include "vell/words/pass.h"

namespace vell::words {

// The pass "definitions".
std::unique_ptr<Pass> make_elimination(PassContext const& context);

}  // namespace vell::words

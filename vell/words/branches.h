#pragma once

// If-then-else where its branches are used nowhere else.
//
// Tested by tests/words/branches_test.cpp.

#include <memory>

#include "vell/words/pass.h"

namespace vell::words {

// The pass "branches".
std::unique_ptr<Pass> make_branches(PassContext const& context);

}  // namespace vell::words

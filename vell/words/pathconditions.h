#pragma once

// Puts in what holds wherever the value of a term matters.
//
// Tested by tests/words/pathconditions_test.cpp.

#include <memory>

#include "vell/words/pass.h"

namespace vell::words {

// The pass "paths".
std::unique_ptr<Pass> make_path_conditions(PassContext const& context);

}  // namespace vell::words

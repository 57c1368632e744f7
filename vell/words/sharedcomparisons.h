#pragma once

// One circuit for the low bits that comparisons have in common.
//
// Tested by tests/words/sharedcomparisons_test.cpp.

#include <memory>

#include "vell/words/pass.h"

namespace vell::words {

// The pass "comparisons".
std::unique_ptr<Pass> make_shared_comparisons(PassContext const& context);

}  // namespace vell::words

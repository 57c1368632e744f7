#pragma once

// Puts in what bits and intervals of words decide.
//
// Tested by tests/words/knownbits_test.cpp.

#include <memory>

#include "vell/words/pass.h"

namespace vell::words {

// The pass "bits".
std::unique_ptr<Pass> make_known_bits(PassContext const& context);

}  // namespace vell::words

#pragma once

// Chooses the circuits: the last pass, after which words are translated.
//
// Tested by tests/words/lowering_test.cpp.

#include <memory>

#include "vell/words/pass.h"

namespace vell::words {

// The pass "circuits".
std::unique_ptr<Pass> make_lowering(PassContext const& context);

}  // namespace vell::words

#pragma once

// Narrows operators to the bits that anything asks for.
//
// Tested by tests/words/demandedbits_test.cpp.

#include <memory>

#include "vell/words/pass.h"

namespace vell::words {

// The pass "demanded".
std::unique_ptr<Pass> make_demanded_bits(PassContext const& context);

}  // namespace vell::words

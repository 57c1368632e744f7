#pragma once

// What the formulas say outright: conjunctions are taken apart, and what a formula decides is put in
// everywhere else.
//
// Tested by tests/words/facts_test.cpp.

#include <memory>

#include "vell/words/pass.h"

namespace vell::words {

// The pass "facts".
std::unique_ptr<Pass> make_facts(PassContext const& context);

}  // namespace vell::words

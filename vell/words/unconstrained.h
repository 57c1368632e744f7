#pragma once

// Variables that stand in one place only and make what stands above them take any value.
//
// x + t, with x nowhere else, is whatever one wants it to be, whatever t is: a new variable can take its
// place, and t need never become a circuit. In a model of what is left, x has the value of the new variable
// minus t. (Bruttomesso, "RTL Verification: From SAT to SMT(BV)", 2008, calls it propagation of unconstrained
// variables.)
//
// Tested by tests/words/unconstrained_test.cpp.

#include <memory>

#include "vell/words/pass.h"

namespace vell::words {

// The pass "unconstrained". Variables of formulas that may be retracted stay.
std::unique_ptr<Pass> make_unconstrained(PassContext const& context);

}  // namespace vell::words

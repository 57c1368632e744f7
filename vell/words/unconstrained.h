#pragma once

// Variables that stand in one place only and make what stands above them take any value.
//
// x + t, with x nowhere else, is whatever one wants it to be, whatever t is: a new variable can take its
// place, and t need never become a circuit. In a model of what is left, x has the value of the new variable
// minus t. (Bruttomesso, "RTL Verification: From SAT to SMT(BV)", 2008, calls it propagation of unconstrained
// variables.)
//
// Tested by tests/words/unconstrained_test.cpp.

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "vell/run/limits.h"
#include "vell/terms/termmanager.h"
#include "vell/words/definition.h"
#include "vell/words/pass.h"

namespace vell::words {

// Replaces such places in the formulas, and appends the values of the variables that went to `definitions`,
// whose earlier entries may use the variables of the formulas. Variables in `kept` stay as they are. The
// formulas are satisfiable as before, and each of their models, completed by the definitions, is one of the
// formulas given. Quotients and remainders by zero are those of SMT-LIB. Does nothing where that saves no
// more than `least_saving`, in units as circuit_cost() has them. Whether it did. Throws Stopped when the
// limits say so, with nothing changed.
bool eliminate_unconstrained(TermManager& tm, std::vector<Term_ const*>& formulas,
                             std::span<Term_ const* const> kept, std::uint64_t least_saving,
                             Definitions& definitions, run::Limits const& limits = run::no_limits());

// A rough size of the products, quotients and remainders in the formulas: the sum of width^2, numeral
// operands aside. Throws Stopped when the limits say so.
std::uint64_t circuit_cost(TermManager const& tm, std::span<Term_ const* const> formulas,
                           run::Limits const& limits = run::no_limits());

// The pass "unconstrained".
std::unique_ptr<Pass> make_unconstrained(PassContext const& context);

}  // namespace vell::words

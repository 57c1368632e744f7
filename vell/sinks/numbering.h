#pragma once

// The one numbering from literals to the variables of SAT solvers and DIMACS files.
//
// Tested by tests/sinks/dimacssink_test.cpp and tests/sinks/solversink_test.cpp.

#include <cstdint>

#include "vell/terms/literal.h"

namespace vell::sinks {

// How literals become variables, and which clauses are passed on.
enum class Form : std::uint8_t {
  // Literal v >= 2 is variable v - 1. A clause that the constant true satisfies is left out, the constant
  // false is removed; a clause left without literals is the empty clause.
  clean,
  // Literal v is variable v, so that variable 1 is the constant true; every clause is passed on as emitted.
  raw
};

// The variable of a literal v >= 2.
constexpr bv::BvLit variable(bv::BvLit v, Form form) { return form == Form::raw ? v : v - 1; }

// The number of variables for this many fresh literals.
constexpr std::uint64_t variables(std::uint64_t fresh_literals, Form form) {
  return fresh_literals + (form == Form::raw ? 1 : 0);
}

// The literal of a SAT solver: the variable under the clean form, negative for a negative literal. l is no
// constant.
constexpr std::int32_t solver_literal(bv::BvLit l) {
  return l > 0 ? variable(l, Form::clean) : -variable(-l, Form::clean);
}

}  // namespace vell::sinks

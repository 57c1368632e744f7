#pragma once

// Solves the linear equations of a script before they become adders.
//
// A SAT solver sees a system of linear equations as a heap of adders, and takes exponential time where elimination
// takes cubic time.
//
// Tested by tests/engine/presolve/linearequations_test.cpp.

#include <span>
#include <vector>

#include "vell/engine/presolve/definition.h"
#include "vell/terms/termmanager.h"

namespace vell::engine {

// Brings the linear equations among the conjuncts of `formulas` into an echelon form, where that makes them fewer or
// simpler. formulas then holds other formulas, whose conjunction has the same models: with the constant false where
// the equations have no solution. An equation that does nothing but define a variable that stands neither in the other
// formulas nor in `kept` becomes a definition, appended to *definitions; null for none of that.
// Whether anything changed; only equations with several factors that are no powers of two are looked at.
bool solve_linear_equations(TermManager& tm, std::vector<Term_ const*>& formulas, std::span<Term_ const* const> kept,
                            Definitions* definitions);

}  // namespace vell::engine

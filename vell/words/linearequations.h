#pragma once

// Solves the linear equations of a script before they become adders.
//
// A SAT solver sees a system of linear equations as a heap of adders, and takes exponential time where
// elimination takes cubic time.
//
// Tested by tests/words/linearequations_test.cpp.

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "vell/run/limits.h"
#include "vell/terms/termmanager.h"
#include "vell/words/definition.h"
#include "vell/words/pass.h"

namespace vell::words {

// Brings the linear equations among the conjuncts of `formulas` into an echelon form, where that makes them
// fewer or simpler. formulas then holds other formulas, whose conjunction has the same models: with the
// constant false where the equations have no solution. An equation that does nothing but define a variable
// that stands neither in the other formulas nor in `kept` becomes a definition, appended to *definitions;
// null for none of that. Whether anything changed; only equations with several factors that are no powers of
// two are looked at. origins: of the formulas, changed along with them; null for none. An equation that was
// made has that of the first one. Throws Stopped when the limits say so; then formulas and definitions are of
// no use.
bool solve_linear_equations(TermManager& tm, std::vector<Term_ const*>& formulas,
                            std::span<Term_ const* const> kept, Definitions* definitions,
                            run::Limits const& limits = run::no_limits(),
                            std::vector<std::size_t>* origins = nullptr,
                            run::Tunables const& tunables = run::Tunables());

// The pass "equations".
std::unique_ptr<Pass> make_linear_equations(PassContext const& context);

}  // namespace vell::words

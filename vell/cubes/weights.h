#pragma once

// Which constants of a script a search depends on most: a profile of the DAG of its formulas.
//
// Tested by tests/cubes/weights_test.cpp.

#include <span>
#include <vector>

#include "vell/run/limits.h"
#include "vell/terms/termmanager.h"

namespace vell::cubes {

// The variables of the formulas, the heaviest first; of equals, the one made first.
//
// A variable weighs what the circuits that read it weigh: width^2 for a product, quotient or remainder, the
// number of stages times the width for a shift, the width for a sum, a comparison or an if-then-else, the
// number of operands for a gate of Booleans or words. It is read through wires (extract, concat, extension,
// rotation, negation bit by bit) as well. Throws run::Stopped.
std::vector<Term_ const*> by_weight(TermManager& tm, std::span<Term_ const* const> formulas,
                                    run::Limits const& limits);

}  // namespace vell::cubes

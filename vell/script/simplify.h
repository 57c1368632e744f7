#pragma once

// Formulas made simpler before they become bits.
//
// Tested by tests/script/simplify_test.cpp.

#include <span>
#include <vector>

#include "vell/script/control.h"
#include "vell/script/options.h"
#include "vell/terms/termmanager.h"
#include "vell/utils/export.h"

namespace vell::script {

// A variable that the formulas no longer hold, and the value that it takes in a model of what is left.
struct Definition {
  Term_ const* variable;  // a constant
  Term_ const* value;     // of its sort
};

// What simplify() gives.
struct Simplified {
  // All of them hold where, and only where, all given ones hold under some values of the defined variables.
  std::vector<Term_ const*> formulas;
  // A value may hold variables that later definitions define: compute from the last to the first. Of a
  // floating-point constant, a rounding mode and a term whose operands leave its value open it is a word,
  // least significant bit first: fraction, exponent, sign; the number of the rounding mode; the term's own
  // bits.
  std::vector<Definition> definitions;
};

// Runs the passes of the options over Boolean terms, but none that needs new variables. Throws Stopped.
VELL_API Simplified simplify(TermManager& terms, std::span<Term_ const* const> formulas,
                             Options const& options = {}, Control* control = nullptr);

}  // namespace vell::script

#pragma once

#include <vector>

#include "vell/terms/termmanager.h"

namespace vell::words {

// A variable that the formulas no longer hold, and the value that it takes in a model of what is left.
struct Definition {
  Term_ const* variable;
  Term_ const* value;
};

// Each value is made of variables that formulas still hold or that later definitions define: values are to be
// computed from the last definition to the first.
using Definitions = std::vector<Definition>;

}  // namespace vell::words

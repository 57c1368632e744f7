#pragma once

#include <vector>

#include "vell/terms/termmanager.h"

namespace vell::words {

// A variable that the formulas no longer hold, and the value that it takes in a model of what is left.
struct Definition {
  Term_ const* variable;
  Term_ const* value;
  // What the variable was eliminated with, and what the formulas hold in its place. Asserting that the two
  // are equal brings the variable back: the formulas then have the models that they had before it went. Null
  // where the value follows from the formulas, so that later formulas may have it in the place of the
  // variable.
  Term_ const* replaced = nullptr;
  Term_ const* by = nullptr;
};

// Each value is made of variables that formulas still hold or that later definitions define: values are to be
// computed from the last definition to the first. Variables that went together follow each other.
using Definitions = std::vector<Definition>;

}  // namespace vell::words

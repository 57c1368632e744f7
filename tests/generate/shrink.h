#pragma once

// Makes a script that fails a check small.

#include <functional>
#include <string>

#include "tests/generate/script.h"

namespace vell::generate {

// Whether a script still fails in the same way.
using StillFails = std::function<bool(Script const&)>;

// The script without the lines that use names which it does not declare.
Script without_undeclared(Script const& script, Script const& original);

// Leaves lines out as long as the script still fails: halves, quarters, ... of it, then single lines (delta
// debugging: Zeller, Hildebrandt, "Simplifying and isolating failure-inducing input", 2002). A declaration
// that goes takes the lines that use it along. The result fails, and fails no more when any one line of it is
// left out.
Script shrink(Script const& script, StillFails const& still_fails);

}  // namespace vell::generate

#pragma once

// Whether cubes leave nothing out: their negations are unsatisfiable together.
//
// Tested by tests/cubes/cover_test.cpp.

#include <string>
#include <vector>

#include "vell/cubes/formula.h"
#include "vell/run/limits.h"

namespace vell::cubes {

// Decided by a SAT solver, whatever the shape of the cubes; the formula they split plays no part. Throws
// run::Stopped.
bool cover_everything(std::vector<Cube> const& cubes, run::Limits const& limits);

// The same with a DRAT proof in a file, when they do: from the clauses that are the cubes' negations to the
// empty clause. Throws io::OutputError where it cannot be written.
bool prove_cover(std::vector<Cube> const& cubes, std::string const& proof, run::Limits const& limits);

}  // namespace vell::cubes

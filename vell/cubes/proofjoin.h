#pragma once

// The DRAT proofs of all cubes as one proof of the formula.
//
// Tested by tests/cubes/proofjoin_test.cpp.

#include "vell/cubes/manifest.h"
#include "vell/run/limits.h"

namespace vell::cubes {

// Writes it to the path, whole or not at all. hashes: of each K.drat. Throws Exception "FILE: reason" for a
// proof that is not the one with that hash, or no DRAT proof as text, and io::OutputError.
void join_proofs(Manifest const& manifest, std::vector<std::string> const& hashes, std::string const& path,
                 run::Limits const& limits);

}  // namespace vell::cubes

#pragma once

// A query of a script as a folder of cubes (manifest.h).
//
// Tested by tests/cubes/cubewriter_test.cpp.

#include <cstdint>
#include <string>

#include "vell/cnf/writer.h"
#include "vell/cubes/splitter.h"
#include "vell/run/limits.h"
#include "vell/run/statistics.h"

namespace vell::cubes {

struct CubeOptions {
  cnf::CnfOptions cnf = {};  // its output is not read; its symbols are "*"
  std::string folder = {};   // must not exist, or be empty
  std::size_t count = 1;     // of cubes: about so many
  Split split = Split::words;
  std::uint64_t lookahead_steps = 1'000'000;  // bound on CaDiCaL's look-ahead: see split_by_lookahead()
};

// Returns the number of cubes. Throws as cnf::write_cnf() does, and Exception for standard input, which
// cannot be read twice; then no folder is left.
std::size_t write_cubes(CubeOptions const& options, run::Limits const& limits, run::Statistics& statistics);

}  // namespace vell::cubes

#pragma once

// The verdict on one cube, a file that solvers' readers take for a solver's output:
//
//   c vell-bv verdict
//   c cube 17
//   c manifest HASH
//   c cnf HASH
//   c proof 17.drat HASH       (where there is one)
//   s SATISFIABLE              (or UNSATISFIABLE)
//   v 1 -2 3 0                 (for SATISFIABLE: lines of values)
//   c end HASH                 (of everything above)
//
// It appears whole or not at all. The last line also tells of a file that was cut, or changed, later on.
//
// Tested by tests/cubes/verdict_test.cpp.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "vell/cubes/manifest.h"

namespace vell::cubes {

struct Verdict {
  bool sat = false;
  std::vector<std::int32_t> values;  // for sat: a literal of each variable, in order
  std::string proof_hash;            // of K.drat; "" for none
};

// Writes K.verdict. Throws io::OutputError.
void write_verdict(Manifest const& manifest, std::size_t k, Verdict const& verdict);

// The verdict on cube k; nothing where there is no file. Throws Exception "FILE: reason" for a file that is
// cut or changed, that of another cube, or one of another run: another CNF, or other cubes.
std::optional<Verdict> read_verdict(Manifest const& manifest, std::size_t k);

}  // namespace vell::cubes

#pragma once

// A query of a script in cubes, for many machines (docs/cluster.md).
//
// Tested by tests/cubes and tests/cli/cubes_test.cpp.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vell/script/control.h"
#include "vell/script/options.h"
#include "vell/script/solver.h"
#include "vell/utils/export.h"

namespace vell::script {

// How a script is split.
struct CubeOptions : Options {
  std::uint64_t query = 0;  // which check, from 1; 0: the first, or the script's end where it has none
  std::size_t count = 1;    // of cubes: about so many
  bool lookahead = false;   // splits on variables that CaDiCaL chooses, not on bits of constants
};

// Writes the folder, which must not exist or be empty, and returns the number of cubes. Throws as write_cnf()
// does, and Exception for "-", since the script is read more than once; then no folder is left.
VELL_API std::size_t write_cubes(std::string const& script, std::string const& folder,
                                 CubeOptions const& options = {}, Control* control = nullptr);

// How a cube is solved.
struct CubeSolverOptions {
  int seed = 0;              // of the embedded solver
  std::string command = {};  // external solver, {cnf} and {proof} in the place of its files; "" for none
  std::string ipasir = {};   // shared object of an IPASIR solver; "" for none
  bool proof = false;        // writes a DRAT proof beside an unsat verdict; not with ipasir
  std::uint64_t conflict_limit = 0;  // of the embedded solver; 0: none
};

// Solves one cube, counted from 1: sat or unsat after its verdict was written to the folder, or was found
// there; unknown, without a verdict, when the solver gives up. Throws Exception "FILE: reason" where a file
// is not the one that write_cubes() wrote, or the solver cannot be used; Stopped.
VELL_API Answer solve_cube(std::string const& folder, std::size_t cube, CubeSolverOptions const& options = {},
                           Control* control = nullptr);

// What the verdicts of all cubes say together.
struct JoinedCubes {
  Answer answer = Answer::unknown;        // unknown while verdicts are missing
  std::string model = {};                 // for sat, as get-model prints it
  std::string missing = {};               // numbers of the cubes without a verdict, "3, 5-9"
  std::size_t missing_count = 0;          // how many these are
  std::size_t cubes = 0;                  // in all
  std::vector<std::string> refused = {};  // "FILE: reason" of verdicts that do not count
};

// The answer from the verdicts: sat with a checked model; unsat when every cube is; unknown where verdicts
// are missing. proof: file for a DRAT proof of unsat, "" for none. Throws Exception "FILE: reason", Stopped.
VELL_API JoinedCubes join_cubes(std::string const& folder, std::string const& proof = "",
                                WordFormat format = WordFormat::binary, Control* control = nullptr);

}  // namespace vell::script

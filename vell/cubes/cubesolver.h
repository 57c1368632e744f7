#pragma once

// Solves one cube of a folder.
//
// Tested by tests/cubes/cubesolver_test.cpp.

#include <string>

#include "vell/cubes/manifest.h"
#include "vell/run/limits.h"
#include "vell/run/statistics.h"
#include "vell/sinks/satsolver.h"

namespace vell::cubes {

struct CubeSolverOptions {
  std::string folder = {};
  std::size_t cube = 1;              // from 1
  int seed = 0;                      // of the embedded solver
  std::string command = {};          // external solver, as sat::make_external_solver() takes it; "" for none
  std::string ipasir = {};           // shared object of an IPASIR solver; "" for none
  bool proof = false;                // writes K.drat beside an unsat verdict; not with ipasir
  std::uint64_t conflict_limit = 0;  // 0: none; of the embedded solver alone
};

// Answers sat or unsat after writing the verdict, and unknown, without one, when the limits or the solver end
// the search. A verdict that is there is not found again, unless it lacks the proof that is asked for. A
// broken one is replaced, and one of another run.
//
// With the embedded solver the bytes of the verdict, and of the proof, depend on the folder and the seed
// alone. The model is checked against the clauses and the cube before it is written. Throws Exception "FILE:
// reason" where a file is not the one that the manifest names, and when the solver cannot be run, or answers
// with values that are no model; io::OutputError.
sinks::Answer solve_cube(CubeSolverOptions const& options, run::Limits const& limits,
                         run::Statistics& statistics);

}  // namespace vell::cubes

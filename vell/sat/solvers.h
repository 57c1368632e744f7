#pragma once

// Makes the SAT solver that the options of a run ask for. Whoever uses it need not know which one it is.
//
// Tested by tests/sat/solvers_test.cpp and tests/sat/externalsolver_test.cpp.

#include <memory>
#include <string>

#include "vell/run/limits.h"
#include "vell/run/tunables.h"
#include "vell/sinks/satsolver.h"

namespace vell::sat {

struct SolverOptions {
  int seed = 0;          // of the embedded solver, 0 its default
  unsigned threads = 1;  // searches in all: the further ones join the embedded solver's where that takes long
  bool deterministic = false;  // the searches take the same steps in every run: see Rounds
  // File of a DRAT proof, "" for none: see make_proving_solver(), or make_external_solver() with a command.
  std::string proof = {};
  // Shell command of an external solver, "" for the embedded one: see make_external_solver().
  std::string command = {};
  // Shared object with the functions of IPASIR, "" for the embedded solver: see IpasirSolver.
  std::string ipasir = {};
};

// limits and tunables must outlive the solver. It does not end by the limits on its own: see set_terminate().
// Throws io::OutputError when the file of the proof cannot be made, Exception when the object cannot be
// loaded.
std::unique_ptr<sinks::SatSolver> make_solver(SolverOptions const& options, run::Limits const& limits,
                                              run::Tunables const& tunables);

// CaDiCaL with a DRAT proof. The file appears under its name when solve() answers unsat, which also ends the
// proof. Then, and here, io::OutputError is thrown where the file cannot be written.
std::unique_ptr<sinks::SatSolver> make_proving_solver(int seed, std::string const& proof);

// A program that reads DIMACS from the file put in place of "{cnf}" in the shell command and prints `s` and
// `v` lines. solve() throws Exception when the command cannot be run or does not answer, and run::Stopped
// when the limits end the work before it runs. The path `proof` is put in place of "{proof}".
std::unique_ptr<sinks::SatSolver> make_external_solver(run::Limits const& limits, std::string const& command,
                                                       std::string const& proof = "");

}  // namespace vell::sat

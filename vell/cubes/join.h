#pragma once

// The answer to a script from the verdicts on its cubes.
//
// Tested by tests/cubes/join_test.cpp.

#include <cstdint>
#include <string>
#include <vector>

#include "vell/run/limits.h"
#include "vell/sinks/satsolver.h"
#include "vell/values/evaluator.h"

namespace vell::cubes {

struct JoinOptions {
  std::string folder = {};
  std::string proof = {};  // file for a proof of unsat; "" for none
  values::WordFormat word_format = values::WordFormat::binary;
};

struct Joined {
  sinks::Answer answer = sinks::Answer::unknown;
  std::string model;                 // for sat, as get-model prints it
  std::vector<std::size_t> missing;  // cubes without a verdict, from 1
  std::vector<std::string> refused;  // "FILE: reason" of verdicts that do not count, and are missing
  std::size_t cubes = 0;
};

// sat: of the first cube with a verdict of sat, whose values satisfy every clause and, as cnf::decode()
// checks them, every formula of the script. unsat: when every cube has a verdict of unsat, and the cubes
// cover everything; the proof is written then. unknown: where verdicts are missing, or refused. Throws
// Exception "FILE: reason" where the manifest, the CNF, the script or a proof is not what was written, and
// for a model that is none; io::OutputError, run::Stopped.
Joined join(JoinOptions const& options, run::Limits const& limits);

// "3, 5-9, 12" for increasing numbers.
std::string ranges_text(std::vector<std::size_t> const& numbers);

}  // namespace vell::cubes

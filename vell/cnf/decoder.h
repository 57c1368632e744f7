#pragma once

// Tested by tests/cnf/decoder_test.cpp.

#include <cstdint>
#include <string>

#include "vell/values/evaluator.h"

namespace vell::cnf {

// The script that a model is checked against.
struct DecodedScript {
  std::string path = {};    // "" for none
  std::uint64_t query = 0;  // as CnfOptions has it
};

// The answer and, for sat, the model as get-model prints it, of a CNF file with map and def lines under a SAT
// solver's output. Either path may be "-"; the CNF may be compressed. Throws Exception "FILE: reason" or
// "FILE:LINE: reason" for files that are broken or do not fit each other: a value missing, no answer, no map
// line; and for a model under which an assertion of the script is false.
std::string decode(std::string const& cnf, std::string const& solution,
                   values::WordFormat format = values::WordFormat::binary, DecodedScript const& script = {});

}  // namespace vell::cnf

#pragma once

#include <string>

#include "vell/values/evaluator.h"

namespace vell::cnf {

// The answer and, for sat, the model as get-model prints it, of a CNF file with map lines under a SAT
// solver's output. Either path may be "-"; the CNF may be compressed. Throws Exception "FILE: reason" or
// "FILE:LINE: reason" for files that are broken or do not fit each other: a value missing, no answer, no map
// line. Tested by tests/cnf/decoder_test.cpp.
std::string decode(std::string const& cnf, std::string const& solution,
                   values::WordFormat format = values::WordFormat::binary);

}  // namespace vell::cnf

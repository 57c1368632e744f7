#pragma once

// Whether an output file is also an input file.
//
// Tested by tests/io/samefile_test.cpp.

#include <string>

namespace vell::io {

// Whether two paths name the same regular file, directly or through links. `input` may be "-" for standard
// input, `output` "-" for standard output. False if one of them does not exist.
bool same_file(std::string const& output, std::string const& input);

// Throws OutputError "OUTPUT: it is the input as well" if writing would destroy the input.
void refuse_same_file(std::string const& output, std::string const& input);

}  // namespace vell::io

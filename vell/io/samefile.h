#pragma once

// Whether a file to be written is one that is read.
//
// Tested by tests/io/samefile_test.cpp.

#include <string>

namespace vell::io {

// Whether two paths name one regular file, by links of either kind as well. `input` may be "-" for standard
// input, `output` "-" for standard output. False where one does not exist.
bool same_file(std::string const& output, std::string const& input);

// Throws OutputError "OUTPUT: it is the input as well" where writing would destroy what is read.
void refuse_same_file(std::string const& output, std::string const& input);

}  // namespace vell::io

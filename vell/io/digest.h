#pragma once

// Tested by tests/io/digest_test.cpp.

#include <string>

namespace vell::io {

// SHA-256 of the file's bytes as they lie, in hexadecimal. For "-" standard input is read to its end and
// replaced by a copy, so that it can be read once more. Throws Exception "PATH: reason".
std::string input_digest(std::string const& path);

}  // namespace vell::io

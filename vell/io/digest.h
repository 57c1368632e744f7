#pragma once

// Tested by tests/io/digest_test.cpp.

#include <string>

namespace vell::io {

// The SHA-256 of the file's bytes, not decompressed, in hexadecimal. For "-", standard input is read to its
// end and replaced by a copy, so that it can be read again. Throws Exception "PATH: reason".
std::string input_digest(std::string const& path);

}  // namespace vell::io

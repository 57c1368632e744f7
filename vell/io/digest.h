#pragma once

// Tested by tests/io/digest_test.cpp.

#include <string>
#include <string_view>

namespace vell::io {

// The SHA-256 of the file's bytes, not decompressed, in hexadecimal. For "-", standard input is read to its
// end and replaced by a copy, so that it can be read again. Throws Exception "PATH: reason".
std::string input_digest(std::string const& path);

// The whole script, decompressed; "-" can be read again afterwards. Throws as input_digest() and Source do.
std::string whole_input(std::string const& path);

// The SHA-256 of a text, in hexadecimal.
std::string text_digest(std::string_view text);

}  // namespace vell::io

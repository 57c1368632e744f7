#pragma once

// Streams of bytes: file descriptors, and decompressors over them.
//
// Tested by tests/io/source_test.cpp.

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace vell::io {

// Reading failed: an I/O error, or compressed data that is damaged or truncated. what() gives the reason
// without a file name.
struct StreamError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class ByteStream {
 public:
  virtual ~ByteStream() = default;
  // Reads between 1 and n bytes into `out`; returns 0 only at the end. Throws StreamError.
  virtual std::size_t read(char* out, std::size_t n) = 0;
};

// Reads fd from its current position. Closes it at the end if it is owned.
std::unique_ptr<ByteStream> read_descriptor(int fd, bool owned);

// Whether data that starts with these bytes is compressed by gzip, xz, zstd or bzip2. The first six bytes
// decide.
bool is_compressed(std::string_view first_bytes);

// The contents of `input`: decompressed if its first bytes show that it is compressed, unchanged otherwise.
std::unique_ptr<ByteStream> decompressed(std::unique_ptr<ByteStream> input);

}  // namespace vell::io

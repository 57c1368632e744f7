#pragma once

// Streams of bytes: file descriptors, and decompressors over them.
//
// Tested by tests/io/source_test.cpp.

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace vell::io {

// Reading failed: I/O, or compressed data that is damaged or cut off. what() says how, without a file name.
struct StreamError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class ByteStream {
 public:
  virtual ~ByteStream() = default;
  // Between 1 and n bytes into `out`; 0 at the end only. Throws StreamError.
  virtual std::size_t read(char* out, std::size_t n) = 0;
};

// Reads fd from where it stands; closes it in the end if it is owned.
std::unique_ptr<ByteStream> read_descriptor(int fd, bool owned);

// Whether data that starts so is compressed in a way known here: gzip, xz, zstd or bzip2. Six bytes decide.
bool is_compressed(std::string_view first_bytes);

// What `input` holds: decompressed when its first bytes say that it is compressed, else as it is.
std::unique_ptr<ByteStream> decompressed(std::unique_ptr<ByteStream> input);

}  // namespace vell::io

#pragma once

// The bytes of a script: a mapped file, read in place, or a stream, read in blocks.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vell/io/error.h"

namespace vell::io {

class ByteStream;  // decompress.h

// A window over the script's bytes that moves forward. The reader scans [begin, end) and asks for more at the
// end. Bytes that it still needs are kept; in a stream their address changes.
class Source {
 public:
  virtual ~Source() = default;

  // A regular uncompressed file is mapped. Compressed files (gzip, xz, zstd, bzip2, recognised by their first
  // bytes) and pipes are streamed. "-" is standard input. Throws Error "FILE:1:1: ..." if it cannot be read.
  static std::unique_ptr<Source> open(std::string const& path);
  // A text in memory, which must outlive the source. `name` is the file name in messages.
  static std::unique_ptr<Source> text(std::string_view text, std::string name = "<text>");
  // The same as a stream that yields at most `block` bytes at a time; compressed text is decompressed.
  static std::unique_ptr<Source> blocks(std::string_view text, std::size_t block,
                                        std::string name = "<text>");
  // The bytes of the stream, unchanged.
  static std::unique_ptr<Source> stream(std::unique_ptr<ByteStream> stream, std::string name);

  std::string const& name() const { return name_; }
  char const* begin() const { return begin_; }
  char const* end() const { return end_; }
  // The offset in the script of the byte at begin().
  std::uint64_t offset() const { return offset_; }
  // The size of the script in bytes; 0 if it is not known before the end.
  std::uint64_t size() const { return size_; }

  // Makes at least one more byte available after end() and keeps the bytes from `keep` on (begin() <= keep <=
  // end()). Afterwards begin() points to the byte that keep pointed to. False at the end of the script.
  // Throws Error if reading fails.
  virtual bool refill(char const* keep) = 0;

  // The line and column of an offset, which may lie before the window.
  virtual Position position(std::uint64_t offset) const = 0;
  // The line that contains the offset, as far as it is in memory; "" if its beginning is not.
  virtual std::string_view line_at(std::uint64_t offset) const {
    return line_in(begin_, offset_, end_, offset);
  }

 protected:
  // Of the bytes [first, end), the first at the offset `from`.
  std::string_view line_in(char const* first, std::uint64_t from, char const* end,
                           std::uint64_t offset) const;

  std::string name_;
  char const* begin_ = nullptr;
  char const* end_ = nullptr;
  std::uint64_t offset_ = 0;
  std::uint64_t size_ = 0;
};

}  // namespace vell::io

#pragma once

// Bytes of a script: a mapped file, read in place, or a stream, read in blocks.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vell/io/error.h"

namespace vell::io {

class ByteStream;  // decompress.h

// A window over the script's bytes that moves forward. The reader scans [begin, end) and asks for more when
// it meets the end; what it still needs is kept, at a new address where the source is a stream.
class Source {
 public:
  virtual ~Source() = default;

  // The file, mapped when it is a plain regular file; compressed files (.gz, .xz, .zst, .bz2, told by their
  // first bytes) and pipes are streamed. "-" is standard input. Throws Error "FILE:1:1: ..." when it cannot
  // be read.
  static std::unique_ptr<Source> open(std::string const& path);
  // The text itself, which must outlive the source. `name` stands for the file in messages.
  static std::unique_ptr<Source> text(std::string_view text, std::string name = "<text>");
  // The same as a stream that hands out at most `block` bytes at a time; compressed text is decompressed.
  static std::unique_ptr<Source> blocks(std::string_view text, std::size_t block,
                                        std::string name = "<text>");
  // What the stream hands out, as it stands.
  static std::unique_ptr<Source> stream(std::unique_ptr<ByteStream> stream, std::string name);

  std::string const& name() const { return name_; }
  char const* begin() const { return begin_; }
  char const* end() const { return end_; }
  // Offset in the script of the byte at begin().
  std::uint64_t offset() const { return offset_; }
  // Bytes of the whole script; 0 where only its end will tell.
  std::uint64_t size() const { return size_; }

  // Makes at least one more byte available behind end(), keeping the bytes from `keep` on (begin() <= keep <=
  // end()): afterwards begin() is where keep's byte is now. False at the end of the script. Throws Error when
  // reading fails.
  virtual bool refill(char const* keep) = 0;

  // Line and column of an offset, which may lie in front of the window.
  virtual Position position(std::uint64_t offset) const = 0;
  // The line that holds the offset, as far as it is in memory; "" where its beginning is not.
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

#pragma once

// A file that appears whole or not at all.
//
// Tested by tests/io/outputfile_test.cpp.

#include <cstdint>
#include <memory>
#include <string>

#include "vell/io/backgroundoutput.h"
#include "vell/terms/exception.h"
#include "vell/utils/byteoutput.h"

namespace vell::io {

// A file that cannot be made or written: "PATH: reason".
class OutputError : public Exception {
 public:
  using Exception::Exception;
};

// A compressor in front of `out`, told by the path's suffix; null when there is none to use. It ends its
// stream in finish().
class Compressor : public ByteOutput {
 public:
  virtual void finish() = 0;
};
std::unique_ptr<Compressor> make_compressor(std::string const& path, ByteOutput& out);

// Bytes go to a temporary file beside the path, which takes the path's name in commit(). Without commit()
// nothing remains, nor after leftovers::discard_all(). "-" is standard output, and an existing file that is
// no regular one (a pipe, a device) is written directly; these cannot be taken back. A path that ends in .gz,
// .xz, .zst or .bz2 is compressed. The bytes depend on nothing but what is written and the path's suffix.
// From a megabyte on they are compressed and written in the background, and what goes wrong there is thrown
// by a later call.
class OutputFile : public ByteOutput {
 public:
  // Throws OutputError when the file cannot be made; so do write() and commit().
  explicit OutputFile(std::string const& path);
  ~OutputFile() override;
  OutputFile(OutputFile const&) = delete;
  OutputFile& operator=(OutputFile const&) = delete;

  void write(char const* data, std::size_t size) override;
  void commit();

 private:
  class Descriptor;
  std::unique_ptr<Descriptor> descriptor_;
  std::unique_ptr<Compressor> compressor_;
  std::uint64_t bytes_ = 0;  // that were given
  bool tried_background_ = false;
  std::unique_ptr<BackgroundOutput> background_;  // null below a megabyte; ends before what it writes to
};

}  // namespace vell::io

#pragma once

// A file that appears completely or not at all.
//
// Tested by tests/io/outputfile_test.cpp.

#include <cstdint>
#include <memory>
#include <string>

#include "vell/io/backgroundoutput.h"
#include "vell/terms/exception.h"
#include "vell/utils/byteoutput.h"

namespace vell::io {

// A file cannot be created or written: "PATH: reason".
class OutputError : public Exception {
 public:
  using Exception::Exception;
};

// A compressor in front of `out`, selected by the path's suffix; null if the suffix selects none. finish()
// ends its stream.
class Compressor : public ByteOutput {
 public:
  virtual void finish() = 0;
};
std::unique_ptr<Compressor> make_compressor(std::string const& path, ByteOutput& out);

// Bytes go to a temporary file beside the path, which takes the path's name in commit(). Without commit()
// nothing remains, nor after cleanup::discard_all(). "-" is standard output. It, and an existing file that is
// not regular (a pipe, a device), is written directly, so these bytes cannot be taken back. A path that ends
// in .gz, .xz, .zst or .bz2 is compressed. The resulting bytes depend only on what is written and on the
// path's suffix. From one megabyte on they are compressed and written in the background; a later call throws
// the errors that occur there.
class OutputFile : public ByteOutput {
 public:
  // Throws OutputError if the file cannot be created or written; so do write() and commit().
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

#pragma once

// What the script library throws: Error for a script that is not well formed, Stopped for work that was
// stopped, and vell::Exception, their base, for everything else. The message is always one line.
//
// Tested by tests/script/script_test.cpp.

#include <cstdint>
#include <string>

#include "vell/terms/exception.h"
#include "vell/utils/export.h"

namespace vell::script {

// A place in a script. Lines and columns count from 1; a column counts bytes.
struct Position {
  std::uint64_t line = 1;    // from 1
  std::uint64_t column = 1;  // from 1
};

// An error at a place in a script. what() is "FILE:LINE:COLUMN: message".
class VELL_API Error : public Exception {
 public:
  // excerpt: see excerpt().
  Error(std::string const& file, Position position, std::string const& message, std::string const& excerpt);
  ~Error() override;

  // The file's path, "<stdin>", or the name that was given with a text or a stream.
  std::string const& file() const { return file_; }
  Position position() const { return position_; }
  std::string const& message() const { return message_; }
  // The line and, below it, a caret under the column: two lines, each ended by a newline. "" if the line is
  // not known.
  std::string const& excerpt() const { return excerpt_; }

 private:
  std::string file_;
  Position position_;
  std::string message_;
  std::string excerpt_;
};

// Why work ended before it was done.
enum class Reason : std::uint8_t { none, timeout, interrupted, memout, resourceout };
// As get-info :reason-unknown prints it.
VELL_API char const* reason_text(Reason reason);

// Work ended because it was told to.
class VELL_API Stopped : public Exception {
 public:
  // what() is reason_text().
  explicit Stopped(Reason reason);
  ~Stopped() override;

  // As it was given.
  Reason reason() const { return reason_; }

 private:
  Reason reason_;
};

}  // namespace vell::script

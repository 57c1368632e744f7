#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "vell/terms/exception.h"

namespace vell::io {

// A place in a script. Lines and columns count from 1; a column counts bytes.
struct Position {
  std::uint64_t line = 1;
  std::uint64_t column = 1;
};

// An error in a script. what() is one line, "FILE:LINE:COLUMN: message"; standard input is "<stdin>".
class Error : public Exception {
 public:
  // line: the text of the line, if it is known.
  Error(std::string const& file, Position position, std::string const& message, std::string line = "")
      : Exception(file + ":" + std::to_string(position.line) + ":" + std::to_string(position.column) + ": " +
                  message),
        file_(file),
        position_(position),
        message_(message),
        line_(std::move(line)) {}

  std::string const& file() const { return file_; }
  Position position() const { return position_; }
  std::string const& message() const { return message_; }
  // The line and, below it, a caret under the column: two lines for a terminal, each ended by a newline. Long
  // lines are cut. "" if the line is not known.
  std::string excerpt() const;

 private:
  std::string file_;
  Position position_;
  std::string message_;
  std::string line_;
};

}  // namespace vell::io

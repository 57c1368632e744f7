#pragma once

#include <cstdint>
#include <string>

#include "vell/terms/exception.h"

namespace vell::smtlib {

// A place in a script. Lines and columns count from 1; a column counts bytes.
struct Position {
  std::uint64_t line = 1;
  std::uint64_t column = 1;
};

// Anything wrong with a script. what() is one line, "FILE:LINE:COLUMN: message"; standard input is "<stdin>".
class Error : public Exception {
 public:
  Error(std::string const& file, Position position, std::string const& message)
      : Exception(file + ":" + std::to_string(position.line) + ":" + std::to_string(position.column) + ": " + message),
        position_(position),
        message_(message) {}

  Position position() const { return position_; }
  std::string const& message() const { return message_; }

 private:
  Position position_;
  std::string message_;
};

}  // namespace vell::smtlib

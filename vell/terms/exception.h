#pragma once

#include <exception>
#include <sstream>
#include <string>

#include "vell/utils/export.h"

namespace vell {

// Base of the errors raised here. The message is written with << onto the exception itself:
//
//   Exception e("not supported: ");
//   e << name;
//   throw e;
class VELL_API Exception : public std::exception {
 public:
  // Without a message yet.
  Exception() = default;
  // With this message, or its beginning.
  explicit Exception(std::string const& message) {
    stream_ << message;
    dump_msg_and_raise_assertion();
  }
  // A copy has the text written so far and can be written on.
  Exception(Exception const& other) : std::exception(other) { stream_ << other.text(); }
  Exception& operator=(Exception const& other) {
    if (this != &other) stream_.str(other.text()), stream_.seekp(0, std::ios_base::end);
    return *this;
  }

  // Appends a piece to the message, as an output stream renders it.
  template <typename T>
  Exception& operator<<(T const& piece) {
    bool const first = stream_.tellp() == std::ostringstream::pos_type(0);
    stream_ << piece;
    if (first) dump_msg_and_raise_assertion();
    return *this;
  }

  // The text written so far. Valid until the exception is changed or dies.
  char const* what() const noexcept override;

 protected:
  // Debugging aid: with VELL_ABORT_ON_EXCEPTION defined when the library is built, writes the message to
  // stderr and aborts where the error is raised. Does nothing otherwise.
  void dump_msg_and_raise_assertion() const;

 private:
  std::string text() const { return stream_.str(); }

  std::ostringstream stream_;
  mutable std::string what_;
};

}  // namespace vell

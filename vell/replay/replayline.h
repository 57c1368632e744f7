#pragma once

// One line of a replay script, token by token.

#include <cstdint>
#include <string>
#include <string_view>

#include "vell/io/error.h"
#include "vell/terms/literal.h"
#include "vell/terms/qnumber.h"

namespace vell::replay {

// Tokens are separated by blanks. Every reader below throws smtlib::Error at the token that does not fit.
class Line {
 public:
  Line(std::string const& file, std::uint64_t number, std::string_view text)
      : file_(file), number_(number), text_(text) {
    skip_blanks();
  }

  bool at_end() const { return next_ == text_.size(); }
  // The next token without taking it; empty at the end.
  std::string_view peek() const;
  // Takes the next token. `what` names it where it is missing.
  std::string_view token(char const* what);
  std::uint64_t number(char const* what);
  std::int64_t signed_number(char const* what);
  // An integer of any size.
  QNumber integer(char const* what);
  // A number of 32 bits with a sign.
  std::int32_t small_number(char const* what);
  // A signed 32-bit literal.
  bv::BvLit literal();
  // "[ LIT ... ]"
  bv::BvLitList list();
  // Literals up to the end of the line.
  bv::BvLitList literals();
  bool flag();
  // Throws unless every token was taken.
  void finish();

  // Throws smtlib::Error at the token taken last.
  [[noreturn]] void fail(std::string const& message) const;

 private:
  void skip_blanks();

  std::string const& file_;
  std::uint64_t number_;
  std::string_view text_;
  std::size_t next_ = 0;   // start of the next token
  std::size_t taken_ = 0;  // start of the token taken last
};

}  // namespace vell::replay

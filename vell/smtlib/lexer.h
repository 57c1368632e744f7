#pragma once

// Tokens of a script.
//
// Tested by tests/smtlib/lexer_test.cpp.

#include <cstdint>
#include <string>
#include <string_view>

#include "vell/io/source.h"

namespace vell::smtlib {

enum class Token : std::uint8_t {
  end,
  open,
  close,
  symbol,   // a simple symbol or a reserved word
  quoted,   // |symbol|; text() is what stands between the bars
  keyword,  // text() starts with ':'
  numeral,
  decimal,
  hexadecimal,  // text() is the digits behind #x
  binary,       // text() is the digits behind #b
  string        // text() is the literal as written, quotes included
};

class Lexer {
 public:
  // The source must outlive the lexer.
  explicit Lexer(io::Source& source);

  // The maximum length of a symbol, literal or string, as written. A longer one is refused: a few bytes of a
  // compressed script may expand to a token of gigabytes.
  static constexpr std::ptrdiff_t max_token = std::ptrdiff_t{1} << 24;  // bytes

  // Reads a token. Throws Error for bytes that form no token, for a token that is too long, and for the end
  // of the script inside a command.
  Token next();

  // A command has begun with the parenthesis at `offset`: until its end the script may not end. `name` is the
  // name of the command, empty while it is not known; it must live until the command ends.
  void begin_command(std::uint64_t offset, std::string_view name) {
    command_offset_ = offset;
    command_ = name;
    inside_command_ = true;
  }
  void end_command() { inside_command_ = false; }
  bool inside_command() const { return inside_command_; }
  // " in the `assert` that began on line 3", for a command that began on an earlier line than the current
  // token; "" otherwise.
  std::string open_command() const;
  // Drops all bytes in the source's window and resets the state after an error in a command.
  void drop_window();

  // ---- the token read last; text() and raw() hold until the next call of next() ----
  Token kind() const { return kind_; }
  std::string_view text() const {
    return {start_ + skip_front_, static_cast<std::size_t>(stop_ - start_) - skip_front_ - skip_back_};
  }
  std::string_view raw() const { return {start_, static_cast<std::size_t>(stop_ - start_)}; }
  // Offset in the script of its first byte; at the end of the script the number of bytes.
  std::uint64_t offset() const {
    return source_.offset() + static_cast<std::uint64_t>(start_ - source_.begin());
  }
  // The token as messages show it: "`foo`", "`)`", "the end of the file". Long tokens are cut.
  std::string describe() const;

  // From now on every token read is appended to *out, with one space between two tokens that are not kept
  // apart by a parenthesis. Null ends it.
  void capture(std::string* out) { capture_ = out; }

  [[noreturn]] void fail(std::uint64_t offset, std::string const& message) const;
  // At the current token.
  [[noreturn]] void fail(std::string const& message) const { fail(offset(), message); }
  io::Source const& source() const { return source_; }

 private:
  Token scan();
  Token scan_any();
  void at_end() const;
  bool more(char const*& from, char const*& at);
  void check_length() const;
  [[noreturn]] void bad_byte(char const* at) const;
  void append_captured();

  io::Source& source_;
  char const* next_;   // first byte not read yet
  char const* end_;    // end of the window
  char const* start_;  // of the token
  char const* stop_;
  std::string* capture_ = nullptr;
  std::uint64_t command_offset_ = 0;
  std::string_view command_;
  bool inside_command_ = false;
  std::uint8_t skip_front_ = 0;
  std::uint8_t skip_back_ = 0;
  Token kind_ = Token::end;
};

}  // namespace vell::smtlib

#pragma once

// The trace stream. A message is module, level, pieces, endlog:
//
//   logger("BV") << loglevel(3) << "calling a hook for " << term << endlog;
//
// A piece is written only when the logger is not muted, the message's level is not negative and it is at most
// the verbosity; each << tests that again, so a level may change in the middle of a line. Code on a hot path
// asks enabled() first and leaves the pieces unrendered.
//
// Tested by tests/terms/logger_test.cpp.

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

#include "vell/terms/literal.h"
#include "vell/terms/term.h"
#include "vell/terms/type.h"
#include "vell/utils/export.h"

namespace vell {

// The level of a message, as a piece of it: it holds from there on.
struct loglevel {
  // 1 the rarest messages, 5 the finest detail; a negative level is never written.
  explicit loglevel(int n) : value(n) {}
  int value;
};

// The end of a message, as its last piece.
struct EndLog {};
inline constexpr EndLog endlog{};

// Whether the stream is standard output or standard error and that is a terminal.
VELL_API bool is_terminal(std::ostream const& stream);

// A trace stream with a threshold. One thread at a time.
class VELL_API Logger {
 public:
  // Writes to standard error with verbosity 0.
  Logger();
  // Writes to `stream`, which must outlive the logger.
  explicit Logger(std::ostream& stream, int verbosity = 0)
      : stream_(&stream), verbosity_(verbosity), threshold_(verbosity) {}

  // Messages of levels 0 to n are written.
  void set_verbosity(int n) {
    verbosity_ = n;
    update_threshold();
  }
  // The level set last, also while muted.
  int verbosity() const { return verbosity_; }
  // Writes nothing while muted.
  void set_muted(bool muted) {
    muted_ = muted;
    update_threshold();
  }
  // The next text starts with a carriage return when the stream is a terminal: a progress line stands there.
  void set_pending_carriage_return() { pending_carriage_return_ = true; }

  // Whether a message of this level is written.
  bool enabled(int level) const { return level <= threshold_ && level >= 0; }

  // Selects the module that writes.
  Logger& operator()(char const* module) {
    module_ = module;
    return *this;
  }
  // The module selected last. Not owned.
  char const* module() const { return module_; }
  // The level set last.
  int level() const { return level_; }

  // Sets the level of what follows.
  Logger& operator<<(loglevel n) {
    level_ = n.value;
    return *this;
  }
  // Ends the line.
  Logger& operator<<(EndLog) { return write("\n"); }

  // Text as it is, numbers in decimal, truth values as 0 and 1.
  Logger& operator<<(char const* text) { return write(text); }
  Logger& operator<<(std::string const& text) { return write(text); }
  Logger& operator<<(std::string_view text) { return write(text); }
  Logger& operator<<(bool b) { return write(b ? "1" : "0"); }
  // Every type of numbers but bool and BvLit; a character is the number of its code.
  template <typename N>
  requires(std::is_integral_v<N> && !std::is_same_v<N, bool> && !std::is_same_v<N, bv::BvLit>) Logger&
  operator<<(N n) {
    return enabled(level_) ? write(std::to_string(n)) : *this;
  }
  // As a stream writes it that nobody has set up: six digits.
  Logger& operator<<(double n);
  Logger& operator<<(float n) { return *this << static_cast<double>(n); }
  Logger& operator<<(long double n) { return *this << static_cast<double>(n); }
  // The shallow form of the term.
  Logger& operator<<(Term_ const* term);
  // Type::to_str of the type.
  Logger& operator<<(Type const* type);
  // A signed 32-bit integer is a literal: "?", "T", "F", or "~" for a negative one and its magnitude minus 2.
  Logger& operator<<(bv::BvLit literal);
  // "[ ~5, 3, T ]": most significant bit first.
  Logger& operator<<(bv::BvLitList const& bits);

 private:
  Logger& write(std::string_view text);
  void update_threshold() { threshold_ = muted_ ? -1 : verbosity_; }

  std::ostream* stream_;
  char const* module_ = "";
  int level_ = 0;
  int verbosity_;
  int threshold_;  // the verbosity, or -1 when muted: one comparison on hot paths
  bool muted_ = false;
  bool pending_carriage_return_ = false;
};

}  // namespace vell

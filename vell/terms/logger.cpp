#include "vell/terms/logger.h"

#include <unistd.h>

#include <iostream>
#include <sstream>

namespace vell {

bool is_terminal(std::ostream const& stream) {
  if (&stream == &std::cout) return isatty(STDOUT_FILENO) != 0;
  if (&stream == &std::cerr || &stream == &std::clog) return isatty(STDERR_FILENO) != 0;
  return false;
}

Logger::Logger() : Logger(std::cerr) {}

Logger& Logger::write(std::string_view text) {
  if (!enabled(level_)) return *this;
  if (pending_carriage_return_ && is_terminal(*stream_)) {
    *stream_ << '\r';
    pending_carriage_return_ = false;
  }
  *stream_ << text;
  return *this;
}

Logger& Logger::operator<<(double n) {
  if (!enabled(level_)) return *this;
  std::ostringstream text;
  text << n;
  return write(text.str());
}

Logger& Logger::operator<<(Term_ const* term) {
  return enabled(level_) ? write(term->to_shallow_str()) : *this;
}

Logger& Logger::operator<<(Type const* type) { return enabled(level_) ? write(type->to_str()) : *this; }

Logger& Logger::operator<<(bv::BvLit literal) {
  if (!enabled(level_)) return *this;
  switch (literal) {
    case bv::l_undef: return write("?");
    case bv::l_true: return write("T");
    case bv::l_false: return write("F");
    default: break;
  }
  std::int64_t const v = literal;
  return write((v < 0 ? "~" : "") + std::to_string((v < 0 ? -v : v) - 2));
}

Logger& Logger::operator<<(bv::BvLitList const& bits) {
  if (!enabled(level_)) return *this;
  write("[");
  for (std::size_t i = bits.size(); i-- > 0;) {
    write(" ");
    *this << bits[i];
    if (i != 0) write(",");
  }
  return write(" ]");
}

}  // namespace vell

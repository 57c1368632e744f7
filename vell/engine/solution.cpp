#include "vell/engine/solution.h"

#include <algorithm>
#include <charconv>

#include "vell/terms/exception.h"

namespace vell::engine {

namespace {
constexpr std::int64_t largest_variable = INT32_MAX;
}

void Solution::feed(std::string_view bytes) {
  for (;;) {
    std::size_t const end = bytes.find('\n');
    if (end == std::string_view::npos) break;
    if (rest_.empty()) {
      line(bytes.substr(0, end));
    } else {
      rest_ += bytes.substr(0, end);
      line(rest_);
      rest_.clear();
    }
    bytes.remove_prefix(end + 1);
  }
  rest_ += bytes;
}

void Solution::finish() {
  line(rest_);
  rest_.clear();
}

void Solution::line(std::string_view text) {
  if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
  if (text.empty()) return;
  if (text == "SAT" || text == "UNSAT" || text == "INDET") {
    status_ = text == "SAT" ? Status::sat : text == "UNSAT" ? Status::unsat : Status::unknown;
    bare_ = status_ == Status::sat;
  } else if (text.starts_with("s ")) {
    if (text == "s SATISFIABLE")
      status_ = Status::sat;
    else if (text == "s UNSATISFIABLE")
      status_ = Status::unsat;
    else if (text == "s UNKNOWN" || text == "s INDETERMINATE")
      status_ = Status::unknown;
    else
      throw Exception("no answer: " + std::string(text));
  } else if (text.starts_with("v ")) {
    literals(text.substr(2));
  } else if (bare_) {
    // Without a single variable, the line of values is a blank and the 0.
    std::size_t const start = text.find_first_not_of(" \t");
    if (start != std::string_view::npos && (text[start] == '-' || (text[start] >= '0' && text[start] <= '9')))
      literals(text);
  }
}

void Solution::literals(std::string_view text) {
  char const* p = text.data();
  char const* const end = p + text.size();
  while (p != end) {
    if (*p == ' ' || *p == '\t') {
      ++p;
      continue;
    }
    std::int64_t n = 0;
    auto const [after, status] = std::from_chars(p, end, n);
    bool const whole = after == end || *after == ' ' || *after == '\t';
    if (status != std::errc() || !whole || n > largest_variable || n < -largest_variable)
      throw Exception("no literal: " + std::string(p, std::find(p, end, ' ')));
    p = after;
    if (n == 0) {
      complete_ = true;
      continue;
    }
    std::size_t const v = static_cast<std::size_t>(n < 0 ? -n : n);
    if (v >= values_.size()) values_.resize(v + 1, false);
    values_[v] = n > 0;
  }
}

}  // namespace vell::engine

#include "vell/io/solution.h"

#include <algorithm>
#include <charconv>

#include "vell/terms/exception.h"

namespace vell::io {

namespace {

constexpr char blanks[] = " \t\r\v\f";

std::string_view trimmed(std::string_view text) {
  std::size_t const start = text.find_first_not_of(blanks);
  if (start == std::string_view::npos) return {};
  return text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

}  // namespace

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
  text = trimmed(text);
  if (text.empty()) return;
  auto const starts_with_word = [&](char c) {
    return text[0] == c && (text.size() == 1 || text[1] == ' ' || text[1] == '\t');
  };
  if (text == "SAT" || text == "UNSAT" || text == "INDET") {
    answer(text == "SAT" ? Status::sat : text == "UNSAT" ? Status::unsat : Status::unknown);
    bare_ = status_ == Status::sat;
  } else if (starts_with_word('s')) {
    std::string word(trimmed(text.substr(1)));
    for (char& c : word) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
    if (word == "SATISFIABLE" || word == "OPTIMUM FOUND")
      answer(Status::sat);
    else if (word == "UNSATISFIABLE")
      answer(Status::unsat);
    else if (word == "UNKNOWN" || word == "INDETERMINATE")
      answer(Status::unknown);
    else
      throw Exception("no answer: " + std::string(text));
  } else if (starts_with_word('v')) {
    literals(text.substr(1));
  } else if (bare_) {
    // Without any variable, the line of values is a blank and the 0.
    std::size_t const start = text.find_first_not_of(" \t");
    if (start != std::string_view::npos && (text[start] == '-' || (text[start] >= '0' && text[start] <= '9')))
      literals(text);
  }
}

void Solution::answer(Status status) {
  if ((status_ == Status::sat && status == Status::unsat) ||
      (status_ == Status::unsat && status == Status::sat))
    throw Exception("two answers that contradict each other");
  status_ = status;
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
    if (status != std::errc() || !whole || n > largest_ || n < -largest_)
      throw Exception((status == std::errc() && whole ? "no variable " : "no literal: ") +
                      std::string(p, std::find(p, end, ' ')));
    p = after;
    if (n == 0) {
      complete_ = true;
      continue;
    }
    std::size_t const v = static_cast<std::size_t>(n < 0 ? -n : n);
    if (v >= values_.size()) {
      values_.resize(v + 1, false);
      named_.resize(v + 1, false);
    }
    if (named_[v] && values_[v] != (n > 0)) throw Exception("both values for variable " + std::to_string(v));
    named_[v] = true;
    values_[v] = n > 0;
  }
}

}  // namespace vell::io

#include "vell/replay/replayline.h"

#include <charconv>

#include "vell/terms/exception.h"

namespace vell::replay {

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

template <typename N>
bool parse(std::string_view text, N& value) {
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size();
}

}  // namespace

void Line::skip_blanks() {
  while (next_ < text_.size() && is_blank(text_[next_])) ++next_;
}

std::string_view Line::peek() const {
  std::size_t end = next_;
  while (end < text_.size() && !is_blank(text_[end])) ++end;
  return text_.substr(next_, end - next_);
}

std::string_view Line::token(char const* what) {
  taken_ = next_;
  if (at_end()) fail(std::string("the line ends where ") + what + " should stand");
  std::string_view const t = peek();
  next_ += t.size();
  skip_blanks();
  return t;
}

std::uint64_t Line::number(char const* what) {
  std::string_view const t = token(what);
  std::uint64_t n = 0;
  if (!parse(t, n)) fail("`" + std::string(t) + "` stands where " + what + " should");
  return n;
}

std::int64_t Line::signed_number(char const* what) {
  std::string_view const t = token(what);
  std::int64_t n = 0;
  if (!parse(t, n)) fail("`" + std::string(t) + "` stands where " + what + " should");
  return n;
}

QNumber Line::integer(char const* what) {
  std::string_view const t = token(what);
  try {
    return QNumber::from_digits(t, 10);
  } catch (Exception const&) {
    fail("`" + std::string(t) + "` stands where " + what + " should");
  }
}

std::int32_t Line::small_number(char const* what) {
  std::int64_t const n = signed_number(what);
  if (n > INT32_MAX || n < INT32_MIN) fail("a number of more than 32 bits");
  return static_cast<std::int32_t>(n);
}

bv::BvLit Line::literal() {
  bv::BvLit const l = small_number("a literal");
  // The most negative word has no negation and is no literal.
  if (l == INT32_MIN) fail("a number of more than 32 bits");
  return l;
}

bv::BvLitList Line::list() {
  if (token("a list") != "[") fail("a list begins with [");
  bv::BvLitList l;
  while (peek() != "]") l.push_back(literal());
  token("]");
  return l;
}

bv::BvLitList Line::literals() {
  bv::BvLitList l;
  while (!at_end()) l.push_back(literal());
  return l;
}

bool Line::flag() {
  std::string_view const t = token("0 or 1");
  if (t != "0" && t != "1") fail("`" + std::string(t) + "` stands where 0 or 1 should");
  return t == "1";
}

void Line::finish() {
  if (at_end()) return;
  std::string const t(token("nothing"));
  fail("`" + t + "` is one token too many");
}

void Line::fail(std::string const& message) const { throw io::Error(file_, {number_, taken_ + 1}, message); }

}  // namespace vell::replay

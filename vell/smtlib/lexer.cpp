// One pass over the bytes, with one table look-up per byte. A token is a view into the source's window. If it
// reaches the end of the window, the source is asked for more bytes, and the scan continues where it stopped.

#include "vell/smtlib/lexer.h"

#include <array>
#include <cstring>

namespace vell::smtlib {

namespace {

enum Class : std::uint8_t {
  space = 1,  // blank, tab, line feed, carriage return
  symbol_char = 2,
  digit = 4,
  hex_digit = 8,
  binary_digit = 16,
  printable = 32,  // allowed in strings and quoted symbols, white space included
  plain = 64       // printable and none of | " \ : nothing a quoted symbol or a string stops at
};

constexpr std::array<std::uint8_t, 256> make_classes() {
  std::array<std::uint8_t, 256> t{};
  for (int c : {' ', '\t', '\n', '\r'}) t[c] |= space | printable;
  for (int c = 33; c < 256; ++c)
    if (c != 127) t[c] |= printable;
  for (int c = 'a'; c <= 'z'; ++c) t[c] |= symbol_char, t[c - 'a' + 'A'] |= symbol_char;
  for (int c = '0'; c <= '9'; ++c) t[c] |= symbol_char | digit | hex_digit;
  for (int c = 'a'; c <= 'f'; ++c) t[c] |= hex_digit, t[c - 'a' + 'A'] |= hex_digit;
  t['0'] |= binary_digit;
  t['1'] |= binary_digit;
  for (char c : std::string_view("~!@$%^&*_-+=<>.?/")) t[static_cast<unsigned char>(c)] |= symbol_char;
  for (int c = 0; c < 256; ++c)
    if ((t[c] & printable) != 0 && c != '|' && c != '"' && c != '\\') t[c] |= plain;
  return t;
}
constexpr std::array<std::uint8_t, 256> classes = make_classes();

bool is(char c, std::uint8_t mask) { return (classes[static_cast<unsigned char>(c)] & mask) != 0; }

// The first byte from p on that is not in the class.
template <std::uint8_t mask>
char const* past(char const* p, char const* end) {
  while (p != end && is(*p, mask)) ++p;
  return p;
}

}  // namespace

Lexer::Lexer(io::Source& source)
    : source_(source), next_(source.begin()), end_(source.end()), start_(next_), stop_(next_) {}

void Lexer::fail(std::uint64_t offset, std::string const& message) const {
  throw io::Error(source_.name(), source_.position(offset), message, std::string(source_.line_at(offset)));
}

std::string Lexer::open_command() const {
  if (!inside_command_) return "";
  std::uint64_t const began = source_.position(command_offset_).line;
  if (began == source_.position(offset()).line) return "";
  return " in the " + (command_.empty() ? "command" : "`" + std::string(command_) + "`") +
         " that began on line " + std::to_string(began);
}

void Lexer::drop_window() {
  next_ = start_ = stop_ = end_ = source_.end();
  capture_ = nullptr;
  inside_command_ = false;
  kind_ = Token::end;
}

// Gets more bytes after the window, keeping those from `from` on, and adjusts both pointers. False at the end
// of the script.
bool Lexer::more(char const*& from, char const*& at) {
  std::size_t const seen = static_cast<std::size_t>(at - from);
  if (at - from > max_token) stop_ = at, check_length();
  bool const grown = source_.refill(from);
  from = source_.begin();
  at = from + seen;
  end_ = source_.end();
  return grown;
}

void Lexer::bad_byte(char const* at) const {
  std::uint64_t const offset = source_.offset() + static_cast<std::uint64_t>(at - source_.begin());
  unsigned const c = static_cast<unsigned char>(*at);
  if (c > 32 && c < 127) fail(offset, std::string("illegal character `") + *at + "`");
  constexpr char digits[] = "0123456789abcdef";
  fail(offset, std::string("illegal byte 0x") + digits[c >> 4] + digits[c & 15]);
}

Token Lexer::next() {
  kind_ = scan();
  check_length();
  if (capture_ != nullptr) append_captured();
  return kind_;
}

void Lexer::check_length() const {
  if (stop_ - start_ > max_token) fail(describe() + " is longer than 16 MiB");
}

void Lexer::at_end() const {
  if (!inside_command_) return;
  fail(command_offset_, command_.empty() ? "the file ends inside the command that begins here"
                                         : "the file ends inside this `" + std::string(command_) + "`");
}

// Nearly every token is a parenthesis or a simple symbol that ends inside the window; scan_any reads the
// others.
Token Lexer::scan() {
  char const* const end = end_;
  char const* p = past<space>(next_, end);
  skip_front_ = skip_back_ = 0;
  if (p != end) {
    char const* q = p + 1;
    Token kind = Token::end;
    if (*p == '(')
      kind = Token::open;
    else if (*p == ')')
      kind = Token::close;
    else if (is(*p, symbol_char) && !is(*p, digit) && (q = past<symbol_char>(q, end)) != end)
      kind = Token::symbol;
    if (kind != Token::end) {
      start_ = p;
      next_ = stop_ = q;
      return kind;
    }
  }
  return scan_any();
}

Token Lexer::scan_any() {
  char const* p = next_;

  // White space and comments.
  for (;;) {
    p = past<space>(p, end_);
    if (p == end_) {
      start_ = p;
      if (more(start_, p)) continue;
      next_ = stop_ = start_;
      at_end();
      return Token::end;
    }
    if (*p != ';') break;
    for (;;) {
      while (p != end_ && *p != '\n' && *p != '\r') ++p;
      if (p != end_) break;
      char const* from = p;
      if (!more(from, p)) break;
    }
  }

  start_ = p;
  auto run = [&]<std::uint8_t mask>() {
    do p = past<mask>(p, end_);
    while (p == end_ && more(start_, p));
  };
  auto finish = [&](Token kind) {
    next_ = stop_ = p;
    return kind;
  };
  // After a literal no symbol character may follow.
  auto finish_literal = [&](Token kind) {
    if (p != end_ && is(*p, symbol_char)) {
      run.template operator()<symbol_char>();
      next_ = stop_ = p;
      fail(describe() + " is neither a literal nor a symbol");
    }
    return finish(kind);
  };

  char const c = *p;
  switch (c) {
    case '(': ++p; return finish(Token::open);
    case ')': ++p; return finish(Token::close);
    case '|':
      ++p;
      for (;;) {
        while (p != end_ && (is(*p, plain) || *p == '"')) ++p;
        if (p != end_) break;
        if (!more(start_, p)) stop_ = p, fail("quoted symbol is not closed");
      }
      if (*p != '|') bad_byte(p);
      ++p;
      skip_front_ = skip_back_ = 1;
      return finish(Token::quoted);
    case '"':
      ++p;
      for (;;) {
        while (p != end_ && (is(*p, plain) || *p == '|' || *p == '\\')) ++p;
        if (p == end_) {
          if (!more(start_, p)) stop_ = p, fail("string is not closed");
          continue;
        }
        if (*p != '"') bad_byte(p);
        ++p;
        // A doubled quote stands for one inside the string.
        if (p == end_ && !more(start_, p)) break;
        if (*p != '"') break;
        ++p;
      }
      return finish(Token::string);
    case ':':
      ++p;
      run.template operator()<symbol_char>();
      if (p - start_ == 1) stop_ = p, fail("`:` without the name of a keyword");
      return finish(Token::keyword);
    case '#': {
      ++p;
      if (p == end_ && !more(start_, p)) stop_ = p, fail("`#` without x or b and digits");
      bool const hex = *p == 'x';
      if (!hex && *p != 'b') stop_ = p, fail("`#` without x or b and digits");
      ++p;
      if (hex)
        run.template operator()<hex_digit>();
      else
        run.template operator()<binary_digit>();
      if (p - start_ == 2) stop_ = p, fail(describe() + " without digits");
      skip_front_ = 2;
      return finish_literal(hex ? Token::hexadecimal : Token::binary);
    }
    default: break;
  }
  if (is(c, digit)) {
    run.template operator()<digit>();
    if (p == end_ || *p != '.') return finish_literal(Token::numeral);
    ++p;
    std::ptrdiff_t const fraction = p - start_;
    run.template operator()<digit>();
    if (p - start_ == fraction) stop_ = p, fail(describe() + " without digits behind the point");
    return finish_literal(Token::decimal);
  }
  if (!is(c, symbol_char)) {
    // Some editors begin a file with a byte order mark.
    constexpr std::string_view mark = "\xef\xbb\xbf";
    if (source_.offset() == 0 && p == source_.begin()) {
      while (static_cast<std::size_t>(end_ - p) < mark.size()) {
        char const* at = end_;
        if (!more(start_, at)) break;
        p = start_;
      }
      if (std::string_view(p, static_cast<std::size_t>(end_ - p)).starts_with(mark)) {
        next_ = p + mark.size();
        return scan_any();
      }
    }
    bad_byte(p);
  }
  run.template operator()<symbol_char>();
  return finish(Token::symbol);
}

void Lexer::append_captured() {
  if (kind_ == Token::end) return;
  if (!capture_->empty() && capture_->back() != '(' && kind_ != Token::close) capture_->push_back(' ');
  capture_->append(raw());
}

std::string Lexer::describe() const {
  if (stop_ == start_) return "the end of the file";
  constexpr std::size_t limit = 60;
  std::string s = "`";
  for (char c : raw().substr(0, limit)) s += is(c, printable) && !(is(c, space) && c != ' ') ? c : ' ';
  if (raw().size() > limit) s += "...";
  return s + "`";
}

}  // namespace vell::smtlib

#include "vell/smtlib/syntax.h"

namespace vell::smtlib {

std::uint64_t read_numeral(Lexer const& lexer) {
  if (lexer.kind() != Token::numeral) lexer.fail("expected a numeral, found " + lexer.describe());
  std::uint64_t value = 0;
  for (char c : lexer.text()) {
    std::uint64_t const digit = static_cast<std::uint64_t>(c - '0');
    if (value > (UINT64_MAX - digit) / 10) lexer.fail("numeral " + lexer.describe() + " is too large");
    value = value * 10 + digit;
  }
  return value;
}

void expect_close(Lexer& lexer, char const* where) {
  if (lexer.next() != Token::close)
    lexer.fail(std::string("expected `)` ") + where + ", found " + lexer.describe());
}

void expect_open(Lexer& lexer, char const* what) {
  if (lexer.next() != Token::open)
    lexer.fail(std::string("expected ") + what + ", found " + lexer.describe());
}

Name* read_symbol(Lexer const& lexer, SymbolTable& symbols, char const* what) {
  if (lexer.kind() == Token::symbol || lexer.kind() == Token::quoted) {
    Name* const n = symbols.intern(lexer.text());
    if (lexer.kind() == Token::quoted || n->reserved == Reserved::none) return n;
    lexer.fail(std::string("expected ") + what + ", found the reserved word " + lexer.describe());
  }
  lexer.fail(std::string("expected ") + what + ", found " + lexer.describe());
}

void check_not_reserved(Lexer const& lexer, Name const* name, std::uint64_t offset) {
  std::string_view const s = name->view();
  if (s.empty() || (s[0] != '.' && s[0] != '@')) return;
  lexer.fail(offset,
             "symbol `" + std::string(s) + "` is reserved for solver use: it begins with `" + s[0] + "`");
}

void skip_attribute_value(Lexer& lexer, SymbolTable& symbols) {
  if (lexer.kind() == Token::keyword || lexer.kind() == Token::close) return;
  if (lexer.kind() == Token::symbol) {
    read_symbol(lexer, symbols, "an attribute's value");
  } else if (lexer.kind() == Token::open) {
    for (std::uint64_t depth = 1; depth > 0;) {
      lexer.next();
      if (lexer.kind() == Token::open) ++depth;
      if (lexer.kind() == Token::close) --depth;
    }
  }
  lexer.next();
}

}  // namespace vell::smtlib

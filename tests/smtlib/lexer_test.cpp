#include "vell/smtlib/lexer.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/smtlib/script.h"

namespace vell::smtlib {
namespace {

using Tokens = std::vector<std::pair<Token, std::string>>;

Tokens tokens(io::Source& source) {
  Lexer lexer(source);
  Tokens out;
  while (lexer.next() != Token::end) out.emplace_back(lexer.kind(), lexer.text());
  return out;
}
Tokens tokens(std::string_view text) { return tokens(*io::Source::text(text)); }

// "LINE:COLUMN: message" of the first bad token.
std::string lexer_error(std::string_view text) {
  try {
    tokens(text);
  } catch (io::Error const& e) {
    return std::to_string(e.position().line) + ":" + std::to_string(e.position().column) + ": " + e.message();
  }
  return "";
}

TEST(Lexer, EveryKind) {
  Tokens const expected = {
      {Token::open, "("},       {Token::close, ")"},           {Token::symbol, "abc"},
      {Token::quoted, "a b"},   {Token::keyword, ":named"},    {Token::numeral, "0"},
      {Token::numeral, "1234"}, {Token::decimal, "1.50"},      {Token::hexadecimal, "aF09"},
      {Token::binary, "0110"},  {Token::string, "\"a\"\"b\""}, {Token::string, "\"\""},
      {Token::quoted, ""}};
  EXPECT_EQ(tokens("() abc |a b| :named 0 1234 1.50 #xaF09 #b0110 \"a\"\"b\" \"\" ||"), expected);
}

TEST(Lexer, SymbolCharacters) {
  std::string const all = "aZ09~!@$%^&*_-+=<>.?/";
  EXPECT_EQ(tokens(all), (Tokens{{Token::symbol, all}}));
  for (char c : std::string("~!@$%^&*_-+=<>.?/")) {
    std::string const s(1, c);
    EXPECT_EQ(tokens(s), (Tokens{{Token::symbol, s}}));
  }
}

TEST(Lexer, WhiteSpaceAndComments) {
  EXPECT_EQ(tokens("a;x ) \" |\nb\t;\r\nc\r\n ; end"),
            (Tokens{{Token::symbol, "a"}, {Token::symbol, "b"}, {Token::symbol, "c"}}));
  EXPECT_EQ(tokens(";a\rb"), (Tokens{{Token::symbol, "b"}}));
  EXPECT_EQ(tokens(""), Tokens{});
  EXPECT_EQ(tokens(";"), Tokens{});
}

TEST(Lexer, NeedsNoSpaceBetween) {
  EXPECT_EQ(tokens("(a(b)\"s\"|q|c:k"), (Tokens{{Token::open, "("},
                                                {Token::symbol, "a"},
                                                {Token::open, "("},
                                                {Token::symbol, "b"},
                                                {Token::close, ")"},
                                                {Token::string, "\"s\""},
                                                {Token::quoted, "q"},
                                                {Token::symbol, "c"},
                                                {Token::keyword, ":k"}}));
}

TEST(Lexer, QuotedSymbolsAndStringsSpanLines) {
  EXPECT_EQ(tokens("|a\nb\"c;d(|"), (Tokens{{Token::quoted, "a\nb\"c;d("}}));
  EXPECT_EQ(tokens("\"a\nb|c;d\\(\""), (Tokens{{Token::string, "\"a\nb|c;d\\(\""}}));
  EXPECT_EQ(tokens("|\xc3\xa4| \"\xc3\xa4\""),
            (Tokens{{Token::quoted, "\xc3\xa4"}, {Token::string, "\"\xc3\xa4\""}}));
}

TEST(Lexer, Errors) {
  using namespace std::string_view_literals;
  EXPECT_EQ(lexer_error("a\n  |bc\nd"), "2:3: quoted symbol is not closed");
  EXPECT_EQ(lexer_error("a \"bc\n"), "1:3: string is not closed");
  EXPECT_EQ(lexer_error("\"a\"\""), "1:1: string is not closed");
  EXPECT_EQ(lexer_error("|a\\b|"), "1:3: illegal character `\\`");
  EXPECT_EQ(lexer_error("ab\0c"sv), "1:3: illegal byte 0x00");
  EXPECT_EQ(lexer_error("|ab\0c|"sv), "1:4: illegal byte 0x00");
  EXPECT_EQ(lexer_error("\"ab\x7f\""), "1:4: illegal byte 0x7f");
  EXPECT_EQ(lexer_error("\n \xc3\xa4"), "2:2: illegal byte 0xc3");
  EXPECT_EQ(lexer_error("a\fb"), "1:2: illegal byte 0x0c");
  EXPECT_EQ(lexer_error("{"), "1:1: illegal character `{`");
  EXPECT_EQ(lexer_error("'"), "1:1: illegal character `'`");
  EXPECT_EQ(lexer_error(" #"), "1:2: `#` without x or b and digits");
  EXPECT_EQ(lexer_error("#y1"), "1:1: `#` without x or b and digits");
  EXPECT_EQ(lexer_error("#x"), "1:1: `#x` without digits");
  EXPECT_EQ(lexer_error("#b 1"), "1:1: `#b` without digits");
  EXPECT_EQ(lexer_error("#b012"), "1:1: `#b012` is neither a literal nor a symbol");
  EXPECT_EQ(lexer_error("#xfg"), "1:1: `#xfg` is neither a literal nor a symbol");
  EXPECT_EQ(lexer_error("12ab"), "1:1: `12ab` is neither a literal nor a symbol");
  EXPECT_EQ(lexer_error("1."), "1:1: `1.` without digits behind the point");
  EXPECT_EQ(lexer_error("1.5.2"), "1:1: `1.5.2` is neither a literal nor a symbol");
  EXPECT_EQ(lexer_error("a : b"), "1:3: `:` without the name of a keyword");
}

TEST(Lexer, Offsets) {
  auto const source = io::Source::text(" ab (\n|c d| ");
  Lexer lexer(*source);
  lexer.next();
  EXPECT_EQ(lexer.offset(), 1u);
  lexer.next();
  EXPECT_EQ(lexer.offset(), 4u);
  lexer.next();
  EXPECT_EQ(lexer.offset(), 6u);
  EXPECT_EQ(lexer.raw(), "|c d|");
  EXPECT_EQ(lexer.next(), Token::end);
  EXPECT_EQ(lexer.offset(), 12u);
  EXPECT_EQ(lexer.next(), Token::end);
}

TEST(Lexer, Captures) {
  auto const source = io::Source::text("x ( f  ;c\n a|b| ( ) \"s\"\n:k #x0 ) y");
  Lexer lexer(*source);
  lexer.next();
  std::string out;
  lexer.capture(&out);
  for (int i = 0; i < 9; ++i) lexer.next();
  EXPECT_EQ(lexer.raw(), "#x0");
  lexer.next();
  lexer.capture(nullptr);
  lexer.next();
  EXPECT_EQ(out, "(f a |b| () \"s\" :k #x0)");
}

TEST(Lexer, DescribesTokens) {
  std::string const text = "|a\nb| " + std::string(100, 'x');
  auto const kept = io::Source::text(text);
  Lexer lexer(*kept);
  lexer.next();
  EXPECT_EQ(lexer.describe(), "`|a b|`");
  lexer.next();
  EXPECT_EQ(lexer.describe(), "`" + std::string(60, 'x') + "...`");
  lexer.next();
  EXPECT_EQ(lexer.describe(), "the end of the file");
}

// Every token cut at every place.
TEST(Lexer, AnyBlockSizeGivesTheSameTokens) {
  std::string const text =
      "(set-info :source |two\nlines|) ; comment\r\n(echo \"a\"\"b\") #b0101 #xAf 12 1.25 :k ||\"\" ; end";
  Tokens const expected = tokens(text);
  for (std::size_t block = 1; block <= text.size(); ++block) {
    auto const source = io::Source::blocks(text, block);
    EXPECT_EQ(tokens(*source), expected) << block;
  }
}

TEST(Lexer, LongTokens) {
  std::string const symbol(1000000, 'a');
  std::string const text = symbol + " |" + symbol + "| \"" + symbol + "\" #x" + symbol;
  for (std::size_t block : {std::size_t{1000}, std::size_t{4096}, text.size()}) {
    auto const source = io::Source::blocks(text, block);
    Tokens const t = tokens(*source);
    ASSERT_EQ(t.size(), 4u);
    EXPECT_EQ(t[0].second, symbol);
    EXPECT_EQ(t[1].second, symbol);
    EXPECT_EQ(t[2].second, "\"" + symbol + "\"");
    EXPECT_EQ(t[3].second, symbol);
  }
}

// A few bytes of a compressed script may stand for gigabytes.
TEST(Lexer, TokensBeyondTheBoundAreRefused) {
  std::string const most(Lexer::max_token, 'a');
  EXPECT_EQ(1u, tokens(most).size());
  std::string const digits(Lexer::max_token, '1');
  for (std::string const& token :
       {most + "a", "|" + most + "|", "\"" + most + "\"", "#b" + digits, digits + "1", ":" + most}) {
    std::string const text = "a\n " + token + " b";
    for (std::size_t block : {std::size_t{1} << 18, text.size()}) {
      auto const source = io::Source::blocks(text, block, "f");
      Lexer lexer(*source);
      lexer.next();
      try {
        lexer.next();
        FAIL();
      } catch (io::Error const& e) {
        std::string const what = e.what();
        EXPECT_EQ(0u, what.find("f:2:2: `")) << what;
        EXPECT_NE(std::string::npos, what.find("is longer than 16 MiB")) << what;
      }
    }
  }
  // Comments and white space are passed over, however long.
  EXPECT_EQ(1u, tokens(";" + most + most + "\n" + std::string(most.size() + 1, ' ') + "b").size());
}

}  // namespace
}  // namespace vell::smtlib

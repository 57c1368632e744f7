// Whole scripts in any cut, and cut short anywhere.

#include <gtest/gtest.h>

#include "tests/smtlib/script.h"

namespace vell::smtlib {
namespace {

// Every syntax element there is.
std::string const script = R"((set-logic QF_BV) ; comment
(set-info :source |
two lines|)
(set-option :produce-models true)
(set-option :x (a "b ""c" 1.5 #xF :k ()))
(declare-fun |a b| () (_ BitVec 8))
(declare-const p Bool)
(define-sort W (X Y) X)
(declare-const w (W (_ BitVec 8) Bool))
(define-fun f ((x (_ BitVec 8)) (q Bool)) (_ BitVec 8) (ite q (bvnot x) |a b|))
(define-const c Bool (= (f w p) (_ bv300 16) (concat #x0f #b00000001)))
(push 1)
(assert (! (let ((x w) (y (bvadd w |a b| #x01))) (bvult ((_ extract 3 0) x) ((as (_ extract 7 4) (_ BitVec 4)) y)))
  :named |n 1| :pattern ((f x) "s")))
(assert (and c (distinct p (as |n 1| Bool)) (=> p p)))
(check-sat-assuming (p (not p)))
(get-value (w (f |a b| true)))
(pop 1)
(echo "done ""now""")
(exit)
)";

// What is wrong with it on purpose: the widths in the definition of c.
std::string good_script() {
  std::string s = script;
  s.replace(s.find("(= (f w p) (_ bv300 16) (concat"), 31, "(= (concat w (f w p)) (_ bv300 16) (concat");
  return s;
}

std::string flat(Script const& s) {
  std::string out;
  for (Command const& c : s.commands) {
    out += std::to_string(static_cast<int>(c.kind)) + "@" + std::to_string(c.position.line) + ":" +
           std::to_string(c.position.column) + " [" + c.text + "][" + c.value + "]" +
           std::to_string(c.number) + c.name;
    for (Term_ const* t : c.terms) out += "\n  " + text_of(s.terms, t);
    for (std::string const& t : c.texts) out += "\n  " + t;
    for (NamedTerm const& t : c.named) out += "\n  " + t.name + " " + text_of(s.terms, t.term);
    out += "\n";
  }
  return out;
}

TEST(Streams, AnyBlockSizeReadsTheSame) {
  std::string const text = good_script();
  std::string const expected = flat(Script(text));
  EXPECT_NE(expected.find("|n 1|"), std::string::npos);
  for (std::size_t block = 1; block <= text.size() + 1; ++block)
    ASSERT_EQ(flat(Script(io::Source::blocks(text, block))), expected) << block;
}

TEST(Streams, AnyBlockSizeGivesTheSameError) {
  std::string const expected = error_of(script);
  EXPECT_EQ(expected,
            "11:22: `=` takes terms of one sort; argument 1 has sort (_ BitVec 8), argument 2 has sort (_ "
            "BitVec 16)");
  for (std::size_t block = 1; block <= script.size(); block += 3)
    ASSERT_EQ(error_of(io::Source::blocks(script, block)), expected) << block;
}

TEST(Streams, LinesEndWithCarriageReturnToo) {
  std::string text;
  for (char c : good_script()) text += c == '\n' ? std::string("\r\n") : std::string(1, c);
  Script const s(text);
  Script const expected(good_script());
  ASSERT_EQ(s.commands.size(), expected.commands.size());
  for (std::size_t i = 0; i < s.commands.size(); ++i) {
    EXPECT_EQ(s.commands[i].position.line, expected.commands[i].position.line);
    EXPECT_EQ(s.commands[i].position.column, expected.commands[i].position.column);
  }
}

// Every prefix is a script or an error, the error where a command is cut.
TEST(Streams, EveryPrefix) {
  std::string const text = good_script();
  std::size_t whole = 0;
  for (std::size_t n = 0; n <= text.size(); ++n) {
    std::string const prefix = text.substr(0, n);
    std::string const e = error_of(prefix);
    EXPECT_EQ(error_of(io::Source::blocks(prefix, 5)), e) << n;
    if (e.empty()) ++whole;
  }
  // One for each command that ends, and one for each byte of white space and comment behind it.
  EXPECT_GT(whole, 19u);
  EXPECT_LT(whole, 60u);
}

// One byte changed, in many ways: an error or a script, never a crash.
TEST(Streams, EveryByteChanged) {
  std::string const text = good_script();
  std::size_t errors = 0;
  std::size_t tried = 0;
  for (std::size_t i = 0; i < text.size(); ++i)
    for (char c : {'(', ')', '|', '"', ';', '0', 'x', ' ', '\0', '\xff', '#', ':', '_', '!'}) {
      std::string changed = text;
      changed[i] = c;
      if (!error_of(changed).empty()) ++errors;
      ++tried;
    }
  EXPECT_GT(errors, tried / 2);
}

// Bytes left out or doubled.
TEST(Streams, EveryByteLeftOutOrDoubled) {
  std::string const text = good_script();
  for (std::size_t i = 0; i < text.size(); ++i) {
    error_of(text.substr(0, i) + text.substr(i + 1));
    error_of(text.substr(0, i) + text[i] + text.substr(i));
  }
}

// ---- nesting ----

std::string repeated(std::string const& s, std::size_t n) {
  std::string out;
  out.reserve(s.size() * n);
  for (std::size_t i = 0; i < n; ++i) out += s;
  return out;
}

// Deeper than any stack of frames could go: with 8 MiB, 200000 levels leave 42 bytes each.
TEST(Nesting, NothingRecurses) {
  constexpr std::size_t n = 200000;
  std::string const a = "(declare-const a (_ BitVec 4))(declare-const p Bool)";
  auto reads = [](std::string const& text) { return error_of(text); };
  EXPECT_EQ(reads(a + "(assert " + repeated("(not ", n) + "p" + repeated(")", n) + ")"), "");
  EXPECT_EQ(reads(a + "(assert (= a " + repeated("(bvadd a ", n) + "a" + repeated(")", n) + "))"), "");
  EXPECT_EQ(reads(a + "(assert (= a " + repeated("(bvadd ", n) + "a" + repeated(" a)", n) + "))"), "");
  EXPECT_EQ(reads(a + "(assert " + repeated("(let ((p (not p))) ", n) + "p" + repeated(")", n) + ")"), "");
  EXPECT_EQ(reads(a + "(assert " + repeated("(let ((p ", n) + "p" + repeated(")) (not p))", n) + ")"), "");
  EXPECT_EQ(reads(a + "(assert " + repeated("(! ", n) + "p" + repeated(" :k v)", n) + ")"), "");
  EXPECT_EQ(reads(a + "(assert (= a " + repeated("((_ rotate_left 1) ", n) + "a" + repeated(")", n) + "))"),
            "");
  EXPECT_EQ(reads(a + "(assert " + repeated("((as not Bool) ", n) + "p" + repeated(")", n) + ")"), "");
  EXPECT_EQ(reads(a + "(define-fun f ((x Bool)) Bool (not x))(assert " + repeated("(f ", n) + "p" +
                  repeated(")", n) + ")"),
            "");
  EXPECT_EQ(reads(a + "(define-fun f ((x Bool)) Bool " + repeated("(not ", n) + "x" + repeated(")", n) +
                  ")(assert (f (f p)))"),
            "");
  EXPECT_EQ(
      reads("(define-sort S (X) X)(declare-const x " + repeated("(S ", n) + "Bool" + repeated(")", n) + ")"),
      "");
  EXPECT_EQ(reads("(set-info :k " + repeated("(", n) + repeated(")", n) + ")"), "");
  EXPECT_EQ(reads(a + "(assert (! p :k " + repeated("(", n) + repeated(")", n) + "))"), "");
  EXPECT_EQ(reads(a + "(get-value (" + repeated("(not ", n) + "p" + repeated(")", n) + "))"), "");
  // Cut off inside.
  EXPECT_EQ(reads(a + "\n(assert " + repeated("(not ", n)), "2:1: the file ends inside this `assert`");
  EXPECT_EQ(reads(a + "\n(assert " + repeated("(", n)), "2:11: expected `_` or `as`, found `(`");
}

TEST(Nesting, ManyArguments) {
  constexpr std::size_t n = 200000;
  Script s("(declare-const a (_ BitVec 4))(assert (= a (bvadd" + repeated(" a", n) + ")))");
  EXPECT_EQ(s.terms.term_count(), n + 1);
}

TEST(Nesting, ManyBindings) {
  std::string text = "(declare-const a (_ BitVec 4))(assert (let (";
  for (int i = 0; i < 100000; ++i) text += "(x" + std::to_string(i) + " a)";
  EXPECT_EQ(error_of(text + ") (= x0 x99999)))"), "");
  EXPECT_EQ(error_of(text + "\n(x5 (bvnot a))) true))"), "2:2: `x5` is bound to two terms in one let");
}

TEST(Streams, AByteOrderMarkAtTheStartIsPassedOver) {
  std::string const text = "\xef\xbb\xbf ; comment\n(check-sat)";
  EXPECT_EQ(error_of(text), "");
  for (std::size_t block : {1, 2, 3, 4, 100}) EXPECT_EQ(error_of(io::Source::blocks(text, block)), "");
  EXPECT_EQ(error_of("\xef\xbb\xbf(assert q)"), "1:12: unknown symbol `q`");
  EXPECT_EQ(error_of("(check-sat)\xef\xbb\xbf"), "1:12: illegal byte 0xef");
  EXPECT_EQ(error_of("\xef\xbb"), "1:1: illegal byte 0xef");
}

TEST(Streams, AnErrorShowsItsLine) {
  auto excerpt = [](std::unique_ptr<io::Source> source) -> std::string {
    try {
      Script s(std::move(source));
    } catch (io::Error const& e) {
      return e.excerpt();
    }
    return "no error";
  };
  std::string const text = "(declare-const p Bool)\n(assert\t(and p q)) ; why\r\n(check-sat)";
  std::string const shown = "(assert (and p q)) ; why\n               ^\n";
  EXPECT_EQ(excerpt(io::Source::text(text)), shown);
  EXPECT_EQ(excerpt(io::Source::blocks(text, 1000)), shown);
  // Characters of more than one byte take one column.
  EXPECT_EQ(excerpt(io::Source::text("(assert |\xc3\xa4\xe2\x82\xac|)")),
            "(assert |\xc3\xa4\xe2\x82\xac|)\n        ^\n");
  EXPECT_EQ(excerpt(io::Source::text("(echo \"\xc3\xa4\")(foo)")),
            "(echo \"\xc3\xa4\")(foo)\n           ^\n");
  std::string const cut =
      excerpt(io::Source::text("(assert (and " + std::string(200, ' ') + "q" + std::string(200, ' ') + "))"));
  EXPECT_EQ(cut.find('q'), cut.find('^') - cut.find('\n') - 1);
  EXPECT_LT(cut.size(), 160u);
}

}  // namespace
}  // namespace vell::smtlib

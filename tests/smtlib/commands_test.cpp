// What each command hands to the engine, and the scopes of symbols.

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/smtlib/script.h"
#include "vell/io/decompress.h"

namespace vell::smtlib {
namespace {

using Texts = std::vector<std::string>;

Command only(std::string_view text) {
  Script s(text);
  EXPECT_EQ(s.commands.size(), 1u);
  return s.commands.at(0);
}

TEST(Commands, WithoutArguments) {
  std::pair<char const*, CommandKind> const commands[] = {
      {"check-sat", CommandKind::check_sat},
      {"reset", CommandKind::reset},
      {"reset-assertions", CommandKind::reset_assertions},
      {"get-model", CommandKind::get_model},
      {"get-assignment", CommandKind::get_assignment},
      {"get-unsat-core", CommandKind::get_unsat_core},
      {"get-unsat-assumptions", CommandKind::get_unsat_assumptions},
      {"get-assertions", CommandKind::get_assertions},
      {"get-proof", CommandKind::get_proof},
      {"exit", CommandKind::exit}};
  for (auto const& [name, kind] : commands) {
    std::string const open = "(" + std::string(name);
    EXPECT_EQ(only(open + ")").kind, kind);
    EXPECT_EQ(only("\n ( " + std::string(name) + " ;c\n )").position.line, 2u);
    EXPECT_EQ(error_of(open + " 1)"), "1:" + std::to_string(open.size() + 2) +
                                          ": expected `)` at the end of `" + name + "`, found `1`");
    EXPECT_EQ(error_of(open), "1:1: the file ends inside this `" + std::string(name) + "`");
  }
}

TEST(Commands, Positions) {
  Script s("(set-logic QF_BV)\r\n  (push)(pop)\n\n(check-sat)");
  ASSERT_EQ(s.commands.size(), 4u);
  EXPECT_EQ(s.commands[0].position.line, 1u);
  EXPECT_EQ(s.commands[1].position.line, 2u);
  EXPECT_EQ(s.commands[1].position.column, 3u);
  EXPECT_EQ(s.commands[2].position.column, 9u);
  EXPECT_EQ(s.commands[3].position.line, 4u);
  EXPECT_EQ(s.commands[3].position.column, 1u);
}

// All commands on one line: the position of each costs the bytes since the one before, not since the line's
// start.
TEST(Commands, PositionsOnOneLongLine) {
  constexpr std::size_t n = 200000;
  std::string text;
  for (std::size_t i = 0; i < n; ++i) text += "(check-sat)";
  for (bool const stream : {false, true}) {
    TermManager terms;
    Reader reader(terms, stream ? io::Source::blocks(text, 1 << 16) : io::Source::text(text));
    Command c;
    std::size_t i = 0;
    for (; reader.next(c); ++i) {
      ASSERT_EQ(c.position.line, 1u);
      ASSERT_EQ(c.position.column, i * 11 + 1);
      ASSERT_EQ(reader.bytes_read(), (i + 1) * 11);
    }
    EXPECT_EQ(i, n);
    EXPECT_EQ(reader.bytes_total(), stream ? 0 : text.size());
  }
}

TEST(Commands, SetLogic) {
  EXPECT_EQ(only("(set-logic QF_BV)").text, "QF_BV");
  EXPECT_EQ(only("(set-logic |QF_BV|)").text, "QF_BV");
  EXPECT_EQ(error_of("(set-logic)"), "1:11: expected the name of a logic, found `)`");
  EXPECT_EQ(error_of("(set-logic QF_BV)(set-logic QF_BV)"), "1:29: the logic is already set");
  EXPECT_EQ(error_of("(set-logic QF_BV)(reset)(set-logic QF_BV)"), "");
}

TEST(Commands, Attributes) {
  auto value = [](std::string const& v) {
    Command const a = only("(set-info :k " + v + ")");
    Command const b = only("(set-option :k " + v + ")");
    EXPECT_EQ(a.kind, CommandKind::set_info);
    EXPECT_EQ(b.kind, CommandKind::set_option);
    EXPECT_EQ(a.text, ":k");
    EXPECT_EQ(b.text, ":k");
    EXPECT_EQ(a.value, b.value);
    return a.value;
  };
  EXPECT_EQ(value("true"), "true");
  EXPECT_EQ(value("|a\n b|"), "|a\n b|");
  EXPECT_EQ(value("\"a\"\"  b\""), "\"a\"\"  b\"");
  EXPECT_EQ(value("2.6"), "2.6");
  EXPECT_EQ(value("17"), "17");
  EXPECT_EQ(value("#xF"), "#xF");
  EXPECT_EQ(value("( a  (:k let) \"s\" () ; c\n 1 )"), "(a (:k let) \"s\" () 1)");
  EXPECT_EQ(value(""), "");
  EXPECT_EQ(error_of("(set-info k v)"), "1:11: expected a keyword, found `k`");
  EXPECT_EQ(error_of("(set-info)"), "1:10: expected a keyword, found `)`");
  EXPECT_EQ(error_of("(set-info :k 1 2)"), "1:16: expected `)` at the end of `set-info`, found `2`");
  EXPECT_EQ(error_of("(set-info :k :l)"), "1:14: expected `)` at the end of `set-info`, found `:l`");
  EXPECT_EQ(error_of("(set-info :k let)"),
            "1:14: expected an attribute's value, found the reserved word `let`");
  EXPECT_EQ(error_of("(set-info :k (a (b)"), "1:1: the file ends inside this `set-info`");
  EXPECT_EQ(error_of("(set-option :global-declarations 1)"),
            "1:34: :global-declarations takes true or false, not 1");
}

TEST(Commands, KeywordsAndStrings) {
  EXPECT_EQ(only("(get-info :name)").text, ":name");
  EXPECT_EQ(only("(get-option :seed)").text, ":seed");
  EXPECT_EQ(only("(get-option :seed)").kind, CommandKind::get_option);
  EXPECT_EQ(only("(echo \"a \"\" b\")").text, "\"a \"\" b\"");
  EXPECT_EQ(error_of("(echo a)"), "1:7: expected a string, found `a`");
  EXPECT_EQ(error_of("(get-info name)"), "1:11: expected a keyword, found `name`");
}

TEST(Commands, Declarations) {
  for (char const* text :
       {"(declare-const x Bool)", "(declare-fun x () Bool)", "(declare-fun |x| () Bool)"}) {
    TermManager tm;
    Reader reader(tm, io::Source::text(text));
    Command c;
    ASSERT_TRUE(reader.next(c));
    EXPECT_EQ(c.kind, CommandKind::declare);
    EXPECT_EQ(c.text, "x");
    ASSERT_EQ(c.terms.size(), 1u);
    EXPECT_EQ(std::string(c.terms[0]->symbol->name), "x");
    EXPECT_EQ(c.terms[0]->symbol->get_output_type(), tm.bool_type);
    EXPECT_TRUE(tm.is_uninterpreted_function(c.terms[0]->symbol));
    EXPECT_FALSE(reader.next(c));
  }
  EXPECT_EQ(only("(declare-const |a b| Bool)").text, "a b");
}

TEST(Commands, Definitions) {
  Script s(
      "(declare-const a (_ BitVec 4))(define-fun f () (_ BitVec 4) (bvnot a))(define-const |g h| Bool (= f "
      "a))"
      "(define-fun m ((x (_ BitVec 4)) (y Bool)) Bool (and y (= x a)))(assert (m f |g h|))");
  EXPECT_EQ(s.commands[1].kind, CommandKind::define);
  EXPECT_EQ(s.commands[1].text, "f");
  EXPECT_EQ(text_of(s.terms, s.commands[1].terms.at(0)), "(bvnot a)");
  EXPECT_EQ(s.commands[2].kind, CommandKind::define);
  EXPECT_EQ(s.commands[2].text, "g h");
  EXPECT_EQ(s.commands[3].kind, CommandKind::define);
  EXPECT_EQ(s.commands[3].text, "m");
  EXPECT_TRUE(s.commands[3].terms.empty());
  EXPECT_EQ(text_of(s.terms, s.asserted()), "(and (= (bvnot a) a) (= (bvnot a) a))");
}

TEST(Commands, TermLists) {
  Script s(
      "(declare-const a (_ BitVec 4))(declare-const p Bool)"
      "(get-value ( ( bvadd  a ;x\n #x1 ) |a| ((_ extract 1 0)a) (let ((b a)) b)))"
      "(check-sat-assuming (p (not p) (= a #x0)))(check-sat-assuming ( ))");
  EXPECT_EQ(s.commands[2].kind, CommandKind::get_value);
  EXPECT_EQ(s.commands[2].texts, (Texts{"(bvadd a #x1)", "|a|", "((_ extract 1 0) a)", "(let ((b a)) b)"}));
  EXPECT_EQ(s.commands[2].terms.size(), 4u);
  EXPECT_EQ(s.commands[2].terms[1], s.declared.at("a"));
  EXPECT_EQ(s.commands[2].terms[3], s.declared.at("a"));
  EXPECT_EQ(s.commands[3].kind, CommandKind::check_sat_assuming);
  EXPECT_EQ(s.commands[3].texts, (Texts{"p", "(not p)", "(= a #x0)"}));
  EXPECT_TRUE(s.commands[4].terms.empty());
  EXPECT_TRUE(s.commands[4].texts.empty());
  std::string const p = "(declare-const p Bool)(declare-const a (_ BitVec 4))";
  EXPECT_EQ(error_of(p + "(get-value ())"), "1:65: expected a term, found `)`");
  EXPECT_EQ(error_of(p + "(get-value p)"), "1:64: expected a list of terms, found `p`");
  EXPECT_EQ(error_of(p + "(check-sat-assuming (p a))"),
            "1:76: the assumption has sort (_ BitVec 4), not Bool");
  EXPECT_EQ(error_of(p + "(get-value (p)) (get-value (p) p)"),
            "1:84: expected `)` at the end of `get-value`, found `p`");
}

TEST(Commands, Levels) {
  EXPECT_EQ(only("(push 3)").number, 3u);
  EXPECT_EQ(only("(push)").number, 1u);
  EXPECT_EQ(only("(push 0)").number, 0u);
  Script s("(push 3)(pop 2)(pop)");
  EXPECT_EQ(s.commands[1].number, 2u);
  EXPECT_EQ(s.commands[2].number, 1u);
  EXPECT_EQ(error_of("(push 2)(pop 3)"), "1:14: pop takes away 3 levels and there are 2");
  EXPECT_EQ(error_of("(push)(reset-assertions)(pop)"), "1:29: pop takes away 1 level and there are 0");
  EXPECT_EQ(error_of("(push)(reset)(pop)"), "1:18: pop takes away 1 level and there are 0");
  EXPECT_EQ(error_of("(push -1)"), "1:7: expected a numeral, found `-1`");
  EXPECT_EQ(error_of("(push 1.0)"), "1:7: expected a numeral, found `1.0`");
  EXPECT_EQ(error_of("(push 18446744073709551616)"), "1:7: numeral `18446744073709551616` is too large");
  EXPECT_EQ(error_of("(push 1000000000000)"), "1:7: more than 10000000 levels");
  EXPECT_EQ(error_of("(push 1 2)"), "1:9: expected `)` at the end of `push`, found `2`");
}

TEST(Commands, NamedTerms) {
  Script s(
      "(declare-const p Bool)(assert (! (and (! p :named a) p) :pattern (x (y)) :named |b c| :foo))(assert "
      "(! p :foo 1))"
      "(check-sat-assuming ((! (not a) :named d)))(assert (and |b c| d))");
  Command const& first = s.commands[1];
  EXPECT_EQ(first.name, "|b c|");
  ASSERT_EQ(first.named.size(), 2u);
  EXPECT_EQ(first.named[0].name, "a");
  EXPECT_EQ(first.named[0].term, s.declared.at("p"));
  EXPECT_EQ(first.named[1].name, "|b c|");
  EXPECT_EQ(first.named[1].term, first.terms[0]);
  EXPECT_EQ(s.commands[2].name, "");
  EXPECT_TRUE(s.commands[2].named.empty());
  EXPECT_EQ(s.commands[3].named.size(), 1u);
  EXPECT_EQ(text_of(s.terms, s.asserted()), "(and (and p p) (not p))");
}

// Inside the term the name can be used as soon as the annotation is closed.
TEST(Commands, NameIsUsableAtOnce) {
  Script s("(declare-const p Bool)(assert (and (! (not p) :named n) n))");
  EXPECT_EQ(text_of(s.terms, s.asserted()), "(and (not p) (not p))");
  EXPECT_EQ(s.commands[1].name, "");
}

TEST(Commands, ExitEndsTheScript) {
  Script s("(check-sat)(exit) this is not read (");
  EXPECT_EQ(s.commands.size(), 2u);
}

TEST(Commands, QuestionsOutsideTheStandard) {
  for (std::string const name : {"simplify", "eval", "display"}) {
    Command const c = only("(" + name + " (and true false))");
    EXPECT_EQ(c.kind, CommandKind::unsupported);
    EXPECT_EQ(c.terms.size(), 1u);
    EXPECT_EQ(only("(" + name + " true :som :depth 3 :x (a b))").kind, CommandKind::unsupported);
    EXPECT_EQ(error_of("(" + name + " y)"), "1:" + std::to_string(name.size() + 3) + ": unknown symbol `y`");
    EXPECT_EQ(error_of("(" + name + ")"),
              "1:" + std::to_string(name.size() + 2) + ": expected a term, found `)`");
    EXPECT_EQ(error_of("(" + name + " true false)"), "1:" + std::to_string(name.size() + 8) +
                                                         ": expected `)` at the end of `" + name +
                                                         "`, found `false`");
  }
}

TEST(Commands, Unknown) {
  EXPECT_EQ(error_of("(foo)"), "1:2: unknown command `foo`");
  EXPECT_EQ(error_of("()"), "1:2: expected the name of a command, found `)`");
  EXPECT_EQ(error_of("((assert))"), "1:2: expected the name of a command, found `(`");
  EXPECT_EQ(error_of("(let)"), "1:2: expected the name of a command, found the reserved word `let`");
  EXPECT_EQ(error_of("(check-sat))"), "1:12: unexpected `)`");
  EXPECT_EQ(error_of("(check-sat) x"), "1:13: expected a command in parentheses, found `x`");
  EXPECT_EQ(error_of("("), "1:1: the file ends inside the command that begins here");
  for (char const* text : {"", " \n; only a comment\n"})
    EXPECT_EQ(error_of(text), "1:1: the script holds no command");
}

TEST(Commands, MisspeltWords) {
  EXPECT_EQ(error_of("(asert true)"), "1:2: unknown command `asert`; did you mean `assert`?");
  EXPECT_EQ(error_of("(chek-sat)"), "1:2: unknown command `chek-sat`; did you mean `check-sat`?");
  EXPECT_EQ(error_of("(declare-const x Boool)"), "1:18: unknown sort `Boool`; did you mean `Bool`?");
  std::string const words = "(declare-const counter (_ BitVec 8))(declare-const total (_ BitVec 8))\n";
  EXPECT_EQ(error_of(words + "(assert (= coutner total))"),
            "2:12: unknown symbol `coutner`; did you mean `counter`?");
  EXPECT_EQ(error_of(words + "(assert (= (bvad counter total) total))"),
            "2:13: unknown symbol `bvad`; did you mean `bvand` or `bvadd`?");
  EXPECT_EQ(error_of("(push)" + words + "(pop)\n(assert (= coutner #x00))"),
            "3:12: unknown symbol `coutner`");
}

TEST(Commands, AMissingParenthesisIsSoughtInTheCommandThatIsOpen) {
  std::string const p = "(declare-const p Bool)\n";
  EXPECT_EQ(error_of(p + "(assert (not p)\n\n(check-sat)"),
            "4:1: expected `)` at the end of `assert`, found `(`; a `)` may be missing in the `assert` that "
            "began on line 2");
  EXPECT_EQ(error_of(p + "(assert (and p\n(check-sat)"),
            "3:2: unknown symbol `check-sat`; a `)` may be missing before this command in the `assert` that "
            "began on line 2");
  EXPECT_EQ(error_of(p + "(declare-fun q () Bool\n(assert p)"),
            "3:1: expected `)` at the end of `declare-fun`, found `(`; a `)` may be missing in the "
            "`declare-fun` that "
            "began on line 2");
}

TEST(Commands, AMissingListOfArgumentSorts) {
  EXPECT_EQ(error_of("(declare-fun x (_ BitVec 8))"),
            "1:16: expected the list of argument sorts, found a sort; `()` is missing before it");
  EXPECT_EQ(error_of("(declare-fun x Bool)"),
            "1:16: expected the list of argument sorts, found `Bool`; `()` is missing before the sort");
}

TEST(Commands, NamesOfTheSolverAreReserved) {
  std::string const why = "` is reserved for solver use: it begins with `";
  EXPECT_EQ(error_of("(declare-const .x Bool)"), "1:16: symbol `.x" + why + ".`");
  EXPECT_EQ(error_of("(declare-fun |@x| () Bool)"), "1:14: symbol `@x" + why + "@`");
  EXPECT_EQ(error_of("(define-fun .f ((p Bool)) Bool p)"), "1:13: symbol `.f" + why + ".`");
  EXPECT_EQ(error_of("(define-const @c Bool true)"), "1:15: symbol `@c" + why + "@`");
  EXPECT_EQ(error_of("(define-sort .S () Bool)"), "1:14: symbol `.S" + why + ".`");
  EXPECT_EQ(error_of("(assert (! true :named @n))"), "1:24: symbol `@n" + why + "@`");
  EXPECT_EQ(error_of("(declare-const x.@ Bool)"), "");
}

// Hands out one line of 120 bytes at a time, as a terminal does.
class Lines : public io::ByteStream {
 public:
  explicit Lines(std::string_view text) : text_(text) {}
  std::size_t read(char* out, std::size_t n) override {
    std::size_t const got = std::min({n, std::size_t{120}, text_.size()});
    text_.copy(out, got);
    text_.remove_prefix(got);
    return got;
  }

 private:
  std::string_view text_;
};

// A dialogue goes on after an error: nothing of the broken command is left.
TEST(Commands, RecoveryForgetsTheBrokenCommand) {
  std::string const lines[] = {"(declare-const p Bool)",
                               "(assert (and p (let ((l p)) (! (bvnot #b1) :named n)) q))",
                               "(push 1) (push 1 2)",
                               "(assert (! p :named n))",
                               "(pop 1)",
                               "(set-option :global-declarations true ?",
                               "(declare-const r Bool x)",
                               "(define-fun f ((a Bool)) Bool (and a z))",
                               "(push 1)(declare-const r Bool)(pop 1)",
                               "(assert ((_ extract 1 0) ((as q Bool) l)))",
                               "(assert r)"};
  std::string text;
  for (std::string const& l : lines) text += l + std::string(120 - l.size() - 1, ' ') + "\n";
  TermManager terms;
  Reader reader(terms, io::Source::stream(std::make_unique<Lines>(text), "<terminal>"));
  Command c;
  std::string log;
  for (bool more = true; more;) {
    try {
      more = reader.next(c);
    } catch (io::Error const& e) {
      log += std::to_string(e.position().line) + ":" + std::to_string(e.position().column) + ": " +
             e.message() + "\n";
      reader.recover();
    }
  }
  EXPECT_EQ(log,
            "2:55: unknown symbol `q`\n"
            "3:18: expected `)` at the end of `push`, found `2`\n"
            "6:39: expected `)` at the end of `set-option`, found `?`\n"
            "7:23: expected `)` at the end of `declare-const`, found `x`\n"
            "8:38: unknown symbol `z`\n"
            "10:31: unknown symbol `q`\n"
            "11:9: unknown symbol `r`\n");
}

TEST(Commands, NamesForCompletion) {
  TermManager terms;
  Reader reader(terms, io::Source::text(
                           "(declare-const total Bool)(push)(declare-const |to do| Bool)(pop)(check-sat)"));
  Command c;
  auto has = [&](char const* prefix, char const* name) {
    std::vector<std::string> const all = reader.names(prefix);
    return std::find(all.begin(), all.end(), name) != all.end();
  };
  EXPECT_TRUE(has("check", "check-sat-assuming"));
  EXPECT_TRUE(has("bv", "bvadd"));
  EXPECT_FALSE(has("to", "total"));
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(reader.next(c));
  EXPECT_TRUE(has("to", "total"));
  EXPECT_TRUE(has("to", "|to do|"));
  ASSERT_TRUE(reader.next(c));
  EXPECT_FALSE(has("to", "|to do|"));
  EXPECT_FALSE(has("declare", "declare-sort"));
}

TEST(Commands, RefusedByName) {
  EXPECT_EQ(error_of("(declare-fun f (Bool) Bool)"), "1:17: functions with arguments are not supported");
  EXPECT_EQ(error_of("(declare-fun f ((_ BitVec 3) Bool) Bool)"),
            "1:17: functions with arguments are not supported");
  EXPECT_EQ(error_of("(declare-sort S 0)"), "1:1: declare-sort: uninterpreted sorts are not supported");
  EXPECT_EQ(error_of("(declare-datatypes ())"), "1:1: declare-datatypes: datatypes are not supported");
  EXPECT_EQ(error_of("(declare-datatype D ())"), "1:1: declare-datatype: datatypes are not supported");
  EXPECT_EQ(error_of("(define-fun-rec f () Bool f)"),
            "1:1: define-fun-rec: recursive functions are not supported");
  EXPECT_EQ(error_of("(define-funs-rec () ())"),
            "1:1: define-funs-rec: recursive functions are not supported");
}

// ---- scopes ----

TEST(Scopes, DeclarationsEndWithTheirScope) {
  EXPECT_EQ(error_of("(push)(declare-const x Bool)(pop)(assert x)"), "1:42: unknown symbol `x`");
  EXPECT_EQ(error_of("(push)(define-fun x () Bool true)(pop)(assert x)"), "1:47: unknown symbol `x`");
  EXPECT_EQ(error_of("(push)(define-fun x ((p Bool)) Bool p)(pop)(assert (x true))"),
            "1:53: unknown symbol `x`");
  EXPECT_EQ(error_of("(push)(assert (! true :named x))(pop)(assert x)"), "1:46: unknown symbol `x`");
  EXPECT_EQ(error_of("(push)(define-sort S () Bool)(pop)(declare-const x S)"), "1:52: unknown sort `S`");
  EXPECT_EQ(error_of("(push 2)(declare-const x Bool)(pop)(assert x)"), "1:44: unknown symbol `x`");
  EXPECT_EQ(error_of("(declare-const x Bool)(push 2)(pop 2)(assert x)"), "");
  EXPECT_EQ(error_of("(push)(declare-const x Bool)(push)(declare-const y Bool)(pop)(assert x)"), "");
}

TEST(Scopes, ANameMayBeUsedAgainAfterItsScope) {
  Script s("(push)(declare-const x Bool)(pop)(declare-const x (_ BitVec 3))(push)(pop)(assert (= x #b000))");
  EXPECT_EQ(text_of(s.terms, s.asserted()), "(= x #b000)");
}

TEST(Scopes, NoRedeclaration) {
  std::string const x = "(declare-const x Bool)";
  EXPECT_EQ(error_of(x + x), "1:38: symbol `x` is already declared");
  EXPECT_EQ(error_of(x + "(push)" + x), "1:44: symbol `x` is already declared");
  EXPECT_EQ(error_of(x + "(define-fun |x| () Bool true)"), "1:35: symbol `x` is already declared");
  EXPECT_EQ(error_of(x + "(declare-fun x () Bool)"), "1:36: symbol `x` is already declared");
  EXPECT_EQ(error_of(x + "(define-const x Bool true)"), "1:37: symbol `x` is already declared");
  EXPECT_EQ(error_of(x + "(assert (! x :named x))"), "1:43: symbol `x` is already declared");
  EXPECT_EQ(error_of("(define-fun f () Bool (! true :named f))"), "1:13: symbol `f` is already declared");
  EXPECT_EQ(error_of("(define-sort S () Bool)(define-sort S () Bool)"), "1:37: sort `S` is already declared");
  EXPECT_EQ(error_of("(define-sort x () Bool)" + x), "");  // sorts and functions have names of their own
}

TEST(Scopes, TheoryNamesAreTaken) {
  EXPECT_EQ(error_of("(declare-const bvadd Bool)"), "1:16: symbol `bvadd` belongs to the theory");
  EXPECT_EQ(error_of("(declare-const |true| Bool)"), "1:16: symbol `true` belongs to the theory");
  EXPECT_EQ(error_of("(define-fun = () Bool true)"), "1:13: symbol `=` belongs to the theory");
  EXPECT_EQ(error_of("(assert (! true :named and))"), "1:24: symbol `and` is already declared");
  EXPECT_EQ(error_of("(define-sort Bool () (_ BitVec 1))"), "1:14: sort `Bool` belongs to the theory");
  EXPECT_EQ(error_of("(define-sort BitVec () Bool)"), "1:14: sort `BitVec` belongs to the theory");
  EXPECT_EQ(error_of("(declare-const select Bool)(assert select)"), "");
  EXPECT_EQ(error_of("(declare-const assert Bool)(assert assert)"), "");
}

TEST(Scopes, GlobalDeclarations) {
  std::string const global = "(set-option :global-declarations true)";
  EXPECT_EQ(error_of(global + "(push)(declare-const x Bool)(pop)(assert x)"), "");
  EXPECT_EQ(error_of(global + "(push)(define-sort S () Bool)(pop)(declare-const x S)"), "");
  EXPECT_EQ(error_of(global + "(push)(declare-const x Bool)(pop)(declare-const x Bool)"),
            "1:87: symbol `x` is already declared");
  EXPECT_EQ(error_of(global + "(declare-const x Bool)(reset-assertions)(assert x)"), "");
  EXPECT_EQ(error_of(global + "(declare-const x Bool)(reset)(assert x)"), "1:76: unknown symbol `x`");
  // The option itself goes with reset.
  EXPECT_EQ(error_of(global + "(reset)(push)(declare-const x Bool)(pop)(assert x)"),
            "1:87: unknown symbol `x`");
}

TEST(Scopes, Resets) {
  EXPECT_EQ(error_of("(declare-const x Bool)(reset-assertions)(assert x)"), "1:49: unknown symbol `x`");
  EXPECT_EQ(error_of("(declare-const x Bool)(reset)(assert x)"), "1:38: unknown symbol `x`");
  EXPECT_EQ(error_of("(declare-const x Bool)(reset)(declare-const x Bool)(assert x)"), "");
  EXPECT_EQ(error_of("(set-logic QF_BV)(reset-assertions)(set-logic QF_BV)"),
            "1:47: the logic is already set");
}

TEST(QuoteSymbol, Quotes) {
  EXPECT_EQ(quote_symbol("abc"), "abc");
  EXPECT_EQ(quote_symbol("~!@$%^&*_-+=<>.?/a0"), "~!@$%^&*_-+=<>.?/a0");
  for (char const* s : {"", "0a", "a b", "a|", "let", "!", "_", "as", "forall", "exists", "match", "par",
                        "BINARY", "a;", "#x0", ":k", "\xc3\xa4"})
    EXPECT_EQ(quote_symbol(s), "|" + std::string(s) + "|");
}

}  // namespace
}  // namespace vell::smtlib

// The examples of docs/replay.md, and what becomes of scripts that are not well formed.
//
// A script may come from anyone, and the clausifier trusts its caller: whatever a script says, the answer is
// a line of output or one line with file, line and column. Run under the sanitizers too.

#include "vell/replay/replay.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/markdown.h"

namespace vell::test {
namespace {

struct Outcome {
  std::string output;
  std::string error;  // with a newline; empty for none
};

Outcome replay(std::string const& script, std::string const& file = "example") {
  std::istringstream in(script);
  std::ostringstream out;
  Outcome outcome;
  try {
    replay::Replay(file, out).run(in);
  } catch (io::Error const& e) {
    outcome.error = std::string(e.what()) + "\n";
  }
  outcome.output = out.str();
  return outcome;
}

std::string output_of(std::string const& script) {
  Outcome const outcome = replay(script);
  EXPECT_EQ(outcome.error, "") << script;
  return outcome.output;
}

std::string error_of(std::string const& script) { return replay(script).error; }

// ---- documentation ----

TEST(ReplayPage, ExamplesPrintWhatThePageShows) {
  MarkdownFile const page = read_markdown(std::string(VELL_SOURCE_DIR) + "/docs/replay.md");
  int examples = 0;
  std::vector<MarkdownFence> const& fences = page.fences;
  for (std::size_t i = 0; i < fences.size();) {
    ASSERT_EQ(fences[i].info, "replay") << "docs/replay.md:" << fences[i].line;
    MarkdownFence const& script = fences[i++];
    Outcome expected;
    if (i < fences.size() && fences[i].info == "output") expected.output = fences[i++].text;
    if (i < fences.size() && fences[i].info == "error") expected.error = fences[i++].text;
    Outcome const actual = replay(script.text);
    EXPECT_EQ(actual.output, expected.output) << "docs/replay.md:" << script.line;
    EXPECT_EQ(actual.error, expected.error) << "docs/replay.md:" << script.line;
    ++examples;
  }
  EXPECT_GE(examples, 8);
}

// Every name in a table of the page is one that the runner knows.
TEST(ReplayPage, CommandsOfTheTablesExist) {
  MarkdownFile const page = read_markdown(std::string(VELL_SOURCE_DIR) + "/docs/replay.md");
  int commands = 0;
  for (MarkdownTable const& table : page.tables) {
    if (table.header[0] != "Command") continue;
    for (MarkdownTable::Row const& row : table.rows) {
      std::istringstream forms(row.cells[0]);
      for (std::string form; std::getline(forms, form, ',');) {
        std::istringstream words(form);
        std::string command;
        std::string circuit;
        words >> command >> circuit;
        std::string const line = command == "circuit" ? command + " " + circuit + " [" : command;
        EXPECT_EQ(error_of(line).find("unknown"), std::string::npos) << line;
        ++commands;
      }
    }
  }
  EXPECT_GE(commands, 50);
}

// ---- scripts that are well formed ----

TEST(Replay, EmptyScripts) {
  EXPECT_EQ(output_of(""), "");
  EXPECT_EQ(output_of("\n"), "");
  EXPECT_EQ(output_of("  \t \n# a comment\n   # another\n"), "");
}

TEST(Replay, LastLineNeedsNoEnd) { EXPECT_EQ(output_of("echo a  b\tc"), "echo a b c\n"); }

TEST(Replay, LinesMayEndInCrLf) {
  EXPECT_EQ(output_of("var x bv 1\r\n\r\nblast x\r\necho a \r\n# c\r\n"), "new 2\nblast x = 2\necho a\n");
}

TEST(Replay, RoundingModesAreAnyInteger) {
  EXPECT_EQ(output_of("circuit fp_rounding 1\ncircuit fp_rounding 3"), "result 1 -1\nresult 1 1\n");
  for (char const* const mode : {"4", "7", "-1", "-4", "4294967295", "4294967296", "4294967299",
                                 "-4294967296", "18446744073709551616", "-99999999999999999999999999"})
    EXPECT_EQ(output_of(std::string("circuit fp_rounding ") + mode), "result 0 0\n") << mode;
}

TEST(Replay, NullConfiguration) {
  // Under div_semantics 1 this would draw literals.
  EXPECT_EQ(output_of("# first\n\nconfig null\ncircuit word_div_complete_semantics [ 2 ] [ 3 ]\n"),
            "result 3\n");
  EXPECT_EQ(output_of("config div 1\ncircuit word_div_complete_semantics [ -1 ] [ 3 ]\n"),
            "new 2\nresult 2\n");
  EXPECT_EQ(error_of("echo a\nconfig null\n"), "example:2:8: `config null` must be the first command\n");
  EXPECT_EQ(error_of("config null null\n"), "example:1:13: `null` is one token too many\n");
}

// No circuit leaves a line open today, but a logger's text may end anywhere: it waits for its newline.
TEST(Replay, TextOfTheTraceWaitsForItsNewline) {
  std::ostringstream out;
  replay::TraceLines lines(out);
  std::ostream stream(&lines);
  Logger logger(stream, 4);
  logger("BV") << loglevel(4) << "1; ";
  EXPECT_EQ(lines.pending(), "1; ");
  EXPECT_EQ(out.str(), "");
  logger.set_verbosity(3);
  logger("BV") << loglevel(4) << "not written" << endlog;
  logger("BV") << loglevel(3) << "2; " << endlog << "3";
  EXPECT_EQ(out.str(), "trace 1; 2; \n");
  EXPECT_EQ(lines.pending(), "3");
  logger << endlog << endlog;
  EXPECT_EQ(out.str(), "trace 1; 2; \ntrace 3\ntrace \n");
}

TEST(Replay, MarkersRunOnIntoTheNextMessage) {
  std::string const out = output_of("nextlit 4\nverbosity 4\ncircuit word_ult [ 2 ] [ 3 ] 0\n");
  EXPECT_NE(out.find("clause -2 -3 1 4\ntrace BV:Word clausifier - 1; BV:Word clausifier - 2; "),
            std::string::npos)
      << out;
  EXPECT_EQ(out.find("partial"), std::string::npos) << out;
}

TEST(Replay, EmptyLinesOfTheTrace) {
  // A signed division ends a line that it has ended already.
  std::string const out =
      output_of("var x bv 1\nvar y bv 1\nterm d bvsdiv bv 1 x y\nblast x\nblast y\nverbosity 4\nblast d\n");
  EXPECT_NE(out.find("trace \n"), std::string::npos) << out;
}

TEST(Replay, FreshLiteralsEndAtTheLastOne) {
  EXPECT_EQ(output_of("nextlit 2147483645\nvar x bv 3\nblast x\nblast x\n"),
            "new 2147483645\nnew 2147483646\nerror no fresh literal left\nerror no fresh literal left\n");
}

TEST(Replay, ErrorEndsTheCommandAlone) {
  EXPECT_EQ(output_of("var x bv 1\ntermtest 0\nblast x\ntermtest -1\nblast x\ntermtest off\nblast x\n"),
            "poll\nerror terminated\npoll\nnew 2\nblast x = 2\nblast x = 2\n");
}

// ---- scripts that are not ----

using Cases = std::vector<std::pair<std::string, std::string>>;

void expect_errors(Cases const& cases) {
  for (auto const& [script, error] : cases) EXPECT_EQ(error_of(script), "example:" + error + "\n") << script;
}

TEST(MalformedScript, UnknownWords) {
  expect_errors({
      {"frobnicate\n", "1:1: unknown command `frobnicate`"},
      {"echo a\n\n  # c\n\tBlast x\n", "4:2: unknown command `Blast`"},
      {"blast x\n", "1:7: unknown term `x`"},
      {"var x bv 1\nterm t bvnot bv 1 y\n", "2:19: unknown term `y`"},
      {"retract x\n", "1:9: unknown term `x`"},
      {"eq 2 x x\n", "1:6: unknown term `x`"},
      {"var x word 8\n", "1:7: unknown type `word`"},
      {"term t bvfoo bv 1\n", "1:8: unknown operator `bvfoo`"},
      {"term t tagx bv 1\n", "1:8: `x` stands where a number should"},
      {"term t tag bv 1\n", "1:8: `` stands where a number should"},
      {"term t tag5:1 bv 1\n", "1:8: unknown operator `tag5:1`"},
      {"term t tag4294967296 bv 1\n", "1:8: a tag of more than 32 bits"},
      {"call word_foo x\n", "1:6: unknown handler `word_foo`"},
      {"var x bv 1\nhook 5 word_foo\n", "2:8: unknown handler `word_foo`"},
      {"hook 5 generic_variable\n", "1:8: unknown handler `generic_variable`"},
      {"hook 5 word_sr\n", "1:8: unknown handler `word_sr`"},
      {"hook 1000001 word_add\n", "1:6: a tag above 1000000"},
      {"circuit bit_nand 2 3\n", "1:18: a list begins with ["},
      {"circuit word_foo [ 2 ] [ 3 ]\n", "1:28: unknown circuit `word_foo`"},
      {"config foo\n", "1:8: unknown field `foo`"},
      {"rmconst m up\n", "1:11: `up` stands where even, zero, plus or minus should"},
      {"fpcomb maybe\n", "1:8: `maybe` stands where on or off should"},
  });
}

TEST(MalformedScript, MissingTokens) {
  expect_errors({
      {"var\n", "1:4: the line ends where a name should stand"},
      {"var x\n", "1:6: the line ends where a type should stand"},
      {"var x bv\n", "1:9: the line ends where a width should stand"},
      {"var x fp 3\n", "1:11: the line ends where a fraction width should stand"},
      {"num x bv 3\n", "1:11: the line ends where small or big should stand"},
      {"num x bv 3 big\n", "1:15: the line ends where a value should stand"},
      {"rmconst m\n", "1:10: the line ends where a mode should stand"},
      {"term t\n", "1:7: the line ends where an operator should stand"},
      {"term t extract:1 bv 1\n", "1:8: `extract:1` lacks a parameter"},
      {"term t extract bv 1\n", "1:8: `extract` lacks a parameter"},
      {"term t rol: bv 1\n", "1:8: `` stands where a number should"},
      {"config\n", "1:7: the line ends where div or null should stand"},
      {"config div\n", "1:11: the line ends where a number should stand"},
      {"nextlit\n", "1:8: the line ends where a literal should stand"},
      {"atomlit x\n", "1:10: the line ends where a literal should stand"},
      {"verbosity\n", "1:10: the line ends where a level should stand"},
      {"termtest\n", "1:9: the line ends where a number of calls should stand"},
      {"fpcomb\n", "1:7: the line ends where on or off should stand"},
      {"fpbits\n", "1:7: the line ends where a term should stand"},
      {"hook\n", "1:5: the line ends where a tag should stand"},
      {"hook 1\n", "1:7: the line ends where a handler should stand"},
      {"blast\n", "1:6: the line ends where a term should stand"},
      {"eq\n", "1:3: the line ends where a literal should stand"},
      {"call\n", "1:5: the line ends where a handler should stand"},
      {"call word_add\n", "1:14: the line ends where a term should stand"},
      {"var x bv 1\ncall word_sr x\n", "2:15: the line ends where 0 or 1 should stand"},
      {"var x bv 1\ncall fp_to_bv x\n", "2:16: the line ends where a width should stand"},
      {"circuit\n", "1:8: the line ends where a gate or circuit should stand"},
      {"circuit bit_and 2\n", "1:18: the line ends where a literal should stand"},
      {"circuit word_neg\n", "1:17: the line ends where a list should stand"},
      {"circuit word_add [ 2 ]\n", "1:23: the line ends where a list should stand"},
      {"circuit word_ule [ 2 ] [ 3 ]\n", "1:29: the line ends where a literal should stand"},
      {"circuit word_sr [ 2 ] [ 3 ]\n", "1:28: the line ends where 0 or 1 should stand"},
      {"circuit fp_rounding\n", "1:20: the line ends where a mode should stand"},
  });
}

TEST(MalformedScript, TokensTooMany) {
  expect_errors({
      {"push x\n", "1:6: `x` is one token too many"},
      {"var x bv 1 2\n", "1:12: `2` is one token too many"},
      {"var x bool 1\n", "1:12: `1` is one token too many"},
      {"var x bv 1\nblast x x\n", "2:9: `x` is one token too many"},
      {"circuit bit_not 2 3\n", "1:19: `3` is one token too many"},
      {"term t extract:1:0:0 bv 1\n", "1:8: `0:0` stands where a number should"},
      {"term t bvadd:1 bv 1\n", "1:8: `bvadd:1` has a parameter too many"},
      {"var x bv 1\ncall bool_true x 1\n", "2:18: `1` is one token too many"},
  });
}

TEST(MalformedScript, Lists) {
  expect_errors({
      {"circuit word_neg 2\n", "1:18: a list begins with ["},
      {"circuit word_neg [2]\n", "1:18: a list begins with ["},
      {"circuit word_neg [ 2\n", "1:21: the line ends where a literal should stand"},
      {"circuit word_neg [ 2 ]]\n", "1:22: `]]` stands where a literal should"},
      {"circuit word_neg [ x ]\n", "1:20: `x` stands where a literal should"},
      {"circuit word_neg [ 2147483648 ]\n", "1:20: a number of more than 32 bits"},
      {"circuit word_neg [ -2147483648 ]\n", "1:20: a number of more than 32 bits"},
      {"circuit word_add [ 2 3 ] [ 4 ]\n", "1:30: the second list is shorter than the first"},
      {"circuit word_udiv_simple [ 2 ] [ 3 4 ]\n", "1:38: the lists differ in length"},
  });
  for (char const* circuit :
       {"word_and [ 2 3 ] [ 4 ]", "word_ule [ 2 3 ] [ 4 ] 0", "word_ult [ 2 3 ] [ ] 0",
        "word_equal [ 2 3 ] [ 4 ] 0", "word_sr [ 2 3 ] [ 4 ] 0", "word_sl [ 2 3 ] [ 4 ]",
        "word_udiv_simple [ 2 3 ] [ 4 ]", "word_sdiv_simple [ 2 3 ] [ 4 ]", "word_sdiv [ 2 3 ] [ 4 ]",
        "word_div_complete_semantics [ 2 3 ] [ 4 ]"})
    EXPECT_NE(error_of(std::string("circuit ") + circuit).find("the second list is shorter than the first"),
              std::string::npos)
        << circuit;
  for (char const* circuit : {"word_sdiv_simple [ ] [ ]", "word_sdiv [ ] [ 2 ]"})
    EXPECT_NE(error_of(std::string("circuit ") + circuit).find("the list is empty"), std::string::npos)
        << circuit;
  for (char const* circuit :
       {"word_and [ ] [ ]", "word_add [ ] [ 2 ]", "word_neg [ ]", "word_sr [ ] [ ] 1", "word_sl [ ] [ 2 ]"})
    EXPECT_EQ(output_of(std::string("circuit ") + circuit), "result\n") << circuit;
  EXPECT_EQ(output_of("circuit word_equal [ ] [ ] 0"), "result 1\n");
  EXPECT_EQ(output_of("circuit word_udiv_simple [ ] [ ]"), "quotient\nremainder\n");
}

TEST(MalformedScript, Numbers) {
  expect_errors({
      {"var x bv -1\n", "1:10: `-1` stands where a width should"},
      {"var x bv 1x\n", "1:10: `1x` stands where a width should"},
      {"var x bv 18446744073709551616\n", "1:10: `18446744073709551616` stands where a width should"},
      {"var x fp 9223372036854775808 9223372036854775813\n", "1:10: an exponent width above 16777216"},
      {"var x fp 2 9223372036854775813\n", "1:12: a fraction width above 16777216"},
      {"num x bv 8 small 9223372036854775808\n", "1:18: the value does not fit a machine integer"},
      {"num x bv 8 small x\n", "1:18: `x` stands where a value should"},
      {"num x bv 8 big -\n", "1:16: `-` stands where a value should"},
      {"num x bv 8 huge 1\n", "1:12: `huge` stands where small or big should"},
      {"nextlit 1\n", "1:9: fresh literals are at least 2"},
      {"nextlit 2147483648\n", "1:9: a number of more than 32 bits"},
      {"config div 4294967297\n", "1:12: a number of more than 32 bits"},
      {"verbosity 4294967296\n", "1:11: a number of more than 32 bits"},
      {"circuit fp_rounding 1.5\n", "1:21: `1.5` stands where a mode should"},
      {"circuit word_sr [ 2 ] [ 3 ] 2\n", "1:29: `2` stands where 0 or 1 should"},
      {"hook x word_add\n", "1:6: `x` stands where a tag should"},
  });
}

TEST(MalformedScript, Names) {
  expect_errors({
      {"var x bv 1\nvar x bv 1\n", "2:5: `x` is declared already"},
      {"var x bv 1\nnum x bv 1 small 0\n", "2:5: `x` is declared already"},
      {"var x bv 1\nterm x bvnot bv 1 x\n", "2:6: `x` is declared already"},
      {"rmconst m even\nrmconst m even\n", "2:9: `m` is declared already"},
      {"var x-y bv 1\n", "1:5: a name consists of letters, digits and _"},
      {"var | bv 1\n", "1:5: a name consists of letters, digits and _"},
      {"term t bvneg bv 1 t\n", "1:19: unknown term `t`"},
  });
}

// What every application below may refer to.
char const* const declarations =
    "var p bool\nvar w0 bv 0\nvar w1 bv 1\nvar x bv 4\nvar y bv 4\nvar w5 bv 5\nvar i int\nvar f fp 3 2\nvar "
    "m rm\n"
    "num n bv 4 small 3\nnum minus bv 4 small -1\nrmconst even even\n";

// An application that its operator's handler could not work on is refused, translated as a term, below
// another one, and by a direct call.
TEST(MisfitOperands, AreRefusedForEveryHandler) {
  std::pair<char const*, char const*> const cases[] = {
      // too few children
      {"bvnot bv 4", "word_not"},
      {"bvand bv 4 x", "word_and"},
      {"bvor bv 4 x", "word_or"},
      {"bvxor bv 4", "word_xor"},
      {"bvlshr bv 4 x", "word_lsr"},
      {"bvashr bv 4 x", "word_asr"},
      {"bvshl bv 4", "word_lsl"},
      {"rol:1 bv 4", "word_rol"},
      {"ror:1 bv 4", "word_ror"},
      {"extract:1:0 bv 2", "word_sel"},
      {"concat bv 8 x", "word_concat"},
      {"zext bv 8", "word_zext"},
      {"sext bv 8", "word_sext"},
      {"bvneg bv 4", "word_neg"},
      {"bvadd bv 4 x", "word_add"},
      {"bvsub bv 4 x", "word_sub"},
      {"bvmul bv 4 x", "word_mul"},
      {"bvmul bv 4 n", "word_mul"},
      {"bvsdiv bv 4 x", "word_sdiv"},
      {"bvsrem bv 4 x", "word_srem"},
      {"bvudiv bv 4 x", "word_udiv"},
      {"bvurem bv 4", "word_urem"},
      {"bvult bool x", "word_ult"},
      {"bvule bool x", "word_ule"},
      {"bvslt bool x", "word_slt"},
      {"bvsle bool", "word_sle"},
      {"eq bool x", "word_equal"},
      {"eqnp bool x", "word_equal_noproxy"},
      {"not bool", "bool_not"},
      {"and bool p", "bool_and"},
      {"or bool p", "bool_or"},
      {"iff bool p", "bool_iff"},
      {"fp_to_sbv bv 4 m", "fp_to_sbv"},
      {"fp_to_ubv bv 4 m", "fp_to_ubv"},
      {"fp_as_ieeebv bv 6", "fp_as_ieeebv"},
      // widths
      {"bvand bv 5 w5 x", "word_and"},
      {"bvor bv 5 w5 x", "word_or"},
      {"bvxor bv 5 w5 x", "word_xor"},
      {"bvadd bv 5 w5 x", "word_add"},
      {"bvsub bv 5 w5 x", "word_sub"},
      {"bvmul bv 5 x y", "word_mul"},
      {"bvmul bv 4 n w1", "word_mul"},
      {"bvudiv bv 5 w5 x", "word_udiv"},
      {"bvurem bv 5 w5 x", "word_urem"},
      {"bvudiv bv 4 x w5", "word_udiv"},
      {"bvurem bv 4 x w5", "word_urem"},
      {"bvsdiv bv 5 w5 x", "word_sdiv"},
      {"bvsrem bv 5 w5 x", "word_srem"},
      {"bvsdiv bv 4 x w5", "word_sdiv"},
      {"bvsdiv bv 0 w0 w0", "word_sdiv"},
      {"bvult bool w5 x", "word_ult"},
      {"bvule bool w5 x", "word_ule"},
      {"bvslt bool w5 x", "word_slt"},
      {"bvsle bool w5 x", "word_sle"},
      {"bvslt bool w0 w0", "word_slt"},
      {"eq bool w5 x", "word_equal"},
      {"eqnp bool w5 x", "word_equal_noproxy"},
      {"bvlshr bv 5 w5 x", "word_lsr"},
      {"bvashr bv 5 w5 x", "word_asr"},
      {"bvshl bv 5 w5 x", "word_lsl"},
      {"bvshl bv 5 x n", "word_lsl"},
      {"bvlshr bv 4 x minus", "word_lsr"},
      {"bvashr bv 0 w0 w0", "word_asr"},
      {"rol:5 bv 4 x", "word_rol"},
      {"ror:18446744073709551615 bv 4 x", "word_ror"},
      {"extract:4:0 bv 5 x", "word_sel"},
      {"extract:0:1 bv 1 x", "word_sel"},
      {"extract:18446744073709551615:0 bv 1 x", "word_sel"},
      {"sext bv 8 w0", "word_sext"},
      // types
      {"and bool w0 p", "bool_and"},
      {"or bool p w0", "bool_or"},
      {"not bool w0", "bool_not"},
      {"iff bool w0 w0", "bool_iff"},
      {"concat bv 6 f x", "word_concat"},
      {"bvsdiv bv 4 f f", "word_sdiv"},
      {"fp_to_sbv bv 4 m x", "fp_to_sbv"},
      {"fp_to_sbv bv 4 x f", "fp_to_sbv"},
      {"fp_to_ubv bv 4 f m", "fp_to_ubv"},
  };
  for (auto const& [application, handler] : cases) {
    std::string const term = "term t " + std::string(application) + "\n";
    EXPECT_EQ(error_of(declarations + term + "blast t\n"),
              std::string("example:14:7: the operands do not fit: t: ") + handler + "\n")
        << application;
    EXPECT_EQ(error_of(declarations + term + "term top not bool t\nnotify top\n"),
              std::string("example:15:8: the operands do not fit: t: ") + handler + "\n")
        << application;
    std::string notify;
    for (char const* name : {"p", "w1", "x", "y", "w5", "f", "m", "n", "minus"})
      notify += std::string("notify ") + name + "\n";
    // w0 gets its empty list without a translation.
    EXPECT_EQ(error_of(declarations + term + notify + "setbits w0\ncall " + handler + " t\n"),
              std::string("example:24:") + std::to_string(7 + std::string(handler).size()) +
                  ": the operands of t do not fit " + handler + "\n")
        << application;
  }
}

TEST(MisfitOperands, AreRefusedForHandlersThatNoTagHas) {
  std::string const prepared =
      std::string(declarations) + "notify p\nnotify x\nnotify y\nnotify f\nsetbits w0\n";
  std::pair<char const*, char const*> const cases[] = {
      {"ite bv 4 p x", "word_ite"},
      {"ite bv 5 p x y", "word_ite"},
      {"ite bv 4 w0 x y", "word_ite"},
      {"ite bool p p", "bool_ite"},
      {"ite bool p w0 p", "bool_ite"},
      {"ite bv 4 p x", "generic_ite"},
      {"uf bv 4", "word_atom"},
      {"bvmul bv 4 x y", "word_mul_by_constant"},
      {"bvmul bv 4 x", "word_mul_generic"},
      {"bvsrem bv 4 x", "word_srem_by_power_of_2"},
      {"uf bv 4", "fp_variable"},
      {"uf bv 16777217", "word_variable"},
      {"uf bv 18446744073709551615", "generic_variable"},
  };
  for (auto const& [application, handler] : cases) {
    std::string const error = error_of(prepared + "term t " + application + "\ncall " + handler + " t\n");
    EXPECT_NE(error.find(": the operands of t do not fit "), std::string::npos)
        << application << ": " << error;
  }
  // As hooks: what they do not cache, nothing may wait for.
  expect_errors({
      {"hook 0 word_neg\nvar x bv 4\nblast x\n", "3:7: the operands do not fit: x: word_neg"},
      {"hook 50 generic_ite\nvar x bv 4\nterm t tag50 bv 4 x\nblast t\n",
       "4:7: the operands do not fit: t: generic_ite"},
      {"hook 27 word_mul_by_constant\nvar x bv 4\nterm t bvadd bv 4 x x\nblast t\n",
       "4:7: the operands do not fit: t: word_mul_by_constant"},
  });
}

TEST(MisfitOperands, OfOperations) {
  expect_errors({
      {"var w bv 0\nblast w\n", "2:7: the term has no bits"},
      {"var w bv 0\nnotify w\n", "2:8: the term has no bits"},
      {"var w bv 0\neq 2 w w\n", "2:8: the term has no bits"},
      {"var x bv 3\nvar y bv 2\neq 7 x y\n", "3:8: the second term has fewer bits than the first"},
      {"var x bv 3\nsetbits x 2 3 4\nsetbits x 2 3 4 5\n", "3:17: the term has 3 bits"},
      {"var x bv 16777217\nblast x\n", "2:7: the operands do not fit: x has more than 16777216 bits"},
      {"var x bv 2\nterm t zext bv 18446744073709551615 x\nblast t\n",
       "3:7: the operands do not fit: t has more than 16777216 bits"},
      {"var f fp 3 2\nrmconst m even\nterm t fp_to_sbv bv 4 m f\nblast m\nblast f\ncall fp_to_bv t "
       "16777217\n",
       "6:17: a width above 16777216"},
      // Of the combination's bits there may be any number.
      {"var f fp 3 2\nrmconst m even\nterm t fp_to_sbv bv 4 m f\nfpcomb on\nfpbits f 2 3\nblast t\n",
       "6:7: the operands do not fit: t: fp_to_sbv"},
      {"var f fp 3 2\nfpcomb on\nfpbits f\nblast f\n", "4:7: the term has no bits"},
      {"var x bv 0\nvar y bv 0\nterm t bvlshr bv 0 x y\nsetbits x\nsetbits y\ncall word_sr t 1\n",
       "6:16: the operands of t do not fit word_sr"},
  });
  // Twenty doublings pass the limit of a list.
  std::string doubling = "var t0 bv 1024\n";
  for (int i = 1; i <= 20; ++i)
    doubling += "term t" + std::to_string(i) + " concat bv " + std::to_string(1024L << i) + " t" +
                std::to_string(i - 1) + " t" + std::to_string(i - 1) + "\n";
  EXPECT_EQ(error_of(doubling + "blast t20\n"),
            "example:22:7: the operands do not fit: t15 has more than 16777216 bits\n");
}

TEST(MisfitOperands, UncachedChildrenOfACallAreAnAnswer) {
  EXPECT_EQ(output_of("var x bv 2\nvar y bv 2\nterm t bvadd bv 2 x y\nblast x\ncall word_add t\n"),
            "new 2\nnew 3\nblast x = 2\nerror not cached: y\n");
  EXPECT_EQ(output_of("var c bool\nvar x bv 2\nterm t ite bv 2 c x x\ncall generic_ite t\n"),
            "error not cached: c\n");
}

// ---- anything at all ----

// Lines of words that scripts are made of, in any order: whatever happens, it is output or one line.
TEST(MalformedScript, RandomWordsNeverCrash) {
  std::vector<std::string> const commands = {
      "var",        "num",    "rmconst",   "term",      "config",    "nextlit",   "atomlit",    "verbosity",
      "termtest",   "fpcomb", "fpbits",    "hook",      "echo",      "blast",     "getbits",    "setbits",
      "makebits",   "eq",     "push",      "pop",       "retract",   "notify",    "isterminal", "iscached",
      "newfpterms", "hooks",  "dumptrail", "dumptable", "dumpcache", "dumppools", "call",       "circuit"};
  std::vector<std::string> const words = {"a",           "b",           "c",
                                          "d",           "e",           "bv",
                                          "bool",        "fp",          "rm",
                                          "int",         "fun",         "0",
                                          "1",           "2",           "3",
                                          "-1",          "5",           "7",
                                          "[",           "]",           "[ 2 3 ]",
                                          "[ 1 -1 4 ]",  "[ ]",         "small",
                                          "big",         "even",        "zero",
                                          "bvadd",       "bvsdiv",      "bvult",
                                          "ite",         "extract:1:0", "rol:1",
                                          "concat",      "eq",          "fp_to_sbv",
                                          "sext",        "tag50",       "uf",
                                          "on",          "off",         "none",
                                          "word_add",    "word_sr",     "bit_ite",
                                          "word_sdiv",   "word_ite",    "generic_ite",
                                          "fp_variable", "fp_to_bv",    "word_udiv_simple",
                                          "null",        "div"};
  int errors = 0;
  for (unsigned seed = 0; seed < 600; ++seed) {
    std::mt19937 random(seed);
    std::string script = "var a bv 3\nvar b bv 3\nvar c bool\nvar d fp 2 1\nvar e rm\n";
    int const lines = 1 + static_cast<int>(random() % 12);
    for (int i = 0; i < lines; ++i) {
      script += commands[random() % commands.size()];
      for (unsigned n = random() % 6; n > 0; --n) script += " " + words[random() % words.size()];
      script += "\n";
    }
    Outcome const outcome = replay(script);
    if (outcome.error.empty()) continue;
    ++errors;
    EXPECT_EQ(outcome.error.find("example:"), 0u) << script;
    EXPECT_EQ(outcome.error.find('\n'), outcome.error.size() - 1) << script;
  }
  EXPECT_GT(errors, 300);
}

// Declared terms and operations over them, mostly well formed, of any operators and widths.
TEST(MalformedScript, RandomTermsNeverCrash) {
  std::vector<std::string> const operators = {
      "true",         "false",  "and",     "or",    "not",   "iff",    "eq",     "concat",    "extract:1:0",
      "extract:2:2",  "bvnot",  "bvand",   "bvor",  "bvxor", "bvult",  "bvslt",  "bvule",     "bvsle",
      "eqnp",         "bvneg",  "bvadd",   "bvsub", "bvmul", "bvudiv", "bvsdiv", "bvurem",    "bvsrem",
      "bvshl",        "bvlshr", "bvashr",  "rol:1", "ror:2", "zext",   "sext",   "fp_to_sbv", "fp_to_ubv",
      "fp_as_ieeebv", "ite",    "boolite", "uf",    "tag7",  "tag16"};
  std::vector<std::string> const types = {"bv 0", "bv 1",   "bv 2",   "bv 3", "bv 3",
                                          "bool", "fp 2 1", "fp 3 5", "rm",   "int"};
  std::vector<std::string> const operations = {"blast ",
                                               "notify ",
                                               "call word_ite ",
                                               "call generic_ite ",
                                               "call bool_ite ",
                                               "call word_variable ",
                                               "call generic_variable ",
                                               "hook 7 ",
                                               "retract ",
                                               "setbits ",
                                               "call word_srem_by_power_of_2 ",
                                               "eq 9 "};
  std::vector<std::string> const handlers = {"word_add",
                                             "word_ite",
                                             "bool_ite",
                                             "generic_ite",
                                             "word_constant",
                                             "fp_variable",
                                             "word_mul_by_constant",
                                             "fp_rounding_variable",
                                             "word_atom",
                                             "word_variable"};
  int accepted = 0;
  for (unsigned seed = 0; seed < 600; ++seed) {
    std::mt19937 random(seed);
    auto const pick = [&](std::vector<std::string> const& from) { return from[random() % from.size()]; };
    std::string script = random() % 2 == 0 ? "fpcomb on\nfpbits t1 2 3\n" : "config div 1\n";
    int terms = 0;
    for (; terms < 5; ++terms) script += "var t" + std::to_string(terms) + " " + pick(types) + "\n";
    script += "num t5 bv 3 small 2\nnum t6 rm small 1\n";
    terms = 7;
    auto const term = [&] { return "t" + std::to_string(random() % static_cast<unsigned>(terms)); };
    for (int i = 0; i < 6; ++i) {
      script += "term t" + std::to_string(terms) + " " + pick(operators) + " " + pick(types);
      for (unsigned n = random() % 4; n > 0; --n) script += " " + term();
      script += "\n";
      ++terms;
    }
    // A script ends at its first error, so each operation gets one of its own.
    for (int i = 0; i < 4; ++i) {
      std::string line = pick(operations);
      if (line == "hook 7 ")
        line += pick(handlers) + "\nblast " + term();
      else if (line == "eq 9 ")
        line += term() + " " + term();
      else
        line += term();
      Outcome const outcome = replay(script + line + "\n");
      if (outcome.error.empty()) {
        ++accepted;
        script += line + "\n";
      } else {
        EXPECT_EQ(outcome.error.find("example:"), 0u) << script;
      }
    }
  }
  EXPECT_GT(accepted, 300);
}

}  // namespace
}  // namespace vell::test

// Scripts that are not well formed.
//
// A script may come from anyone, and the clausifier trusts its caller: whatever a script says, the answer is
// a line of output or one line with file, line and column. Run under the sanitizers too.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/replay/outcome.h"

namespace vell::test {
namespace {

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

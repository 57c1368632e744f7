// The examples of docs/replay.md, and scripts that are well formed.

#include "vell/replay/replay.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/replay/outcome.h"
#include "tests/support/markdown.h"

namespace vell::test {
namespace {

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

}  // namespace
}  // namespace vell::test

// The progress line as a terminal shows it.

#include <gtest/gtest.h>
#include <signal.h>

#include "tests/cli/process.h"
#include "tests/cli/scripts.h"
#include "tests/support/scratch.h"

namespace vell::cli {
namespace {

using test::Finished;
using test::hard;
using test::quotient;
using test::Scratch;
using test::vell_bv;

// What stands on a terminal after the bytes, and every line that was ever shown on it.
struct Screen {
  Screen(std::string const& bytes, std::size_t columns) {
    std::size_t column = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      if (bytes.compare(i, 3, "\033[K") == 0) {
        line.resize(std::min(line.size(), column));
        if (!line.empty()) shown.push_back(line);
        i += 2;
      } else if (bytes[i] == '\r') {
        column = 0;
      } else if (bytes[i] == '\n') {
        above += line + "\n";
        line.clear();
      } else {
        if (column == columns) wrapped = true;
        line.resize(std::max(line.size(), column + 1), ' ');
        line[column++] = bytes[i];
      }
    }
  }
  bool ever(std::string const& text) const {
    for (std::string const& s : shown)
      if (s.find(text) != std::string::npos) return true;
    return false;
  }

  std::string above;  // lines that scrolled on
  std::string line;   // where the cursor is
  std::vector<std::string> shown;
  bool wrapped = false;
};

TEST(Progress, StandsOnATerminalAndIsGoneAtTheEnd) {
  Finished const f = vell_bv({.arguments = {"-", "--time-limit", "2"}, .input = hard(), .columns = 120});
  EXPECT_EQ("unknown\n", f.out);
  Screen const screen(f.err, 120);
  EXPECT_TRUE(screen.ever("solving: ")) << f.err;
  EXPECT_TRUE(screen.ever(" conflicts, ")) << f.err;
  EXPECT_EQ("", screen.line);
  EXPECT_EQ("", screen.above);
}

TEST(Progress, SaysWhatIsReadClausifiedAndWritten) {
  Scratch s;
  std::string const path = s.write("a.smt2", quotient(6000));
  Finished const f =
      vell_bv({.arguments = {"cnf", path, "-o", s.file("a.cnf.xz"), "--time-limit", "3"}, .columns = 120});
  Screen const screen(f.err, 120);
  EXPECT_TRUE(screen.ever("clausifying: ")) << f.err;
  EXPECT_TRUE(screen.ever(" clauses, ")) << f.err;
  EXPECT_EQ("", screen.line);
  Finished const written = vell_bv(
      {.arguments = {"cnf", s.write("b.smt2", quotient(300)), "-o", s.file("b.cnf.xz"), "--time-limit", "10"},
       .columns = 120});
  EXPECT_TRUE(Screen(written.err, 120).ever("writing: ")) << written.err;
  // A script that takes a while to read.
  std::string script = "(declare-const x (_ BitVec 64))";
  while (script.size() < 60000000)
    script += "(assert (bvult x (bvadd x (_ bv" + std::to_string(script.size()) + " 64))))\n";
  Screen const reading(
      vell_bv({.arguments = {"-", "--time-limit", "3"}, .input = script, .columns = 120}).err, 120);
  EXPECT_TRUE(reading.ever("reading: "));
  EXPECT_TRUE(reading.ever(" bytes, "));
  EXPECT_EQ("", reading.line);
}

TEST(Progress, IsNoLongerThanTheTerminalIsWide) {
  Finished const f = vell_bv({.arguments = {"-", "--time-limit", "1.5"}, .input = hard(), .columns = 20});
  Screen const screen(f.err, 20);
  EXPECT_TRUE(screen.ever("solving: ")) << f.err;
  EXPECT_FALSE(screen.wrapped) << f.err;
  EXPECT_EQ("", screen.line);
}

TEST(Progress, MakesRoomForFiguresAndAnInterrupt) {
  Finished const f = vell_bv({.arguments = {"-", "--stats"},
                              .input = hard(),
                              .signal = SIGINT,
                              .signal_after = 1.5,
                              .columns = 120});
  Screen const screen(f.err, 120);
  EXPECT_TRUE(screen.ever("solving: ")) << f.err;
  EXPECT_EQ("", screen.line);
  EXPECT_EQ(0u, screen.above.find("input-bytes ")) << screen.above;
  EXPECT_EQ(std::string::npos, screen.above.find("solving: "));
}

TEST(Progress, NotAByteIntoAPipe) {
  EXPECT_EQ("", vell_bv({"-", "--time-limit", "1.5"}, hard()).err);
  EXPECT_EQ(
      "",
      vell_bv({.arguments = {"-", "--time-limit", "1.5", "--progress=never"}, .input = hard(), .columns = 80})
          .err);
  EXPECT_NE("", vell_bv({"-", "--time-limit", "1.5", "--progress"}, hard()).err);
}

TEST(Progress, NotAByteInTheFirstHalfSecond) {
  EXPECT_EQ("", vell_bv({.arguments = {"-", "--time-limit", "0.3"}, .input = hard(), .columns = 80}).err);
}

}  // namespace
}  // namespace vell::cli

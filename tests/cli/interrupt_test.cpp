// Work that is ended from outside leaves nothing behind.

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

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

// Temporary folders are made in the scratch folder while this stands.
class TemporaryFolder {
 public:
  explicit TemporaryFolder(Scratch const& s) { setenv("TMPDIR", s.file("").c_str(), 1); }
  ~TemporaryFolder() { unsetenv("TMPDIR"); }
};

TEST(Interrupt, LeavesNothingOfAnExternalSolver) {
  Scratch s;
  TemporaryFolder const here(s);
  std::string const pid = s.file("pid");
  Finished const f = vell_bv({.arguments = {"-", "--solver", "echo $$ >" + pid + "; exec cadical -q {cnf}"},
                              .input = hard(),
                              .signal = SIGINT,
                              .signal_after = 1.5});
  EXPECT_EQ("unknown\n", f.out);
  EXPECT_EQ(130, f.code);
  EXPECT_EQ(1u, s.files());
  // The child is killed with the program. It is gone when its new parent has waited for it.
  pid_t const child = std::stoi(s.read("pid"));
  for (int i = 0; i < 500 && kill(child, 0) == 0; ++i) usleep(10'000);
  EXPECT_NE(0, kill(child, 0));
}

TEST(Interrupt, LeavesNothingWhileTheClausesAreWrittenForASolver) {
  for (double after : {0.2, 0.4, 0.7}) {
    Scratch s;
    TemporaryFolder const here(s);
    Finished const f = vell_bv({.arguments = {"-", "--solver", "cadical -q {cnf}"},
                                .input = quotient(4000),
                                .signal = SIGINT,
                                .signal_after = after});
    EXPECT_EQ("unknown\n", f.out);
    EXPECT_EQ(130, f.code);
    EXPECT_EQ(0u, s.files()) << after;
  }
}

// What the command puts beside the CNF goes with it.
TEST(Interrupt, AnExternalSolversOwnFilesGoToo) {
  Scratch s;
  TemporaryFolder const here(s);
  Finished const f = vell_bv({"-", "--solver", "minisat -verb=0 {cnf} {cnf}.out >/dev/null; cat {cnf}.out"},
                             "(declare-const p Bool)(assert p)(check-sat)(get-value (p))");
  EXPECT_EQ("sat\n((p true))\n", f.out);
  EXPECT_EQ(0u, s.files());
}

TEST(Interrupt, LeavesNoHalfFile) {
  for (char const* name : {"o.cnf", "o.cnf.gz", "o.cnf.xz", "o.cnf.bz2", "o.cnf.zst"})
    for (int const number : {SIGINT, SIGTERM, SIGHUP}) {
      Scratch s;
      Finished const f = vell_bv({.arguments = {"cnf", "-", "-o", s.file(name)},
                                  .input = quotient(4000),
                                  .signal = number,
                                  .signal_after = 0.4});
      EXPECT_EQ(128 + number, f.code) << name;
      EXPECT_EQ("", f.out);
      EXPECT_EQ(0u, s.files()) << name;
    }
  Scratch s;
  Finished const f = vell_bv({.arguments = {"-", "--proof", s.file("p.drat")},
                              .input = hard(),
                              .signal = SIGINT,
                              .signal_after = 0.5});
  EXPECT_EQ("unknown\n", f.out);
  EXPECT_EQ(0u, s.files());
}

TEST(Interrupt, AReaderThatGoesEndsTheWork) {
  Scratch s;
  std::string script;
  for (int i = 0; i < 50000; ++i) script += "(echo \"some text that nobody waits for\")\n";
  Finished f = vell_bv(
      {.arguments = {"-", "--proof", s.file("p.drat")}, .input = script + hard(), .close_out_after = 10});
  EXPECT_EQ(128 + SIGPIPE, f.code);
  EXPECT_EQ("", f.err);
  EXPECT_EQ(0u, s.files());
  f = vell_bv({.arguments = {"cnf", "-", "-o", "-"}, .input = quotient(300), .close_out_after = 10});
  EXPECT_EQ(128 + SIGPIPE, f.code);
}

}  // namespace
}  // namespace vell::cli

// Memory, file sizes and files that are not to be had: a line, an exit code, nothing lost and nothing left.

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
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

#ifndef __SANITIZE_ADDRESS__

// Products of constants of 16,384 bits, which the normal form multiplies.
std::string products() {
  auto const constant = [](unsigned seed) {
    std::string digits = "#x";
    for (int i = 0; i < 4096; ++i)
      digits += "0123456789abcdef"[(seed = seed * 1103515245 + 12345) >> 16 & 15];
    return digits;
  };
  std::string s = "(declare-const x (_ BitVec 16384))";
  for (unsigned i = 0; i < 500; ++i)
    s += "(assert (distinct (bvmul x " + constant(3 * i) + ") (bvmul " + constant(3 * i + 1) + " " +
         constant(3 * i + 2) + ")))\n";
  return s + "(check-sat)(get-info :reason-unknown)";
}

TEST(Resources, OutOfMemoryIsUnknownWhereverItHappens) {
  Scratch s;
  std::string const wide = s.write("wide.smt2", products());
  std::string const circuit =
      s.write("circuit.smt2",
              "(declare-const a (_ BitVec 900))(declare-const b (_ BitVec 900))"
              "(assert (= (bvmul a b) (bvudiv a b)))(check-sat)(get-info :reason-unknown)");
  for (std::string const& script : {wide, circuit}) {
    Finished const f = vell_bv({script, "--memory-limit", "60"});
    EXPECT_EQ("unknown\n(:reason-unknown memout)\n", f.out) << script << f.err;
    EXPECT_EQ("vell-bv: " + script + ": out of memory\n", f.err);
    EXPECT_EQ(1, f.code) << script;
  }
  Finished const f = vell_bv({.arguments = {wide}, .bounded = RLIMIT_AS, .bound = 150 << 20});
  EXPECT_EQ(0u, f.out.find("unknown\n")) << f.err;
  EXPECT_EQ(1, f.code);
}

// The solver must not be touched once an allocation has failed in it.
TEST(Resources, OutOfMemoryInsideTheSolver) {
  std::size_t unknown = 0;
  for (rlim_t mib = 20; mib <= 44; mib += 3) {
    Finished const f = vell_bv({.arguments = {"-", "--threads", "1", "--time-limit", "1"},
                                .input = hard() + "(get-info :reason-unknown)",
                                .bounded = RLIMIT_AS,
                                .bound = mib << 20});
    if (f.code == 127) continue;  // too little to be loaded with
    EXPECT_LT(f.code, 2) << mib << f.err;
    if (f.code != 1 || f.out.empty()) continue;
    EXPECT_TRUE(f.out == "unknown\n" || f.out == "unknown\n(:reason-unknown memout)\n") << f.out;
    ++unknown;
  }
  EXPECT_NE(0u, unknown);
}

TEST(Resources, TheMemoryLimitHolds) {
  Scratch s;
  std::string reading = "(declare-const x (_ BitVec 64))(assert (= #x0000000000000001 ";
  for (int i = 0; i < 400000; ++i) reading += "(bvadd (bvxor x (_ bv" + std::to_string(i) + " 64)) ";
  reading += "x" + std::string(400000, ')') + "))(check-sat)";
  std::string const scripts[] = {s.write("r", reading), s.write("c", quotient(2500))};
  for (std::string const& script : scripts) {
    Finished const f = vell_bv({script, "--memory-limit", "100", "--stats=json"});
    EXPECT_EQ("unknown\n", f.out) << script;
    EXPECT_EQ(1, f.code) << script;
    std::string const name = "\"peak-memory-bytes\": ";
    std::size_t const at = f.err.find(name);
    ASSERT_NE(std::string::npos, at) << f.err;
    EXPECT_LT(std::stoull(f.err.substr(at + name.size())), std::uint64_t{130} << 20) << script;
  }
}

TEST(Resources, ReplayEndsWhenMemoryDoes) {
  Finished const f = vell_bv({.arguments = {"replay"},
                              .input = "var x bv 16000000\nterm e eq bool x x\nblast e\necho more\n",
                              .bounded = RLIMIT_AS,
                              .bound = 60 << 20});
  EXPECT_EQ(1, f.code);
  EXPECT_EQ("vell-bv: <stdin>: out of memory\n", f.err);
  EXPECT_EQ(std::string::npos, f.out.find("error"));
  EXPECT_EQ(std::string::npos, f.out.find("echo more"));
}

#endif

TEST(Resources, AFileThatMayNotGrow) {
  Scratch s;
  for (char const* name : {"o.cnf", "o.cnf.gz"}) {
    Finished const f = vell_bv({.arguments = {"cnf", "-", "-o", s.file(name)},
                                .input = quotient(200),
                                .bounded = RLIMIT_FSIZE,
                                .bound = 8192});
    EXPECT_EQ(1, f.code);
    EXPECT_EQ("vell-bv: " + s.file(name) + ": File too large\n", f.err);
    EXPECT_EQ(0u, s.files());
  }
}

TEST(Resources, NumbersOfSecondsThatNeverGoBy) {
  for (char const* text : {"nan", "inf", "-nan"}) {
    Finished const f = vell_bv({"-", "--time-limit", text}, "(check-sat)");
    EXPECT_EQ(2, f.code) << text;
    EXPECT_EQ("", f.out);
    EXPECT_EQ(1, std::count(f.err.begin(), f.err.end(), '\n')) << f.err;
  }
}

// ---- the input stays what it is ----

TEST(Resources, AnOutputIsNotTheInput) {
  Scratch s;
  std::string const text = "(declare-const p Bool)(assert (and p (not p)))(check-sat)";
  std::string const file = s.write("a.smt2", text);
  ASSERT_EQ(0, symlink("a.smt2", s.file("soft").c_str()));
  ASSERT_EQ(0, link(file.c_str(), s.file("hard").c_str()));
  for (char const* name : {"a.smt2", "soft", "hard"}) {
    for (std::vector<std::string> const& arguments : std::vector<std::vector<std::string>>{
             {"cnf", file, "-o", s.file(name)}, {file, "--proof", s.file(name)}}) {
      Finished const f = vell_bv(arguments);
      EXPECT_EQ(1, f.code);
      EXPECT_EQ("", f.out);
      EXPECT_EQ("vell-bv: " + s.file(name) + ": it is the input as well\n", f.err);
    }
    std::string const channel =
        s.write("c.smt2", "(set-option :regular-output-channel \"" + s.file("c.smt2") + "\")");
    EXPECT_EQ("(error \"" + channel + ":1:1: :regular-output-channel: " + channel +
                  " is the script that is read\")\n",
              vell_bv({channel}).out);
  }
  EXPECT_EQ(text, s.read("a.smt2"));
  EXPECT_EQ(4u, s.files());
}

TEST(Resources, TwoOutputsAreNotOneFile) {
  Scratch s;
  std::string const proof = s.file("p.drat");
  Finished const f = vell_bv({"-", "--proof", proof}, "(set-option :regular-output-channel \"" + proof +
                                                          "\")(assert false)(check-sat)");
  EXPECT_EQ(1, f.code);
  EXPECT_NE(std::string::npos,
            s.read("p.drat").find("--proof: " + proof + " is an output channel's file as well"));
}

// ---- programs that are killed ----

bool runs(pid_t process) {
  std::ifstream status("/proc/" + std::to_string(process) + "/stat");
  std::string const text((std::istreambuf_iterator<char>(status)), {});
  return !text.empty() && text.find(") Z ") == std::string::npos;
}

TEST(Resources, AKilledProgramTakesItsSolverWithIt) {
  Scratch s;
  ASSERT_EQ(0, mkdir(s.file("tmp").c_str(), 0700));
  setenv("TMPDIR", s.file("tmp").c_str(), 1);
  // The solver is a child of the shell's, and the shell waits for it.
  Finished f =
      vell_bv({.arguments = {"-", "--solver", "sleep 1000 & echo $! >" + s.file("pid") + "; wait; cat {cnf}"},
               .input = "(declare-const p Bool)(assert p)(check-sat)",
               .signal = SIGKILL,
               .signal_after = 1.5});
  EXPECT_EQ(256 + SIGKILL, f.code);
  pid_t const solver = std::stoi(s.read("pid"));
  bool running = true;
  for (int i = 0; i < 500 && running; ++i) {
    running = runs(solver);
    if (running) usleep(10000);
  }
  EXPECT_FALSE(running);
  // Its folder goes when the next one is made.
  auto const folders = [&] {
    auto const all = std::filesystem::directory_iterator(s.file("tmp"));
    return std::distance(begin(all), end(all));
  };
  EXPECT_EQ(1, folders());
  f = vell_bv({"-", "--solver", "cadical -q {cnf}"}, "(declare-const p Bool)(assert p)(check-sat)");
  EXPECT_EQ("sat\n", f.out);
  EXPECT_EQ(0, folders());
  unsetenv("TMPDIR");
}

// What a command starts in the background does not outlive its answer, and is not waited for.
TEST(Resources, ACommandLeavesNothingRunning) {
  Scratch s;
  Finished const f =
      vell_bv({"-", "--solver", "sleep 1000 >/dev/null & echo $! >" + s.file("pid") + "; cadical -q {cnf}"},
              "(declare-const p Bool)(assert p)(check-sat)");
  EXPECT_EQ("sat\n", f.out);
  EXPECT_LT(f.seconds, 100);
  EXPECT_FALSE(runs(std::stoi(s.read("pid"))));
}

}  // namespace
}  // namespace vell::cli

// cubes, solve-cube and join, as commands.

#include <gtest/gtest.h>

#include "tests/cli/process.h"
#include "tests/support/scratch.h"

namespace vell::cli {
namespace {

using test::Finished;

// Factors of eight bits, of a product of two primes and of a prime.
std::string factors(int n) {
  return "(set-logic QF_BV)(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))\n(assert (= (bvmul "
         "((_ zero_extend 8) x) ((_ zero_extend 8) y)) (_ bv" +
         std::to_string(n) + " 16)))(check-sat)\n";
}

class CubeCommands : public testing::Test {
 protected:
  Finished run(std::vector<std::string> arguments) {
    test::Start start;
    start.arguments = std::move(arguments);
    return test::vell_bv(start);
  }
  std::size_t split(std::string const& script) {
    Finished const f = run({"cubes", scratch.write("f.smt2", script), "-n", "4", "-o", folder});
    EXPECT_EQ(0, f.code) << f.err;
    return std::stoul(f.out);
  }

  test::Scratch scratch;
  std::string folder = scratch.file("f");
};

TEST_F(CubeCommands, Unsat) {
  std::size_t const n = split(factors(65003));
  ASSERT_EQ(4U, n);
  Finished f = run({"join", folder});
  EXPECT_EQ(1, f.code);
  EXPECT_EQ("unknown\n", f.out);
  EXPECT_EQ("vell-bv: " + folder + ": 4 of 4 cubes have no verdict: 1-4\n", f.err);
  f = run({"solve-cube", folder, "2", "--until-sat"});
  EXPECT_EQ(20, f.code);
  EXPECT_EQ("unsat\n", f.out);
  for (char const* k : {"1", "2", "3", "4"}) EXPECT_EQ(0, run({"solve-cube", folder, k}).code);
  f = run({"join", folder});
  EXPECT_EQ(0, f.code);
  EXPECT_EQ("unsat\n", f.out);
  EXPECT_EQ(1, run({"join", folder, "--proof", scratch.file("p")}).code);  // no proof was asked for
  for (char const* k : {"1", "2", "3", "4"}) EXPECT_EQ(0, run({"solve-cube", folder, k, "--proof"}).code);
  EXPECT_EQ(0, run({"join", folder, "--proof", scratch.file("p")}).code);
  EXPECT_NE("", scratch.read("p"));
}

TEST_F(CubeCommands, Sat) {
  std::size_t const n = split(factors(241 * 251));
  bool sat = false;
  for (std::size_t k = 1; k <= n; ++k) {
    Finished const f = run({"solve-cube", folder, std::to_string(k), "--until-sat"});
    EXPECT_EQ(f.out == "sat\n" ? 0 : 20, f.code);
    sat = sat || f.out == "sat\n";
  }
  EXPECT_TRUE(sat);
  Finished const f = run({"join", folder, "--values=dec"});
  EXPECT_EQ(0, f.code);
  EXPECT_TRUE(f.out.starts_with("sat\n(\n  (define-fun x () (_ BitVec 8) (_ bv2")) << f.out;
}

// Without an answer there is no verdict, and the exit code says so.
TEST_F(CubeCommands, NoAnswer) {
  split(factors(65003));
  Finished f = run({"solve-cube", folder, "1", "--conflict-limit", "1"});
  EXPECT_EQ(1, f.code);
  EXPECT_EQ("unknown\n", f.out);
  EXPECT_EQ("vell-bv: " + folder + ": cube 1: no verdict: the solver gave up\n", f.err);
  EXPECT_FALSE(std::filesystem::exists(folder + "/1.verdict"));
  f = run({"solve-cube", folder, "5"});
  EXPECT_EQ(1, f.code);
  EXPECT_EQ("vell-bv: " + folder + ": cube 5 of 4\n", f.err);
}

TEST_F(CubeCommands, WrongCommandLines) {
  split(factors(65003));
  for (std::vector<std::string> const& arguments : std::vector<std::vector<std::string>>{
           {"cubes", scratch.file("f.smt2"), "-o", folder},
           {"cubes", scratch.file("f.smt2"), "-n", "0", "-o", folder},
           {"cubes", scratch.file("f.smt2"), "-n", "4", "-o", folder, "--split", "x"},
           {"solve-cube", folder},
           {"solve-cube", folder, "0"},
           {"solve-cube", folder, "1", "--solver", "cadical"},
           {"solve-cube", folder, "1", "--solver", "cadical {cnf} {proof}"},
           {"solve-cube", folder, "1", "--proof", "--solver", "cadical {cnf}"},
           {"solve-cube", folder, "1", "--proof", "--ipasir", "x.so"},
           {"join"},
           {scratch.file("f.smt2"), "--deterministic"}})
    EXPECT_EQ(2, run(arguments).code) << arguments.back();
  // An output folder that is there stays as it is.
  Finished const f = run({"cubes", scratch.file("f.smt2"), "-n", "4", "-o", folder});
  EXPECT_EQ(1, f.code);
  EXPECT_EQ("vell-bv: " + folder + ": it exists, and is no empty folder\n", f.err);
}

// Threads that take the same steps: the model too is the same each time.
TEST_F(CubeCommands, DeterministicThreads) {
  std::string const script = scratch.write("g.smt2", factors(241 * 251) + "(get-model)\n");
  std::string first;
  for (int i = 0; i < 3; ++i) {
    Finished const f =
        run({script, "--threads", "3", "--deterministic", "--set", "long_search=20", "--words=none"});
    EXPECT_EQ(0, f.code);
    EXPECT_TRUE(f.out.starts_with("sat\n")) << f.out;
    if (i > 0) {
      EXPECT_EQ(first, f.out);
    }
    first = f.out;
  }
}

}  // namespace
}  // namespace vell::cli

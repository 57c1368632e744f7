#include "vell/cubes/cubesolver.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/cubes/folder.h"
#include "vell/cubes/verdict.h"
#include "vell/io/digest.h"

namespace vell::cubes {
namespace {

using sinks::Answer;

Answer solve(test::CubeFolder const& f, CubeSolverOptions options,
             run::Limits const& limits = run::no_limits()) {
  options.folder = f.options.folder;
  run::Statistics statistics;
  return solve_cube(options, limits, statistics);
}

TEST(CubeSolver, TheSameBytesAgain) {
  for (char const* script : {test::unsat_script, test::sat_script}) {
    test::CubeFolder const f(script);
    for (std::size_t k = 1; k <= f.cubes; ++k) {
      std::string const name = std::to_string(k);
      Answer const first = f.solve(k, true);
      std::string const verdict = f.read(name + ".verdict");
      std::string const proof = f.read(name + ".drat");
      std::remove(f.path(name + ".verdict").c_str());
      std::remove(f.path(name + ".drat").c_str());
      EXPECT_EQ(first, f.solve(k, true));
      EXPECT_EQ(verdict, f.read(name + ".verdict"));
      EXPECT_EQ(proof, f.read(name + ".drat"));
      EXPECT_EQ(first == Answer::unsat, std::filesystem::exists(f.path(name + ".drat")));
    }
  }
}

// A good verdict is not found again; a broken one is replaced, and one without the proof that is asked for.
TEST(CubeSolver, VerdictsThatAreThere) {
  test::CubeFolder const f(test::unsat_script);
  EXPECT_EQ(Answer::unsat, f.solve(1));
  std::string const verdict = f.read("1.verdict");
  std::string const cnf = f.read("formula.cnf");
  f.write("formula.cnf", "");
  EXPECT_EQ(Answer::unsat, f.solve(1));
  EXPECT_THROW(f.solve(2), Exception);
  f.write("formula.cnf", cnf);
  f.write("1.verdict", verdict.substr(0, verdict.size() / 2));
  EXPECT_EQ(Answer::unsat, f.solve(1));
  EXPECT_EQ(verdict, f.read("1.verdict"));
  EXPECT_EQ(Answer::unsat, f.solve(1, true));
  EXPECT_EQ(read_verdict(read_manifest(f.options.folder), 1)->proof_hash, io::input_digest(f.path("1.drat")));
}

TEST(CubeSolver, OtherSolvers) {
  for (char const* script : {test::unsat_script, test::sat_script}) {
    test::CubeFolder const f(script);
    for (std::size_t k = 1; k <= f.cubes; ++k) {
      std::string const file = f.path(std::to_string(k) + ".verdict");
      Answer const embedded = f.solve(k);
      std::remove(file.c_str());
      EXPECT_EQ(embedded, solve(f, {.cube = k, .command = "cadical -q {cnf}"}));
      EXPECT_TRUE(read_verdict(read_manifest(f.options.folder), k).has_value());
      std::remove(file.c_str());
      EXPECT_EQ(embedded, solve(f, {.cube = k, .ipasir = VELL_IPASIR_CRYPTOMINISAT}));
      EXPECT_TRUE(read_verdict(read_manifest(f.options.folder), k).has_value());
    }
  }
}

// Values that are no model, limits, and solvers that give up leave no verdict.
TEST(CubeSolver, NoVerdict) {
  test::CubeFolder const f(test::unsat_script);
  EXPECT_THROW(solve(f, {.cube = 1, .command = "echo s SATISFIABLE; echo v 0; : {cnf}"}), Exception);
  EXPECT_THROW(solve(f, {.cube = 1, .command = "exit 0; {cnf}"}), Exception);
  EXPECT_EQ(Answer::unknown, solve(f, {.cube = 1, .command = "echo s UNKNOWN; : {cnf}"}));
  run::Limits limits;
  limits.stop(run::StopReason::timeout);
  EXPECT_THROW(solve(f, {.cube = 1}, limits), run::Stopped);
  EXPECT_THROW(f.solve(0), Exception);
  EXPECT_THROW(f.solve(f.cubes + 1), Exception);
  f.write("2.cube", "");
  EXPECT_THROW(f.solve(2), Exception);
  for (auto const& file : std::filesystem::directory_iterator(f.options.folder)) {
    std::string const name = file.path().filename();
    EXPECT_TRUE(name.find(".verdict") == std::string::npos && name.find(".part") == std::string::npos)
        << name;
  }
}

}  // namespace
}  // namespace vell::cubes

#include "vell/cubes/proofjoin.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "tests/cubes/folder.h"
#include "tests/proofs/drat.h"

namespace vell::cubes {
namespace {

// Whether the checker accepts the proof. It refuses one that deletes what is not there by an exception.
bool verified(std::string const& cnf, std::string const& proof) {
  std::istringstream formula(cnf);
  std::istringstream lemmas(proof);
  try {
    return proofs::DratChecker(formula, lemmas).verify();
  } catch (std::runtime_error const&) {
    return false;
  }
}

TEST(ProofJoin, OneProofOfTheFormula) {
  for (Split const split : {Split::words, Split::lookahead}) {
    test::CubeFolder const f(test::unsat_script, 8, split);
    f.solve_all(true);
    EXPECT_EQ(sinks::Answer::unsat, f.join(f.path("all.drat")).answer);
    EXPECT_TRUE(verified(f.read("formula.cnf"), f.read("all.drat")));
    // It needs the lemmas: neither a part of it nor the last line alone will do.
    EXPECT_FALSE(verified(f.read("formula.cnf"), "0\n"));
    std::string const all = f.read("all.drat");
    EXPECT_FALSE(verified(f.read("formula.cnf"),
                          all.substr(all.size() / 2 + all.substr(all.size() / 2).find('\n') + 1)));
  }
}

TEST(ProofJoin, ProofsOfAnotherSolver) {
  test::CubeFolder const f(test::unsat_script, 4);
  for (std::size_t k = 1; k <= f.cubes; ++k) {
    CubeSolverOptions o;
    o.folder = f.options.folder;
    o.cube = k;
    o.proof = true;
    o.command = "cadical -q --no-binary {cnf} {proof}";
    run::Statistics statistics;
    EXPECT_EQ(sinks::Answer::unsat, solve_cube(o, run::no_limits(), statistics));
  }
  EXPECT_EQ(sinks::Answer::unsat, f.join(f.path("all.drat")).answer);
  EXPECT_TRUE(verified(f.read("formula.cnf"), f.read("all.drat")));
}

TEST(ProofJoin, ChangedAndMissingProofs) {
  test::CubeFolder const f(test::unsat_script, 8);
  f.solve_all(true);
  std::string const good = f.read("3.drat");
  f.write("3.drat", good + "1 0\n");
  EXPECT_THROW(f.join(f.path("all.drat")), Exception);
  f.write("3.drat", good);
  EXPECT_EQ(sinks::Answer::unsat, f.join(f.path("all.drat")).answer);
  std::remove(f.path("5.drat").c_str());
  std::remove(f.path("all.drat").c_str());
  EXPECT_THROW(f.join(f.path("all.drat")), Exception);
  EXPECT_FALSE(std::filesystem::exists(f.path("all.drat")));
  // A verdict without a proof does not count for a proof.
  test::CubeFolder const g(test::unsat_script, 8);
  g.solve_all(true);
  std::remove(g.path("2.verdict").c_str());
  g.solve(2);
  EXPECT_EQ((std::vector<std::size_t>{2}), g.join(g.path("all.drat")).missing);
  EXPECT_EQ(sinks::Answer::unsat, g.join().answer);
}

}  // namespace
}  // namespace vell::cubes

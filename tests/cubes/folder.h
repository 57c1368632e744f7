#pragma once

// Folders of cubes for tests.

#include <fstream>
#include <string>

#include "tests/support/scratch.h"
#include "vell/cubes/cubesolver.h"
#include "vell/cubes/cubewriter.h"
#include "vell/cubes/join.h"
#include "vell/cubes/manifest.h"

namespace vell::test {

// Distributivity, which holds: no assignment satisfies its negation.
inline constexpr char unsat_script[] =
    "(set-logic QF_BV)(declare-const x (_ BitVec 4))(declare-const y (_ BitVec 4))(declare-const z (_ BitVec "
    "4))\n(assert (distinct (bvmul x (bvadd y z)) (bvadd (bvmul x y) (bvmul x z))))(check-sat)\n";
inline constexpr char sat_script[] =
    "(set-logic QF_BV)(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))\n"
    "(assert (= (bvmul x y) #x23))(assert (bvult #x01 x))(assert (bvult x y))(assert (bvult y #x10))"
    "(check-sat)\n";

// A script in cubes, without simplification on words, which would leave nothing of it.
class CubeFolder {
 public:
  explicit CubeFolder(std::string const& script, std::size_t count = 8,
                      cubes::Split split = cubes::Split::words, std::string const& name = "f") {
    options.cnf.input = scratch.write(name + ".smt2", script);
    options.cnf.passes = words::Passes::none;
    options.folder = scratch.file(name);
    options.count = count;
    options.split = split;
    run::Statistics statistics;
    cubes = cubes::write_cubes(options, run::no_limits(), statistics);
  }
  std::string path(std::string const& name) const { return options.folder + "/" + name; }
  sinks::Answer solve(std::size_t k, bool proof = false) const {
    cubes::CubeSolverOptions o;
    o.folder = options.folder;
    o.cube = k;
    o.proof = proof;
    run::Statistics statistics;
    return cubes::solve_cube(o, run::no_limits(), statistics);
  }
  void solve_all(bool proof = false) const {
    for (std::size_t k = 1; k <= cubes; ++k) solve(k, proof);
  }
  cubes::Joined join(std::string const& proof = "") const {
    return cubes::join({options.folder, proof}, run::no_limits());
  }
  // Why the folder cannot be joined, without its path.
  std::string refusal() const {
    try {
      join();
    } catch (Exception const& e) {
      return std::string(e.what()).substr(options.folder.size() + 1);
    }
    return "";
  }
  std::string read(std::string const& name) const {
    std::ifstream in(path(name), std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
  }
  void write(std::string const& name, std::string const& text) const {
    std::ofstream(path(name), std::ios::binary) << text;
  }

  Scratch scratch;
  cubes::CubeOptions options;
  std::size_t cubes = 0;
};

}  // namespace vell::test

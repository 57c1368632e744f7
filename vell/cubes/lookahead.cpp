// CaDiCaL's look-ahead.
//
// generate_cubes() goes down one level of the tree at a time and leaves out cubes that it has refuted. A
// terminator that says stop ends the level that is worked on.

#include <cadical.hpp>

#include <utility>

#include "vell/cubes/splitter.h"

namespace vell::cubes {

namespace {

class Bound : public CaDiCaL::Terminator {
 public:
  Bound(std::uint64_t steps, run::Limits const& limits) : steps_(steps), limits_(limits) {}
  bool terminate() override {
    used_ += steps_ == 0 ? 0 : 1;
    return used_ > steps_ || limits_.stopped();
  }

 private:
  std::uint64_t steps_;
  std::uint64_t used_ = 0;
  run::Limits const& limits_;
};

}  // namespace

std::vector<Cube> split_by_lookahead(Formula const& formula, std::size_t count, std::uint64_t steps,
                                     run::Limits const& limits) {
  int depth = 0;
  while (depth < 30 && std::size_t{1} << depth < count) ++depth;
  Bound bound(steps, limits);
  CaDiCaL::Solver solver;
  solver.set("quiet", 1);
  solver.connect_terminator(&bound);
  formula.each([&](std::span<std::int32_t const> clause) {
    for (std::int32_t l : clause) solver.add(l);
    solver.add(0);
  });
  if (depth == 0) return {Cube{}};
  CaDiCaL::Solver::CubesWithStatus found = solver.generate_cubes(depth);
  solver.disconnect_terminator();
  limits.check();
  // Without a cube the look-ahead has decided the formula: it is left to the solver of the cube without
  // literals.
  if (found.cubes.empty()) return {Cube{}};
  return all_leaves(found.cubes);
}

}  // namespace vell::cubes

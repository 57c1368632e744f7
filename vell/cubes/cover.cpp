#include "vell/cubes/cover.h"

#include "vell/sat/solvers.h"

namespace vell::cubes {

namespace {

bool unsatisfiable(std::vector<Cube> const& cubes, sat::SolverOptions const& options,
                   run::Limits const& limits) {
  run::Tunables const tunables;
  std::unique_ptr<sinks::SatSolver> const solver = sat::make_solver(options, limits, tunables);
  solver->set_terminate([&] { return limits.stopped(); });
  for (Cube const& cube : cubes) {
    Cube clause;
    for (std::int32_t l : cube) clause.push_back(-l);
    solver->add(clause);
  }
  sinks::Answer const answer = solver->solve({}, {});
  limits.check();
  return answer == sinks::Answer::unsat;
}

}  // namespace

bool cover_everything(std::vector<Cube> const& cubes, run::Limits const& limits) {
  return unsatisfiable(cubes, {}, limits);
}

bool prove_cover(std::vector<Cube> const& cubes, std::string const& proof, run::Limits const& limits) {
  sat::SolverOptions options;
  options.proof = proof;
  return unsatisfiable(cubes, options, limits);
}

}  // namespace vell::cubes

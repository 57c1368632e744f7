#include "vell/sat/solvers.h"

#include "vell/sat/cadicalsolver.h"
#include "vell/sat/ipasirsolver.h"
#include "vell/sat/portfolio.h"
#include "vell/sat/rounds.h"

namespace vell::sat {

std::unique_ptr<sinks::SatSolver> make_solver(SolverOptions const& options, run::Limits const& limits,
                                              run::Tunables const& tunables) {
  if (!options.command.empty()) return make_external_solver(limits, options.command, options.proof);
  if (!options.ipasir.empty()) return std::make_unique<IpasirSolver>(options.ipasir);
  // A proof is that of one search.
  if (!options.proof.empty()) return make_proving_solver(options.seed, options.proof);
  if (options.threads > 1 && options.deterministic)
    return std::make_unique<Rounds>(options.seed, options.threads, limits, tunables);
  auto solver = std::make_unique<CadicalSolver>(options.seed);
  if (options.threads < 2) return solver;
  auto units = std::make_shared<UnitPool>();
  solver->set_learned_unit([units](std::int32_t l) { units->add(l); });
  return std::make_unique<Portfolio>(std::move(solver), options.seed, limits, tunables, options.threads,
                                     units);
}

}  // namespace vell::sat

// The sink in front of the library numbers the solver's variable v as literal v + 1, and this gives it back.

#include "vell/sat/ipasirsolver.h"

#include <utility>
#include <vector>

namespace vell::sat {

namespace {

bv::BvLit literal(std::int32_t l) { return l > 0 ? l + 1 : l - 1; }

}  // namespace

IpasirSolver::IpasirSolver(std::string const& path) : library_(path), sink_(library_.functions()) {}

void IpasirSolver::add(std::span<std::int32_t const> clause) {
  sink_.lits.clear();
  for (std::int32_t l : clause) sink_.lits.push_back(literal(l));
  sink_.add_clause();
}

sinks::Answer IpasirSolver::solve(std::span<std::int32_t const> assumptions, sinks::Effort const&) {
  std::vector<bv::BvLit> literals;
  for (std::int32_t a : assumptions) literals.push_back(literal(a));
  return sink_.solve(literals);
}

bool IpasirSolver::value(std::int32_t variable) { return sink_.value(literal(variable)); }
bool IpasirSolver::failed(std::int32_t assumption) { return sink_.failed(literal(assumption)); }
void IpasirSolver::set_terminate(std::function<bool()> terminate) {
  sink_.set_terminate(std::move(terminate));
}

}  // namespace vell::sat

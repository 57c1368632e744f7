// CryptoMiniSat as an IPASIR shared object. It is told to stop from another thread, so a thread polls the
// test.

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <cryptominisat5/cryptominisat.h>

#include "tests/sinks/ipasir/ipasir.h"

namespace {

struct Solver {
  CMSat::Lit literal(std::int32_t l) {
    auto const variable = static_cast<std::uint32_t>(std::abs(l)) - 1;
    if (variable >= solver.nVars()) solver.new_vars(variable + 1 - solver.nVars());
    return CMSat::Lit(variable, l < 0);
  }

  CMSat::SATSolver solver;
  std::vector<CMSat::Lit> clause;
  std::vector<CMSat::Lit> assumptions;
  void* data = nullptr;
  int (*test)(void*) = nullptr;
};

Solver& of(void* s) { return *static_cast<Solver*>(s); }

}  // namespace

char const* ipasir_signature() {
  static std::string const text = std::string("cryptominisat-") + CMSat::SATSolver::get_version();
  return text.c_str();
}
void* ipasir_init() { return new Solver; }
void ipasir_release(void* s) { delete static_cast<Solver*>(s); }
void ipasir_add(void* s, std::int32_t literal) {
  Solver& solver = of(s);
  if (literal != 0) {
    solver.clause.push_back(solver.literal(literal));
    return;
  }
  solver.solver.add_clause(solver.clause);
  solver.clause.clear();
}
void ipasir_assume(void* s, std::int32_t literal) { of(s).assumptions.push_back(of(s).literal(literal)); }
int ipasir_solve(void* s) {
  Solver& solver = of(s);
  std::vector<CMSat::Lit> const assumptions = std::move(solver.assumptions);
  solver.assumptions.clear();
  if (!solver.solver.okay()) return 20;
  std::atomic<bool> done = false;
  std::thread watch;
  if (solver.test != nullptr)
    watch = std::thread([&] {
      while (!done && solver.test(solver.data) == 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      while (!done) {
        solver.solver.interrupt_asap();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    });
  CMSat::lbool const answer = solver.solver.solve(&assumptions);
  done = true;
  if (watch.joinable()) watch.join();
  return answer == CMSat::l_True ? 10 : answer == CMSat::l_False ? 20 : 0;
}
std::int32_t ipasir_val(void* s, std::int32_t literal) {
  auto const& model = of(s).solver.get_model();
  auto const variable = static_cast<std::size_t>(std::abs(literal)) - 1;
  if (variable >= model.size() || model[variable] == CMSat::l_Undef) return 0;
  return (model[variable] == CMSat::l_True) == (literal > 0) ? literal : -literal;
}
int ipasir_failed(void* s, std::int32_t literal) {
  Solver& solver = of(s);
  if (!solver.solver.okay()) return 0;  // no assumption is needed
  CMSat::Lit const negated = ~solver.literal(literal);
  for (CMSat::Lit l : solver.solver.get_conflict())
    if (l == negated) return 1;
  return 0;
}
void ipasir_set_terminate(void* s, void* data, int (*test)(void*)) {
  of(s).data = data;
  of(s).test = test;
}

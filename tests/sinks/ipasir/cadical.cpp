// CaDiCaL as an IPASIR shared object.

#include <cadical.hpp>

#include "tests/sinks/ipasir/ipasir.h"

namespace {

class Solver : public CaDiCaL::Terminator {
 public:
  Solver() { solver.set("quiet", 1); }
  bool terminate() override { return test != nullptr && test(data) != 0; }

  CaDiCaL::Solver solver;
  void* data = nullptr;
  int (*test)(void*) = nullptr;
};

CaDiCaL::Solver& of(void* s) { return static_cast<Solver*>(s)->solver; }

}  // namespace

char const* ipasir_signature() { return CaDiCaL::Solver::signature(); }
void* ipasir_init() { return new Solver; }
void ipasir_release(void* s) { delete static_cast<Solver*>(s); }
void ipasir_add(void* s, std::int32_t literal) { of(s).add(literal); }
void ipasir_assume(void* s, std::int32_t literal) { of(s).assume(literal); }
int ipasir_solve(void* s) { return of(s).solve(); }
std::int32_t ipasir_val(void* s, std::int32_t literal) { return of(s).val(literal) > 0 ? literal : -literal; }
int ipasir_failed(void* s, std::int32_t literal) { return of(s).failed(literal) ? 1 : 0; }
void ipasir_set_terminate(void* s, void* data, int (*test)(void*)) {
  Solver& solver = *static_cast<Solver*>(s);
  solver.data = data;
  solver.test = test;
  if (test != nullptr)
    solver.solver.connect_terminator(&solver);
  else
    solver.solver.disconnect_terminator();
}

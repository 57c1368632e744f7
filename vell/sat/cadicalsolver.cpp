// CaDiCaL restores what preprocessing eliminated when later clauses mention it, so no variable is frozen
// here. A term's bits stay meaningful over any number of solve() calls.

#include "vell/sat/cadicalsolver.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <climits>
#include <new>
#include <utility>

#include <cadical.hpp>

namespace vell::sat {

using sinks::Answer;
using sinks::Effort;

// The solver's two callbacks: it asks whether to stop, and offers each learned clause, which is counted; unit
// clauses are passed on.
class CadicalSolver::Observer : public CaDiCaL::Terminator, public CaDiCaL::Learner {
 public:
  bool terminate() override { return stop && stop(); }
  bool learning(int size) override {
    learned.fetch_add(1, std::memory_order_relaxed);
    return size == 1 && learned_unit;
  }
  void learn(int literal) override {
    if (literal != 0) learned_unit(literal);
  }

  // Puts the two into the list of what was abandoned, without an allocation. There they can be reached, so
  // leak checkers do not report them.
  static void abandon(Observer* observer, CaDiCaL::Solver* solver) {
    observer->abandoned_ = solver;
    observer->next_ = all_abandoned.load();
    while (!all_abandoned.compare_exchange_weak(observer->next_, observer)) continue;
  }

  std::function<bool()> stop;
  std::function<void(std::int32_t)> learned_unit;
  std::atomic<std::uint64_t> learned{0};

 private:
  static std::atomic<Observer*> all_abandoned;
  CaDiCaL::Solver* abandoned_ = nullptr;
  Observer* next_ = nullptr;
};

std::atomic<CadicalSolver::Observer*> CadicalSolver::Observer::all_abandoned{nullptr};

namespace {

// As CaDiCaL takes a limit: below 0 for none.
int limit(std::uint64_t steps) {
  return steps == Effort::any ? -1 : static_cast<int>(std::min<std::uint64_t>(steps, INT_MAX));
}

}  // namespace

template <typename F>
auto CadicalSolver::call(F f) {
  if (solver_ == nullptr) throw std::bad_alloc();
  try {
    return f(*solver_);
  } catch (...) {
    Observer::abandon(observer_.release(), solver_.release());
    throw;
  }
}

CadicalSolver::CadicalSolver(int seed, Search how)
    : observer_(std::make_unique<Observer>()), solver_(std::make_unique<CaDiCaL::Solver>()) {
  call([&](CaDiCaL::Solver& solver) {
    solver.set("quiet", 1);
    if (seed != 0) solver.set("seed", seed);
    solver.connect_terminator(observer_.get());
    solver.connect_learner(observer_.get());
    if (how == Search::plain) {
      solver.configure("plain");
      return;
    }
    solver.set("phase", how == Search::from_zeros || how == Search::models_from_zeros ? 0 : 1);
    if (how == Search::from_zeros || how == Search::from_ones) return;
    solver.set("stabilizeonly", 1);
    solver.set("target", 2);
  });
}

CadicalSolver::~CadicalSolver() {
  if (solver_ == nullptr) return;
  solver_->disconnect_learner();
  solver_->disconnect_terminator();
}

void CadicalSolver::add(std::span<std::int32_t const> clause) {
  call([&](CaDiCaL::Solver& solver) {
    for (std::int32_t l : clause) {
      assert(l != 0);
      solver.add(l);
    }
    solver.add(0);
  });
}

void CadicalSolver::trace_proof(std::FILE* file) {
  call([&](CaDiCaL::Solver& solver) {
    solver.set("binary", 0);
    solver.trace_proof(file, "proof");
  });
}
void CadicalSolver::close_proof() {
  call([](CaDiCaL::Solver& solver) { solver.close_proof_trace(); });
}

void CadicalSolver::set_terminate(std::function<bool()> terminate) {
  if (observer_ == nullptr) throw std::bad_alloc();
  observer_->stop = std::move(terminate);
}

void CadicalSolver::set_learned_unit(std::function<void(std::int32_t)> learned) {
  if (observer_ == nullptr) throw std::bad_alloc();
  observer_->learned_unit = std::move(learned);
}

Answer CadicalSolver::solve(std::span<std::int32_t const> assumptions, Effort const& effort) {
  int const answer = call([&](CaDiCaL::Solver& solver) {
    solver.limit("conflicts", limit(effort.conflicts));
    solver.limit("decisions", limit(effort.decisions));
    for (std::int32_t a : assumptions) {
      assert(a != 0);
      solver.assume(a);
    }
    return solver.solve();
  });
  switch (answer) {
    case 10: return Answer::sat;
    case 20: return Answer::unsat;
    default: return Answer::unknown;
  }
}

bool CadicalSolver::value(std::int32_t variable) {
  assert(variable > 0);
  return call([&](CaDiCaL::Solver& solver) { return solver.val(variable) > 0; });
}

bool CadicalSolver::failed(std::int32_t assumption) {
  assert(assumption != 0);
  return call([&](CaDiCaL::Solver& solver) { return solver.failed(assumption); });
}

std::uint64_t CadicalSolver::conflicts() const {
  return observer_ == nullptr ? 0 : observer_->learned.load(std::memory_order_relaxed);
}

}  // namespace vell::sat

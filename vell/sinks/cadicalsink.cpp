// The embedded solver behind the sink's interface.
//
// CaDiCaL restores what preprocessing eliminated when later clauses mention it, so nothing is frozen here. A
// term's bits stay meaningful over any number of solve() calls.

#include "vell/sinks/cadicalsink.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>
#include <utility>

#include <cadical.hpp>

namespace vell::sinks {

// The solver's two callbacks: it asks whether to stop, and offers each learned clause (which is only
// counted).
class CadicalSink::Observer : public CaDiCaL::Terminator, public CaDiCaL::Learner {
 public:
  bool terminate() override { return stop && stop(); }
  bool learning(int) override {
    learned.fetch_add(1, std::memory_order_relaxed);
    return false;
  }
  void learn(int) override {}

  std::function<bool()> stop;
  std::atomic<std::uint64_t> learned{0};
};

namespace {
int solver_literal(bv::BvLit l) { return l > 0 ? l - 1 : l + 1; }
}  // namespace

template <typename F>
auto CadicalSink::call(F f) {
  if (solver_ == nullptr) throw std::bad_alloc();
  try {
    return f(*solver_);
  } catch (...) {
    static_cast<void>(solver_.release());
    static_cast<void>(observer_.release());
    throw;
  }
}

CadicalSink::CadicalSink(int seed)
    : observer_(std::make_unique<Observer>()), solver_(std::make_unique<CaDiCaL::Solver>()) {
  call([&](CaDiCaL::Solver& solver) {
    solver.set("quiet", 1);
    if (seed != 0) solver.set("seed", seed);
    solver.connect_terminator(observer_.get());
    solver.connect_learner(observer_.get());
  });
}

CadicalSink::~CadicalSink() {
  if (solver_ == nullptr) return;
  solver_->disconnect_learner();
  solver_->disconnect_terminator();
}

void CadicalSink::add_clause() {
  for (bv::BvLit l : lits)
    if (l == bv::l_true) return;
  call([&](CaDiCaL::Solver& solver) {
    for (bv::BvLit l : lits) {
      if (l == bv::l_false) continue;
      known_ = std::max(known_, std::abs(l));
      solver.add(solver_literal(l));
      ++literals_;
    }
    solver.add(0);
  });
  ++clauses_;
}

void CadicalSink::add_clause(std::initializer_list<bv::BvLit> clause) {
  lits.assign(clause);
  add_clause();
}

void CadicalSink::trace_proof(std::FILE* file) {
  call([&](CaDiCaL::Solver& solver) {
    solver.set("binary", 0);
    solver.trace_proof(file, "proof");
  });
}
void CadicalSink::close_proof() {
  call([](CaDiCaL::Solver& solver) { solver.close_proof_trace(); });
}

void CadicalSink::search(Search how) {
  call([&](CaDiCaL::Solver& solver) {
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

void CadicalSink::set_terminate(std::function<bool()> terminate) {
  if (observer_ == nullptr) throw std::bad_alloc();
  observer_->stop = std::move(terminate);
}

CadicalSink::Answer CadicalSink::solve(std::vector<bv::BvLit> const& assumptions) {
  false_assumed_ = std::find(assumptions.begin(), assumptions.end(), bv::l_false) != assumptions.end();
  int const conflicts = std::exchange(conflict_limit_, -1);
  int const decisions = std::exchange(decision_limit_, -1);
  if (false_assumed_) return Answer::unsat;
  int const answer = call([&](CaDiCaL::Solver& solver) {
    solver.limit("conflicts", conflicts);
    solver.limit("decisions", decisions);
    for (bv::BvLit a : assumptions) {
      if (a == bv::l_true) continue;
      known_ = std::max(known_, std::abs(a));
      solver.assume(solver_literal(a));
    }
    return solver.solve();
  });
  switch (answer) {
    case 10: return Answer::sat;
    case 20: return Answer::unsat;
    default: return Answer::unknown;
  }
}

bool CadicalSink::value(bv::BvLit literal) {
  if (bv::is_constant(literal)) return literal == bv::l_true;
  bv::BvLit const variable = std::abs(literal);
  bool const positive =
      variable <= known_ && call([&](CaDiCaL::Solver& solver) { return solver.val(variable - 1) > 0; });
  return positive == (literal > 0);
}

bool CadicalSink::failed(bv::BvLit assumption) {
  if (false_assumed_) return assumption == bv::l_false;
  if (bv::is_constant(assumption)) return false;
  return call([&](CaDiCaL::Solver& solver) { return solver.failed(solver_literal(assumption)); });
}

std::uint64_t CadicalSink::conflicts() const {
  return observer_ == nullptr ? 0 : observer_->learned.load(std::memory_order_relaxed);
}

}  // namespace vell::sinks

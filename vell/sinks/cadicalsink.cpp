// The embedded solver behind the sink's interface.
//
// CaDiCaL restores what preprocessing eliminated when later clauses mention it, so nothing is frozen here. A term's
// bits stay meaningful over any number of solve() calls.

#include "vell/sinks/cadicalsink.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <utility>

#include <cadical.hpp>

namespace vell::sinks {

// The solver's two callbacks: it asks whether to stop, and offers each learned clause (which is only counted).
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

CadicalSink::CadicalSink(int seed)
    : observer_(std::make_unique<Observer>()), solver_(std::make_unique<CaDiCaL::Solver>()) {
  solver_->set("quiet", 1);
  if (seed != 0) solver_->set("seed", seed);
  solver_->connect_terminator(observer_.get());
  solver_->connect_learner(observer_.get());
}

CadicalSink::~CadicalSink() {
  solver_->disconnect_learner();
  solver_->disconnect_terminator();
}

void CadicalSink::add_clause() {
  for (bv::BvLit l : lits)
    if (l == bv::l_true) return;
  for (bv::BvLit l : lits) {
    if (l == bv::l_false) continue;
    known_ = std::max(known_, std::abs(l));
    solver_->add(solver_literal(l));
    ++literals_;
  }
  solver_->add(0);
  ++clauses_;
}

void CadicalSink::add_clause(std::initializer_list<bv::BvLit> clause) {
  lits.assign(clause);
  add_clause();
}

void CadicalSink::trace_proof(std::FILE* file) {
  solver_->set("binary", 0);
  solver_->trace_proof(file, "proof");
}
void CadicalSink::close_proof() { solver_->close_proof_trace(); }

void CadicalSink::search(Search how) {
  if (how == Search::plain) {
    solver_->configure("plain");
    return;
  }
  solver_->set("phase", how == Search::from_zeros || how == Search::models_from_zeros ? 0 : 1);
  if (how == Search::from_zeros || how == Search::from_ones) return;
  solver_->set("stabilizeonly", 1);
  solver_->set("target", 2);
}

void CadicalSink::set_terminate(std::function<bool()> terminate) { observer_->stop = std::move(terminate); }

CadicalSink::Answer CadicalSink::solve(std::vector<bv::BvLit> const& assumptions) {
  false_assumed_ = std::find(assumptions.begin(), assumptions.end(), bv::l_false) != assumptions.end();
  int const conflicts = std::exchange(conflict_limit_, -1);
  int const decisions = std::exchange(decision_limit_, -1);
  if (false_assumed_) return Answer::unsat;
  solver_->limit("conflicts", conflicts);
  solver_->limit("decisions", decisions);
  for (bv::BvLit a : assumptions) {
    if (a == bv::l_true) continue;
    known_ = std::max(known_, std::abs(a));
    solver_->assume(solver_literal(a));
  }
  switch (solver_->solve()) {
    case 10: return Answer::sat;
    case 20: return Answer::unsat;
    default: return Answer::unknown;
  }
}

bool CadicalSink::value(bv::BvLit literal) {
  if (bv::is_constant(literal)) return literal == bv::l_true;
  bv::BvLit const variable = std::abs(literal);
  bool const positive = variable <= known_ && solver_->val(variable - 1) > 0;
  return positive == (literal > 0);
}

bool CadicalSink::failed(bv::BvLit assumption) {
  if (false_assumed_) return assumption == bv::l_false;
  if (bv::is_constant(assumption)) return false;
  return solver_->failed(solver_literal(assumption));
}

std::uint64_t CadicalSink::conflicts() const { return observer_->learned.load(std::memory_order_relaxed); }

}  // namespace vell::sinks

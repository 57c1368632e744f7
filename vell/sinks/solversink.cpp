#include "vell/sinks/solversink.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <utility>

#include "vell/sinks/numbering.h"
#include "vell/terms/exception.h"

namespace vell::sinks {

SolverSink::SolverSink(std::unique_ptr<SatSolver> solver) : solver_(std::move(solver)) {
  assert(solver_ != nullptr);
}

SolverSink::~SolverSink() = default;

void SolverSink::add_clause() {
  literals_of_solver_.clear();
  bv::BvLit greatest = known_;
  for (bv::BvLit l : lits) {
    assert(l != bv::l_undef && std::abs(l) < next_);
    if (l == bv::l_true) return;
    if (l == bv::l_false) continue;
    greatest = std::max(greatest, std::abs(l));
    literals_of_solver_.push_back(solver_literal(l));
  }
  known_ = greatest;
  state_ = State::input;
  solver_->add(literals_of_solver_);
  literals_ += literals_of_solver_.size();
  ++clauses_;
}

void SolverSink::add_clause(std::initializer_list<bv::BvLit> clause) {
  lits.assign(clause);
  add_clause();
}

void SolverSink::set_terminate(std::function<bool()> terminate) {
  solver_->set_terminate(std::move(terminate));
}

Answer SolverSink::solve(std::vector<bv::BvLit> const& assumptions, Effort const& effort) {
  false_assumed_ = std::find(assumptions.begin(), assumptions.end(), bv::l_false) != assumptions.end();
  state_ = false_assumed_ ? State::unsat : State::input;
  if (false_assumed_) return Answer::unsat;
  literals_of_solver_.clear();
  for (bv::BvLit a : assumptions) {
    assert(a != bv::l_undef && std::abs(a) < next_);
    if (a == bv::l_true) continue;
    known_ = std::max(known_, std::abs(a));
    literals_of_solver_.push_back(solver_literal(a));
  }
  solver_->set_variables(static_cast<std::int32_t>(variables(fresh_literals(), Form::clean)));
  Answer const answer = solver_->solve(literals_of_solver_, effort);
  if (answer != Answer::unknown) state_ = answer == Answer::sat ? State::sat : State::unsat;
  return answer;
}

bool SolverSink::value(bv::BvLit literal) const {
  if (state_ != State::sat)
    throw Exception("there is no model: the last answer was not sat, or clauses came after it");
  if (bv::is_constant(literal)) return literal == bv::l_true;
  bv::BvLit const v = std::abs(literal);
  bool const positive = v <= known_ && solver_->value(solver_literal(v));
  return positive == (literal > 0);
}

bool SolverSink::failed(bv::BvLit assumption) const {
  if (state_ != State::unsat)
    throw Exception("no assumption failed: the last answer was not unsat, or clauses came after it");
  if (false_assumed_) return assumption == bv::l_false;
  if (bv::is_constant(assumption)) return false;
  return solver_->failed(solver_literal(assumption));
}

}  // namespace vell::sinks

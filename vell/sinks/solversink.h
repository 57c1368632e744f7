#pragma once

// Clauses into a SAT solver, incrementally.
//
// Tested by tests/sinks/solversink_test.cpp.

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

#include "vell/sinks/satsolver.h"
#include "vell/terms/clausesink.h"
#include "vell/utils/export.h"

namespace vell::sinks {

// A sink in front of a SAT solver. Variables are numbered in the clean form (numbering.h): the solver sees
// neither the constants nor the clauses that the constant true satisfies.
class VELL_API SolverSink : public bv::ClauseSink {
 public:
  // solver: owned from now on; not null.
  explicit SolverSink(std::unique_ptr<SatSolver> solver);
  ~SolverSink() override;
  SolverSink(SolverSink const&) = delete;
  SolverSink& operator=(SolverSink const&) = delete;

  bv::BvLit new_lit() override { return next_++; }
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override;
  // The clause of these literals.
  void add_clause(std::initializer_list<bv::BvLit> clause);

  // Called again and again during solve(); true ends it with `unknown`. Empty for none.
  void set_terminate(std::function<bool()> terminate);

  // Decides the clauses under the assumptions, which may be constants.
  Answer solve(std::vector<bv::BvLit> const& assumptions = {}, Effort const& effort = {});
  // After sat, and until the next clause: the literal's value under the model. A variable that the solver
  // never saw is false. Throws Exception when there is no model.
  bool value(bv::BvLit literal) const;
  // After unsat, and until the next clause: whether the assumption may have been needed. An assumption that
  // is the constant false is all it takes. Throws Exception when the last answer was not unsat.
  bool failed(bv::BvLit assumption) const;

  // Literals that new_lit() gave out.
  std::uint64_t fresh_literals() const { return static_cast<std::uint64_t>(next_) - 2; }
  // Clauses given to the solver, and the literals in them.
  std::uint64_t clauses() const { return clauses_; }
  std::uint64_t literals() const { return literals_; }
  // As SatSolver has them.
  bool counts_conflicts() const { return solver_->counts_conflicts(); }
  std::uint64_t conflicts() const { return solver_->conflicts(); }

 private:
  enum class State : std::uint8_t { input, sat, unsat };

  std::unique_ptr<SatSolver> solver_;
  std::vector<std::int32_t> literals_of_solver_;  // of the clause, or of the assumptions, on their way
  bv::BvLit next_ = 2;
  bv::BvLit known_ = 1;  // the largest literal given to the solver
  std::uint64_t clauses_ = 0;
  std::uint64_t literals_ = 0;
  State state_ = State::input;
  bool false_assumed_ = false;
};

}  // namespace vell::sinks

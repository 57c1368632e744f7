#pragma once

// Clauses into CaDiCaL, incrementally.
//
// Tested by tests/sinks/cadicalsink_test.cpp.

#include <cstdint>
#include <cstdio>
#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

#include "vell/terms/clausesink.h"

namespace CaDiCaL {
class Solver;
}

namespace vell::sinks {

// Literal v >= 2 is the solver's variable v - 1. Clauses with the constant true are dropped, the constant
// false is removed from the others; an empty clause makes the solver inconsistent for good.
//
// An exception that leaves the solver (std::bad_alloc, or one thrown by the terminate function) leaves it in
// no state to be used, not even to be destroyed: it is abandoned, its memory lost, and every later call that
// needs it throws std::bad_alloc.
class CadicalSink : public bv::ClauseSink {
 public:
  enum class Answer : std::uint8_t { sat, unsat, unknown };

  // seed: as CaDiCaL's option of that name, 0 its default.
  explicit CadicalSink(int seed = 0);
  ~CadicalSink() override;
  CadicalSink(CadicalSink const&) = delete;
  CadicalSink& operator=(CadicalSink const&) = delete;

  bv::BvLit new_lit() override { return next_++; }
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override;
  // The clause of these literals.
  void add_clause(std::initializer_list<bv::BvLit> clause);

  // Writes a DRAT proof, as text, of everything from here on to the file, which stays the caller's. To be
  // called before the first clause.
  void trace_proof(std::FILE* file);
  // Ends the proof; the file may be closed then.
  void close_proof();

  // Where decisions start from, all variables false or true; the next two are more persistent about models
  // and less about proofs. from_ones is what a solver begins as. plain: from_ones without a look at the
  // clauses in between, for many short questions about one formula. To be called before the first clause.
  enum class Search : std::uint8_t { from_zeros, from_ones, models_from_zeros, models_from_ones, plain };
  void search(Search how);
  // Ends the next solve(), and no other, with `unknown` after this many conflicts.
  void limit_conflicts(int conflicts) { conflict_limit_ = conflicts; }
  // The same for decisions; without conflicts a model takes at most one for each variable.
  void limit_decisions(int decisions) { decision_limit_ = decisions; }

  // Called again and again during solve(); true ends it with `unknown`. Empty for none.
  void set_terminate(std::function<bool()> terminate);

  // Decides the clauses under the assumptions, which may be constants.
  Answer solve(std::vector<bv::BvLit> const& assumptions = {});
  // After sat: the literal's value under the model. A variable the solver never saw is false.
  bool value(bv::BvLit literal);
  // After unsat: whether the assumption was used. An assumption that is the constant false is all it takes.
  bool failed(bv::BvLit assumption);

  std::uint64_t fresh_literals() const { return static_cast<std::uint64_t>(next_) - 2; }
  // Clauses and literals given to the solver.
  std::uint64_t clauses() const { return clauses_; }
  std::uint64_t literals() const { return literals_; }
  // Clauses learned so far, one for each conflict. Readable from another thread.
  std::uint64_t conflicts() const;

 private:
  class Observer;
  // f(solver); where that throws the solver is abandoned.
  template <typename F>
  auto call(F f);

  std::unique_ptr<Observer> observer_;  // outlives the solver
  std::unique_ptr<CaDiCaL::Solver> solver_;
  bv::BvLit next_ = 2;
  bv::BvLit known_ = 1;  // the largest literal given to the solver
  std::uint64_t clauses_ = 0;
  std::uint64_t literals_ = 0;
  int conflict_limit_ = -1;  // of the next solve(), like the other; below 0 for none
  int decision_limit_ = -1;
  bool false_assumed_ = false;
};

}  // namespace vell::sinks

#pragma once

// CaDiCaL behind the interface of SAT solvers.
//
// Tested by tests/sat/cadicalsolver_test.cpp.

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <span>

#include "vell/sinks/satsolver.h"

namespace CaDiCaL {
class Solver;
}

namespace vell::sat {

// An exception that leaves the solver (std::bad_alloc, or one thrown by the terminate function) leaves it in
// no state to be used, not even to be destroyed: it is abandoned, its memory lost, and every later call that
// needs it throws std::bad_alloc.
class CadicalSolver : public sinks::SatSolver {
 public:
  // Where decisions start from, all variables false or true. The next two are more persistent about models
  // and less about proofs. from_ones is the solver's default. plain: from_ones without inprocessing, for many
  // short questions about one formula.
  enum class Search : std::uint8_t { from_zeros, from_ones, models_from_zeros, models_from_ones, plain };

  // seed: as CaDiCaL's option of that name, 0 its default.
  explicit CadicalSolver(int seed = 0, Search how = Search::from_ones);
  ~CadicalSolver() override;
  CadicalSolver(CadicalSolver const&) = delete;
  CadicalSolver& operator=(CadicalSolver const&) = delete;

  void add(std::span<std::int32_t const> clause) override;
  sinks::Answer solve(std::span<std::int32_t const> assumptions, sinks::Effort const& effort) override;
  bool value(std::int32_t variable) override;
  bool failed(std::int32_t assumption) override;
  void set_terminate(std::function<bool()> terminate) override;
  bool counts_conflicts() const override { return true; }
  // Clauses learned so far, one for each conflict. Readable from another thread.
  std::uint64_t conflicts() const override;

  // Called with each unit clause that is learned, from inside solve(): the clauses added so far imply it,
  // whatever was assumed. Empty for none.
  void set_learned_unit(std::function<void(std::int32_t literal)> learned);

  // Writes a DRAT proof, as text, of everything from here on to the file, which stays the caller's. To be
  // called before the first clause.
  void trace_proof(std::FILE* file);
  // Ends the proof; the file may be closed then.
  void close_proof();

 private:
  class Observer;
  // f(solver); where that throws the solver is abandoned.
  template <typename F>
  auto call(F f);

  std::unique_ptr<Observer> observer_;  // outlives the solver
  std::unique_ptr<CaDiCaL::Solver> solver_;
};

}  // namespace vell::sat

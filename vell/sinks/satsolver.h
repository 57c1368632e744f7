#pragma once

// The interface of SAT solvers. A solver numbers its variables from 1, as DIMACS does; SolverSink puts one
// behind the literals of the clausifier.

#include <cstdint>
#include <functional>
#include <span>

#include "vell/utils/export.h"

namespace vell::sinks {

// What a solver answers; unknown when it was stopped or gave up.
enum class Answer : std::uint8_t { sat, unsat, unknown };

// When a search is to end with Answer::unknown.
struct Effort {
  static constexpr std::uint64_t any = UINT64_MAX;  // no bound
  std::uint64_t conflicts = any;                    // after so many
  std::uint64_t decisions = any;  // after so many; without conflicts a model takes one for each variable
};

// An incremental SAT solver. Literals are positive or negative numbers of variables.
class VELL_API SatSolver {
 public:
  virtual ~SatSolver() = default;

  // A clause, which holds from now on. The empty clause makes the solver inconsistent for good.
  virtual void add(std::span<std::int32_t const> clause) = 0;
  // Decides the clauses under the assumptions. A solver ignores what it cannot measure of the effort: see
  // counts_conflicts().
  virtual Answer solve(std::span<std::int32_t const> assumptions, Effort const& effort) = 0;
  // After sat, and until the next clause: whether the variable is true. It occurs in a clause or an
  // assumption.
  virtual bool value(std::int32_t variable) = 0;
  // After unsat, and until the next clause: whether the assumption may have been needed.
  virtual bool failed(std::int32_t assumption) = 0;
  // Called again and again during solve(); true ends it with `unknown`. Empty for none.
  virtual void set_terminate(std::function<bool()> terminate) = 0;

  // Variables up to this one may occur. Told before each solve().
  virtual void set_variables(std::int32_t) {}
  // Whether solve() obeys a limit of conflicts, and conflicts() tells how many there were.
  virtual bool counts_conflicts() const { return false; }
  // Conflicts in all calls of solve(), inside one as well; 0 for a solver that does not count them.
  virtual std::uint64_t conflicts() const { return 0; }
};

}  // namespace vell::sinks

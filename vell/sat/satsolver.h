#pragma once

// The SAT solver behind the script engine: the embedded one, or any program that reads DIMACS.
//
// Tested by tests/sat/embeddedsolver_test.cpp and tests/sat/externalsolver_test.cpp.

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "vell/run/limits.h"
#include "vell/run/statistics.h"
#include "vell/terms/clausesink.h"

namespace vell::sat {

class SatSolver {
 public:
  enum class Answer : std::uint8_t { sat, unsat, unknown };

  virtual ~SatSolver() = default;
  // Takes clauses over literals as the clausifier emits them; valid for the solver's life.
  virtual bv::ClauseSink& sink() = 0;
  // Decides the clauses under the assumptions, which may be constants. Unknown when the limits stopped it, or
  // the solver gave up. when_long, where it is not empty, is called once in a search that has gone on for a
  // second or two, by a measure of steps: true ends the search with unknown, for clauses to be added. It must
  // not use this solver. A solver without such a measure never calls it.
  using WhenLong = std::function<bool()>;
  virtual Answer solve(std::vector<bv::BvLit> const& assumptions, WhenLong const& when_long) = 0;
  Answer solve(std::vector<bv::BvLit> const& assumptions) { return solve(assumptions, WhenLong()); }
  // From now on a check ends with unknown after so many conflicts, 0 for no such end: solve() counts those
  // since the last begin_budget(). The same conflicts are counted on every machine, so nothing runs beside
  // the search then. False where the solver cannot.
  virtual bool begin_budget(std::uint64_t conflicts) { return conflicts == 0; }
  // Whether the budget ended the last solve().
  virtual bool budget_spent() const { return false; }
  // After sat. False for a variable in no clause.
  virtual bool value(bv::BvLit literal) = 0;
  // After unsat: whether the assumption may have been needed.
  virtual bool failed(bv::BvLit assumption) = 0;
  // After unsat: ends the proof and gives its file the name asked for. Does nothing where no proof is
  // written. Throws OutputError when it cannot be written.
  virtual void commit_proof() {}
  // Copies its figures.
  virtual void report(run::Statistics& statistics) const = 0;

  void add_clause(std::initializer_list<bv::BvLit> clause) {
    sink().lits.assign(clause);
    sink().add_clause();
  }
};

// CaDiCaL. threads: 2 or more to let a second search join in a long one, or at once where nobody asked to be
// told of a long one; no second one where a proof is written. proof: file for a DRAT proof, empty for none;
// it appears in commit_proof(). Throws OutputError when it cannot be made.
std::unique_ptr<SatSolver> make_cadical(run::Limits const& limits, run::Statistics& statistics, int seed,
                                        unsigned threads, std::string const& proof);

// A program that reads DIMACS from the file put in place of "{cnf}" in the shell command and prints `s` and
// `v` lines.
std::unique_ptr<SatSolver> make_external_solver(run::Limits const& limits, std::string const& command);

}  // namespace vell::sat

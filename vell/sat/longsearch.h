#pragma once

// A search that is given further clauses when it takes long.
//
// Tested by tests/sat/longsearch_test.cpp.

#include <cstdint>
#include <vector>

#include "vell/run/limits.h"
#include "vell/run/statistics.h"
#include "vell/run/tunables.h"
#include "vell/sinks/solversink.h"

namespace vell::sat {

// Finds clauses that help a search.
class LemmaSource {
 public:
  virtual ~LemmaSource() = default;
  // Clauses that follow from those of the solver, over literals of its sink; none where the search had better
  // go on undisturbed. Called from within the search: the solver must not be used. Throws nothing but
  // std::bad_alloc.
  virtual std::vector<bv::BvLitList> lemmas() = 0;
};

// Solves within the limits. A search that exceeds Tunables::long_search conflicts asks the source, once. If
// there are lemmas, the search is stopped, they are added, and it starts again. Stopping a search can double
// its time, so it is stopped only for lemmas, not for the question. A solver that does not count its
// conflicts never asks.
class LongSearch {
 public:
  // Sets the solver's termination test, which also copies the number of conflicts to the statistics. source
  // may be null. The references must outlive this, and this every use of the solver.
  LongSearch(sinks::SolverSink& solver, LemmaSource* source, run::Limits const& limits,
             run::Statistics& statistics, run::Tunables const& tunables);
  LongSearch(LongSearch const&) = delete;
  LongSearch& operator=(LongSearch const&) = delete;

  // Decides the clauses under the assumptions, with at most so many conflicts.
  sinks::Answer solve(std::vector<bv::BvLit> const& assumptions,
                      std::uint64_t conflicts = sinks::Effort::any);

 private:
  bool ended();
  void find_lemmas();

  sinks::SolverSink& solver_;
  LemmaSource* const source_;
  run::Limits const& limits_;
  run::Statistics& statistics_;
  run::Tunables const& tunables_;
  bool may_ask_ = false;       // the source, in this search
  std::uint64_t started_ = 0;  // conflicts before it
  std::vector<bv::BvLitList> lemmas_;
};

}  // namespace vell::sat

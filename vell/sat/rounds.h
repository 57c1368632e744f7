#pragma once

// Several searches over the same clauses that take the same steps in every run.
//
// Tested by tests/sat/rounds_test.cpp.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "vell/run/limits.h"
#include "vell/run/tunables.h"
#include "vell/sat/cadicalsolver.h"
#include "vell/sinks/satsolver.h"

namespace vell::sat {

// The first search runs alone until it takes long (Tunables::long_search). From then on all search in rounds:
// each on a thread of its own, for the same number of conflicts. At the end of a round the first in order
// that has an answer gives it; without one, each learns the unit clauses that the others found in the round.
// The answer, the model and the failed assumptions depend on the calls and the seed, not on the speed of the
// threads.
class Rounds : public sinks::SatSolver {
 public:
  // threads: searches, two or more. limits and tunables must outlive this.
  Rounds(int seed, unsigned threads, run::Limits const& limits, run::Tunables const& tunables);
  ~Rounds() override;

  void add(std::span<std::int32_t const> clause) override;
  // A limit of conflicts holds for the first search, and leaves the others out.
  sinks::Answer solve(std::span<std::int32_t const> assumptions, sinks::Effort const& effort) override;
  bool value(std::int32_t variable) override { return answering_->value(variable); }
  bool failed(std::int32_t assumption) override { return answering_->failed(assumption); }
  // Called by the first search only.
  void set_terminate(std::function<bool()> terminate) override { terminate_ = std::move(terminate); }
  bool counts_conflicts() const override { return true; }
  std::uint64_t conflicts() const override { return first_.conflicts(); }

 private:
  struct Other {
    Other(int seed, CadicalSolver::Search how) : solver(seed, how) {}
    CadicalSolver solver;
    std::vector<std::int32_t> units;  // found in this round
    sinks::Answer answer = sinks::Answer::unknown;
    bool broken = false;  // memory ran out in it
  };

  bool keep(std::span<std::int32_t const> clause);
  bool make_others();
  sinks::Answer round(std::span<std::int32_t const> assumptions);
  void share_units();

  int const seed_;
  unsigned const threads_;
  run::Limits const& limits_;
  run::Tunables const& tunables_;
  std::function<bool()> terminate_;
  CadicalSolver first_;
  std::vector<std::int32_t> units_;             // that the first one found in this round
  bool ended_ = false;                          // the first one, by terminate_
  std::vector<std::unique_ptr<Other>> others_;  // of this solve(), until the next
  std::vector<std::int32_t> clauses_;           // 0 after each
  bool keeps_ = true;                           // whether clauses_ is every clause
  // No search from this place on need go on: one before it has an answer.
  std::atomic<std::size_t> needed_{SIZE_MAX};
  CadicalSolver* answering_ = &first_;
};

}  // namespace vell::sat

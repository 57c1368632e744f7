#pragma once

// A second search over the clauses of a solver that has been at it for a while.
//
// Tested by tests/sat/portfolio_test.cpp.

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "vell/run/limits.h"
#include "vell/sat/satsolver.h"
#include "vell/sinks/cadicalsink.h"

namespace vell::sat {

class Portfolio {
 public:
  // Starts searching on a thread of its own. clauses: literals as the clausifier makes them, 0 after each
  // clause; it and limits must outlive this.
  Portfolio(std::vector<bv::BvLit> const& clauses, std::vector<bv::BvLit> assumptions, int seed,
            run::Limits const& limits);
  // Ends the search.
  ~Portfolio();
  Portfolio(Portfolio const&) = delete;
  Portfolio& operator=(Portfolio const&) = delete;

  // Whether there is an answer.
  bool done() const { return done_.load(std::memory_order_acquire); }
  // Once it is done: sat or unsat, with the values or failed assumptions in result().
  SatSolver::Answer answer() const { return answer_; }
  sinks::CadicalSink& result() { return *solver_; }

 private:
  void run();
  bool attempt(sinks::CadicalSink::Search how, int seed, int conflicts);
  bool stopped() const { return stop_.load(std::memory_order_relaxed) || limits_.stopped(); }

  std::vector<bv::BvLit> const& clauses_;
  std::vector<bv::BvLit> const assumptions_;
  int const seed_;
  run::Limits const& limits_;
  std::atomic<bool> stop_{false};
  std::atomic<bool> done_{false};
  SatSolver::Answer answer_ = SatSolver::Answer::unknown;
  std::unique_ptr<sinks::CadicalSink> solver_;
  std::thread thread_;
};

}  // namespace vell::sat

#pragma once

// A solver that is helped, when its search takes long, by further searches over the same clauses.
//
// Tested by tests/sat/portfolio_test.cpp.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <thread>
#include <vector>

#include "vell/run/limits.h"
#include "vell/run/tunables.h"
#include "vell/sat/cadicalsolver.h"
#include "vell/sat/unitpool.h"
#include "vell/sinks/satsolver.h"

namespace vell::sat {

// A search by CaDiCaL on a thread of its own.
class FurtherSearch {
 public:
  // Starts searching. clauses: 0 after each clause; place: 1 for the second search, 2 for the third, and so
  // on: each begins in another way, with other seeds; conflicts: of each attempt of the first round; units:
  // what the searches tell each other, null for nothing. clauses, units and limits must outlive this. Throws
  // std::system_error where no thread can be had.
  FurtherSearch(std::vector<std::int32_t> const& clauses, std::vector<std::int32_t> assumptions, int seed,
                std::uint64_t conflicts, run::Limits const& limits, unsigned place = 1,
                UnitPool* units = nullptr);
  // Ends the search.
  ~FurtherSearch();
  FurtherSearch(FurtherSearch const&) = delete;
  FurtherSearch& operator=(FurtherSearch const&) = delete;

  // Whether there is an answer.
  bool done() const { return done_.load(std::memory_order_acquire); }
  // Once it is done: sat or unsat, with the values or failed assumptions in result().
  sinks::Answer answer() const { return answer_; }
  CadicalSolver& result() { return *solver_; }

 private:
  void run();
  bool attempt(CadicalSolver::Search how, int seed, std::uint64_t conflicts);
  bool stopped() const { return stop_.load(std::memory_order_relaxed) || limits_.stopped(); }

  std::vector<std::int32_t> const& clauses_;
  std::vector<std::int32_t> const assumptions_;
  int const seed_;
  std::uint64_t const conflicts_;
  run::Limits const& limits_;
  unsigned const place_;
  UnitPool* const units_;
  std::atomic<bool> stop_{false};
  std::atomic<bool> done_{false};
  sinks::Answer answer_ = sinks::Answer::unknown;
  std::unique_ptr<CadicalSolver> solver_;
  std::thread thread_;
};

// Passes everything on to the first solver. When that has met Tunables::long_search conflicts since the last
// answer of sat or unsat, further searches join it, and the one that answers first ends the others. They tell
// each other the unit clauses that they learn: a further search takes them up whenever it starts over, the
// first one in its next solve(). None joins a solve() with a limit of conflicts, which is to end in the same
// state on every machine, one of more than Tunables::portfolio_literals literals, or one for which there is
// no memory or no thread.
class Portfolio : public sinks::SatSolver {
 public:
  // first counts its conflicts. seed: those of the further searches are others. threads: searches in all, two
  // or more. units: where the first solver puts the unit clauses that it learns; null for nowhere. limits and
  // tunables must outlive this.
  Portfolio(std::unique_ptr<sinks::SatSolver> first, int seed, run::Limits const& limits,
            run::Tunables const& tunables, unsigned threads = 2, std::shared_ptr<UnitPool> units = nullptr);
  ~Portfolio() override;

  void add(std::span<std::int32_t const> clause) override;
  sinks::Answer solve(std::span<std::int32_t const> assumptions, sinks::Effort const& effort) override;
  bool value(std::int32_t variable) override { return answering().value(variable); }
  bool failed(std::int32_t assumption) override { return answering().failed(assumption); }
  void set_terminate(std::function<bool()> terminate) override { terminate_ = std::move(terminate); }
  void set_variables(std::int32_t last) override { first_->set_variables(last); }
  bool counts_conflicts() const override { return true; }
  std::uint64_t conflicts() const override { return first_->conflicts(); }

 private:
  void keep(std::span<std::int32_t const> clause);
  void tell_first();
  bool ended();
  bool takes_long() const;
  void join();
  // The solver that the last answer is from.
  sinks::SatSolver& answering();

  std::unique_ptr<sinks::SatSolver> first_;
  int const seed_;
  run::Limits const& limits_;
  run::Tunables const& tunables_;
  unsigned const threads_;
  std::shared_ptr<UnitPool> const units_;
  bool joined_ = false;   // whether others ever did
  std::size_t told_ = 0;  // units that the first solver was given
  std::function<bool()> terminate_;
  bool keeps_ = true;                      // whether clauses_ is every clause
  std::vector<std::int32_t> clauses_;      // 0 after each
  std::vector<std::int32_t> assumptions_;  // of this solve()
  bool may_join_ = false;                  // in this solve()
  std::uint64_t answered_ = 0;             // conflicts up to the last answer
  // While they run; the one that answered for as long as its answer stands.
  std::vector<std::unique_ptr<FurtherSearch>> others_;
};

}  // namespace vell::sat

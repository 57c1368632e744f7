// Time to a model has a heavy tail: the same solver may need three seconds with one seed and ten minutes with
// the next. So this search starts over, in another way and with another seed, whenever its conflicts run out,
// in rounds that allow it more each time (Gomes, Selman, Crato and Kautz, "Heavy-tailed phenomena in
// satisfiability", 2000), while the solver it helps goes on without a break.

#include "vell/sat/portfolio.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace vell::sat {

namespace {

using Search = sinks::CadicalSink::Search;

// One round. The solver that is helped searches from_ones.
constexpr Search ways[] = {Search::models_from_ones, Search::from_zeros, Search::models_from_zeros};
constexpr int first_conflicts = 50'000;  // of an attempt of the first round

}  // namespace

Portfolio::Portfolio(std::vector<bv::BvLit> const& clauses, std::vector<bv::BvLit> assumptions, int seed,
                     run::Limits const& limits)
    : clauses_(clauses), assumptions_(std::move(assumptions)), seed_(seed), limits_(limits) {
  thread_ = std::thread([this] { run(); });
}

Portfolio::~Portfolio() {
  stop_ = true;
  thread_.join();
}

void Portfolio::run() {
  try {
    int seed = seed_;
    for (int conflicts = first_conflicts;;
         conflicts = std::min(conflicts, std::numeric_limits<int>::max() / 2) * 2)
      for (Search how : ways) {
        seed = seed % 1'000'000'000 + 1;
        if (stopped() || attempt(how, seed, conflicts)) return;
      }
  } catch (std::bad_alloc const&) {
    // There is no room for a second search.
    solver_.reset();
  }
}

bool Portfolio::attempt(Search how, int seed, int conflicts) {
  solver_ = std::make_unique<sinks::CadicalSink>(seed);
  solver_->search(how);
  solver_->set_terminate([this] { return stopped(); });
  for (bv::BvLit l : clauses_) {
    if (l != 0) {
      solver_->lits.push_back(l);
      continue;
    }
    solver_->add_clause();
    solver_->lits.clear();
    if (stopped()) return false;
  }
  solver_->limit_conflicts(conflicts);
  switch (solver_->solve(assumptions_)) {
    case sinks::CadicalSink::Answer::sat: answer_ = SatSolver::Answer::sat; break;
    case sinks::CadicalSink::Answer::unsat: answer_ = SatSolver::Answer::unsat; break;
    case sinks::CadicalSink::Answer::unknown: return false;
  }
  done_.store(true, std::memory_order_release);
  return true;
}

}  // namespace vell::sat

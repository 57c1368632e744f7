// The time to find a model has a heavy tail: the same solver may need three seconds with one seed and ten
// minutes with the next. So the second search starts over, in another way and with another seed, whenever its
// conflicts run out, in rounds that allow it twice as many each time (Gomes, Selman, Crato and Kautz,
// "Heavy-tailed phenomena in satisfiability", 2000), while the first one goes on without a break.

#include "vell/sat/portfolio.h"

#include <algorithm>
#include <cassert>
#include <new>
#include <system_error>
#include <utility>

namespace vell::sat {

using sinks::Answer;
using sinks::Effort;

namespace {

using Search = CadicalSolver::Search;

// One round. The first solver searches from_ones.
constexpr Search ways[] = {Search::models_from_ones, Search::from_zeros, Search::models_from_zeros};

}  // namespace

// ---- the second search ----

SecondSearch::SecondSearch(std::vector<std::int32_t> const& clauses, std::vector<std::int32_t> assumptions,
                           int seed, std::uint64_t conflicts, run::Limits const& limits)
    : clauses_(clauses),
      assumptions_(std::move(assumptions)),
      seed_(seed),
      conflicts_(conflicts),
      limits_(limits) {
  assert(clauses_.empty() || clauses_.back() == 0);
  thread_ = std::thread([this] { run(); });
}

SecondSearch::~SecondSearch() {
  stop_ = true;
  thread_.join();
}

void SecondSearch::run() {
  try {
    int seed = seed_;
    for (std::uint64_t conflicts = conflicts_;; conflicts = std::min(conflicts, Effort::any / 4) * 2)
      for (Search how : ways) {
        seed = seed % 1'000'000'000 + 1;
        if (stopped() || attempt(how, seed, conflicts)) return;
      }
  } catch (std::bad_alloc const&) {
    // There is no room for a second search.
    solver_.reset();
  }
}

bool SecondSearch::attempt(Search how, int seed, std::uint64_t conflicts) {
  solver_ = std::make_unique<CadicalSolver>(seed, how);
  solver_->set_terminate([this] { return stopped(); });
  for (auto clause = clauses_.begin(); clause != clauses_.end();) {
    auto const end = std::find(clause, clauses_.end(), 0);
    solver_->add({clause, end});
    clause = end + 1;
    if (stopped()) return false;
  }
  answer_ = solver_->solve(assumptions_, {.conflicts = conflicts});
  if (answer_ == Answer::unknown) return false;
  done_.store(true, std::memory_order_release);
  return true;
}

// ---- the portfolio ----

Portfolio::Portfolio(std::unique_ptr<sinks::SatSolver> first, int seed, run::Limits const& limits,
                     run::Tunables const& tunables)
    : first_(std::move(first)), seed_(seed), limits_(limits), tunables_(tunables) {
  assert(first_->counts_conflicts());
  first_->set_terminate([this] { return ended(); });
}

Portfolio::~Portfolio() = default;

void Portfolio::add(std::span<std::int32_t const> clause) {
  assert(second_ == nullptr || second_->done());  // it reads the clauses
  first_->add(clause);
  if (keeps_) keep(clause);
}

void Portfolio::keep(std::span<std::int32_t const> clause) {
  try {
    clauses_.insert(clauses_.end(), clause.begin(), clause.end());
    clauses_.push_back(0);
    if (clauses_.size() < tunables_.portfolio_literals) return;
  } catch (std::bad_alloc const&) {
    // The copy is the first thing to do without.
  }
  keeps_ = false;
  clauses_ = {};
}

Answer Portfolio::solve(std::span<std::int32_t const> assumptions, Effort const& effort) {
  second_.reset();
  assumptions_.assign(assumptions.begin(), assumptions.end());
  may_join_ = keeps_ && effort.conflicts == Effort::any;
  if (takes_long()) join();
  Answer answer = first_->solve(assumptions, effort);
  if (answer == Answer::unknown && second_ != nullptr && second_->done())
    answer = second_->answer();
  else
    second_.reset();
  if (answer != Answer::unknown) answered_ = first_->conflicts();
  return answer;
}

// Asked by the first search, again and again.
bool Portfolio::ended() {
  if (terminate_ && terminate_()) return true;
  if (takes_long()) join();
  return second_ != nullptr && second_->done();
}

bool Portfolio::takes_long() const {
  return may_join_ && first_->conflicts() - answered_ >= tunables_.long_search;
}

void Portfolio::join() {
  may_join_ = false;
  try {
    second_ =
        std::make_unique<SecondSearch>(clauses_, assumptions_, seed_, tunables_.portfolio_conflicts, limits_);
  } catch (std::bad_alloc const&) {
  } catch (std::system_error const&) {
  }
}

sinks::SatSolver& Portfolio::answering() { return second_ != nullptr ? second_->result() : *first_; }

}  // namespace vell::sat

// The time to find a model has a heavy tail: the same solver may need three seconds with one seed and ten
// minutes with the next. So a further search starts over, in another way and with another seed, whenever its
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

// ---- a further search ----

FurtherSearch::FurtherSearch(std::vector<std::int32_t> const& clauses, std::vector<std::int32_t> assumptions,
                             int seed, std::uint64_t conflicts, run::Limits const& limits, unsigned place,
                             UnitPool* units)
    : clauses_(clauses),
      assumptions_(std::move(assumptions)),
      seed_(seed),
      conflicts_(conflicts),
      limits_(limits),
      place_(place),
      units_(units) {
  assert(clauses_.empty() || clauses_.back() == 0);
  thread_ = std::thread([this] { run(); });
}

FurtherSearch::~FurtherSearch() {
  stop_ = true;
  thread_.join();
}

void FurtherSearch::run() {
  try {
    // Far enough apart for the attempts of a run to have seeds of their own.
    int seed = static_cast<int>((seed_ + (place_ - 1) * std::uint64_t{10'000'019}) % 1'000'000'000);
    std::size_t way = place_ - 1;
    for (std::uint64_t conflicts = conflicts_;; conflicts = std::min(conflicts, Effort::any / 4) * 2)
      for (std::size_t i = 0; i < std::size(ways); ++i, ++way) {
        seed = seed % 1'000'000'000 + 1;
        if (stopped() || attempt(ways[way % std::size(ways)], seed, conflicts)) return;
      }
  } catch (std::bad_alloc const&) {
    // There is no room for a second search.
    solver_.reset();
  }
}

bool FurtherSearch::attempt(Search how, int seed, std::uint64_t conflicts) {
  solver_ = std::make_unique<CadicalSolver>(seed, how);
  solver_->set_terminate([this] { return stopped(); });
  for (auto clause = clauses_.begin(); clause != clauses_.end();) {
    auto const end = std::find(clause, clauses_.end(), 0);
    solver_->add({clause, end});
    clause = end + 1;
    if (stopped()) return false;
  }
  if (units_ != nullptr) {
    for (std::int32_t const& l : units_->units()) solver_->add({&l, 1});
    solver_->set_learned_unit([this](std::int32_t l) { units_->add(l); });
  }
  answer_ = solver_->solve(assumptions_, {.conflicts = conflicts});
  if (answer_ == Answer::unknown) return false;
  done_.store(true, std::memory_order_release);
  return true;
}

// ---- the portfolio ----

Portfolio::Portfolio(std::unique_ptr<sinks::SatSolver> first, int seed, run::Limits const& limits,
                     run::Tunables const& tunables, unsigned threads, std::shared_ptr<UnitPool> units)
    : first_(std::move(first)),
      seed_(seed),
      limits_(limits),
      tunables_(tunables),
      threads_(threads),
      units_(std::move(units)) {
  assert(first_->counts_conflicts() && threads_ > 1);
  first_->set_terminate([this] { return ended(); });
}

Portfolio::~Portfolio() = default;

void Portfolio::add(std::span<std::int32_t const> clause) {
  // A search that runs reads the clauses.
  assert(std::all_of(others_.begin(), others_.end(), [](auto const& o) { return o->done(); }));
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
  others_.clear();
  assumptions_.assign(assumptions.begin(), assumptions.end());
  may_join_ = keeps_ && effort.conflicts == Effort::any;
  if (may_join_) tell_first();
  if (takes_long()) join();
  Answer answer = first_->solve(assumptions, effort);
  // Of the others the one that answered stays, and none where the first has an answer.
  auto const done = answer == Answer::unknown ? std::find_if(others_.begin(), others_.end(),
                                                             [](auto const& o) { return o->done(); })
                                              : others_.end();
  std::unique_ptr<FurtherSearch> answered = done == others_.end() ? nullptr : std::move(*done);
  others_.clear();
  if (answered != nullptr) {
    answer = answered->answer();
    others_.push_back(std::move(answered));
  }
  if (answer != Answer::unknown) answered_ = first_->conflicts();
  return answer;
}

// Units that the others have learned, among its own. Until others joined it takes the steps that it takes
// alone.
void Portfolio::tell_first() {
  if (units_ == nullptr || !joined_) return;
  std::vector<std::int32_t> const units = units_->units();
  for (; told_ < units.size(); ++told_) first_->add({&units[told_], 1});
}

// Asked by the first search, again and again.
bool Portfolio::ended() {
  if (terminate_ && terminate_()) return true;
  if (takes_long()) join();
  return std::any_of(others_.begin(), others_.end(), [](auto const& o) { return o->done(); });
}

bool Portfolio::takes_long() const {
  return may_join_ && first_->conflicts() - answered_ >= tunables_.long_search;
}

void Portfolio::join() {
  may_join_ = false;
  joined_ = true;
  try {
    for (unsigned place = 1; place < threads_; ++place)
      others_.push_back(std::make_unique<FurtherSearch>(
          clauses_, assumptions_, seed_, tunables_.portfolio_conflicts, limits_, place, units_.get()));
  } catch (std::bad_alloc const&) {
  } catch (std::system_error const&) {
  }
}

sinks::SatSolver& Portfolio::answering() { return others_.empty() ? *first_ : others_.front()->result(); }

}  // namespace vell::sat

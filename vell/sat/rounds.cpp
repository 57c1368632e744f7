#include "vell/sat/rounds.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <thread>

namespace vell::sat {

using sinks::Answer;
using sinks::Effort;

namespace {

using Search = CadicalSolver::Search;

// Of the second search, the third, and so on.
constexpr Search ways[] = {Search::models_from_ones, Search::from_zeros, Search::models_from_zeros,
                           Search::from_ones};
// A round has to be long beside the start of a search, and short beside the whole.
constexpr std::uint64_t round_conflicts = 10'000;

}  // namespace

Rounds::Rounds(int seed, unsigned threads, run::Limits const& limits, run::Tunables const& tunables)
    : seed_(seed), threads_(threads), limits_(limits), tunables_(tunables), first_(seed) {
  first_.set_terminate([this] {
    ended_ = ended_ || (terminate_ && terminate_());
    return ended_ || limits_.stopped();
  });
  first_.set_learned_unit([this](std::int32_t l) { units_.push_back(l); });
}

Rounds::~Rounds() = default;

void Rounds::add(std::span<std::int32_t const> clause) {
  first_.add(clause);
  if (keeps_ && !keep(clause)) {
    keeps_ = false;
    clauses_ = {};
  }
}

bool Rounds::keep(std::span<std::int32_t const> clause) {
  try {
    clauses_.insert(clauses_.end(), clause.begin(), clause.end());
    clauses_.push_back(0);
    return clauses_.size() < tunables_.portfolio_literals;
  } catch (std::bad_alloc const&) {
    return false;
  }
}

Answer Rounds::solve(std::span<std::int32_t const> assumptions, Effort const& effort) {
  ended_ = false;
  answering_ = &first_;
  // Where those after the one that answered were stopped is by chance, so they begin anew.
  others_.clear();
  bool const bounded = effort.conflicts != Effort::any || effort.decisions != Effort::any;
  if (bounded || !keeps_) return first_.solve(assumptions, effort);
  // A little more than LongSearch waits before it asks for lemmas, which end this search.
  Answer answer =
      first_.solve(assumptions, {.conflicts = tunables_.long_search + tunables_.long_search / 10});
  if (answer != Answer::unknown || ended_ || limits_.stopped()) return answer;
  if (!make_others()) return first_.solve(assumptions, effort);
  share_units();
  while ((answer = round(assumptions)) == Answer::unknown && !ended_ && !limits_.stopped()) share_units();
  return answer;
}

bool Rounds::make_others() {
  try {
    for (unsigned i = 1; i < threads_; ++i) {
      int const seed = static_cast<int>((static_cast<std::int64_t>(seed_) + i) % 1'000'000'000 + 1);
      Other& other = *others_.emplace_back(std::make_unique<Other>(seed, ways[(i - 1) % std::size(ways)]));
      other.solver.set_terminate(
          [this, i] { return limits_.stopped() || needed_.load(std::memory_order_relaxed) <= i; });
      other.solver.set_learned_unit([&other](std::int32_t l) { other.units.push_back(l); });
      for (auto clause = clauses_.begin(); clause != clauses_.end();) {
        auto const end = std::find(clause, clauses_.end(), 0);
        other.solver.add({clause, end});
        clause = end + 1;
      }
    }
  } catch (std::bad_alloc const&) {
    others_.clear();
  }
  return !others_.empty();
}

Answer Rounds::round(std::span<std::int32_t const> assumptions) {
  needed_ = SIZE_MAX;
  auto const answered = [this](std::size_t place) {
    std::size_t now = needed_.load();
    while (place + 1 < now && !needed_.compare_exchange_weak(now, place + 1)) continue;
  };
  std::vector<std::thread> running;
  auto const join = [&] {
    for (std::thread& t : running) t.join();
  };
  Answer answer = Answer::unknown;
  try {
    running.reserve(others_.size());
    for (std::size_t i = 0; i < others_.size(); ++i)
      running.emplace_back([this, i, assumptions, &answered] {
        Other& other = *others_[i];
        try {
          other.answer = other.solver.solve(assumptions, {.conflicts = round_conflicts});
        } catch (std::bad_alloc const&) {
          other.broken = true;
        }
        if (other.answer != Answer::unknown) answered(i + 1);
      });
  } catch (std::system_error const&) {
    // Those that have a thread search; the others miss this round.
  }
  try {
    answer = first_.solve(assumptions, {.conflicts = round_conflicts});
    if (answer != Answer::unknown || ended_) answered(0);
  } catch (...) {
    answered(0);
    join();
    throw;
  }
  join();
  std::erase_if(others_, [](auto const& other) { return other->broken; });
  if (answer != Answer::unknown || ended_) return answer;
  for (auto const& other : others_)
    if (other->answer != Answer::unknown) {
      answering_ = &other->solver;
      return other->answer;
    }
  return Answer::unknown;
}

void Rounds::share_units() {
  auto const tell = [](CadicalSolver& solver, std::vector<std::int32_t> const& units) {
    for (std::int32_t const& l : units) solver.add({&l, 1});
  };
  // What is added is no news of this round.
  std::vector<std::vector<std::int32_t>> found;
  found.push_back(std::move(units_));
  for (auto const& other : others_) found.push_back(std::move(other->units));
  for (std::size_t from = 0; from < found.size(); ++from) {
    if (from != 0) tell(first_, found[from]);
    for (std::size_t to = 1; to < found.size(); ++to)
      if (to != from) tell(others_[to - 1]->solver, found[from]);
  }
  units_.clear();
  for (auto const& other : others_) other->units.clear();
}

}  // namespace vell::sat

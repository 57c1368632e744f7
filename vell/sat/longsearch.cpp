#include "vell/sat/longsearch.h"

#include <cassert>
#include <new>
#include <utility>

namespace vell::sat {

using sinks::Answer;
using sinks::Effort;

LongSearch::LongSearch(sinks::SolverSink& solver, LemmaSource* source, run::Limits const& limits,
                       run::Statistics& statistics, run::Tunables const& tunables)
    : solver_(solver), source_(source), limits_(limits), statistics_(statistics), tunables_(tunables) {
  solver_.set_terminate([this] { return ended(); });
}

Answer LongSearch::solve(std::vector<bv::BvLit> const& assumptions, std::uint64_t conflicts) {
  assert(!may_ask_);  // a source of lemmas does not use the solver
  may_ask_ = source_ != nullptr && solver_.counts_conflicts();
  started_ = solver_.conflicts();
  lemmas_.clear();
  Answer const answer = solver_.solve(assumptions, {.conflicts = conflicts});
  may_ask_ = false;
  if (answer != Answer::unknown || lemmas_.empty() || limits_.stopped()) return answer;
  for (bv::BvLitList const& lemma : std::exchange(lemmas_, {})) {
    solver_.lits = lemma;
    solver_.add_clause();
  }
  std::uint64_t const used = solver_.conflicts() - started_;
  if (conflicts == Effort::any) return solver_.solve(assumptions);
  return used >= conflicts ? Answer::unknown : solver_.solve(assumptions, {.conflicts = conflicts - used});
}

// Asked by the search, again and again.
bool LongSearch::ended() {
  statistics_.conflicts = solver_.conflicts();
  if (limits_.stopped()) return true;
  if (may_ask_ && solver_.conflicts() - started_ >= tunables_.long_search) find_lemmas();
  return !lemmas_.empty();
}

// No exception may pass through the solver, which could not be used afterwards: where there is no memory for
// the question the search goes on.
void LongSearch::find_lemmas() {
  may_ask_ = false;
  try {
    lemmas_ = source_->lemmas();
  } catch (std::bad_alloc const&) {
  }
}

}  // namespace vell::sat

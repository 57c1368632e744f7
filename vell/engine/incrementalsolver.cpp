// Levels by activation literals.
//
// An assertion of the first level is a unit clause. Each higher level has an activation literal `a`, which is
// created with the level's first assertion. Its assertions are clauses (-a, lit); `a` is assumed while the
// level exists, and popping the level adds the unit clause -a. The clauses that define a term's bits hold on
// every level, so a term is never translated again, even if its level is popped. If cores are produced, each
// named assertion has an activation literal of its own, its selector.
//
// Before the first check, simplification may eliminate variables of the first level. They get values in every
// model. If a later formula mentions one, the formulas that contained it are asserted again.

#include "vell/engine/incrementalsolver.h"

#include <algorithm>
#include <cassert>
#include <new>

#include "vell/sat/solvers.h"
#include "vell/terms/exception.h"

namespace vell::engine {

using sinks::Answer;

IncrementalSolver::IncrementalSolver(TermManager& tm, IncrementalSolverOptions const& options,
                                     run::Limits const& limits, run::Statistics& statistics)
    : tm_(tm),
      limits_(limits),
      statistics_(statistics),
      tunables_(options.tunables),
      config_{options.free_division ? 1 : 0},
      solver_(std::make_unique<sinks::SolverSink>(
          sat::make_solver({options.seed, options.threads, options.deterministic, options.proof,
                            options.solver_command, options.ipasir},
                           limits, tunables_))),
      clausifier_(&tm, &config_),
      sweep_(tm, clausifier_, limits, tunables_),
      // A sweep assumes SMT-LIB's values of divisions by zero, and its lemmas have no proof steps.
      search_(*solver_, options.free_division || !options.proof.empty() ? nullptr : &sweep_, limits,
              statistics, tunables_),
      simplifier_(tm, options.free_division, options.passes, limits, tunables_),
      limit_test_(limits, statistics, [this] { report(); }),
      evaluator_(tm, options.free_division),
      proof_(!options.proof.empty()),
      last_pass_(options.passes == words::Passes::none ? nullptr : options.last_pass) {
  if (options.logger != nullptr) clausifier_.set_logger(options.logger);
  clausifier_.set_termination_test(&limit_test_);
}

IncrementalSolver::~IncrementalSolver() {
  if (broken_) static_cast<void>(solver_.release());  // its state is unknown: taking it apart could crash
}

bv::BvLit IncrementalSolver::encode_formula(Term_ const* formula) {
  bv::BvLit const holds = clausifier_.bit_blast(formula, solver_.get());
  sweep_.add(formula);
  return holds;
}

void IncrementalSolver::report() {
  statistics_.fresh_literals = solver_->fresh_literals();
  statistics_.clauses = solver_->clauses();
  statistics_.literals = solver_->literals();
  statistics_.conflicts = solver_->conflicts();
}

// Assertions of the first level are permanent, unless cores have to distinguish them.
words::Formulas IncrementalSolver::fresh_formulas(ScriptState const& state,
                                                  std::vector<Term_ const*> const& assumptions,
                                                  bool named_selectors) const {
  std::vector<Assertion> const& assertions = state.assertions();
  std::size_t const first_level = state.levels() == 0 ? assertions.size() : state.level_start(1);
  words::Formulas fresh;
  fresh.first = !named_selectors && selectors_.empty();
  for (std::size_t i = selectors_.size(); i < assertions.size(); ++i) {
    bool const permanent = i < first_level && !named_selectors;
    (permanent ? fresh.permanent : fresh.retractable).push_back({assertions[i].term, i});
  }
  for (std::size_t i = 0; i < assumptions.size(); ++i) fresh.assumed.push_back({assumptions[i], i});
  return fresh;
}

void IncrementalSolver::encode(ScriptState const& state, std::vector<Term_ const*> const& assumptions,
                               bool named_selectors) {
  std::vector<Assertion> const& assertions = state.assertions();
  assert(activations_.size() <= state.levels() && selectors_.size() <= assertions.size());  // see popped()
  activations_.resize(state.levels(), bv::l_undef);
  words::Formulas fresh = fresh_formulas(state, assumptions, named_selectors);
  std::size_t const permanent_end = selectors_.size() + fresh.permanent.size();
  simplifier_.simplify(fresh);
  simplifier_.report(statistics_);
  if (last_pass_) last_pass_(tm_, fresh);
  for (words::Formula const& f : fresh.permanent) solver_->add_clause({encode_formula(f.term)});
  selectors_.resize(permanent_end, bv::l_undef);
  std::uint64_t level = 0;
  for (words::Formula const& f : fresh.retractable) {
    std::size_t const i = f.origin;
    assert(i == selectors_.size());  // passes keep the number and the order of these
    while (level < state.levels() && state.level_start(level + 1) <= i) ++level;
    bv::BvLit const holds = encode_formula(f.term);
    bv::BvLit selector = bv::l_undef;
    if (named_selectors && !assertions[i].name.empty()) {
      selector = solver_->new_lit();
      solver_->add_clause({-selector, holds});
    } else if (level > 0 && !proof_) {
      bv::BvLit& activation = activations_[level - 1];
      if (activation == bv::l_undef) activation = solver_->new_lit();
      solver_->add_clause({-activation, holds});
    } else {
      solver_->add_clause({holds});
    }
    selectors_.push_back(selector);
  }
  assert(selectors_.size() == assertions.size());
  assumed_.clear();
  for (words::Formula const& f : fresh.assumed) {
    assumed_.push_back(encode_formula(f.term));
    if (proof_) solver_->add_clause({assumed_.back()});
  }
  assert(assumed_.size() == assumptions.size());
}

void IncrementalSolver::popped(ScriptState const& state) {
  if (broken_) return;
  while (activations_.size() > state.levels()) {
    if (activations_.back() != bv::l_undef) solver_->add_clause({-activations_.back()});
    activations_.pop_back();
  }
  while (selectors_.size() > state.assertions().size()) {
    if (selectors_.back() != bv::l_undef) solver_->add_clause({-selectors_.back()});
    selectors_.pop_back();
  }
}

bool IncrementalSolver::limit_conflicts(std::uint64_t conflicts) {
  if (conflicts != 0 && !solver_->counts_conflicts()) return false;
  conflict_limit_ = conflicts == 0 ? sinks::Effort::any : conflicts;
  return true;
}

Answer IncrementalSolver::give_up(std::string reason) {
  reason_ = std::move(reason);
  return Answer::unknown;
}

// The check's own assumptions, and the activation literals of levels and named assertions.
std::vector<bv::BvLit> IncrementalSolver::all_assumptions() const {
  std::vector<bv::BvLit> all;
  if (!proof_) all = assumed_;
  for (bv::BvLit l : activations_)
    if (l != bv::l_undef) all.push_back(l);
  for (bv::BvLit l : selectors_)
    if (l != bv::l_undef) all.push_back(l);
  return all;
}

Answer IncrementalSolver::check(ScriptState const& state, std::vector<Term_ const*> const& assumptions,
                                bool named_selectors) {
  if (broken_) return give_up(run::reason_text(run::StopReason::memout));
  if (limits_.stopped()) return give_up(run::reason_text(limits_.reason()));
  try {
    statistics_.enter(run::Phase::clausifying);
    stale_ = true;
    encode(state, assumptions, named_selectors && !proof_);
    stale_ = false;
    named_assertions_.clear();
    for (std::size_t i = 0; proof_ && i < state.assertions().size(); ++i)
      if (!state.assertions()[i].name.empty()) named_assertions_.push_back(i);
    report();

    statistics_.enter(run::Phase::solving);
    Answer const answer = search_.solve(all_assumptions(), conflict_limit_);
    report();
    if (answer == Answer::unsat) return answer;
    if (answer == Answer::unknown) {
      bool const spent = conflict_limit_ != sinks::Effort::any && !limits_.stopped();
      return give_up(run::reason_text(spent ? run::StopReason::resourceout : limits_.reason()));
    }

    statistics_.enter(run::Phase::checking);
    bool const holds = model_holds(state, assumptions);
    statistics_.evaluations = evaluator_.evaluations();
    if (holds) return Answer::sat;
    model_failed_ = true;
    return give_up("incomplete");
  } catch (run::Stopped const& s) {
    return give_up(run::reason_text(s.reason()));
  } catch (std::bad_alloc const&) {
    broken_ = true;
    return give_up(run::reason_text(run::StopReason::memout));
  }
}

bool IncrementalSolver::model_holds(ScriptState const& state, std::vector<Term_ const*> const& assumptions) {
  simplifier_.complete(*this);
  evaluator_.set_assignment(*this);
  for (Assertion const& a : state.assertions())
    if (!evaluator_.is_true(a.term)) return false;
  for (Term_ const* t : assumptions)
    if (!evaluator_.is_true(t)) return false;
  return true;
}

void IncrementalSolver::read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const {
  if (std::uint64_t const* value = simplifier_.completed(t)) {
    std::copy(value, value + (width + 63) / 64, words);
    return;
  }
  bv::BvLitList const* bits = clausifier_.lookup(t);
  if (bits == nullptr) return;  // nothing depends on it: zero
  for (std::uint64_t i = 0; i < width; ++i)
    if (solver_->value((*bits)[i])) words[i / 64] |= std::uint64_t{1} << (i % 64);
}

std::vector<std::size_t> IncrementalSolver::core() const {
  std::vector<std::size_t> out = named_assertions_;
  for (std::size_t i = 0; i < selectors_.size(); ++i)
    if (selectors_[i] != bv::l_undef && solver_->failed(selectors_[i])) out.push_back(i);
  return out;
}

std::vector<std::size_t> IncrementalSolver::failed_assumptions() const {
  std::vector<std::size_t> out;
  for (std::size_t i = 0; i < assumed_.size(); ++i)
    if (proof_ || solver_->failed(assumed_[i])) out.push_back(i);
  return out;
}

}  // namespace vell::engine

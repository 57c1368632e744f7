// Levels by activation literals.
//
// An assertion of the first level is a unit clause. A level above it has one literal `a`, made when the level
// asserts something; its assertions are clauses (-a, lit), `a` is assumed while the level stands, and popping
// the level is the unit clause -a. The clauses that define a term's bits hold on every level, so a term that
// was translated once is never translated again, however often the level that brought it is popped. A named
// assertion, when cores are asked for, has such a literal to itself.
//
// What the first check finds on the first level may be solved in part before it becomes clauses. Variables
// that went in doing so get their values back in each model; a later formula that speaks of one brings the
// formulas back.

#include "vell/script/incrementalsolver.h"

#include <algorithm>
#include <new>

#include "vell/terms/exception.h"

namespace vell::script {

IncrementalSolver::IncrementalSolver(TermManager& tm, IncrementalSolverOptions const& options,
                                     run::Limits const& limits, run::Statistics& statistics)
    : tm_(tm),
      limits_(limits),
      statistics_(statistics),
      config_{options.free_division ? 1 : 0},
      solver_(options.solver_command.empty()
                  ? sat::make_cadical(limits, statistics, options.seed, options.threads, options.proof)
                  : sat::make_external_solver(limits, options.solver_command)),
      clausifier_(&tm, &config_),
      simplifier_(tm, options.free_division, options.passes, limits, options.tunables),
      limit_test_(limits, statistics, [this] { solver_->report(statistics_); }),
      evaluator_(tm, options.free_division),
      embedded_(options.solver_command.empty()),
      proof_(!options.proof.empty()),
      last_pass_(options.passes == words::Passes::none ? nullptr : options.last_pass),
      tunables_(options.tunables) {
  if (options.logger != nullptr) clausifier_.set_logger(options.logger);
  clausifier_.set_termination_test(&limit_test_);
}

IncrementalSolver::~IncrementalSolver() {
  if (broken_) static_cast<void>(solver_.release());  // its state is unknown: taking it apart could crash
}

bv::BvLit IncrementalSolver::encode_formula(Term_ const* formula) {
  encoded_.push_back(formula);
  return clausifier_.bit_blast(formula, &solver_->sink());
}

// What is asserted on the first level holds for good; in a core every assertion must speak for itself.
words::Formulas IncrementalSolver::fresh_formulas(ScriptState const& state,
                                                  std::vector<Term_ const*> const& assumptions,
                                                  bool named_selectors) const {
  std::vector<Assertion> const& assertions = state.assertions();
  std::size_t const first_level = state.levels() == 0 ? assertions.size() : state.level_start(1);
  words::Formulas fresh;
  fresh.first = !named_selectors && selectors_.empty();
  fresh.may_define = !proof_;
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
  activations_.resize(state.levels(), bv::l_undef);
  words::Formulas fresh = fresh_formulas(state, assumptions, named_selectors);
  std::size_t const permanent_end = selectors_.size() + fresh.permanent.size();
  simplifier_.simplify(fresh);
  if (last_pass_) last_pass_(tm_, fresh);
  for (words::Formula const& f : fresh.permanent) solver_->add_clause({encode_formula(f.term)});
  selectors_.resize(permanent_end, bv::l_undef);
  std::uint64_t level = 0;
  for (words::Formula const& f : fresh.retractable) {
    std::size_t const i = f.origin;
    while (level < state.levels() && state.level_start(level + 1) <= i) ++level;
    bv::BvLit const holds = encode_formula(f.term);
    bv::BvLit selector = bv::l_undef;
    if (named_selectors && !assertions[i].name.empty()) {
      selector = solver_->sink().new_lit();
      solver_->add_clause({-selector, holds});
    } else if (level > 0 && !proof_) {
      bv::BvLit& activation = activations_[level - 1];
      if (activation == bv::l_undef) activation = solver_->sink().new_lit();
      solver_->add_clause({-activation, holds});
    } else {
      solver_->add_clause({holds});
    }
    selectors_.push_back(selector);
  }
  assumed_.clear();
  for (words::Formula const& f : fresh.assumed) {
    assumed_.push_back(encode_formula(f.term));
    if (proof_) solver_->add_clause({assumed_.back()});
  }
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
  if (!solver_->begin_budget(conflicts)) return false;
  conflict_limit_ = conflicts;
  return true;
}

IncrementalSolver::Answer IncrementalSolver::give_up(std::string reason) {
  reason_ = std::move(reason);
  return Answer::unknown;
}

IncrementalSolver::Answer IncrementalSolver::check(ScriptState const& state,
                                                   std::vector<Term_ const*> const& assumptions,
                                                   bool named_selectors) {
  if (broken_) return give_up(run::reason_text(run::StopReason::memout));
  if (limits_.stopped()) return give_up(run::reason_text(limits_.reason()));
  solver_->begin_budget(conflict_limit_);
  try {
    statistics_.enter(run::Phase::clausifying);
    stale_ = true;
    encode(state, assumptions, named_selectors && !proof_);
    stale_ = false;
    named_assertions_.clear();
    for (std::size_t i = 0; proof_ && i < state.assertions().size(); ++i)
      if (!state.assertions()[i].name.empty()) named_assertions_.push_back(i);
    solver_->report(statistics_);

    statistics_.enter(run::Phase::solving);
    std::vector<bv::BvLit> all;
    if (!proof_) all = assumed_;
    for (bv::BvLit l : activations_)
      if (l != bv::l_undef) all.push_back(l);
    for (bv::BvLit l : selectors_)
      if (l != bv::l_undef) all.push_back(l);
    sat::SatSolver::Answer answer = sat::SatSolver::Answer::unknown;
    if (embedded_ && !proof_) {
      // Most answers come soon. Where they do not, it pays to look for equal signals.
      std::vector<sat::EqualSignals> equal;
      answer = solver_->solve(all, [&] {
        equal = sweep_formulas();
        return !equal.empty();
      });
      if (answer == sat::SatSolver::Answer::unknown && !equal.empty() && !limits_.stopped()) {
        for (sat::EqualSignals const& s : equal) add_equality(s);
        answer = solver_->solve(all);
      }
    } else {
      answer = solver_->solve(all);
    }
    solver_->report(statistics_);
    if (answer == sat::SatSolver::Answer::unsat) {
      solver_->commit_proof();
      return Answer::unsat;
    }
    if (answer == sat::SatSolver::Answer::unknown)
      return give_up(
          run::reason_text(solver_->budget_spent() ? run::StopReason::resourceout : limits_.reason()));

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

// Equal signals, which follow from the terms alone but which the solver would be long in finding; none where
// the search that is under way had better not be stopped for them.
std::vector<sat::EqualSignals> IncrementalSolver::sweep_formulas() {
  if (encoded_.size() < 2 * swept_ || encoded_.empty() || config_.div_semantics != 0) return {};
  swept_ = encoded_.size();
  sat::Sweep found = sat::sweep(tm_, encoded_, limits_, tunables_);
  bool const products = std::any_of(found.equal.begin(), found.equal.end(), [&](sat::EqualSignals const& s) {
    return tm_.get_tag(s.a.term->symbol) == SymbolTag::bv_mul &&
           tm_.get_tag(s.b.term->symbol) == SymbolTag::bv_mul;
  });
  if (!products && found.gain() * tunables_.sweep_share < found.signals) return {};
  return std::move(found.equal);
}

void IncrementalSolver::add_equality(sat::EqualSignals const& s) {
  bv::BvLitList const* const a = clausifier_.lookup(s.a.term);
  bv::BvLitList const* const b = clausifier_.lookup(s.b.term);
  if (a == nullptr || b == nullptr) return;
  bv::BvLit const left = (*a)[s.a.bit];
  bv::BvLit const right = s.opposite ? -(*b)[s.b.bit] : (*b)[s.b.bit];
  solver_->add_clause({-left, right});
  solver_->add_clause({left, -right});
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
  if (std::vector<std::uint64_t> const* value = simplifier_.completed(t)) {
    std::copy(value->begin(), value->end(), words);
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

}  // namespace vell::script

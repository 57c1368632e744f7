// Levels by activation literals.
//
// An assertion of the first level is a unit clause. A level above it has one literal `a`, made when the level asserts
// something; its assertions are clauses (-a, lit), `a` is assumed while the level stands, and popping the level is the
// unit clause -a. The clauses that define a term's bits hold on every level, so a term that was translated once is
// never translated again, however often the level that brought it is popped. A named assertion, when cores are asked
// for, has such a literal to itself.
//
// What the first check finds on the first level may be solved in part before it becomes clauses. Variables that went
// in doing so get their values back in each model; a later formula that speaks of one brings the formulas back.

#include "vell/engine/checker.h"

#include <algorithm>
#include <new>

#include "vell/engine/presolve/linearequations.h"
#include "vell/engine/presolve/unconstrained.h"
#include "vell/terms/exception.h"

namespace vell::engine {

namespace {

// Between the two halves of a comparison of circuits a fifth to a half of the signals have their equal, and what looks
// equal is. Where it is not one in so many, less those that only looked it, stopping a search costs more than they spare.
// Equal products are worth it, however few.
constexpr std::size_t least_share = 10;

}  // namespace

Checker::Checker(TermManager& tm, CheckerOptions const& options, Limits const& limits, Statistics& statistics)
    : tm_(tm),
      limits_(limits),
      statistics_(statistics),
      config_{options.free_division ? 1 : 0},
      solver_(options.solver_command.empty() ? make_cadical(limits, statistics, options.seed, options.threads,
                                                            options.proof)
                                             : make_external_solver(limits, options.solver_command)),
      clausifier_(&tm, &config_),
      identities_(tm, options.free_division),
      products_(tm),
      limit_test_(limits, statistics, [this] { solver_->report(statistics_); }),
      evaluator_(tm, options.free_division),
      embedded_(options.solver_command.empty()),
      proof_(!options.proof.empty()),
      least_saving_(options.least_saving) {
  if (options.logger != nullptr) clausifier_.set_logger(options.logger);
  clausifier_.set_termination_test(&limit_test_);
}

Checker::~Checker() {
  if (broken_) static_cast<void>(solver_.release());  // its state is unknown: taking it apart could crash
}

void Checker::simplify(std::vector<Term_ const*>& formulas) {
  for (Term_ const*& f : formulas) {
    f = identities_.decide(f);
    restore_if_needed(f);
  }
  products_.share(formulas);
}

bv::BvLit Checker::encode_formula(Term_ const* formula) {
  encoded_.push_back(formula);
  return clausifier_.bit_blast(formula, &solver_->sink());
}

// The lasting formulas of the first check. Whoever reads a proof wants the clauses of the formulas as they stand.
void Checker::encode_first(ScriptState const& state, std::size_t lasting,
                           std::vector<Term_ const*> const& assumptions) {
  definitions_.clear();
  std::vector<Term_ const*> formulas;
  for (std::size_t i = 0; i < lasting; ++i) formulas.push_back(identities_.decide(state.assertions()[i].term));
  std::vector<Term_ const*> const given = formulas;
  std::vector<Term_ const*> kept;
  for (std::size_t i = lasting; i < state.assertions().size(); ++i)
    kept.push_back(identities_.decide(state.assertions()[i].term));
  for (Term_ const* t : assumptions) kept.push_back(identities_.decide(t));

  solve_linear_equations(tm_, formulas, kept, proof_ ? nullptr : &definitions_);
  // Left open, a quotient by zero has a value for each term: terms cannot be replaced by others.
  if (!proof_ && config_.div_semantics == 0)
    eliminate_unconstrained(tm_, formulas, kept, least_saving_, definitions_);
  if (!definitions_.empty()) {
    replaced_ = given;
    known_free_of_them_.add(formulas);
    known_free_of_them_.add(kept);
  }
  products_.share(formulas);
  for (Term_ const* f : formulas) solver_->add_clause({encode_formula(f)});
  selectors_.resize(lasting, bv::l_undef);
}

void Checker::restore_if_needed(Term_ const* t) {
  if (definitions_.empty() || known_free_of_them_.contains(t)) return;
  known_free_of_them_.add(t);
  bool const mentioned = std::any_of(definitions_.begin(), definitions_.end(), [&](Definition const& d) {
    return known_free_of_them_.contains(d.variable);
  });
  if (!mentioned) return;
  definitions_.clear();
  defined_values_.clear();
  products_.share(replaced_);
  for (Term_ const* f : replaced_) solver_->add_clause({encode_formula(f)});
  replaced_.clear();
}

void Checker::encode(ScriptState const& state, std::vector<Term_ const*> const& assumptions, bool named_selectors) {
  std::vector<Assertion> const& assertions = state.assertions();
  activations_.resize(state.levels(), bv::l_undef);
  // What is asserted on the first level holds for good; in a core every assertion must speak for itself.
  std::size_t const lasting = state.levels() == 0 ? assertions.size() : state.level_start(1);
  if (!named_selectors)
    for (std::size_t i = selectors_.size(); i < lasting; ++i) identities_.assume(assertions[i].term);
  if (!named_selectors && selectors_.empty()) encode_first(state, lasting, assumptions);
  std::vector<Term_ const*> fresh;
  for (std::size_t i = selectors_.size(); i < assertions.size(); ++i) fresh.push_back(assertions[i].term);
  simplify(fresh);
  std::uint64_t level = 0;
  for (Term_ const* f : fresh) {
    std::size_t const i = selectors_.size();
    while (level < state.levels() && state.level_start(level + 1) <= i) ++level;
    bv::BvLit const holds = encode_formula(f);
    bv::BvLit selector = bv::l_undef;
    if (named_selectors && !assertions[i].name.empty()) {
      selector = solver_->sink().new_lit();
      solver_->add_clause({-selector, holds});
    } else if (level > 0) {
      bv::BvLit& activation = activations_[level - 1];
      if (activation == bv::l_undef) activation = solver_->sink().new_lit();
      solver_->add_clause({-activation, holds});
    } else {
      solver_->add_clause({holds});
    }
    selectors_.push_back(selector);
  }
}

void Checker::popped(ScriptState const& state) {
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

Checker::Answer Checker::give_up(std::string reason) {
  reason_ = std::move(reason);
  return Answer::unknown;
}

Checker::Answer Checker::check(ScriptState const& state, std::vector<Term_ const*> const& assumptions,
                               bool named_selectors) {
  if (broken_) return give_up(reason_text(StopReason::memout));
  if (limits_.stopped()) return give_up(reason_text(limits_.reason()));
  try {
    statistics_.enter(Phase::clausifying);
    encode(state, assumptions, named_selectors);
    assumed_.clear();
    std::vector<Term_ const*> assumed = assumptions;
    simplify(assumed);
    for (Term_ const* t : assumed) assumed_.push_back(encode_formula(t));
    solver_->report(statistics_);

    statistics_.enter(Phase::solving);
    std::vector<bv::BvLit> all = assumed_;
    for (bv::BvLit l : activations_)
      if (l != bv::l_undef) all.push_back(l);
    for (bv::BvLit l : selectors_)
      if (l != bv::l_undef) all.push_back(l);
    SatSolver::Answer answer = SatSolver::Answer::unknown;
    if (embedded_ && !proof_) {
      // Most answers come soon. Where they do not, it pays to look for equal signals.
      std::vector<EqualSignals> equal;
      answer = solver_->solve(all, [&] {
        equal = sweep_formulas();
        return !equal.empty();
      });
      if (answer == SatSolver::Answer::unknown && !equal.empty() && !limits_.stopped()) {
        for (EqualSignals const& s : equal) add_equality(s);
        answer = solver_->solve(all);
      }
    } else {
      answer = solver_->solve(all);
    }
    solver_->report(statistics_);
    if (answer == SatSolver::Answer::unsat) {
      solver_->commit_proof();
      return Answer::unsat;
    }
    if (answer == SatSolver::Answer::unknown) return give_up(reason_text(limits_.reason()));

    statistics_.enter(Phase::checking);
    bool const holds = model_holds(state, assumptions);
    statistics_.evaluations = evaluator_.evaluations();
    if (holds) return Answer::sat;
    model_failed_ = true;
    return give_up("incomplete");
  } catch (Stopped const& s) {
    return give_up(reason_text(s.reason()));
  } catch (std::bad_alloc const&) {
    broken_ = true;
    return give_up(reason_text(StopReason::memout));
  }
}

// Equal signals, which follow from the terms alone but which the solver would be long in finding; none where the search
// that is under way had better not be stopped for them.
std::vector<EqualSignals> Checker::sweep_formulas() {
  if (encoded_.size() < 2 * swept_ || encoded_.empty() || config_.div_semantics != 0) return {};
  swept_ = encoded_.size();
  Sweep found = sweep(tm_, encoded_, limits_);
  bool const products = std::any_of(found.equal.begin(), found.equal.end(), [&](EqualSignals const& s) {
    return tm_.get_tag(s.a.term->symbol) == SymbolTag::bv_mul && tm_.get_tag(s.b.term->symbol) == SymbolTag::bv_mul;
  });
  if (!products && found.gain() * least_share < found.signals) return {};
  return std::move(found.equal);
}

void Checker::add_equality(EqualSignals const& s) {
  bv::BvLitList const* const a = clausifier_.lookup(s.a.term);
  bv::BvLitList const* const b = clausifier_.lookup(s.b.term);
  if (a == nullptr || b == nullptr) return;
  bv::BvLit const left = (*a)[s.a.bit];
  bv::BvLit const right = s.opposite ? -(*b)[s.b.bit] : (*b)[s.b.bit];
  solver_->add_clause({-left, right});
  solver_->add_clause({left, -right});
}

bool Checker::model_holds(ScriptState const& state, std::vector<Term_ const*> const& assumptions) {
  complete_model();
  evaluator_.set_assignment(*this);
  for (Assertion const& a : state.assertions())
    if (!evaluator_.is_true(a.term)) return false;
  for (Term_ const* t : assumptions)
    if (!evaluator_.is_true(t)) return false;
  return true;
}

void Checker::complete_model() {
  defined_values_.clear();
  if (definitions_.empty()) return;
  Evaluator evaluator(tm_, config_.div_semantics != 0);
  evaluator.set_assignment(*this);
  for (std::size_t i = definitions_.size(); i-- > 0;) {
    Definition const& d = definitions_[i];
    std::uint64_t const* words = evaluator.value(d.value);
    std::uint64_t const width = value_width(tm_, d.variable->symbol->get_output_type());
    defined_values_[d.variable].assign(words, words + (width + 63) / 64);
  }
}

void Checker::read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const {
  if (auto const found = defined_values_.find(t); found != defined_values_.end()) {
    std::copy(found->second.begin(), found->second.end(), words);
    return;
  }
  bv::BvLitList const* bits = clausifier_.lookup(t);
  if (bits == nullptr) return;  // nothing depends on it: zero
  for (std::uint64_t i = 0; i < width; ++i)
    if (solver_->value((*bits)[i])) words[i / 64] |= std::uint64_t{1} << (i % 64);
}

std::vector<std::size_t> Checker::core() const {
  std::vector<std::size_t> out;
  for (std::size_t i = 0; i < selectors_.size(); ++i)
    if (selectors_[i] != bv::l_undef && solver_->failed(selectors_[i])) out.push_back(i);
  return out;
}

std::vector<std::size_t> Checker::failed_assumptions() const {
  std::vector<std::size_t> out;
  for (std::size_t i = 0; i < assumed_.size(); ++i)
    if (solver_->failed(assumed_[i])) out.push_back(i);
  return out;
}

}  // namespace vell::engine

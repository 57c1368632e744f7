// Levels by activation literals.
//
// An assertion of the first level is a unit clause. A level above it has one literal `a`, made when the level asserts
// something; its assertions are clauses (-a, lit), `a` is assumed while the level stands, and popping the level is the
// unit clause -a. The clauses that define a term's bits hold on every level, so a term that was translated once is
// never translated again, however often the level that brought it is popped. A named assertion, when cores are asked
// for, has such a literal to itself.

#include "vell/engine/checker.h"

#include <new>

#include "vell/terms/exception.h"

namespace vell::engine {

Checker::Checker(TermManager& tm, CheckerOptions const& options, Limits const& limits, Statistics& statistics)
    : limits_(limits),
      statistics_(statistics),
      config_{options.free_division ? 1 : 0},
      solver_(options.solver_command.empty() ? make_cadical(limits, statistics, options.seed, options.proof)
                                             : make_external_solver(limits, options.solver_command)),
      clausifier_(&tm, &config_),
      identities_(tm, options.free_division),
      limit_test_(limits, statistics, [this] { solver_->report(statistics_); }),
      evaluator_(tm, options.free_division) {
  if (options.logger != nullptr) clausifier_.set_logger(options.logger);
  clausifier_.set_termination_test(&limit_test_);
}

Checker::~Checker() {
  if (broken_) static_cast<void>(solver_.release());  // its state is unknown: taking it apart could crash
}

bv::BvLit Checker::translate(Term_ const* t) {
  return clausifier_.bit_blast(identities_.decide(t), &solver_->sink());
}

void Checker::encode(ScriptState const& state, bool named_selectors) {
  std::vector<Assertion> const& assertions = state.assertions();
  activations_.resize(state.levels(), bv::l_undef);
  // What is asserted on the first level holds for good; in a core every assertion must speak for itself.
  std::size_t const lasting = state.levels() == 0 ? assertions.size() : state.level_start(1);
  if (!named_selectors)
    for (std::size_t i = selectors_.size(); i < lasting; ++i) identities_.assume(assertions[i].term);
  std::uint64_t level = 0;
  while (selectors_.size() < assertions.size()) {
    std::size_t const i = selectors_.size();
    while (level < state.levels() && state.level_start(level + 1) <= i) ++level;
    bv::BvLit const holds = translate(assertions[i].term);
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
    encode(state, named_selectors);
    assumed_.clear();
    for (Term_ const* t : assumptions) assumed_.push_back(translate(t));
    solver_->report(statistics_);

    statistics_.enter(Phase::solving);
    std::vector<bv::BvLit> all = assumed_;
    for (bv::BvLit l : activations_)
      if (l != bv::l_undef) all.push_back(l);
    for (bv::BvLit l : selectors_)
      if (l != bv::l_undef) all.push_back(l);
    SatSolver::Answer const answer = solver_->solve(all);
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

bool Checker::model_holds(ScriptState const& state, std::vector<Term_ const*> const& assumptions) {
  evaluator_.set_assignment(*this);
  for (Assertion const& a : state.assertions())
    if (!evaluator_.is_true(a.term)) return false;
  for (Term_ const* t : assumptions)
    if (!evaluator_.is_true(t)) return false;
  return true;
}

void Checker::read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const {
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

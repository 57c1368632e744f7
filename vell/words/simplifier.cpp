// A new pass is a class in a file of its own and a row in the table here.

#include "vell/words/simplifier.h"

#include <algorithm>
#include <chrono>

#include "vell/words/branches.h"
#include "vell/words/builder.h"
#include "vell/words/demandedbits.h"
#include "vell/words/elimination.h"
#include "vell/words/facts.h"
#include "vell/words/knownbits.h"
#include "vell/words/linearequations.h"
#include "vell/words/lowering.h"
#include "vell/words/pathconditions.h"
#include "vell/words/rewriter.h"
#include "vell/words/sharedcomparisons.h"
#include "vell/words/sharedproducts.h"
#include "vell/words/unconstrained.h"
#include "vell/words/wordidentities.h"

namespace vell::words {

namespace {

// The first passes run in rounds, until none of them finds anything. A variable that a formula defines is put
// in before others are looked at that occur once: nothing has to be undone then. Identities come next: what
// they decide, nothing else needs to look at. Equations are solved before products are shared, since a
// product may go with its variable.
constexpr PassRow rows[] = {
    {"rewrite", "bring terms into a normal form, rule by rule", Guarantee::equivalent, false, true,
     make_rewriter},
    {"facts", "put in what a formula decides", Guarantee::equivalent, false, true, make_facts},
    {"definitions", "eliminate variables that a formula defines", Guarantee::substituting, false, true,
     make_elimination},
    {"unconstrained", "eliminate variables that occur once", Guarantee::equisatisfiable, true, true,
     make_unconstrained},
    {"demanded", "narrow operators to the bits that are asked for", Guarantee::equivalent, true, true,
     make_demanded_bits},
    {"bits", "put in what bits and intervals of words decide", Guarantee::equivalent, true, true,
     make_known_bits},
    {"paths", "put in what holds where a value is asked for", Guarantee::equivalent, true, true,
     make_path_conditions},
    {"branches", "join operators of branches, and compare in branches", Guarantee::equivalent, true, true,
     make_branches},
    {"identities", "decide equalities of products by a normal form, and comparisons with a successor",
     Guarantee::equivalent, false, true, make_word_identities},
    {"equations", "solve systems of linear equations", Guarantee::substituting, true, true,
     make_linear_equations},
    {"products", "build one circuit for products that differ in width only", Guarantee::equivalent, false,
     true, make_shared_products},
    {"comparisons", "build one circuit for the low bits that comparisons share", Guarantee::equivalent, true,
     true, make_shared_comparisons},
    {"circuits", "choose among circuits of the same value", Guarantee::equivalent, false, true,
     make_lowering},
};
constexpr std::size_t pass_count = std::size(rows);
constexpr std::size_t rewriting = 0;               // finds something wherever it comes first
constexpr std::size_t repeated = 8;                // so many passes run in rounds
constexpr std::size_t identities = repeated;       // decide formulas, which may start the rounds again
constexpr std::size_t equations = identities + 1;  // eliminate variables, which may do so too

}  // namespace

std::span<PassRow const> passes() { return rows; }

Simplifier::Simplifier(TermManager& tm, bool free_division, Passes selected, run::Limits const& limits,
                       run::Tunables const& tunables)
    : tm_(tm),
      free_division_(free_division),
      limits_(limits),
      tunables_(tunables),
      lowering_(tm, limits),
      counts_(pass_count),
      evaluator_(tm, free_division) {
  PassContext const context{tm, free_division, limits, tunables_};
  for (std::size_t i = 0; i < pass_count; ++i) {
    bool const runs = selected.contains(i) && (!free_division || rows[i].free_division_too);
    passes_.push_back(runs ? rows[i].make(context) : nullptr);
  }
}

Simplifier::~Simplifier() = default;

void Simplifier::simplify(Formulas& formulas) {
  if (formulas.first) {
    definitions_.clear();
    place_.clear();
    values_.reset();
    visited_ = Cone();
  }
  formulas.round = 0;
  if (tm_.has_floating_point()) lower(formulas);
  if (observer_ != nullptr) observer_->given(formulas);
  repeat(formulas);
  if (run(identities, formulas) > 0) repeat(formulas);
  if (formulas.first) {
    if (run(equations, formulas) > 0) repeat(formulas);
  } else {
    // What identities decide may no longer mention a variable. They and earlier facts are not for the
    // formulas that come back: these are what they follow from.
    while (restore(formulas)) repeat(formulas);
  }
  for (std::size_t i = equations + 1; i < pass_count; ++i) run(i, formulas);
  if (!formulas.first) return;
  definitions_ = formulas.definitions;
  for (std::size_t i = 0; i < definitions_.size(); ++i)
    if (definitions_[i].replaced != nullptr) place_[definitions_[i].variable] = i;
  if (!place_.empty()) formulas.each([this](Formula const& f) { visited_.add(f.term); });
}

void Simplifier::lower(Formulas& formulas) {
  formulas.each([this](Formula& f) { f.term = lowering_.lower(f.term); });
  for (Term_ const*& t : formulas.watched) t = lowering_.lower(t);
  values_.reset();
}

void Simplifier::repeat(Formulas& formulas) {
  std::uint64_t replaced = 1;
  for (std::uint64_t i = 0; i < tunables_.rounds && replaced > 0; ++i, ++formulas.round) {
    replaced = 0;
    for (std::size_t pass = 0; pass < repeated; ++pass) {
      std::uint64_t const n = run(pass, formulas);
      if (pass != rewriting) replaced += n;
    }
  }
}

std::uint64_t Simplifier::run(std::size_t pass, Formulas& formulas) {
  using Clock = std::chrono::steady_clock;
  if (passes_[pass] == nullptr || (rows[pass].first_batch_only && !formulas.first)) return 0;
  if (formulas.substitute_only && rows[pass].guarantee == Guarantee::equisatisfiable) return 0;
  Clock::time_point const start = Clock::now();
  PassCounts& counts = counts_[pass];
  counts.formulas += formulas.permanent.size() + formulas.retractable.size() + formulas.assumed.size();
  std::uint64_t const replaced = passes_[pass]->apply(formulas);
  counts.replaced += replaced;
  double const seconds = std::chrono::duration<double>(Clock::now() - start).count();
  counts.seconds += seconds;
  if (observer_ != nullptr) observer_->ran(pass, replaced, seconds, formulas);
  return replaced;
}

void Simplifier::report(run::Statistics& statistics) const {
  static_assert(pass_count <= run::Statistics::most_passes);
  for (std::size_t i = 0; i < pass_count; ++i) {
    run::PassFigures& figures = statistics.passes[i];
    figures.formulas = counts_[i].formulas;
    figures.replaced = counts_[i].replaced;
    figures.microseconds = static_cast<std::uint64_t>(counts_[i].seconds * 1e6);
    figures.name = rows[i].name;
  }
}

// Only what the formulas mention comes back, with what it was replaced by; that may have been eliminated in
// turn. What a formula defines stays eliminated: the pass puts it into later formulas as well.
bool Simplifier::restore(Formulas& formulas) {
  if (place_.empty()) return false;
  std::vector<Term_ const*> back;
  std::size_t looked_at = visited_.terms().size();
  auto const visit = [&](Term_ const* formula) {
    visited_.add(formula);
    for (; looked_at < visited_.terms().size(); ++looked_at) {
      auto const found = place_.find(visited_.terms()[looked_at]);
      if (found != place_.end()) back.push_back(bring_back(found->second));
    }
  };
  formulas.each([&](Formula const& f) { visit(f.term); });
  if (back.empty()) return false;
  for (Term_ const* t : back) formulas.permanent.push_back({t, 0});
  values_.reset();
  return true;
}

// The definition at that place goes, with those that were made for the same reason; the reason as a formula.
Term_ const* Simplifier::bring_back(std::size_t i) {
  Definition const reason = definitions_[i];
  auto const same = [&](std::size_t k) {
    return definitions_[k].replaced == reason.replaced && definitions_[k].by == reason.by;
  };
  while (i > 0 && same(i - 1)) --i;
  for (; i < definitions_.size() && same(i); ++i) {
    place_.erase(definitions_[i].variable);
    definitions_[i].variable = nullptr;
  }
  Builder const b(tm_);
  return b.is_true(reason.by) ? reason.replaced : b.equal(reason.replaced, reason.by);
}

// Values are expanded until they hold no variable that is defined itself. Then they do not depend on each
// other, and the evaluator computes again only what a new model changes.
void Simplifier::complete(values::Assignment const& model) {
  if (definitions_.empty() && lowering_.variables().empty() && lowering_.open_values().empty()) return;
  if (values_ == nullptr) {
    values_ = std::make_unique<Substitution>(tm_, free_division_, limits_);
    for (Definition const& d : definitions_)
      if (d.variable != nullptr) values_->replace(d.variable, d.value);
    // From the last one: what it is made of comes later.
    for (std::size_t i = definitions_.size(); i-- > 0;)
      if (definitions_[i].variable != nullptr) values_->apply(definitions_[i].variable);
    for (std::vector<fp::StandIn> const* list : {&lowering_.variables(), &lowering_.open_values()})
      for (fp::StandIn const& s : *list) values_->replace(s.term, s.word);
  }
  evaluator_.set_assignment(model);
}

std::uint64_t const* Simplifier::completed(Term_ const* variable) const {
  if (values_ == nullptr || !values_->is_replaced(variable)) return nullptr;
  return evaluator_.value(values_->apply(variable));
}

}  // namespace vell::words

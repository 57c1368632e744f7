// A new pass is a class in a file of its own and a row in the table here.

#include "vell/words/simplifier.h"

#include <algorithm>
#include <chrono>

#include "vell/words/branches.h"
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

// The first passes run in rounds, until none of them finds anything. Identities come next: what they decide,
// nothing else needs to look at. Equations are solved before products are shared, since a product may go with
// its variable.
constexpr PassRow rows[] = {
    {"rewrite", "bring terms into a normal form, rule by rule", Guarantee::equivalent, false, true,
     make_rewriter},
    {"facts", "put in what a formula decides", Guarantee::equivalent, false, true, make_facts},
    {"definitions", "eliminate variables that a formula defines", Guarantee::substituting, false, true,
     make_elimination},
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
    {"equations", "solve systems of linear equations", Guarantee::equivalent, true, true,
     make_linear_equations},
    {"unconstrained", "eliminate variables that occur once", Guarantee::equisatisfiable, true, false,
     make_unconstrained},
    {"products", "build one circuit for products that differ in width only", Guarantee::equivalent, false,
     true, make_shared_products},
    {"comparisons", "build one circuit for the low bits that comparisons share", Guarantee::equivalent, true,
     true, make_shared_comparisons},
    {"circuits", "choose among circuits of the same value", Guarantee::equivalent, false, true,
     make_lowering},
};
constexpr std::size_t pass_count = std::size(rows);
constexpr std::size_t rewriting = 0;          // finds something wherever it comes first
constexpr std::size_t repeated = 7;           // so many passes run in rounds
constexpr std::size_t identities = repeated;  // may run again over formulas that come back

}  // namespace

std::span<PassRow const> passes() { return rows; }

Simplifier::Simplifier(TermManager& tm, bool free_division, Passes selected, run::Limits const& limits,
                       run::Tunables const& tunables)
    : tm_(tm), free_division_(free_division), tunables_(tunables), counts_(pass_count) {
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
    solved_ = 0;
    completed_.clear();
    known_free_of_them_ = Cone();
  }
  formulas.round = 0;
  if (observer_ != nullptr) observer_->given(formulas);
  repeat(formulas);
  if (run(identities, formulas) > 0) repeat(formulas);
  // What identities decide may no longer mention a variable; what comes after them may be undone.
  std::vector<Formula> const given = formulas.permanent;
  std::size_t const solved = formulas.definitions.size();
  if (!formulas.first) restore(formulas);
  for (std::size_t i = identities + 1; i < pass_count; ++i) run(i, formulas);
  if (formulas.definitions.empty()) return;
  definitions_ = formulas.definitions;
  solved_ = solved;
  eliminated_from_ = given;
  known_free_of_them_ = Cone();
  formulas.each([this](Formula const& f) { known_free_of_them_.add(f.term); });
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
  switch (rows[pass].guarantee) {
    case Guarantee::equivalent: break;
    case Guarantee::substituting:
      if (!formulas.may_define && !formulas.may_substitute) return 0;
      break;
    case Guarantee::equisatisfiable:
      if (!formulas.may_define) return 0;
      break;
  }
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

bool Simplifier::mentions_eliminated(Term_ const* formula) {
  if (known_free_of_them_.contains(formula)) return false;
  known_free_of_them_.add(formula);
  return std::any_of(definitions_.begin() + static_cast<std::ptrdiff_t>(solved_), definitions_.end(),
                     [this](Definition const& d) { return known_free_of_them_.contains(d.variable); });
}

// What a formula defines stays eliminated: the pass puts it into later formulas as well.
void Simplifier::restore(Formulas& formulas) {
  if (definitions_.size() == solved_) return;
  bool mentioned = false;
  formulas.each([&](Formula const& f) { mentioned = mentioned || mentions_eliminated(f.term); });
  if (!mentioned) return;
  definitions_.resize(solved_);
  completed_.clear();
  formulas.permanent.insert(formulas.permanent.begin(), eliminated_from_.begin(), eliminated_from_.end());
  eliminated_from_.clear();
}

// Later definitions are made of what remains: the last one comes first.
void Simplifier::complete(values::Assignment const& model) {
  completed_.clear();
  if (definitions_.empty()) return;

  class Completing : public values::Assignment {
   public:
    Completing(Simplifier const& simplifier, values::Assignment const& inner)
        : simplifier_(simplifier), inner_(inner) {}
    void read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const override {
      if (std::vector<std::uint64_t> const* value = simplifier_.completed(t))
        std::copy(value->begin(), value->end(), words);
      else
        inner_.read(t, width, words);
    }

   private:
    Simplifier const& simplifier_;
    values::Assignment const& inner_;
  };

  Completing const completing(*this, model);
  values::Evaluator evaluator(tm_, free_division_);
  evaluator.set_assignment(completing);
  for (std::size_t i = definitions_.size(); i-- > 0;) {
    Definition const& d = definitions_[i];
    std::uint64_t const* words = evaluator.value(d.value);
    std::uint64_t const width = values::value_width(tm_, d.variable->symbol->get_output_type());
    completed_[d.variable].assign(words, words + (width + 63) / 64);
  }
}

std::vector<std::uint64_t> const* Simplifier::completed(Term_ const* variable) const {
  auto const found = completed_.find(variable);
  return found == completed_.end() ? nullptr : &found->second;
}

}  // namespace vell::words

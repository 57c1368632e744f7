// A new pass is a class in a file of its own and a row in the table here.

#include "vell/words/simplifier.h"

#include <algorithm>
#include <chrono>

#include "vell/words/linearequations.h"
#include "vell/words/rewriter.h"
#include "vell/words/sharedproducts.h"
#include "vell/words/unconstrained.h"
#include "vell/words/wordidentities.h"

namespace vell::words {

namespace {

// Identities come first: what they decide, nothing else needs to look at. Definitions are made before
// products are shared, since a product may go with its variable.
constexpr PassRow rows[] = {
    {"rewrite", "bring terms into a normal form, rule by rule", Guarantee::equivalent, false, true,
     make_rewriter},
    {"identities", "decide equalities of products by a normal form, and comparisons with a successor",
     Guarantee::equivalent, false, true, make_word_identities},
    {"equations", "solve systems of linear equations", Guarantee::equivalent, true, true,
     make_linear_equations},
    {"unconstrained", "eliminate variables that occur once", Guarantee::equisatisfiable, true, false,
     make_unconstrained},
    {"products", "build one circuit for products that differ in width only", Guarantee::equivalent, false,
     true, make_shared_products},
};
constexpr std::size_t pass_count = std::size(rows);
constexpr std::size_t identities = 1;  // may run again over formulas that come back

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
  using Clock = std::chrono::steady_clock;
  if (formulas.first) {
    definitions_.clear();
    completed_.clear();
    known_free_of_them_ = Cone();
  }
  std::vector<Formula> given;
  for (std::size_t i = 0; i < pass_count; ++i) {
    if (passes_[i] != nullptr && (formulas.first || !rows[i].first_batch_only) &&
        (formulas.may_define || rows[i].guarantee == Guarantee::equivalent)) {
      Clock::time_point const start = Clock::now();
      PassCounts& counts = counts_[i];
      counts.formulas += formulas.permanent.size() + formulas.retractable.size() + formulas.assumed.size();
      counts.replaced += passes_[i]->apply(formulas);
      counts.seconds += std::chrono::duration<double>(Clock::now() - start).count();
    }
    // What identities decide may no longer mention a variable; what comes after them may be undone.
    if (i != identities) continue;
    given = formulas.permanent;
    if (!formulas.first) restore(formulas);
  }
  if (formulas.definitions.empty()) return;
  definitions_ = formulas.definitions;
  eliminated_from_ = std::move(given);
  known_free_of_them_ = Cone();
  formulas.each([this](Formula const& f) { known_free_of_them_.add(f.term); });
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
  return std::any_of(definitions_.begin(), definitions_.end(),
                     [this](Definition const& d) { return known_free_of_them_.contains(d.variable); });
}

void Simplifier::restore(Formulas& formulas) {
  bool mentioned = false;
  formulas.each([&](Formula const& f) {
    mentioned = mentioned || (!definitions_.empty() && mentions_eliminated(f.term));
  });
  if (!mentioned) return;
  definitions_.clear();
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

#include "vell/words/linearequations.h"

#include <map>
#include <unordered_set>

#include "vell/terms/cone.h"
#include "vell/words/linearsystem.h"
#include "vell/words/numeral.h"
#include "vell/words/wordpolynomials.h"

namespace vell::words {

namespace {

bool is_factor(mpz_class const& c, std::uint64_t width) {
  mpz_class negated = -c;
  mpz_fdiv_r_2exp(negated.get_mpz_t(), negated.get_mpz_t(), width);
  return mpz_popcount(c.get_mpz_t()) > 1 && mpz_popcount(negated.get_mpz_t()) > 1;
}

// The equations over words of one width, with the unknowns that stand in them.
struct Equations {
  std::vector<Term_ const*> formulas;
  std::vector<Polynomial> differences;  // left side minus right side
  std::map<Atom, std::size_t> column;   // of an unknown in the system
  std::vector<Atom> unknowns;           // by column
};

class LinearSolver {
 public:
  LinearSolver(TermManager& tm, std::vector<Term_ const*>& formulas, std::span<Term_ const* const> kept,
               Definitions* definitions, run::Limits const& limits, std::vector<std::size_t>* origins,
               run::Tunables const& tunables)
      : tm_(tm),
        limits_(limits),
        tunables_(tunables),
        polynomials_(tm, false, limits, tunables),
        formulas_(formulas),
        kept_(kept),
        definitions_(definitions),
        origins_(origins) {}

  bool run() {
    flatten();
    std::map<std::uint64_t, Equations> by_width;
    for (Term_ const* f : conjuncts_) collect(f, by_width);
    for (auto& [width, equations] : by_width)
      if (equations.formulas.size() > 1) solve(width, equations);
    if (!changed_) return false;
    formulas_.clear();
    if (origins_ != nullptr) origins_->clear();
    auto const put = [this](Term_ const* f, std::size_t origin) {
      formulas_.push_back(f);
      if (origins_ != nullptr) origins_->push_back(origin);
    };
    for (std::size_t i = 0; i < conjuncts_.size(); ++i)
      if (solved_.count(conjuncts_[i]) == 0) put(conjuncts_[i], conjunct_origins_[i]);
    std::size_t first = 0;
    while (first + 1 < conjuncts_.size() && solved_.count(conjuncts_[first]) == 0) ++first;
    for (Term_ const* f : made_) put(f, conjunct_origins_[first]);
    return true;
  }

 private:
  std::uint64_t width_of(Term_ const* t) const { return tm_.width(t); }

  // The conjuncts of the formulas, in their order.
  void flatten() {
    std::unordered_set<Term_ const*> seen;
    std::vector<Term_ const*> stack;
    for (std::size_t place = 0; place < formulas_.size(); ++place) {
      stack.push_back(formulas_[place]);
      while (!stack.empty()) {
        limits_.check();
        Term_ const* f = stack.back();
        stack.pop_back();
        if (!seen.insert(f).second) continue;
        if (tm_.get_tag(f->symbol) == SymbolTag::bool_and) {
          for (std::uint64_t i = f->symbol->arity; i-- > 0;) stack.push_back(f->children[i]);
          continue;
        }
        conjuncts_.push_back(f);
        conjunct_origins_.push_back(origins_ == nullptr ? 0 : (*origins_)[place]);
      }
    }
  }

  // Whether sums and products below the equation hold enough factors for its polynomial to be worth making.
  bool looks_linear(Term_ const* equation) {
    std::unordered_set<Term_ const*> seen;
    std::vector<Term_ const*> stack{equation->children[0], equation->children[1]};
    std::size_t factors = 0;
    while (!stack.empty() && factors < tunables_.equation_factors && visits_ < tunables_.equation_visits) {
      limits_.check();
      Term_ const* t = stack.back();
      stack.pop_back();
      if (!seen.insert(t).second) continue;
      ++visits_;
      switch (tm_.get_tag(t->symbol)) {
        case SymbolTag::bv_mul:
          for (unsigned i = 0; i < 2; ++i) factors += tm_.is_number(t->children[i]->symbol) ? 1 : 0;
          [[fallthrough]];
        case SymbolTag::bv_add:
        case SymbolTag::bv_sub:
        case SymbolTag::bv_neg: stack.insert(stack.end(), t->children, t->children + t->symbol->arity); break;
        default: break;
      }
    }
    return factors >= tunables_.equation_factors;
  }

  void collect(Term_ const* f, std::map<std::uint64_t, Equations>& by_width) {
    if (tm_.get_tag(f->symbol) != SymbolTag::equal) return;
    std::uint64_t const width = width_of(f->children[0]);
    if (width == 0 || !looks_linear(f)) return;
    Polynomial difference = polynomials_.value(f->children[0]).p;
    difference.add(polynomials_.value(f->children[1]).p, -1);
    difference.reduce(width);
    std::size_t factors = 0;
    for (auto const& [m, c] : difference.terms()) {
      if (m.size() > 1) return;
      if (m.size() == 1 && width_of(polynomials_.term_of(m[0])) == 0) return;  // a Boolean
      factors += m.size() == 1 && is_factor(c, width) ? 1 : 0;
    }
    if (factors < tunables_.equation_factors) return;
    Equations& e = by_width[width];
    for (auto const& [m, c] : difference.terms())
      if (m.size() == 1 && e.column.try_emplace(m[0], e.unknowns.size()).second) e.unknowns.push_back(m[0]);
    e.formulas.push_back(f);
    e.differences.push_back(std::move(difference));
  }

  std::size_t factors(LinearSystem const& system, std::uint64_t width) const {
    std::size_t n = 0;
    for (LinearSystem::Row const& row : system.rows())
      for (mpz_class const& c : row.c) {
        limits_.check();
        n += is_factor(c, width) ? 1 : 0;
      }
    return n;
  }

  void solve(std::uint64_t width, Equations const& e) {
    double const rows = static_cast<double>(e.formulas.size());
    if (rows * rows * static_cast<double>(e.unknowns.size()) * static_cast<double>(width / 64 + 1) >
        static_cast<double>(tunables_.equation_work))
      return;
    LinearSystem system(width, e.unknowns.size());
    for (Polynomial const& p : e.differences) {
      LinearSystem::Row row{std::vector<mpz_class>(e.unknowns.size()), -p.constant()};
      for (auto const& [m, c] : p.terms())
        if (m.size() == 1) row.c[e.column.at(m[0])] = c;
      system.add(std::move(row));
    }
    std::size_t const before = factors(system, width);
    std::vector<LinearSystem::Pivot> pivots;
    bool const solvable = system.reduce(pivots, limits_);
    if (solvable && factors(system, width) > before) return;

    changed_ = true;
    solved_.insert(e.formulas.begin(), e.formulas.end());
    if (!solvable) {
      made_.push_back(tm_.mk_bool(false));
      return;
    }
    Cone elsewhere = cone_of_the_rest(e);
    for (std::size_t i = 0; i < system.rows().size(); ++i) {
      LinearSystem::Row const& row = system.rows()[i];
      Term_ const* pivot = polynomials_.term_of(e.unknowns[pivots[i].unknown]);
      Term_ const* rest = constant_minus_others(row, pivots[i].unknown, width, e);
      bool const variable = tm_.is_uninterpreted_function(pivot->symbol) && width_of(pivot) == width;
      if (definitions_ != nullptr && pivots[i].valuation == 0 && variable && !elsewhere.contains(pivot)) {
        Term_ const* const row_equation = tm_.mk_app(SymbolTag::equal, {pivot, rest});
        definitions_->push_back({pivot, rest, row_equation, tm_.mk_bool(true)});
        continue;
      }
      Term_ const* left = to_width(pivot, width);
      if (pivots[i].valuation != 0)
        left = tm_.mk_app(SymbolTag::bv_mul, {power(pivots[i].valuation, width), left});
      made_.push_back(tm_.mk_app(SymbolTag::equal, {left, rest}));
    }
  }

  // What holds variables besides the rows themselves: other formulas, and unknowns that are no variables.
  Cone cone_of_the_rest(Equations const& e) const {
    Cone cone(limits_);
    cone.add(kept_);
    for (Term_ const* f : conjuncts_)
      if (solved_.count(f) == 0) cone.add(f);
    cone.add(made_);
    if (definitions_ != nullptr)
      for (Definition const& d : *definitions_) cone.add(d.value);
    for (Atom a : e.unknowns)
      if (Term_ const* t = polynomials_.term_of(a); !tm_.is_uninterpreted_function(t->symbol)) cone.add(t);
    return cone;
  }

  Term_ const* power(std::uint64_t k, std::uint64_t width) {
    mpz_class p;
    mpz_setbit(p.get_mpz_t(), k);
    return make_numeral(tm_, p, width);
  }

  // The value of an unknown, an unsigned integer, modulo 2^width.
  Term_ const* to_width(Term_ const* t, std::uint64_t width) {
    std::uint64_t const w = width_of(t);
    if (w < width) return tm_.mk_app(SymbolTag::bv_zero_extend, {t}, width - w);
    if (w > width) return tm_.mk_app(SymbolTag::bv_extract, {t}, width - 1, 0);
    return t;
  }

  Term_ const* constant_minus_others(LinearSystem::Row const& row, std::size_t pivot, std::uint64_t width,
                                     Equations const& e) {
    Term_ const* sum = make_numeral(tm_, row.right, width);
    for (std::size_t j = 0; j < row.c.size(); ++j) {
      limits_.check();
      if (j == pivot || row.c[j] == 0) continue;
      Term_ const* unknown = to_width(polynomials_.term_of(e.unknowns[j]), width);
      sum = tm_.mk_app(SymbolTag::bv_add,
                       {sum, tm_.mk_app(SymbolTag::bv_mul, {make_numeral(tm_, -row.c[j], width), unknown})});
    }
    return sum;
  }

  TermManager& tm_;
  run::Limits const& limits_;
  run::Tunables const tunables_;
  WordPolynomials polynomials_;
  std::vector<Term_ const*>& formulas_;
  std::span<Term_ const* const> kept_;
  Definitions* definitions_;
  std::vector<std::size_t>* origins_;
  std::vector<Term_ const*> conjuncts_;
  std::vector<std::size_t> conjunct_origins_;
  std::unordered_set<Term_ const*> solved_;  // conjuncts that made_ and definitions stand for
  std::vector<Term_ const*> made_;
  std::size_t visits_ = 0;
  bool changed_ = false;
};

}  // namespace

bool solve_linear_equations(TermManager& tm, std::vector<Term_ const*>& formulas,
                            std::span<Term_ const* const> kept, Definitions* definitions,
                            run::Limits const& limits, std::vector<std::size_t>* origins,
                            run::Tunables const& tunables) {
  // Without a product there is no factor, and no need to look at every formula.
  if (!tm.has_operator(SymbolTag::bv_mul)) return false;
  return LinearSolver(tm, formulas, kept, definitions, limits, origins, tunables).run();
}

namespace {

class LinearEquations : public Pass {
 public:
  explicit LinearEquations(PassContext const& context) : context_(context) {}

  std::uint64_t apply(Formulas& formulas) override {
    std::vector<Term_ const*> terms = terms_of(formulas.permanent);
    std::vector<std::size_t> origins;
    for (Formula const& f : formulas.permanent) origins.push_back(f.origin);
    std::vector<Term_ const*> kept = terms_of(formulas.retractable);
    for (Formula const& f : formulas.assumed) kept.push_back(f.term);
    std::size_t const before = terms.size();
    if (!solve_linear_equations(context_.tm, terms, kept,
                                formulas.substitute_only ? nullptr : &formulas.definitions, context_.limits,
                                &origins, context_.tunables))
      return 0;
    formulas.permanent.clear();
    for (std::size_t i = 0; i < terms.size(); ++i) formulas.permanent.push_back({terms[i], origins[i]});
    return before;
  }

 private:
  PassContext const context_;
};

}  // namespace

std::unique_ptr<Pass> make_linear_equations(PassContext const& context) {
  return std::make_unique<LinearEquations>(context);
}

}  // namespace vell::words

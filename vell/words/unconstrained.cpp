// One pass from the leaves up. A term is free when it has become a variable and has one place: the pass asks,
// for every operator above free operands, whether they can bring about every value of it, and makes it a new
// variable if so.

#include "vell/words/unconstrained.h"

#include <algorithm>
#include <string>
#include <unordered_map>

#include "vell/terms/cone.h"
#include "vell/words/numeral.h"
#include "vell/words/operands.h"

namespace vell::words {

namespace {

using Tag = SymbolTag::tag;

class Eliminator {
 public:
  Eliminator(TermManager& tm, run::Limits const& limits) : tm_(tm), limits_(limits) {}

  void run(std::vector<Term_ const*>& formulas, std::span<Term_ const* const> kept) {
    Cone cone(limits_);
    cone.add(formulas);
    std::vector<Term_ const*> const terms = cone.sorted();
    count_places(terms, formulas, kept);
    for (Term_ const* t : terms) {
      limits_.check();
      visit(t);
      if (is_variable(now_[t])) free_[now_[t]] = places_[t] == 1;
    }
    for (Term_ const*& f : formulas) f = now_.at(f);
  }

  Definitions const& definitions() const { return definitions_; }

 private:
  void count_places(std::vector<Term_ const*> const& terms, std::span<Term_ const* const> formulas,
                    std::span<Term_ const* const> kept) {
    Cone others(limits_);
    others.add(kept);
    for (Term_ const* t : terms) {
      limits_.check();
      for (std::uint64_t i = 0; i < t->symbol->arity; ++i) ++places_[t->children[i]];
      // Its operands must stay as they are, all the way down.
      if (open_valued(tm_, t, false)) others.add(t);
    }
    for (Term_ const* f : formulas) ++places_[f];
    for (Term_ const* t : others.terms()) {
      limits_.check();
      places_[t] += 2;
    }
  }

  bool is_variable(Term_ const* t) const {
    return tm_.is_uninterpreted_function(t->symbol) && t->symbol->arity == 0;
  }
  bool is_free(Term_ const* t) const {
    auto const found = free_.find(t);
    return found != free_.end() && found->second;
  }
  std::uint64_t width_of(Term_ const* t) const { return tm_.width(t); }
  Term_ const* app(Tag tag, std::initializer_list<Term_ const*> children, std::uint64_t p0 = 0,
                   std::uint64_t p1 = 0) {
    return tm_.mk_app(tag, children, p0, p1);
  }
  Term_ const* zero(Term_ const* like) { return make_numeral(tm_, 0, width_of(like)); }
  Term_ const* one(Term_ const* like) { return make_numeral(tm_, 1, width_of(like)); }
  Term_ const* ones(Term_ const* like) { return make_numeral(tm_, -1, width_of(like)); }
  void define(Term_ const* variable, Term_ const* value) { definitions_.push_back({variable, value}); }

  // Finds out what stands for t from now on; its operands are known.
  void visit(Term_ const* t) {
    bool const changed = map_operands(t, children_, [this](Term_ const* o) { return now_.at(o); });
    bool const any_free =
        std::any_of(children_.begin(), children_.end(), [this](Term_ const* o) { return is_free(o); });
    Type const* const type = t->symbol->get_output_type();
    if (any_free && (type == tm_.bool_type || tm_.is_bv_type(type))) {
      candidate_ = nullptr;
      type_ = type;
      if (reaches_every_value(t)) {
        now_[t] = candidate_;
        return;
      }
    }
    now_[t] = changed ? tm_.mk_term(t->symbol, children_) : t;
  }

  // The variable in the place of the term at hand.
  Term_ const* result() {
    if (candidate_ == nullptr) candidate_ = tm_.mk_variable("free!" + std::to_string(made_++), type_);
    return candidate_;
  }

  // Whether the free ones among children_ give t every value; if so, they are defined by result().
  bool reaches_every_value(Term_ const* t) {
    switch (t->symbol->arity) {
      case 1: return unary(t, children_[0]);
      case 2:
        if (is_free(children_[0]) && one_of_two(t, children_[0], children_[1], 0)) return true;
        if (is_free(children_[1]) && one_of_two(t, children_[1], children_[0], 1)) return true;
        return is_free(children_[0]) && is_free(children_[1]) && both(t, children_[0], children_[1]);
      case 3: return choice(t);
      default: return false;
    }
  }

  bool unary(Term_ const* t, Term_ const* x) {
    switch (tm_.get_tag(t->symbol)) {
      case SymbolTag::bool_not: define(x, app(SymbolTag::bool_not, {result()})); return true;
      case SymbolTag::bv_not: define(x, app(SymbolTag::bv_not, {result()})); return true;
      case SymbolTag::bv_neg: define(x, app(SymbolTag::bv_neg, {result()})); return true;
      case SymbolTag::bv_extract: {
        std::uint64_t msb = 0;
        std::uint64_t lsb = 0;
        tm_.is_bv_extract(t->symbol, &msb, &lsb);
        Term_ const* value = result();
        if (lsb > 0) value = app(SymbolTag::bv_concat, {value, make_numeral(tm_, 0, lsb)});
        if (msb + 1 < width_of(x)) value = app(SymbolTag::bv_zero_extend, {value}, width_of(x) - msb - 1);
        define(x, value);
        return true;
      }
      default: return false;
    }
  }

  // x, operand `place`, is free; other is any term.
  bool one_of_two(Term_ const* t, Term_ const* x, Term_ const* other, unsigned place) {
    switch (tm_.get_tag(t->symbol)) {
      case SymbolTag::bv_add: define(x, app(SymbolTag::bv_sub, {result(), other})); return true;
      case SymbolTag::bv_sub:
        define(x, place == 0 ? app(SymbolTag::bv_add, {result(), other})
                             : app(SymbolTag::bv_sub, {other, result()}));
        return true;
      case SymbolTag::bv_xor: define(x, app(SymbolTag::bv_xor, {result(), other})); return true;
      case SymbolTag::bool_iff: define(x, app(SymbolTag::bool_iff, {result(), other})); return true;
      case SymbolTag::equal: {
        if (width_of(x) == 0) return false;
        Term_ const* different = app(SymbolTag::bv_not, {other});
        define(x, app(SymbolTag::term_ite, {result(), other, different}));
        return true;
      }
      case SymbolTag::bv_mul: {
        if (!tm_.is_number(other->symbol)) return false;
        mpz_class const factor = numeral_value(tm_, other);
        if (mpz_even_p(factor.get_mpz_t())) return false;
        mpz_class modulus;
        mpz_setbit(modulus.get_mpz_t(), width_of(x));
        mpz_class inverse;
        mpz_invert(inverse.get_mpz_t(), factor.get_mpz_t(), modulus.get_mpz_t());
        define(x, app(SymbolTag::bv_mul, {make_numeral(tm_, inverse, width_of(x)), result()}));
        return true;
      }
      default: return false;
    }
  }

  bool both(Term_ const* t, Term_ const* x, Term_ const* y) {
    // x takes the value, y is the operand under which the operator hands it on.
    auto const hand_on = [&](Term_ const* neutral) {
      define(x, result());
      define(y, neutral);
      return true;
    };
    // x is below y, or not, as the result says.
    auto const order = [&](Term_ const* if_true, Term_ const* if_false) {
      define(x, zero(x));
      define(y, app(SymbolTag::term_ite, {result(), if_true, if_false}));
      return true;
    };
    switch (tm_.get_tag(t->symbol)) {
      case SymbolTag::bool_and: return hand_on(tm_.mk_bool(true));
      case SymbolTag::bool_or: return hand_on(tm_.mk_bool(false));
      case SymbolTag::bv_and: return hand_on(ones(y));
      case SymbolTag::bv_or:
      case SymbolTag::bv_urem:
      case SymbolTag::bv_shl:
      case SymbolTag::bv_lshr:
      case SymbolTag::bv_ashr: return hand_on(zero(y));
      case SymbolTag::bv_mul:
      case SymbolTag::bv_udiv:
      case SymbolTag::bv_sdiv: return hand_on(one(y));
      case SymbolTag::bv_concat: {
        std::uint64_t const low = width_of(y);
        define(x, app(SymbolTag::bv_extract, {result()}, width_of(x) + low - 1, low));
        define(y, app(SymbolTag::bv_extract, {result()}, low - 1, 0));
        return true;
      }
      case SymbolTag::bv_ult: return order(one(y), zero(y));
      case SymbolTag::bv_ule:  // 0 is above nothing, so the smaller one is the other
        define(y, zero(y));
        define(x, app(SymbolTag::term_ite, {result(), zero(x), one(x)}));
        return true;
      // At width 1, a one is -1: signed orders run the other way round.
      case SymbolTag::bv_slt: return width_of(x) > 1 && order(one(y), zero(y));
      case SymbolTag::bv_sle: return order(zero(y), ones(y));
      default: return false;
    }
  }

  // An if-then-else: with both branches free, or with a free condition and one.
  bool choice(Term_ const* t) {
    Tag const tag = tm_.get_tag(t->symbol);
    if (tag != SymbolTag::bool_ite && tag != SymbolTag::term_ite) return false;
    Term_ const* condition = children_[0];
    bool const then_free = is_free(children_[1]);
    bool const else_free = is_free(children_[2]);
    if (then_free && else_free) {
      define(children_[1], result());
      define(children_[2], result());
      return true;
    }
    if (!is_free(condition) || (!then_free && !else_free)) return false;
    define(children_[then_free ? 1 : 2], result());
    define(condition, tm_.mk_bool(then_free));
    return true;
  }

  TermManager& tm_;
  run::Limits const& limits_;
  std::unordered_map<Term_ const*, std::uint64_t> places_;  // in formulas and terms above
  std::unordered_map<Term_ const*, Term_ const*> now_;      // what stands for a term
  std::unordered_map<Term_ const*, bool> free_;             // variables: whether they stand in one place
  Definitions definitions_;
  std::vector<Term_ const*> children_;
  Term_ const* candidate_ = nullptr;
  Type const* type_ = nullptr;
  std::uint64_t made_ = 0;
};

}  // namespace

std::uint64_t circuit_cost(TermManager const& tm, std::span<Term_ const* const> formulas,
                           run::Limits const& limits) {
  Cone cone(limits);
  cone.add(formulas);
  std::uint64_t cost = 0;
  for (Term_ const* t : cone.terms()) {
    limits.check();
    switch (tm.get_tag(t->symbol)) {
      case SymbolTag::bv_mul:
      case SymbolTag::bv_udiv:
      case SymbolTag::bv_urem:
      case SymbolTag::bv_sdiv:
      case SymbolTag::bv_srem: {
        std::uint64_t const width = tm.width(t);
        if (!tm.is_number(t->children[0]->symbol) && !tm.is_number(t->children[1]->symbol))
          cost += width * width;
        break;
      }
      default: break;
    }
  }
  return cost;
}

bool eliminate_unconstrained(TermManager& tm, std::vector<Term_ const*>& formulas,
                             std::span<Term_ const* const> kept, std::uint64_t least_saving,
                             Definitions& definitions, run::Limits const& limits) {
  std::uint64_t const before = circuit_cost(tm, formulas, limits);
  if (before <= least_saving) return false;
  std::vector<Term_ const*> now = formulas;
  Eliminator eliminator(tm, limits);
  eliminator.run(now, kept);
  if (circuit_cost(tm, now, limits) + least_saving >= before) return false;
  formulas = std::move(now);
  definitions.insert(definitions.end(), eliminator.definitions().begin(), eliminator.definitions().end());
  return true;
}

namespace {

class Unconstrained : public Pass {
 public:
  explicit Unconstrained(PassContext const& context) : context_(context) {}

  std::uint64_t apply(Formulas& formulas) override {
    std::vector<Term_ const*> terms = terms_of(formulas.permanent);
    std::vector<Term_ const*> kept = terms_of(formulas.retractable);
    for (Formula const& f : formulas.assumed) kept.push_back(f.term);
    std::size_t const before = formulas.definitions.size();
    if (!eliminate_unconstrained(context_.tm, terms, kept, context_.tunables.unconstrained_saving,
                                 formulas.definitions, context_.limits))
      return 0;
    for (std::size_t i = 0; i < terms.size(); ++i) formulas.permanent[i].term = terms[i];
    return formulas.definitions.size() - before;
  }

 private:
  PassContext const context_;
};

}  // namespace

std::unique_ptr<Pass> make_unconstrained(PassContext const& context) {
  return std::make_unique<Unconstrained>(context);
}

}  // namespace vell::words

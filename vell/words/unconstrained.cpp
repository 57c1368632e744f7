// One walk from the leaves up. A variable is free when it has one place, in one operator. The walk asks, for
// every operator above free operands, which values they can bring about whatever the others are, and puts a
// new variable, or a smaller term over one, in the place of the operator:
//
//   x + t, x - t, x ^ t, x = t            v
//   x * t                                 v & (t | -t): the multiples of the lowest bit that is set in t
//   x < t, t < x, x <= t, t <= x          p and t is not the bound that excludes it; or t is the bound
//   x op y, both free                     v, by an operand under which op hands the other one on
//   ite(c, x, y), two of them free        v
//   a formula with a free p as a disjunct true
//
// What was replaced is kept beside the definition, so that the variable can come back.
//
// Places are counted before the walk: what a replaced operator no longer uses may be free in the next round.

#include "vell/words/unconstrained.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "vell/terms/cone.h"
#include "vell/terms/termtable.h"
#include "vell/words/builder.h"
#include "vell/words/operands.h"

namespace vell::words {

namespace {

using Tag = SymbolTag::tag;

class Eliminator {
 public:
  // made: number of variables that were made in earlier rounds.
  Eliminator(PassContext const& context, Formulas& formulas, std::uint64_t& made)
      : context_(context), b_(context.tm), formulas_(formulas), made_(made) {}

  // How many variables went.
  std::uint64_t run() {
    Cone cone(context_.limits);
    for (Formula const& f : formulas_.permanent) cone.add(f.term);
    if (!count_places(cone)) return 0;
    for (Term_ const* t : cone.sorted()) {
      context_.limits.check();
      if (t->symbol->arity != 0) visit(t);
    }
    std::vector<Formula> left;
    left.reserve(formulas_.permanent.size());
    for (Formula const& f : formulas_.permanent)
      if (!satisfy(f.term)) left.push_back({now(f.term), f.origin});
    if (definitions_.empty()) return 0;
    formulas_.permanent = std::move(left);
    formulas_.definitions.insert(formulas_.definitions.end(), definitions_.begin(), definitions_.end());
    return definitions_.size();
  }

 private:
  struct Entry {
    Term_ const* now = nullptr;  // what stands for the term; null for itself
    std::uint8_t places = 0;     // in formulas and terms above; 2 for more
    bool free = false;           // a variable that stands in one place
  };

  // Whether a variable is free.
  bool count_places(Cone const& cone) {
    auto const add = [this](Term_ const* t) {
      std::uint8_t& n = entries_.at(t).places;
      n = static_cast<std::uint8_t>(n == 0 ? 1 : 2);
    };
    Cone stays(context_.limits);
    for (std::vector<Formula> const* part : {&formulas_.retractable, &formulas_.assumed})
      for (Formula const& f : *part) stays.add(f.term);
    for (Term_ const* t : cone.terms()) {
      context_.limits.check();
      for (std::uint64_t i = 0; i < t->symbol->arity; ++i) add(t->children[i]);
    }
    if (may_be_open_valued(context_.tm, context_.free_division)) {
      // Their operands must stay as they are, all the way down.
      Cone all(context_.limits);
      all.add(cone.terms());
      for (Definition const& d : formulas_.definitions) all.add(d.value);
      for (Term_ const* t : all.terms())
        if (open_valued(context_.tm, t, context_.free_division)) stays.add(t);
    }
    for (Formula const& f : formulas_.permanent) add(f.term);
    for (Term_ const* t : stays.terms()) {
      context_.limits.check();
      entries_.at(t).places = 2;
    }
    bool any = false;
    for (Term_ const* t : cone.terms()) {
      if (t->symbol->arity != 0 || !b_.is_variable(t) || entries_.find(t).places != 1) continue;
      entries_.at(t).free = any = true;
    }
    return any;
  }

  Term_ const* now(Term_ const* t) const {
    Term_ const* const known = entries_.find(t).now;
    return known != nullptr ? known : t;
  }
  bool is_free(Term_ const* t) const { return entries_.find(t).free; }
  void define(Term_ const* variable, Term_ const* value) { definitions_.push_back({variable, value}); }
  // Of what the definitions from `first` on were made for.
  void link(std::size_t first, Term_ const* replaced, Term_ const* by) {
    for (std::size_t i = first; i < definitions_.size(); ++i) {
      definitions_[i].replaced = replaced;
      definitions_[i].by = by;
    }
  }

  // Finds out what stands for t from now on; its operands are known.
  void visit(Term_ const* t) {
    bool const changed = map_operands(t, children_, [this](Term_ const* o) { return now(o); });
    bool any_free = false;
    for (Term_ const* o : children_) any_free = any_free || is_free(o);
    if (!changed && !any_free) return;
    Term_ const* const here = changed ? context_.tm.mk_term(t->symbol, children_) : t;
    std::size_t const first = definitions_.size();
    Term_ const* const by = any_free && (b_.is_bool(t) || b_.width(t) != 0) ? replacement(here) : nullptr;
    if (by != nullptr) {
      link(first, here, by);
      if (b_.is_variable(by)) entries_.at(by).free = entries_.find(t).places == 1;
    }
    entries_.at(t).now = by != nullptr ? by : here;
  }

  // A variable that stands for any value of the sort of t.
  Term_ const* any(Type const* type) {
    return context_.tm.mk_variable("free!" + std::to_string(made_++), type);
  }
  Term_ const* any(Term_ const* t) { return any(t->symbol->get_output_type()); }
  Term_ const* any_truth() { return any(context_.tm.bool_type); }

  // What may stand for t once its free operands are defined; null where they stay.
  Term_ const* replacement(Term_ const* t) {
    switch (t->symbol->arity) {
      case 1: return unary(t, t->children[0]);
      case 2: {
        Term_ const* const x = t->children[0];
        Term_ const* const y = t->children[1];
        if (x == y) return nullptr;
        if (is_free(x) && is_free(y))
          if (Term_ const* by = both(t, x, y)) return by;
        if (is_free(x))
          if (Term_ const* by = one_of_two(t, x, y, true)) return by;
        return is_free(y) ? one_of_two(t, y, x, false) : nullptr;
      }
      case 3: return choice(t);
      default: return nullptr;
    }
  }

  Term_ const* unary(Term_ const* t, Term_ const* x) {
    switch (b_.tag(t)) {
      case Tag::bool_not: {
        Term_ const* const p = any(t);
        define(x, b_.negation(p));
        return p;
      }
      case Tag::bv_not: {
        Term_ const* const v = any(t);
        define(x, b_.complement(v));
        return v;
      }
      case Tag::bv_neg: {
        Term_ const* const v = any(t);
        define(x, b_.minus(v));
        return v;
      }
      case Tag::bv_rotate_left:
      case Tag::bv_rotate_right: {
        Term_ const* const v = any(t);
        bool const left = b_.is(t, Tag::bv_rotate_left);
        define(x, context_.tm.mk_app(left ? Tag::bv_rotate_right : Tag::bv_rotate_left, {v},
                                     t->symbol->parameter(0)));
        return v;
      }
      case Tag::bv_extract: {
        std::uint64_t const above = b_.width(x) - b_.msb(t) - 1;
        Term_ const* const v = any(t);
        define(x, b_.zero_extend(b_.concat(v, b_.lsb(t) > 0 ? b_.zero(b_.lsb(t)) : nullptr), above));
        return v;
      }
      default: return nullptr;
    }
  }

  // x, the left operand or the right one, is free; other is any term.
  Term_ const* one_of_two(Term_ const* t, Term_ const* x, Term_ const* other, bool left) {
    switch (b_.tag(t)) {
      case Tag::bv_add: {
        Term_ const* const v = any(t);
        define(x, b_.word(Tag::bv_sub, v, other));
        return v;
      }
      case Tag::bv_sub: {
        Term_ const* const v = any(t);
        define(x, left ? b_.word(Tag::bv_add, v, other) : b_.word(Tag::bv_sub, other, v));
        return v;
      }
      case Tag::bv_xor: {
        Term_ const* const v = any(t);
        define(x, b_.word(Tag::bv_xor, v, other));
        return v;
      }
      case Tag::bool_iff: {
        Term_ const* const p = any(t);
        define(x, b_.equal(p, other));
        return p;
      }
      case Tag::equal: {
        if (b_.width(x) == 0) return nullptr;
        Term_ const* const p = any(t);
        define(x, b_.ite(p, other, b_.complement(other)));
        return p;
      }
      case Tag::bv_ult:
      case Tag::bv_ule:
      case Tag::bv_slt:
      case Tag::bv_sle: return order(t, x, other, left);
      case Tag::bv_mul: return b_.is_numeral(other) ? multiple(x, other) : multiple_of_word(x, other);
      default: return nullptr;
    }
  }

  Term_ const* least(Term_ const* t, Term_ const* x) const {
    if (b_.is(t, Tag::bv_ult) || b_.is(t, Tag::bv_ule)) return b_.zero(b_.width(x));
    return b_.number(mpz_class(1) << (b_.width(x) - 1), b_.width(x));
  }
  Term_ const* greatest(Term_ const* t, Term_ const* x) const { return b_.complement(least(t, x)); }
  bool is_strict(Term_ const* t) const { return b_.is(t, Tag::bv_ult) || b_.is(t, Tag::bv_slt); }

  // x < other has every truth value unless other is the least one, which nothing is below; and so on.
  Term_ const* order(Term_ const* t, Term_ const* x, Term_ const* other, bool left) {
    Term_ const* const low = least(t, x);
    Term_ const* const high = greatest(t, x);
    Term_ const* const p = any_truth();
    define(x, left ? b_.ite(p, low, high) : b_.ite(p, high, low));
    bool const strict = is_strict(t);
    Term_ const* const bound = left == strict ? low : high;
    if (b_.is_numeral(other)) return other != bound ? p : b_.boolean(!strict);
    Term_ const* const at_bound = b_.equal(other, bound);
    return strict ? b_.both(p, b_.negation(at_bound)) : b_.either(p, at_bound);
  }

  // Times an odd factor every value, with zeros below for a power of two.
  Term_ const* multiple(Term_ const* x, Term_ const* factor) {
    std::uint64_t const w = b_.width(x);
    mpz_class const n = b_.value(factor);
    if (n == 0) return nullptr;
    std::uint64_t const zeros = mpz_scan1(n.get_mpz_t(), 0);
    mpz_class const odd = n >> zeros;
    mpz_class inverse;
    mpz_class const modulus = mpz_class(1) << w;
    mpz_invert(inverse.get_mpz_t(), odd.get_mpz_t(), modulus.get_mpz_t());
    Term_ const* const v = any(context_.tm.bv_type(w - zeros));
    define(x, b_.word(Tag::bv_mul, b_.number(inverse, w), b_.zero_extend(v, zeros)));
    return b_.concat(v, zeros > 0 ? b_.zero(zeros) : nullptr);
  }

  // With t = odd * 2^k: x = (v & (t | -t)) / 2^k times the inverse of the odd number. Newton's iteration
  // doubles the correct bits of an inverse; an odd number is its own inverse modulo 8. For t = 0 anything
  // will do.
  Term_ const* multiple_of_word(Term_ const* x, Term_ const* t) {
    if (context_.free_division) return nullptr;
    std::uint64_t const w = b_.width(x);
    Term_ const* const v = any(x);
    Term_ const* const product = b_.word(Tag::bv_and, v, b_.word(Tag::bv_or, t, b_.minus(t)));
    Term_ const* const power = b_.word(Tag::bv_and, t, b_.minus(t));
    Term_ const* const odd = b_.word(Tag::bv_udiv, t, power);
    Term_ const* inverse = odd;
    for (std::uint64_t bits = 3; bits < w; bits *= 2) {
      Term_ const* const error = b_.word(Tag::bv_sub, b_.number(2, w), b_.word(Tag::bv_mul, odd, inverse));
      inverse = b_.word(Tag::bv_mul, inverse, error);
    }
    define(x, b_.word(Tag::bv_mul, b_.word(Tag::bv_udiv, product, power), inverse));
    return product;
  }

  // x and y, the operands of t, are free.
  Term_ const* both(Term_ const* t, Term_ const* x, Term_ const* y) {
    // x takes the value, y is the operand under which the operator hands it on.
    auto const hand_on = [&](Term_ const* neutral) {
      Term_ const* const v = any(t);
      define(x, v);
      define(y, neutral);
      return v;
    };
    std::uint64_t const w = b_.width(y);
    switch (b_.tag(t)) {
      case Tag::bool_and: return hand_on(b_.boolean(true));
      case Tag::bool_or: return hand_on(b_.boolean(false));
      case Tag::bv_and: return hand_on(b_.ones(w));
      case Tag::bv_or:
      case Tag::bv_urem:
      case Tag::bv_srem:
      case Tag::bv_shl:
      case Tag::bv_lshr:
      case Tag::bv_ashr: return hand_on(b_.zero(w));
      case Tag::bv_mul:
      case Tag::bv_udiv:
      case Tag::bv_sdiv: return hand_on(b_.one(w));
      case Tag::bv_concat: {
        Term_ const* const v = any(t);
        define(x, b_.extract(v, b_.width(x) + w - 1, w));
        define(y, b_.extract(v, w - 1, 0));
        return v;
      }
      case Tag::bv_ult:
      case Tag::bv_slt: {
        Term_ const* const p = any_truth();
        define(x, least(t, x));
        define(y, b_.ite(p, greatest(t, y), least(t, y)));
        return p;
      }
      case Tag::bv_ule:
      case Tag::bv_sle: {
        Term_ const* const p = any_truth();
        define(x, b_.ite(p, least(t, x), greatest(t, x)));
        define(y, least(t, y));
        return p;
      }
      default: return nullptr;
    }
  }

  // An if-then-else: with both branches free, or with a free condition and one.
  Term_ const* choice(Term_ const* t) {
    if (!b_.is(t, Tag::bool_ite) && !b_.is(t, Tag::term_ite)) return nullptr;
    Term_ const* const condition = t->children[0];
    Term_ const* const x = t->children[1];
    Term_ const* const y = t->children[2];
    if (is_free(x) && is_free(y)) {
      Term_ const* const v = any(t);
      define(x, v);
      define(y, v);
      return v;
    }
    if (!is_free(condition) || (!is_free(x) && !is_free(y))) return nullptr;
    Term_ const* const v = any(t);
    define(is_free(x) ? x : y, v);
    define(condition, b_.boolean(is_free(x)));
    return v;
  }

  // Whether a free Boolean alone makes the formula true. It is looked for below disjunctions that have one
  // place, and negated conjunctions.
  bool satisfy(Term_ const* formula) {
    stack_.assign(1, {formula, true});
    while (!stack_.empty()) {
      context_.limits.check();
      auto const [t, wanted] = stack_.back();
      stack_.pop_back();
      Entry const entry = entries_.find(t);
      if (entry.places != 1) continue;
      Term_ const* const here = now(t);
      if (is_free(here)) {
        std::size_t const first = definitions_.size();
        define(here, b_.boolean(wanted));
        link(first, now(formula), b_.boolean(true));
        return true;
      }
      if (here->symbol != t->symbol) continue;  // another term stands for it
      if (b_.is(t, Tag::bool_not)) {
        stack_.push_back({t->children[0], !wanted});
      } else if (b_.is(t, wanted ? Tag::bool_or : Tag::bool_and)) {
        for (std::uint64_t i = t->symbol->arity; i-- > 0;) stack_.push_back({t->children[i], wanted});
      }
    }
    return false;
  }

  struct Wanted {
    Term_ const* t;
    bool value;
  };

  PassContext const& context_;
  Builder const b_;
  Formulas& formulas_;
  std::uint64_t& made_;
  TermTable<Entry> entries_;
  Definitions definitions_;
  std::vector<Term_ const*> children_;
  std::vector<Wanted> stack_;
};

class Unconstrained : public Pass {
 public:
  explicit Unconstrained(PassContext const& context) : context_(context) {}

  std::uint64_t apply(Formulas& formulas) override {
    context_.limits.check();
    return Eliminator(context_, formulas, made_).run();
  }

 private:
  PassContext const context_;
  std::uint64_t made_ = 0;
};

}  // namespace

std::unique_ptr<Pass> make_unconstrained(PassContext const& context) {
  return std::make_unique<Unconstrained>(context);
}

}  // namespace vell::words

// A permanent formula x = t with a variable x that is not in t makes x superfluous: t is put in everywhere,
// and the formula goes. So does a formula that can be solved for a variable: x + s = t, x ^ s = t, ~x = t, x
// <-> p. A formula that says what a slice of x is, x[m:l] = t, makes x the concatenation of t with new
// variables above and below. A variable that is only used through slices that do not overlap becomes the
// concatenation of one new variable for each: what is said of one slice leaves the others free.
//
// All formulas are looked at before anything is put in. Definitions that depend on each other in a circle are
// found by the substitution, which keeps one variable of the circle; its formula stays.
//
// The formulas hold for good, so a later formula may have t for x as well. Only below a term whose value its
// operands leave open x has to stay: variables there are not eliminated, and when a later formula brings such
// a term, the equation comes back with it.

#include "vell/words/elimination.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <vector>

#include "vell/terms/cone.h"
#include "vell/words/builder.h"
#include "vell/words/operands.h"
#include "vell/words/substitution.h"
#include "vell/words/tags.h"

namespace vell::words {

namespace {

using Tag = SymbolTag::tag;

constexpr unsigned most_steps = 24;      // operators looked through in search of a variable to solve for
constexpr std::size_t most_slices = 64;  // of a variable; concatenations of many are slow to evaluate
constexpr std::size_t no_formula = ~std::size_t{0};

// Bits low to high of a word.
struct Slice {
  std::uint64_t low;
  std::uint64_t high;
};

class Elimination : public Pass {
 public:
  explicit Elimination(PassContext const& context) : context_(context), b_(context.tm) {}

  std::uint64_t apply(Formulas& formulas) override {
    if (formulas.first && formulas.round == 0) {
      definitions_.clear();
      later_.reset();
    }
    if (!formulas.first) return put_in_later(formulas);
    std::vector<Definition> found;
    std::vector<std::size_t> from;  // the formula that each was found in
    Substitution put_in(context_.tm, context_.free_division, context_.limits);
    Cone const kept = below_open(formulas);
    for (std::size_t i = 0; i < formulas.permanent.size(); ++i) {
      context_.limits.check();
      Definition const d = solved(formulas.permanent[i].term, kept, put_in, formulas.substitute_only);
      if (d.variable == nullptr) continue;
      put_in.replace(d.variable, d.value);
      found.push_back(d);
      from.push_back(i);
    }
    // What was put in may leave a variable to slices only, which a later round sees.
    if (found.empty() && !formulas.substitute_only) {
      found = sliced(formulas, kept);
      from.resize(found.size(), no_formula);
      for (Definition const& d : found) put_in.replace(d.variable, d.value);
    }
    if (found.empty()) return 0;
    std::vector<bool> drop(formulas.permanent.size(), false);
    std::uint64_t eliminated = 0;
    for (Definition const& d : found) put_in.apply(d.variable);
    formulas.replace_values([&](Term_ const* t) { return put_in.apply(t); });
    for (std::size_t i = 0; i < found.size(); ++i) {
      if (put_in.stays(found[i].variable)) continue;
      if (from[i] != no_formula) drop[from[i]] = true;
      ++eliminated;
      Definition const d{found[i].variable, put_in.apply(found[i].variable)};
      definitions_.push_back(d);
      formulas.definitions.push_back(d);
    }
    if (eliminated == 0) return 0;
    std::size_t left = 0;
    for (std::size_t i = 0; i < formulas.permanent.size(); ++i)
      if (!drop[i]) formulas.permanent[left++] = formulas.permanent[i];
    formulas.permanent.resize(left);
    formulas.each([&](Formula& f) { f.term = put_in.apply(f.term); });
    return eliminated;
  }

 private:
  // Everything below terms whose operands leave their value open, in values of definitions as well.
  Cone below_open(Formulas& formulas) const {
    Cone out(context_.limits);
    if (!may_be_open_valued(context_.tm, context_.free_division)) return out;
    Cone all(context_.limits);
    formulas.each([&](Formula const& f) { all.add(f.term); });
    for (Definition const& d : formulas.definitions) all.add(d.value);
    for (Term_ const* t : all.terms())
      if (open_valued(context_.tm, t, context_.free_division)) out.add(t);
    return out;
  }

  std::uint64_t put_in_later(Formulas& formulas) {
    if (definitions_.empty()) return 0;
    if (later_ == nullptr) {
      later_ = std::make_unique<Substitution>(context_.tm, context_.free_division, context_.limits);
      for (Definition const& d : definitions_) later_->replace(d.variable, d.value);
    }
    std::uint64_t replaced = 0;
    formulas.each([&](Formula& f) {
      Term_ const* const now = later_->apply(f.term);
      replaced += now != f.term ? 1 : 0;
      f.term = now;
    });
    Cone const kept = below_open(formulas);
    for (Term_ const* t : kept.terms())
      if (later_->is_replaced(t)) formulas.permanent.push_back({b_.equal(t, later_->apply(t)), 0});
    return replaced;
  }

  // The variable that the formula can be solved for, and its value; a null variable for none.
  Definition solved(Term_ const* formula, Cone const& kept, Substitution const& put_in,
                    bool substitute_only) {
    auto const usable = [&](Term_ const* t) {
      return b_.is_variable(t) && !kept.contains(t) && !put_in.is_replaced(t) &&
             (b_.is_bool(t) || b_.width(t) != 0);
    };
    bool const negated = b_.is(formula, Tag::bool_not);
    Term_ const* const p = negated ? formula->children[0] : formula;
    if (usable(p)) return {p, b_.boolean(!negated)};
    if (b_.is(p, Tag::bool_iff))
      return of_sides(p, usable, [&](Term_ const* t) { return negated ? b_.negation(t) : t; });
    if (!b_.is(p, Tag::equal)) return {nullptr, nullptr};
    if (negated) {
      // Of one bit: the other value.
      if (b_.width(p->children[0]) != 1) return {nullptr, nullptr};
      Definition const d = of_sides(p, usable, [&](Term_ const* t) { return b_.complement(t); });
      if (d.variable != nullptr || substitute_only) return d;
      return of_slice(p, usable, [&](Term_ const* t) { return b_.complement(t); });
    }
    if (Definition const d = of_sides(p, usable, [](Term_ const* t) { return t; }); d.variable != nullptr)
      return d;
    for (unsigned i = 0; i < 2; ++i)
      if (Definition const d = solve(p->children[i], p->children[1 - i], usable); d.variable != nullptr)
        return d;
    if (substitute_only) return {nullptr, nullptr};
    return of_slice(p, usable, [](Term_ const* t) { return t; });
  }

  // A side that is a slice of a variable; of two the left one.
  template <typename Usable, typename Value>
  Definition of_slice(Term_ const* equality, Usable usable, Value value) {
    for (unsigned i = 0; i < 2; ++i) {
      Term_ const* const side = equality->children[i];
      if (!b_.is(side, Tag::bv_extract)) continue;
      Term_ const* const x = side->children[0];
      Term_ const* const other = equality->children[1 - i];
      // x[7:4] = x[3:0] is no such formula.
      if (!usable(x) || (b_.is(other, Tag::bv_extract) && other->children[0] == x)) continue;
      std::uint64_t const above = b_.width(x) - b_.msb(side) - 1;
      Term_ const* const high = above > 0 ? part(above) : nullptr;
      Term_ const* const low = b_.lsb(side) > 0 ? part(b_.lsb(side)) : nullptr;
      return {x, b_.concat(high, b_.concat(value(other), low))};
    }
    return {nullptr, nullptr};
  }

  Term_ const* part(std::uint64_t width) {
    return context_.tm.mk_variable("part!" + std::to_string(parts_++), context_.tm.bv_type(width));
  }

  // Variables of which nothing but two or more slices is used, with their parts.
  std::vector<Definition> sliced(Formulas& formulas, Cone const& kept) {
    std::vector<Definition> out;
    if (!context_.tm.has_operator(Tag::bv_extract)) return out;
    Cone cone(context_.limits);
    formulas.each([&](Formula const& f) { cone.add(f.term); });
    std::unordered_map<Term_ const*, std::vector<Slice>> slices;
    for (Term_ const* t : cone.terms()) {
      context_.limits.check();
      if (b_.is(t, Tag::bv_extract) && b_.is_variable(t->children[0]))
        slices[t->children[0]].push_back({b_.lsb(t), b_.msb(t)});
    }
    if (slices.empty()) return out;
    for (Term_ const* t : cone.terms()) {
      context_.limits.check();
      if (b_.is(t, Tag::bv_extract)) continue;
      for (std::uint64_t i = 0; i < t->symbol->arity; ++i)
        if (t->children[i]->symbol->arity == 0) slices.erase(t->children[i]);
    }
    // In the order of the terms, which does not depend on where they lie in memory.
    for (Term_ const* x : cone.sorted()) {
      auto const found = slices.find(x);
      if (found == slices.end() || kept.contains(x) || found->second.size() > most_slices) continue;
      if (Term_ const* value = joined(x, found->second)) out.push_back({x, value});
    }
    return out;
  }

  // x as a concatenation of new variables, one for each slice and each gap; null where slices overlap.
  Term_ const* joined(Term_ const* x, std::vector<Slice>& slices) {
    std::sort(slices.begin(), slices.end(), [](Slice const& a, Slice const& b) { return a.low < b.low; });
    for (std::size_t i = 0; i + 1 < slices.size(); ++i)
      if (slices[i].high >= slices[i + 1].low) return nullptr;
    if (slices.size() < 2) return nullptr;
    Term_ const* value = nullptr;
    std::uint64_t next = 0;  // the lowest bit that value does not have
    auto const append = [&](std::uint64_t end) {
      if (end > next) value = b_.concat(part(end - next), value);
      next = end;
    };
    for (Slice const& s : slices) {
      append(s.low);
      append(s.high + 1);
    }
    append(b_.width(x));
    return value;
  }

  // A side that is a variable; of two the younger one.
  template <typename Usable, typename Value>
  static Definition of_sides(Term_ const* equality, Usable usable, Value value) {
    Term_ const* const a = equality->children[0];
    Term_ const* const c = equality->children[1];
    bool const first = usable(a);
    bool const second = usable(c);
    if (first && (!second || a->id > c->id)) return {a, value(c)};
    if (second) return {c, value(a)};
    return {nullptr, nullptr};
  }

  // Solves left = right for a variable that stands in left below sums, exclusive or and negations only.
  template <typename Usable>
  Definition solve(Term_ const* left, Term_ const* right, Usable usable) const {
    std::vector<Definition> open{{left, right}};  // each of them is to be equal
    for (unsigned steps = 0; !open.empty() && steps < most_steps; ++steps) {
      Term_ const* const x = open.back().variable;
      Term_ const* const y = open.back().value;
      open.pop_back();
      if (usable(x)) return {x, y};
      auto const push = [&](Term_ const* operand, Term_ const* value) {
        // Operands that lead nowhere need no value.
        if (usable(operand) || invertible(operand)) open.push_back({operand, value});
      };
      if (!invertible(x)) continue;
      Term_ const* const a = x->children[0];
      switch (b_.tag(x)) {
        case Tag::bv_not: push(a, b_.complement(y)); break;
        case Tag::bv_neg: push(a, b_.minus(y)); break;
        case Tag::bv_add:
          for (unsigned i = 2; i-- > 0;) push(x->children[i], b_.word(Tag::bv_sub, y, x->children[1 - i]));
          break;
        case Tag::bv_sub:
          push(x->children[1], b_.word(Tag::bv_sub, a, y));
          push(a, b_.word(Tag::bv_add, y, x->children[1]));
          break;
        case Tag::bv_xor:
          for (unsigned i = 2; i-- > 0;) push(x->children[i], b_.word(Tag::bv_xor, y, x->children[1 - i]));
          break;
        default: break;
      }
    }
    return {nullptr, nullptr};
  }
  bool invertible(Term_ const* t) const {
    constexpr Tags tags{Tag::bv_not, Tag::bv_neg, Tag::bv_add, Tag::bv_sub, Tag::bv_xor};
    return tags.contain(b_.tag(t));
  }

  PassContext const context_;
  Builder const b_;
  Definitions definitions_;              // of the first batch
  std::unique_ptr<Substitution> later_;  // made of them when a later batch comes
  std::uint64_t parts_ = 0;              // variables made
};

}  // namespace

std::unique_ptr<Pass> make_elimination(PassContext const& context) {
  return std::make_unique<Elimination>(context);
}

}  // namespace vell::words

// Some operators ask for an operand only where another one has a certain value:
//
//   c ? x : y    for x where c is true, for y where c is false
//   p and q      for q where p is true
//   p or q       for q where p is false
//   x & y        for the bits of y where those of x are 1
//   x | y        for the bits of y where those of x are 0
//
// In q, p may then be put in as true, and so on. What holds of the only use of a term holds of all the terms
// below it that nothing else uses, that is, of those it dominates. What is known of bits holds as long as
// bits keep their places: through bitwise operators and the branches of an if-then-else.
//
// Of p and q only one may speak about the other: both would lose what they have in common. It is the older
// one, since only the younger one can hold the other. By induction over the terms, a changed term has the
// value of the original wherever the original ones above it make its conditions true: for "p and q", where p
// is true, q' equals q, and where p is false, so is p', which does not depend on what q says.
//
// Each use of a term in another is looked at once, and every term gets one other: nothing is built twice.

#include "vell/words/pathconditions.h"

#include <algorithm>
#include <vector>

#include "vell/terms/cone.h"
#include "vell/words/analysis/dominators.h"
#include "vell/words/builder.h"
#include "vell/words/operands.h"
#include "vell/words/tags.h"

namespace vell::words {

namespace {

using Tag = SymbolTag::tag;
using Place = Dominators::Place;

constexpr Tags selections{Tag::term_ite, Tag::bool_ite};
constexpr Tags bitwise{Tag::bv_and, Tag::bv_or, Tag::bv_xor, Tag::bv_not, Tag::term_ite};
constexpr unsigned most_parts = 16;  // of a condition that is a conjunction

class Conditions {
 public:
  Conditions(PassContext const& context, std::vector<Term_ const*> terms, std::span<Term_ const* const> roots)
      : context_(context),
        b_(context.tm),
        terms_(std::move(terms)),
        dominators_(terms_, roots, context.limits),
        known_(terms_.size()),
        region_(terms_.size()),
        operands_from_(terms_.size(), no_use) {}

  // Whether anything can be put in.
  bool find() {
    std::vector<Place> below;  // the terms, ordered by their immediate dominators
    std::vector<std::size_t> begin = by_dominator(below);
    struct Step {
      Place place;
      std::size_t known_before;
      bool entered;
    };
    std::vector<Step> stack;
    auto const push_below = [&](std::size_t dominator) {
      for (std::size_t i = begin[dominator]; i < begin[dominator + 1]; ++i)
        stack.push_back({below[i], 0, false});
    };
    push_below(terms_.size());
    while (!stack.empty()) {
      context_.limits.check();
      Step& step = stack.back();
      if (step.entered) {
        forget(step.known_before);
        stack.pop_back();
        continue;
      }
      step.entered = true;
      step.known_before = undo_.size();
      Place const place = step.place;
      enter(place);
      push_below(place);
    }
    return !put_in_.empty();
  }

  // Each term with what was found put in, by place.
  std::vector<Term_ const*> rebuild() {
    std::vector<Term_ const*> now(terms_.size());
    std::vector<Term_ const*> operands;
    for (std::size_t i = 0; i < terms_.size(); ++i) {
      context_.limits.check();
      Term_ const* const t = terms_[i];
      now[i] = t;
      if (open_valued(context_.tm, t, context_.free_division)) continue;
      bool changed = map_operands(t, operands, [&](Term_ const* o) { return now[dominators_.place(o)]; });
      for (std::uint32_t use = operands_from_[i]; use != no_use; use = put_in_[use].next) {
        operands[put_in_[use].operand] = put_in_[use].by;
        changed = true;
      }
      if (changed) now[i] = b_.with_operands(t, operands);
    }
    return now;
  }
  Place place(Term_ const* t) const { return dominators_.place(t); }

 private:
  // What a term is where the walk is.
  struct Known {
    Term_ const* constant = nullptr;
    Place region = Dominators::none;  // where bits are known as long as they keep their places: see region_
  };
  struct Undo {
    Place place;
    Known before;
  };
  // A constant in the place of an operand.
  struct PutIn {
    std::uint32_t operand;
    Term_ const* by;
    std::uint32_t next;  // of the same term
  };
  static constexpr std::uint32_t no_use = ~std::uint32_t{0};

  // Where in `below` the terms begin that a term dominates; those without a dominator are the last.
  std::vector<std::size_t> by_dominator(std::vector<Place>& below) const {
    std::size_t const n = terms_.size();
    auto const index = [&](std::size_t i) {
      Place const d = dominators_.immediate(static_cast<Place>(i));
      return d == Dominators::none ? n : d;
    };
    std::vector<std::size_t> begin(n + 2, 0);
    for (std::size_t i = 0; i < n; ++i) ++begin[index(i) + 1];
    for (std::size_t i = 0; i <= n; ++i) begin[i + 1] += begin[i];
    std::vector<std::size_t> next = begin;
    below.resize(n);
    for (std::size_t i = 0; i < n; ++i) below[next[index(i)]++] = static_cast<Place>(i);
    return begin;
  }

  void enter(Place place) {
    Term_ const* const t = terms_[place];
    region_[place] = place;
    if (dominators_.used_once(place)) {
      Place const user = dominators_.user(place);
      std::uint32_t const operand = dominators_.operand(place);
      if (keeps_bits(terms_[user], operand)) region_[place] = region_[user];
      assume(user, operand);
    }
    if (t->symbol->arity == 0 || open_valued(context_.tm, t, context_.free_division)) return;
    for (std::uint32_t k = 0; k < t->symbol->arity; ++k) {
      std::size_t const before = undo_.size();
      assume(place, k);
      if (Term_ const* constant = known(place, k)) {
        put_in_.push_back({k, constant, operands_from_[place]});
        operands_from_[place] = static_cast<std::uint32_t>(put_in_.size() - 1);
      }
      forget(before);
    }
  }

  bool keeps_bits(Term_ const* t, std::uint32_t operand) const {
    return bitwise.contain(b_.tag(t)) && (operand > 0 || !b_.is(t, Tag::term_ite));
  }

  // What the term says where it asks for the operand.
  void assume(Place place, std::uint32_t operand) {
    Term_ const* const t = terms_[place];
    Tag const tag = b_.tag(t);
    if (open_valued(context_.tm, t, context_.free_division)) return;
    if (selections.contain(tag)) {
      if (operand > 0) holds(t->children[0], operand == 1);
      return;
    }
    if (t->symbol->arity != 2 || t->children[1 - operand]->id >= t->children[operand]->id) return;
    Term_ const* const other = t->children[1 - operand];
    if (tag == Tag::bool_and || tag == Tag::bool_or)
      holds(other, tag == Tag::bool_and);
    else if (tag == Tag::bv_and || tag == Tag::bv_or)
      all_bits(other, tag == Tag::bv_and, region_[place]);
  }

  void holds(Term_ const* p, bool value) {
    struct Part {
      Term_ const* p;
      bool value;
    };
    std::vector<Part> parts{{p, value}};
    for (unsigned n = 0; !parts.empty() && n < most_parts; ++n) {
      Part const part = parts.back();
      parts.pop_back();
      Term_ const* const t = part.p;
      learn(t, b_.boolean(part.value), Dominators::none);
      if (b_.is(t, Tag::bool_not)) parts.push_back({t->children[0], !part.value});
      if (b_.is(t, part.value ? Tag::bool_and : Tag::bool_or))
        for (unsigned i = 0; i < 2; ++i) parts.push_back({t->children[i], part.value});
      if (b_.is(t, Tag::equal) && b_.is_numeral(t->children[1])) {
        if (part.value) learn(t->children[0], t->children[1], Dominators::none);
        if (!part.value && b_.width(t->children[0]) == 1)
          learn(t->children[0], b_.complement(t->children[1]), Dominators::none);
      }
    }
  }

  void all_bits(Term_ const* x, bool ones, Place region) {
    std::vector<Term_ const*> parts{x};
    for (unsigned n = 0; !parts.empty() && n < most_parts; ++n) {
      Term_ const* const t = parts.back();
      parts.pop_back();
      std::uint64_t const w = b_.width(t);
      learn(t, ones ? b_.ones(w) : b_.zero(w), region);
      if (b_.is(t, Tag::bv_not)) learn(t->children[0], ones ? b_.zero(w) : b_.ones(w), region);
      if (b_.is(t, ones ? Tag::bv_and : Tag::bv_or))
        for (unsigned i = 0; i < 2; ++i) parts.push_back(t->children[i]);
    }
  }

  // What holds of a word as a whole stays when its bits become known.
  void learn(Term_ const* t, Term_ const* constant, Place region) {
    if (b_.is_constant(t)) return;
    Place const place = dominators_.place(t);
    Known& k = known_[place];
    if (k.constant != nullptr && k.region == Dominators::none) return;
    undo_.push_back({place, k});
    k = {constant, region};
  }
  void forget(std::size_t until) {
    for (; undo_.size() > until; undo_.pop_back()) known_[undo_.back().place] = undo_.back().before;
  }

  // The constant that an operand is where its term asks for it; null where that is not known.
  Term_ const* known(Place place, std::uint32_t operand) const {
    Term_ const* const t = terms_[place];
    Term_ const* const o = t->children[operand];
    if (b_.is_constant(o)) return nullptr;
    auto const find = [&](Term_ const* x) -> Term_ const* {
      Known const& k = known_[dominators_.place(x)];
      bool const here =
          k.region == Dominators::none || (k.region == region_[place] && keeps_bits(t, operand));
      return here ? k.constant : nullptr;
    };
    if (Term_ const* constant = find(o)) return constant;
    if (b_.is(o, Tag::bool_not) || b_.is(o, Tag::bv_not)) {
      Term_ const* const constant = find(o->children[0]);
      if (constant == nullptr) return nullptr;
      return b_.is_bool(o) ? b_.negation(constant) : b_.complement(constant);
    }
    // A comparison that others ask for as well.
    if (b_.is(o, Tag::equal) && b_.is_numeral(o->children[1])) {
      Known const& k = known_[dominators_.place(o->children[0])];
      if (k.constant != nullptr && k.region == Dominators::none)
        return b_.boolean(k.constant == o->children[1]);
    }
    return nullptr;
  }

  PassContext const& context_;
  Builder const b_;
  std::vector<Term_ const*> const terms_;  // operands first
  Dominators const dominators_;
  std::vector<Known> known_;   // by place
  std::vector<Place> region_;  // by place: the uppermost term to which its bits keep their places
  std::vector<Undo> undo_;
  std::vector<PutIn> put_in_;
  std::vector<std::uint32_t> operands_from_;  // by place: in put_in_
};

class PathConditions : public Pass {
 public:
  explicit PathConditions(PassContext const& context) : context_(context) {}

  std::uint64_t apply(Formulas& formulas) override {
    context_.limits.check();
    Cone cone(context_.limits);
    std::vector<Term_ const*> roots;
    formulas.each([&](Formula const& f) { roots.push_back(f.term); });
    for (Definition const& d : formulas.definitions) roots.push_back(d.value);
    cone.add(roots);
    Conditions conditions(context_, cone.sorted(), roots);
    if (!conditions.find()) return 0;
    std::vector<Term_ const*> const now = conditions.rebuild();
    auto const changed = [&](Term_ const* t) { return now[conditions.place(t)]; };
    std::uint64_t replaced = 0;
    formulas.each([&](Formula& f) {
      Term_ const* const after = changed(f.term);
      replaced += after != f.term ? 1 : 0;
      f.term = after;
    });
    for (Definition& d : formulas.definitions) d.value = changed(d.value);
    return replaced;
  }

 private:
  PassContext const context_;
};

}  // namespace

std::unique_ptr<Pass> make_path_conditions(PassContext const& context) {
  return std::make_unique<PathConditions>(context);
}

}  // namespace vell::words

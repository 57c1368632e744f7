// Two things that are smaller only where a branch of an if-then-else is used by nothing else, which no rule
// can see.
//
// Operators meet: both branches are the same operator, and it is built once.
//
//   c ? x + y : x + z   becomes  x + (c ? y : z)                 one operator less
//   c ? x + y : z + u   becomes  (c ? x : z) + (c ? y : u)       where an if-then-else is smaller than the
//   operator
//
// Comparisons with a numeral go to the branches: a comparison of a word of w bits with a numeral takes up to
// 3 (w - 1) clauses, the selection of the word 4 w, that of the result 4. So
//
//   (c ? x : y) <= k    becomes  c ? (x <= k) : (y <= k)
//
// through a whole tree of selections, as far as each is used once.
//
// How often a term is used is counted for the first batch, which is all there is then. What is made on the
// way is used once.

#include "vell/words/branches.h"

#include <vector>

#include "vell/terms/cone.h"
#include "vell/terms/termtable.h"
#include "vell/words/builder.h"
#include "vell/words/operands.h"
#include "vell/words/tags.h"

namespace vell::words {

namespace {

using Tag = SymbolTag::tag;

constexpr Tags selections{Tag::term_ite, Tag::bool_ite};
constexpr Tags bitwise{Tag::bv_and, Tag::bv_or, Tag::bv_xor};
constexpr Tags orders{Tag::bv_ule, Tag::bv_sle, Tag::bv_ult, Tag::bv_slt, Tag::equal};
constexpr Tags symmetric{Tag::bv_and, Tag::bv_or, Tag::bv_xor, Tag::bv_add, Tag::bv_mul, Tag::equal};
constexpr Tags arithmetic{Tag::bv_add,  Tag::bv_sub,  Tag::bv_mul, Tag::bv_udiv,
                          Tag::bv_urem, Tag::bv_sdiv, Tag::bv_srem};
constexpr Tags shifts{Tag::bv_shl, Tag::bv_lshr, Tag::bv_ashr};

class Branching {
 public:
  Branching(PassContext const& context, Formulas& formulas) : context_(context), b_(context.tm) {
    Cone cone(context.limits);
    auto const root = [&](Term_ const* t) {
      cone.add(t);
      ++at(t).uses;
    };
    formulas.each([&](Formula const& f) { root(f.term); });
    for (Definition const& d : formulas.definitions) root(d.value);
    terms_ = cone.sorted();
    for (Term_ const* t : terms_)
      for (std::uint64_t i = 0; i < t->symbol->arity; ++i) ++at(t->children[i]).uses;
  }

  void rebuild() {
    std::vector<Term_ const*> operands;
    for (Term_ const* t : terms_) {
      context_.limits.check();
      Term_ const* now = t;
      // Open-valued terms stay, with all below them.
      if (!open_valued(context_.tm, t, context_.free_division) &&
          map_operands(t, operands, [this](Term_ const* o) { return image(o); }))
        now = b_.with_operands(t, operands);
      if (selections.contain(b_.tag(now)))
        now = met(now);
      else if (is_bound(now))
        now = bound_of_branches(now);
      Place& place = at(t);
      place.image = now;
      // What stands for the term is used by those who used it.
      if (now != t) at(now).uses += uses(t);
    }
  }
  Term_ const* image(Term_ const* t) const { return places_.find(t).image; }

 private:
  struct Place {
    std::uint32_t uses = 0;
    Term_ const* image = nullptr;
  };
  Place& at(Term_ const* t) { return places_.at(t); }
  std::uint32_t uses(Term_ const* t) const { return places_.find(t).uses; }
  // What goes when the one term goes that uses it.
  bool goes(Term_ const* t) const { return t->symbol->arity != 0 && uses(t) == 1; }

  Term_ const* selected(Term_ const* c, Term_ const* x, Term_ const* y) {
    if (x == y) return x;
    Term_ const* const t = b_.ite(c, x, y);
    ++at(t).uses;
    return t;
  }

  // ---- operators meet ----
  Term_ const* met(Term_ const* t) {
    Term_ const* const c = t->children[0];
    Term_ const* const x = t->children[1];
    Term_ const* const y = t->children[2];
    if (x == y || x->symbol != y->symbol || !goes(x) || !goes(y) || open(x)) return t;
    Tag const tag = b_.tag(x);
    if (tag == Tag::bv_neg) return b_.minus(selected(c, x->children[0], y->children[0]));
    if (orders.contain(tag) && b_.width(x->children[0]) == 0) return t;
    if (!bitwise.contain(tag) && !orders.contain(tag) && !arithmetic.contain(tag) && !shifts.contain(tag))
      return t;
    for (unsigned i = 0; i < 2; ++i)
      for (unsigned j = 0; j < 2; ++j)
        if (x->children[i] == y->children[j] && (i == j || symmetric.contain(tag)))
          return shared_operand(t, i, j);
    return both_operands_selected(t);
  }
  bool open(Term_ const* t) const { return open_valued(context_.tm, t, context_.free_division); }

  Term_ const* shared_operand(Term_ const* t, unsigned i, unsigned j) {
    Term_ const* const x = t->children[1];
    Term_ const* const y = t->children[2];
    Tag const tag = b_.tag(x);
    Term_ const* const rest_x = x->children[1 - i];
    Term_ const* const rest_y = y->children[1 - j];
    // A numeral makes the operator small: in sums two numerals may be selected, which costs nothing.
    bool const numerals = b_.is_numeral(rest_x) && b_.is_numeral(rest_y);
    if ((b_.is_numeral(rest_x) || b_.is_numeral(rest_y)) && !(numerals && tag == Tag::bv_add)) return t;
    if (b_.is_numeral(x->children[i]) && tag != Tag::bv_add) return t;
    Term_ const* operands[2];
    operands[i] = x->children[i];
    operands[1 - i] = selected(t->children[0], rest_x, rest_y);
    return b_.with_operands(x, operands);
  }

  // An if-then-else takes 4 clauses for a bit, as many as one stage of a shift and less than half of an
  // adder.
  Term_ const* both_operands_selected(Term_ const* t) {
    Term_ const* const x = t->children[1];
    Term_ const* const y = t->children[2];
    Tag const tag = b_.tag(x);
    if (!arithmetic.contain(tag) && !(shifts.contain(tag) && b_.width(x) > 8)) return t;
    for (Term_ const* operator_of : {x, y})
      for (unsigned i = 0; i < 2; ++i)
        if (b_.is_numeral(operator_of->children[i])) return t;
    Term_ const* operands[2];
    for (unsigned i = 0; i < 2; ++i) operands[i] = selected(t->children[0], x->children[i], y->children[i]);
    return b_.with_operands(x, operands);
  }

  // ---- comparisons with a numeral ----
  bool is_bound(Term_ const* t) const {
    return orders.contain(b_.tag(t)) && b_.is_numeral(t->children[1]) && b_.width(t->children[0]) > 1;
  }
  bool is_selected(Term_ const* t) const { return b_.is(t, Tag::term_ite) && goes(t); }

  Term_ const* bound_of_branches(Term_ const* t) {
    if (!is_selected(t->children[0])) return t;
    Term_ const* const k = t->children[1];
    struct Step {
      Term_ const* word;
      bool entered;
    };
    std::vector<Step> open{{t->children[0], false}};
    std::vector<Term_ const*> done;
    while (!open.empty()) {
      context_.limits.check();
      Step const step = open.back();
      Term_ const* const x = step.word;
      open.pop_back();
      if (!is_selected(x)) {
        Term_ const* const operands[] = {x, k};
        done.push_back(b_.with_operands(t, operands));
      } else if (!step.entered) {
        open.push_back({x, true});
        open.push_back({x->children[2], false});
        open.push_back({x->children[1], false});
      } else {
        Term_ const* const otherwise = done.back();
        done.pop_back();
        done.back() = b_.ite(x->children[0], done.back(), otherwise);
      }
    }
    return done.back();
  }

  PassContext const& context_;
  Builder const b_;
  std::vector<Term_ const*> terms_;  // operands first
  TermTable<Place> places_;
};

class Branches : public Pass {
 public:
  explicit Branches(PassContext const& context) : context_(context) {}

  std::uint64_t apply(Formulas& formulas) override {
    context_.limits.check();
    if (!context_.tm.has_operator(Tag::term_ite) && !context_.tm.has_operator(Tag::bool_ite)) return 0;
    Branching branching(context_, formulas);
    branching.rebuild();
    std::uint64_t replaced = 0;
    formulas.each([&](Formula& f) {
      Term_ const* const now = branching.image(f.term);
      replaced += now != f.term ? 1 : 0;
      f.term = now;
    });
    for (Definition& d : formulas.definitions) d.value = branching.image(d.value);
    return replaced;
  }

 private:
  PassContext const context_;
};

}  // namespace

std::unique_ptr<Pass> make_branches(PassContext const& context) {
  return std::make_unique<Branches>(context);
}

}  // namespace vell::words

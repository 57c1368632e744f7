#include "vell/words/successorcomparisons.h"

#include "vell/words/numeral.h"

namespace vell::words {

namespace {

using Tag = SymbolTag::tag;

// What is added to a word: 1, -1 (the numeral of all ones), or neither.
enum class Step { up, down, none };

Step step_of(TermManager const& tm, Term_ const* numeral) {
  if (!tm.is_number(numeral->symbol)) return Step::none;
  mpz_class const n = numeral_value(tm, numeral);
  if (n == 1) return Step::up;
  bool const ones = mpz_popcount(n.get_mpz_t()) == tm.width(numeral);
  return ones ? Step::down : Step::none;
}

// The word that t is one more, or one less, than; null where t is nothing of the kind.
Term_ const* neighbour(TermManager const& tm, Term_ const* t, Step wanted) {
  Tag const tag = tm.get_tag(t->symbol);
  if (tag != SymbolTag::bv_add && tag != SymbolTag::bv_sub) return nullptr;
  // At width 1 one up and one down are the same.
  bool const either = tm.width(t) == 1;
  auto const fits = [&](Step s) { return s == wanted || (either && s != Step::none); };
  if (tag == SymbolTag::bv_sub) {
    Step const s = step_of(tm, t->children[1]);
    return fits(s == Step::up ? Step::down : s == Step::down ? Step::up : s) ? t->children[0] : nullptr;
  }
  for (unsigned side = 0; side < 2; ++side)
    if (fits(step_of(tm, t->children[side]))) return t->children[1 - side];
  return nullptr;
}

// A comparison that says something of (< x y), unless the word that is stepped over is at its bound and
// wraps.
struct Form {
  Term_ const* x = nullptr;
  Term_ const* y = nullptr;
  Step step = Step::none;  // up: one is added to x; down: one is taken from y; none: t is no such comparison
  bool strict = false;     // of the comparison as it stands
  bool is_signed = false;
};

Form form_of(TermManager const& tm, Term_ const* t) {
  Form form;
  Tag const tag = tm.get_tag(t->symbol);
  if (tag != SymbolTag::bv_ult && tag != SymbolTag::bv_slt && tag != SymbolTag::bv_ule &&
      tag != SymbolTag::bv_sle)
    return form;
  form.strict = tag == SymbolTag::bv_ult || tag == SymbolTag::bv_slt;
  form.is_signed = tag == SymbolTag::bv_slt || tag == SymbolTag::bv_sle;
  // Strict: y < x + 1, or y - 1 < x. Not strict: x + 1 <= y, or x <= y - 1.
  Term_ const* const with_x = t->children[form.strict ? 1 : 0];
  Term_ const* const with_y = t->children[form.strict ? 0 : 1];
  if (Term_ const* x = neighbour(tm, with_x, Step::up)) {
    form.x = x;
    form.y = with_y;
    form.step = Step::up;
  } else if (Term_ const* y = neighbour(tm, with_y, Step::down)) {
    form.x = with_x;
    form.y = y;
    form.step = Step::down;
  }
  return form;
}

}  // namespace

bool is_successor_comparison(TermManager const& tm, Term_ const* t) {
  return form_of(tm, t).step != Step::none;
}

Term_ const* replace_successor_comparison(TermManager& tm, Term_ const* t) {
  Form const form = form_of(tm, t);
  if (form.step == Step::none) return nullptr;
  std::uint64_t const width = tm.width(form.x);
  Term_ const* const stepped = form.step == Step::up ? form.x : form.y;
  mpz_class bound = 0;
  if (form.is_signed) mpz_setbit(bound.get_mpz_t(), width - 1);  // the smallest number: its sign alone
  if (form.step == Step::up) bound -= 1;                         // the largest one is the one before it
  Term_ const* at_bound = tm.mk_app(SymbolTag::equal, {stepped, make_numeral(tm, bound, width)});
  Term_ const* less = tm.mk_app(form.is_signed ? SymbolTag::bv_slt : SymbolTag::bv_ult, {form.x, form.y});
  if (!form.strict) return tm.mk_app(SymbolTag::bool_or, {at_bound, less});
  return tm.mk_app(SymbolTag::bool_and,
                   {tm.mk_app(SymbolTag::bool_not, {at_bound}), tm.mk_app(SymbolTag::bool_not, {less})});
}

}  // namespace vell::words

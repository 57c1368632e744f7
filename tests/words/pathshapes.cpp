// The shapes that passes look for which follow conditions and bounds through a formula.

#include "tests/words/formulagenerator.h"

namespace vell::test {

void FormulaGenerator::branches(unsigned w) {
  S const tag = r_.pick({S::bv_add, S::bv_sub, S::bv_mul, S::bv_and, S::bv_or, S::bv_xor, S::bv_shl,
                         S::bv_udiv, S::bv_urem, S::bv_add});
  T x = word(w);
  T left = app(tag, {x, word(w)});
  T right = r_.percent(50) ? app(tag, {x, word(w)}) : app(tag, {word(w), r_.percent(50) ? x : word(w)});
  T chosen = app(S::term_ite, {boolean(), left, right});
  if (r_.percent(30)) chosen = app(S::term_ite, {boolean(), word(w), chosen});
  if (r_.percent(40)) {
    add_bool(comparison(chosen, numeral(w)));
  } else if (r_.percent(30)) {
    S const order = r_.pick({S::bv_ule, S::bv_sle, S::equal});
    add_bool(app(S::bool_ite, {boolean(), app(order, {left, word(w)}), app(order, {right, word(w)})}));
  } else {
    add(chosen);
  }
}

void FormulaGenerator::bounds(unsigned w) {
  T x = word(w);
  T y = r_.percent(60) ? numeral(w) : word(w);
  T all = nullptr;
  for (std::int64_t i = r_.between(2, 4); i > 0; --i) {
    if (r_.percent(50)) y = numeral(w);
    S const tag = r_.pick({S::equal, S::bv_ule, S::bv_ult, S::bv_ule, S::bv_sle, S::bv_slt});
    T p = r_.percent(75) ? app(tag, {x, y}) : app(tag, {y, x});
    if (r_.percent(15) && w > 1) {
      unsigned const low = static_cast<unsigned>(r_.below(w));
      unsigned const high = low + static_cast<unsigned>(r_.below(w - low));
      p = app(S::equal, {app(S::bv_extract, {x}, high, low), numeral(high - low + 1)});
    }
    if (r_.percent(30)) p = app(S::bool_not, {p});
    add_bool(p);
    all = all == nullptr ? p : app(r_.pick({S::bool_and, S::bool_and, S::bool_or, S::bool_iff}), {all, p});
    if (r_.percent(30)) x = app(r_.pick({S::bv_add, S::bv_mul, S::bv_and, S::bv_urem}), {x, word(w)});
  }
  add_bool(all);
}

void FormulaGenerator::paths(unsigned w) {
  T c = r_.percent(40) ? app(S::equal, {word(w), numeral(w)}) : boolean();
  T x = word(w);
  S const outer = r_.pick({S::bv_and, S::bv_or, S::bv_xor});
  S const inner = r_.pick({S::bv_and, S::bv_or, S::bv_xor, S::bv_add});
  switch (r_.below(4)) {
    case 0: {
      T below = app(S::term_ite, {c, x, word(w)});
      add(app(S::term_ite, {c, app(inner, {word(w), below}), app(inner, {below, word(w)})}));
      return;
    }
    case 1: {
      T deep = app(r_.pick({S::bv_and, S::bv_or}), {maybe_complement(x), word(w)});
      add(app(outer, {x, app(inner, {word(w), deep})}));
      return;
    }
    case 2: {
      T deep = app(r_.pick({S::bool_and, S::bool_or}), {c, boolean()});
      T middle = app(r_.pick({S::bool_and, S::bool_or, S::bool_iff}), {boolean(), deep});
      add_bool(
          app(r_.pick({S::bool_and, S::bool_or}), {c, r_.percent(50) ? middle : app(S::bool_not, {middle})}));
      return;
    }
    default: {
      T rest = comparison(app(S::term_ite, {c, x, word(w)}), word(w));
      add_bool(app(r_.pick({S::bool_and, S::bool_or}), {r_.percent(50) ? c : app(S::bool_not, {c}), rest}));
    }
  }
}

}  // namespace vell::test

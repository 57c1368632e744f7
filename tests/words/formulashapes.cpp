// The shapes that single passes and rules look for.

#include <algorithm>
#include <string>

#include "tests/words/formulagenerator.h"

namespace vell::test {

void FormulaGenerator::neighbour(unsigned w) {
  T x = r_.percent(20) ? complement(word(w)) : word(w);
  T y = word(w);
  T stepped = r_.percent(50)   ? app(S::bv_add, {x, tm_.mk_bv(1, w)})
              : r_.percent(50) ? app(S::bv_sub, {x, tm_.mk_bv(1, w)})
              : r_.percent(50) ? app(S::bv_add, {tm_.mk_bv((1u << w) - 1, w), x})
                               : app(S::bv_sub, {x, tm_.mk_bv((1u << w) - 1, w)});
  S const tag = r_.pick({S::bv_ult, S::bv_ule, S::bv_slt, S::bv_sle});
  add_bool(r_.percent(50) ? app(tag, {y, stepped}) : app(tag, {stepped, y}));
}

void FormulaGenerator::wires(unsigned w) {
  T x = word(w);
  switch (r_.below(6)) {
    case 0: add(app(r_.pick({S::bv_rotate_left, S::bv_rotate_right}), {x}, r_.below(w + 1))); return;
    case 1: {
      if (w == 1) return;
      unsigned const split = 1 + static_cast<unsigned>(r_.below(w - 1));
      T high = app(S::bv_extract, {x}, w - 1, split);
      T low = app(S::bv_extract, {x}, split - 1, 0);
      if (r_.percent(30)) {
        high = complement(high);
        low = complement(low);
      }
      add(r_.percent(70) ? app(S::bv_concat, {high, low}) : app(S::bv_concat, {low, high}));
      return;
    }
    case 2: {
      if (2 * w > max_width) return;
      T y = r_.percent(50) ? complement(word(w)) : numeral(w);
      add(complement(r_.percent(50) ? app(S::bv_concat, {maybe_complement(x), y})
                                    : app(S::bv_concat, {y, maybe_complement(x)})));
      return;
    }
    case 3: {
      unsigned const low = static_cast<unsigned>(r_.below(w));
      T masked = app(r_.pick({S::bv_and, S::bv_or, S::bv_xor}), {x, numeral(w)});
      T inner = r_.percent(40) ? masked : r_.percent(50) ? complement(x) : chosen_numeral(w);
      add(app(S::bv_extract, {inner}, low + r_.below(w - low), low));
      return;
    }
    case 4: {
      if (w + 3 > max_width) return;
      T extended = app(r_.pick({S::bv_zero_extend, S::bv_sign_extend}), {x}, r_.below(3));
      add(r_.percent(60) ? app(r_.pick({S::bv_zero_extend, S::bv_sign_extend}), {extended}, 1)
                         : app(S::bv_sign_extend, {app(S::bv_concat, {numeral(1), x})}, 1));
      return;
    }
    default: {
      if (w + 2 > max_width) return;
      T choice = chosen_numeral(w);
      add(r_.percent(50) ? app(S::bv_concat, {numeral(2), choice}) : app(S::bv_concat, {choice, numeral(2)}));
    }
  }
}

void FormulaGenerator::junctions(unsigned w) {
  S const outer = r_.pick({S::bv_and, S::bv_or, S::bv_xor});
  S const inner = r_.percent(60) ? outer : r_.pick({S::bv_and, S::bv_or, S::bv_xor});
  T x = word(w);
  T y = r_.percent(40) ? numeral(w) : word(w);
  switch (r_.below(5)) {
    case 0: add(app(outer, {maybe_complement(x), app(inner, {maybe_complement(x), y})})); return;
    case 1: add(app(outer, {complement(x), complement(word(w))})); return;
    case 2: add(app(outer, {app(inner, {x, numeral(w)}), numeral(w)})); return;
    case 3: {
      // A mask of one run of ones.
      std::uint64_t const low = r_.below(w);
      std::uint64_t const run = ((1u << (1 + r_.below(w - low))) - 1) << low;
      std::uint64_t const all = (1u << w) - 1;
      add(app(outer, {x, tm_.mk_bv((outer == S::bv_or ? ~run : run) & all, w)}));
      return;
    }
    default: {
      T sides[2] = {app(inner, {x, y}), r_.percent(50) ? app(inner, {x, word(w)}) : numeral(w)};
      add_bool(app(S::equal, {sides[0], sides[1]}));
    }
  }
}

void FormulaGenerator::choices(unsigned w) {
  T c = boolean();
  T d = boolean();
  T x = word(w);
  T y = word(w);
  switch (r_.below(6)) {
    case 0: {
      T inner = app(S::term_ite, {r_.percent(40) ? c : d, x, y});
      T other = r_.percent(60) ? r_.pick({x, y}) : word(w);
      add(r_.percent(50) ? app(S::term_ite, {c, inner, other}) : app(S::term_ite, {c, other, inner}));
      return;
    }
    case 1: add(app(S::term_ite, {app(S::bool_not, {c}), maybe_complement(x), maybe_complement(y)})); return;
    case 2: {
      T p = r_.percent(30) ? c : r_.percent(50) ? tm_.mk_bool(r_.percent(50)) : d;
      T q = r_.percent(40) ? app(S::bool_not, {p}) : boolean();
      add_bool(r_.percent(50) ? app(S::bool_ite, {c, p, q}) : app(S::bool_ite, {c, q, p}));
      return;
    }
    case 3: {
      if (w + 2 > max_width) return;
      S const tag = r_.pick({S::bv_zero_extend, S::bv_sign_extend});
      add(app(S::term_ite, {c, app(tag, {x}, 2), r_.percent(50) ? app(tag, {y}, 2) : numeral(w + 2)}));
      return;
    }
    case 4: {
      if (2 * w > max_width) return;
      T z = word(w);
      add(r_.percent(50) ? app(S::term_ite, {c, app(S::bv_concat, {x, y}), app(S::bv_concat, {x, z})})
                         : app(S::term_ite, {c, app(S::bv_concat, {y, x}), app(S::bv_concat, {z, x})}));
      return;
    }
    default: {
      T p = r_.percent(50) ? app(S::bool_not, {c}) : c;
      T q = app(r_.pick({S::bool_and, S::bool_or}), {r_.percent(50) ? app(S::bool_not, {c}) : c, d});
      add_bool(app(r_.pick({S::bool_and, S::bool_or, S::bool_iff}),
                   {p, r_.percent(40) ? app(S::bool_not, {q}) : q}));
    }
  }
}

void FormulaGenerator::order_of_parts(unsigned w) {
  T x = word(w);
  T y = word(w);
  unsigned const wide = std::min(w + 2, max_width);
  S const tag = r_.pick({S::bv_zero_extend, S::bv_sign_extend});
  T a = x;
  T b = r_.pick({y, x});
  switch (r_.below(4)) {
    case 0:
      a = app(tag, {x}, wide - w);
      b = r_.percent(50) ? app(tag, {y}, wide - w) : numeral(wide);
      break;
    case 1:
      a = complement(x);
      b = r_.percent(50) ? complement(y) : numeral(w);
      break;
    case 2:
      if (2 * w > max_width) return;
      a = r_.percent(50) ? app(S::bv_concat, {x, y}) : app(S::bv_concat, {y, x});
      b = r_.percent(50) ? app(S::bv_concat, {x, word(w)}) : app(S::bv_concat, {word(w), x});
      break;
    default: {
      std::uint64_t const end = std::uint64_t{1} << w;
      std::uint64_t const step = end >> (1 + r_.below(w));
      b = tm_.mk_bv(
          r_.pick<std::uint64_t>({end / 2, end / 2 - 1, end - 1, 0, step - 1, end - step - 1, end - step}) &
              (end - 1),
          w);
    }
  }
  add_bool(r_.percent(60) ? comparison(a, b) : comparison(b, a));
}

void FormulaGenerator::extended_division(unsigned w) {
  S const tag = r_.pick({S::bv_udiv, S::bv_urem, S::bv_sdiv, S::bv_srem, S::bv_lshr, S::bv_shl, S::bv_ashr});
  T x = word(w);
  T y = r_.percent(20) ? x : word(w);
  std::uint64_t const all = (std::uint64_t{1} << w) - 1;
  if (r_.percent(40)) {
    unsigned const by = std::min(2u, max_width - w);
    if (by == 0) return;
    x = app(S::bv_zero_extend, {x}, by);
    y = r_.percent(60) ? app(S::bv_zero_extend, {y}, by) : numeral(w + by);
  } else if (r_.percent(40)) {
    y = tm_.mk_bv(r_.pick<std::uint64_t>({all, all / 2 + 1, r_.next() | (all / 2 + 1), 1, 2, 0}) & all, w);
  } else if (r_.percent(30)) {
    x = tm_.mk_bv(r_.pick<std::uint64_t>({0, all}), w);
  }
  add(app(tag, {x, y}));
}

void FormulaGenerator::overflow(unsigned w) {
  T x = word(w);
  T y = word(w);
  bool const is_signed = r_.percent(50);
  S const extend = is_signed ? S::bv_sign_extend : S::bv_zero_extend;
  S const tag = r_.pick({S::bv_add, S::bv_sub, S::bv_mul});
  unsigned const by = tag == S::bv_mul ? w : 1;
  T wide = app(tag, {app(extend, {x}, by), app(extend, {y}, by)});
  T narrow = app(tag, {x, y});
  if (r_.percent(50))
    add_bool(app(S::bool_not, {app(S::equal, {wide, app(extend, {narrow}, by)})}));
  else if (is_signed)
    add_bool(app(S::bool_and, {app(S::equal, {sign_of(x), sign_of(y)}),
                               app(S::bool_not, {app(S::equal, {sign_of(x), sign_of(narrow)})})}));
  else
    add_bool(
        app(S::equal, {app(S::bv_extract, {wide}, w + by - 1, w), tm_.mk_bv(r_.percent(50) ? 1 : 0, by)}));
}

Term_ const* FormulaGenerator::twin(T t, unsigned depth) {
  unsigned const w = width(t);
  if (depth == 0) return t;
  S const tag = tm_.get_tag(t->symbol);
  auto const child = [&](unsigned i) { return twin(t->children[i], depth - 1); };
  switch (tag) {
    case S::bv_mul: {
      T x = child(0);
      T y = child(1);
      S const inner = tm_.get_tag(y->symbol);
      if ((inner == S::bv_add || inner == S::bv_sub) && r_.percent(70))
        return app(inner, {app(S::bv_mul, {x, y->children[0]}), app(S::bv_mul, {y->children[1], x})});
      if (inner == S::bv_mul && r_.percent(60))
        return app(S::bv_mul, {app(S::bv_mul, {x, y->children[0]}), y->children[1]});
      if (r_.percent(20)) return app(S::bv_neg, {app(S::bv_mul, {app(S::bv_neg, {x}), y})});
      return app(S::bv_mul, {y, x});
    }
    case S::bv_add: return app(S::bv_add, {child(1), child(0)});
    case S::bv_sub: return app(S::bv_add, {child(0), app(S::bv_neg, {child(1)})});
    case S::bv_neg: return app(S::bv_sub, {tm_.mk_bv(0, w), child(0)});
    case S::bv_not: return app(S::bv_sub, {app(S::bv_neg, {child(0)}), tm_.mk_bv(1, w)});
    case S::term_ite: return app(S::term_ite, {app(S::bool_not, {t->children[0]}), child(2), child(1)});
    case S::bv_concat: {
      unsigned const low = width(t->children[1]);
      if (w - low == 0) return t;
      T high = app(S::bv_shl, {app(S::bv_zero_extend, {child(0)}, low), tm_.mk_bv(low, w)});
      return app(r_.pick({S::bv_or, S::bv_add}), {high, app(S::bv_zero_extend, {child(1)}, w - low)});
    }
    case S::bv_zero_extend:
      if (width(t->children[0]) == w) return child(0);
      return app(S::bv_concat, {tm_.mk_bv(0, w - width(t->children[0])), child(0)});
    case S::bv_sign_extend: {
      T x = t->children[0];
      unsigned const from = width(x);
      if (from == w) return child(0);
      T sign = app(S::equal, {app(S::bv_extract, {x}, from - 1, from - 1), tm_.mk_bv(1, 1)});
      T high = app(S::term_ite, {sign, tm_.mk_bv((1u << (w - from)) - 1, w - from), tm_.mk_bv(0, w - from)});
      return app(S::bv_concat, {high, child(0)});
    }
    case S::bv_extract: {
      T x = t->children[0];
      if (t->symbol->parameter(1) == 0 &&
          (tm_.get_tag(x->symbol) == S::bv_mul || tm_.get_tag(x->symbol) == S::bv_add))
        return app(tm_.get_tag(x->symbol), {app(S::bv_extract, {x->children[0]}, w - 1, 0),
                                            app(S::bv_extract, {x->children[1]}, w - 1, 0)});
      return app(S::bv_extract, {child(0)}, t->symbol->parameter(0), t->symbol->parameter(1));
    }
    case S::bv_shl:
      if (tm_.is_number(t->children[1]->symbol))
        return app(S::bv_mul, {app(S::bv_shl, {tm_.mk_bv(1, w), t->children[1]}), child(0)});
      return app(S::bv_mul, {child(0), app(S::bv_shl, {tm_.mk_bv(1, w), t->children[1]})});
    case S::bv_urem:
      return app(S::bv_sub,
                 {t->children[0],
                  app(S::bv_mul, {t->children[1], app(S::bv_udiv, {t->children[0], t->children[1]})})});
    case S::bv_srem:
      return app(S::bv_sub,
                 {t->children[0],
                  app(S::bv_mul, {app(S::bv_sdiv, {t->children[0], t->children[1]}), t->children[1]})});
    case S::bv_xor:
      return app(S::bv_sub, {app(S::bv_or, {child(0), child(1)}), app(S::bv_and, {child(0), child(1)})});
    default:
      // The same under a condition and its negation.
      if (r_.percent(40)) return app(S::term_ite, {boolean(), t, t});
      if (r_.percent(20)) return app(S::bv_add, {t, numeral(w)});
      return t;
  }
}

void FormulaGenerator::under_equality() {
  T x = some();
  T y = some();
  unsigned const narrow = std::min(width(x), width(y));
  unsigned const wide = std::max(width(x), width(y));
  T a = x;
  T b = y;
  if (width(x) != width(y) && r_.percent(65)) {
    T& longer = width(x) > width(y) ? a : b;
    longer = app(S::bv_extract, {longer}, narrow - 1, 0);
  } else {
    if (width(a) < wide) a = fit(a, wide);
    if (width(b) < wide) b = fit(b, wide);
  }
  T c = add_bool(app(S::equal, {a, b}));
  T other = numeral(wide);
  auto const widened = [&](T t) {
    return width(t) < wide ? app(S::bv_zero_extend, {t}, wide - width(t)) : t;
  };
  T left = app(S::term_ite, {c, widened(x), other});
  T right = app(S::term_ite, {c, widened(y), other});
  if (r_.percent(60)) {
    T factor = r_.percent(50) ? widened(x) : word(wide);
    left = app(S::bv_mul, {factor, left});
    right = app(S::bv_mul, {factor, right});
  }
  add(left);
  add(right);
  add_bool(app(S::equal, {left, right}));
}

void FormulaGenerator::two_widths() {
  T x = some();
  T y = r_.percent(35) ? x : some();
  for (int i = 0; i < 2; ++i) {
    unsigned const least = r_.percent(80) ? std::max(width(x), width(y)) : 1;
    unsigned const w = std::min<unsigned>(least + static_cast<unsigned>(r_.below(4)), max_width);
    auto const extended = [&](T t) {
      if (width(t) < w && r_.percent(30)) return app(S::bv_concat, {high_half(w - width(t)), t});
      return fit(t, w);
    };
    T a = extended(x);
    T b = extended(y);
    T product = add(r_.percent(70) ? app(S::bv_mul, {a, b}) : app(S::bv_mul, {b, a}));
    if (r_.percent(60)) add_bool(app(S::equal, {product, numeral(w)}));
  }
}

Term_ const* FormulaGenerator::high_half(unsigned w) {
  for (std::size_t i = words_.size(); i-- > 0;)
    if (tm_.get_tag(words_[i]->symbol) == S::bv_mul && r_.percent(60)) return fit(words_[i], w);
  return word(w);
}

void FormulaGenerator::remainder_of_remainder(unsigned w) {
  S const tag = r_.pick({S::bv_udiv, S::bv_sdiv});
  T x = word(w);
  T y = numeral(w);
  T other = r_.percent(85) ? y : numeral(w);
  T quotient = app(tag, {x, y});
  T product = r_.percent(50) ? app(S::bv_mul, {y, quotient}) : app(S::bv_mul, {quotient, y});
  T rest = add(app(S::bv_sub, {x, product}));
  add_bool(app(S::equal, {add(app(r_.percent(85) ? tag : S::bv_udiv, {rest, other})), numeral(w)}));
}

void FormulaGenerator::linear_system(std::vector<T>& formulas) {
  unsigned const w = width(variables_.front());
  std::vector<T> unknowns;
  for (std::size_t i = 0; i < 3 || (i < 4 && r_.percent(50)); ++i) {
    T t = r_.percent(75) && i < variables_.size() ? variables_[i] : some();
    unknowns.push_back(width(t) < w
                           ? app(r_.percent(80) ? S::bv_zero_extend : S::bv_sign_extend, {t}, w - width(t))
                           : fit(t, w));
  }
  T all = nullptr;
  for (std::int64_t i = r_.between(2, 4); i > 0; --i) {
    T sides[2] = {numeral(w), numeral(w)};
    bool const even = r_.percent(20);
    for (T x : unknowns) {
      std::uint64_t const factor = r_.percent(12) ? r_.next()
                                   : w == 3       ? r_.pick<std::uint64_t>({3, 5})
                                                  : r_.pick<std::uint64_t>({3, 5, 6, 9, 10, 11, 13});
      T part = app(S::bv_mul, {tm_.mk_bv((even && w == 4 ? 2 * factor : factor) & ((1u << w) - 1), w), x});
      T& side = sides[r_.percent(75) ? 0 : 1];
      side = app(r_.percent(75) ? S::bv_add : S::bv_sub, {side, part});
    }
    T equation = add_bool(app(S::equal, {sides[0], sides[1]}));
    if (r_.percent(30) && all != nullptr)
      all = app(S::bool_and, {all, equation});
    else if (r_.percent(30))
      all = equation;
    else
      formulas.push_back(equation);
  }
  if (all != nullptr) formulas.push_back(all);
}

}  // namespace vell::test

#include "tests/words/randomformulas.h"

#include <algorithm>
#include <string>

#include "tests/words/formulagenerator.h"

namespace vell::test {

Case FormulaGenerator::make() {
  Case c;
  c.free_division = r_.percent(15);
  c.salt = r_.next();
  // In some cases nearly everything stands in one place only.
  sparing_ = r_.percent(35);
  linear_ = !sparing_ && r_.percent(18);
  declare(c);
  std::int64_t const steps = r_.between(linear_ ? 0 : 3, sparing_ || linear_ ? 8 : 14);
  for (std::int64_t i = 0; i < steps; ++i) step();
  if (linear_) linear_system(c.formulas);
  if (sparing_ && r_.percent(60)) {
    unsigned const w = width(some());
    T product = add(app(r_.pick({S::bv_mul, S::bv_mul, S::bv_udiv, S::bv_urem, S::bv_sdiv, S::bv_srem}),
                        {word(w), word(w)}));
    for (std::int64_t i = r_.between(0, 2); i > 0; --i) step();
    if (r_.percent(60)) c.formulas.push_back(comparison(product, word(w)));
  }
  std::int64_t const count = r_.between(linear_ ? 0 : 1, linear_ ? 1 : 3);
  for (std::int64_t i = 0; i < count; ++i) c.formulas.push_back(assertion());
  if (r_.percent(30)) c.formulas.push_back(definition());
  if (r_.percent(35))
    for (std::int64_t i = r_.between(1, 2); i > 0; --i) c.kept.push_back(assertion());
  if (r_.percent(35)) {
    // Something made after the first check's terms, too.
    sparing_ = false;
    for (std::int64_t i = r_.between(0, 3); i > 0; --i) step();
    if (r_.percent(50)) c.permanent.push_back(r_.percent(40) ? definition() : assertion());
    if (r_.percent(60)) c.passing.push_back(assertion());
  }
  return c;
}

void FormulaGenerator::declare(Case& c) {
  std::uint64_t const size = r_.below(100);
  std::int64_t bits = size < 55   ? r_.between(3, 6)
                      : size < 90 ? r_.between(6, 8)
                      : size < 99 ? r_.between(8, 10)
                                  : r_.between(10, 14);
  if (linear_) {
    // A variable that is wide enough to be solved for.
    bits = r_.between(3, 6);
    declare_word(c, r_.between(3, 4));
  }
  while (bits > 0) {
    std::int64_t const w =
        std::min<std::int64_t>(bits, sparing_ ? r_.pick({1, 1, 2}) : r_.pick({1, 1, 2, 2, 2, 3, 3, 4, 1, 2}));
    bits -= w;
    if (w > 1 || r_.percent(65)) {
      declare_word(c, w);
    } else {
      c.variables.push_back(tm_.mk_variable("x" + std::to_string(c.variables.size()), tm_.bool_type));
      bools_.push_back(c.variables.back());
    }
  }
  if (words_.empty()) add(numeral(2));
  variables_ = words_;
  unused_ = words_;
  if (bools_.empty()) bools_.push_back(app(S::equal, {words_[0], numeral(width(words_[0]))}));
}

void FormulaGenerator::declare_word(Case& c, std::int64_t w) {
  std::string const name = "x" + std::to_string(c.variables.size());
  c.variables.push_back(tm_.mk_variable(name, tm_.bv_type(static_cast<std::uint64_t>(w))));
  words_.push_back(c.variables.back());
}

Term_ const* FormulaGenerator::numeral(unsigned w) {
  std::uint64_t const n =
      r_.pick<std::uint64_t>({0, 1, 1, 2, 3, 5, ~std::uint64_t{0}, r_.next(), r_.next() | 1});
  return tm_.mk_bv(n & ((1u << w) - 1), w);
}

Term_ const* FormulaGenerator::some() {
  if (sparing_ && !unused_.empty() && r_.percent(85)) {
    std::size_t const i = r_.below(unused_.size());
    T t = unused_[i];
    unused_.erase(unused_.begin() + static_cast<std::ptrdiff_t>(i));
    return t;
  }
  if (r_.percent(45) && !variables_.empty()) return r_.pick(variables_);
  return recent(r_, words_);
}

Term_ const* FormulaGenerator::fit(T t, unsigned w) {
  unsigned const have = width(t);
  if (have == w) return t;
  if (have > w) {
    std::uint64_t const low = r_.percent(70) ? 0 : r_.below(have - w + 1);
    return app(S::bv_extract, {t}, low + w - 1, low);
  }
  switch (r_.below(8)) {
    case 0:
    case 1: return app(S::bv_sign_extend, {t}, w - have);
    case 2: return app(S::bv_concat, {tm_.mk_bv(0, w - have), t});
    case 3: return app(S::bv_concat, {word(w - have, 2), t});
    case 4: return app(S::bv_concat, {t, word(w - have, 2)});
    default: return app(S::bv_zero_extend, {t}, w - have);
  }
}

Term_ const* FormulaGenerator::word(unsigned w, unsigned depth) {
  if (r_.percent(12) || depth > 3) return numeral(w);
  T t = some();
  return width(t) < w && depth > 2 ? app(S::bv_zero_extend, {t}, w - width(t)) : fit(t, w);
}

void FormulaGenerator::step() {
  unsigned const w = std::min(some_width(), max_width);
  switch (r_.below(34)) {
    case 0: add(app(r_.pick({S::bv_not, S::bv_neg}), {word(w)})); return;
    case 1:
    case 2: add(app(r_.pick({S::bv_add, S::bv_sub, S::bv_add}), {word(w), word(w)})); return;
    case 3:
    case 4:
    case 5:
      add(app(S::bv_mul, {word(w), word(w)}));
      if (sparing_ && r_.percent(60)) add_bool(comparison(words_.back(), word(w)));
      return;
    case 6: add(app(r_.pick({S::bv_and, S::bv_or, S::bv_xor}), {word(w), word(w)})); return;
    case 7: {
      T amount = r_.percent(60) ? tm_.mk_bv(r_.below(w + 2) & ((1u << w) - 1), w) : word(w);
      add(app(r_.pick({S::bv_shl, S::bv_lshr, S::bv_ashr, S::bv_shl}), {word(w), amount}));
      return;
    }
    case 8:
    case 9: {
      T divisor = r_.percent(45) ? numeral(w) : word(w);
      T quotient = add(app(r_.pick({S::bv_udiv, S::bv_urem, S::bv_sdiv, S::bv_srem}), {word(w), divisor}));
      if (r_.percent(35))
        add_bool(r_.percent(50) ? comparison(quotient, divisor) : comparison(divisor, quotient));
      return;
    }
    case 10: {
      T x = some();
      T y = some();
      if (width(x) + width(y) <= max_width) add(app(S::bv_concat, {x, y}));
      return;
    }
    case 11: {
      T t = some();
      unsigned const high = static_cast<unsigned>(r_.below(width(t)));
      unsigned const low = r_.percent(50) ? 0 : static_cast<unsigned>(r_.below(high + 1));
      add(app(S::bv_extract, {t}, high, low));
      return;
    }
    case 12: add(app(S::term_ite, {boolean(), word(w), word(w)})); return;
    case 13: add_bool(comparison(word(w), word(w))); return;
    case 14:
      add_bool(r_.percent(70) ? app(r_.pick({S::bool_and, S::bool_or, S::bool_iff}), {boolean(), boolean()})
                              : app(S::bool_ite, {boolean(), boolean(), boolean()}));
      return;
    case 15: add_bool(app(S::bool_not, {boolean()})); return;
    case 16: neighbour(w); return;
    case 17:
    case 18: {
      T t = recent(r_, words_);
      add_bool(app(S::equal, {t, twin(t, 3)}));
      return;
    }
    case 19: under_equality(); return;
    case 20:
    case 21:
    case 22: two_widths(); return;
    case 23: wires(w); return;
    case 24: junctions(w); return;
    case 25: choices(w); return;
    case 26: order_of_parts(w); return;
    case 27: extended_division(w); return;
    case 28: overflow(std::min(w, max_width / 2)); return;
    case 29: branches(w); return;
    case 30:
    case 31: bounds(w); return;
    case 32: paths(w); return;
    default: remainder_of_remainder(w); return;
  }
}

Term_ const* FormulaGenerator::definition() {
  T x = variables_.empty() ? some() : r_.pick(variables_);
  if (r_.percent(25)) x = some();
  T t = r_.percent(25) ? numeral(width(x)) : word(width(x));
  return r_.percent(50) ? app(S::equal, {x, t}) : app(S::equal, {t, x});
}

Term_ const* FormulaGenerator::assertion() {
  T f = boolean();
  if (r_.percent(15)) f = app(S::bool_and, {f, boolean()});
  if (r_.percent(15)) f = app(S::bool_or, {f, boolean()});
  return r_.percent(35) ? app(S::bool_not, {f}) : f;
}

Case random_case(TermManager& tm, std::uint64_t seed) { return FormulaGenerator(tm, seed).make(); }

}  // namespace vell::test

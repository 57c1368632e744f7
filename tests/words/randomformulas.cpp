#include "tests/words/randomformulas.h"

#include <algorithm>

#include "tests/generate/random.h"
#include "tests/words/truthtable.h"
#include "vell/smtlib/termprinter.h"
#include "vell/terms/cone.h"

namespace vell::test {

namespace {

using T = Term_ const*;
using S = SymbolTag::tag;

constexpr unsigned max_width = 12;

class Generator {
 public:
  Generator(TermManager& tm, std::uint64_t seed) : tm_(tm), r_(seed) {}

  Case make() {
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

 private:
  static T const& recent(generate::Random& r, std::vector<T> const& v) {
    return r.percent(50) ? v[v.size() - 1 - r.below(std::min<std::size_t>(v.size(), 4))] : r.pick(v);
  }
  T app(S tag, std::initializer_list<T> children, std::uint64_t p0 = 0, std::uint64_t p1 = 0) {
    return tm_.mk_app(tag, children, p0, p1);
  }
  unsigned width(T t) const { return bits_of(tm_, t); }
  T add(T t) {
    words_.push_back(t);
    unused_.push_back(t);
    return t;
  }
  T add_bool(T t) {
    bools_.push_back(t);
    return t;
  }

  void declare(Case& c) {
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
      std::int64_t const w = std::min<std::int64_t>(
          bits, sparing_ ? r_.pick({1, 1, 2}) : r_.pick({1, 1, 2, 2, 2, 3, 3, 4, 1, 2}));
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

  void declare_word(Case& c, std::int64_t w) {
    std::string const name = "x" + std::to_string(c.variables.size());
    c.variables.push_back(tm_.mk_variable(name, tm_.bv_type(static_cast<std::uint64_t>(w))));
    words_.push_back(c.variables.back());
  }

  T numeral(unsigned w) {
    std::uint64_t const n =
        r_.pick<std::uint64_t>({0, 1, 1, 2, 3, 5, ~std::uint64_t{0}, r_.next(), r_.next() | 1});
    return tm_.mk_bv(n & ((1u << w) - 1), w);
  }

  // A word as it stands.
  T some() {
    if (sparing_ && !unused_.empty() && r_.percent(85)) {
      std::size_t const i = r_.below(unused_.size());
      T t = unused_[i];
      unused_.erase(unused_.begin() + static_cast<std::ptrdiff_t>(i));
      return t;
    }
    if (r_.percent(45) && !variables_.empty()) return r_.pick(variables_);
    return recent(r_, words_);
  }

  T fit(T t, unsigned w) {
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

  T word(unsigned w, unsigned depth = 0) {
    if (r_.percent(12) || depth > 3) return numeral(w);
    T t = some();
    return width(t) < w && depth > 2 ? app(S::bv_zero_extend, {t}, w - width(t)) : fit(t, w);
  }

  T boolean() { return recent(r_, bools_); }

  unsigned some_width() { return r_.percent(80) ? width(some()) : static_cast<unsigned>(r_.between(1, 5)); }

  T comparison(T x, T y) {
    return app(r_.pick({S::equal, S::equal, S::bv_ult, S::bv_ule, S::bv_slt, S::bv_sle}), {x, y});
  }

  void step() {
    unsigned const w = std::min(some_width(), max_width);
    switch (r_.below(30)) {
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
      default: remainder_of_remainder(w); return;
    }
  }

  void neighbour(unsigned w) {
    T x = word(w);
    T y = word(w);
    T stepped = r_.percent(50)   ? app(S::bv_add, {x, tm_.mk_bv(1, w)})
                : r_.percent(50) ? app(S::bv_sub, {x, tm_.mk_bv(1, w)})
                : r_.percent(50) ? app(S::bv_add, {tm_.mk_bv((1u << w) - 1, w), x})
                                 : app(S::bv_sub, {x, tm_.mk_bv((1u << w) - 1, w)});
    S const tag = r_.pick({S::bv_ult, S::bv_ule, S::bv_slt, S::bv_sle});
    add_bool(r_.percent(50) ? app(tag, {y, stepped}) : app(tag, {stepped, y}));
  }

  T complement(T t) { return app(S::bv_not, {t}); }
  T maybe_complement(T t) { return r_.percent(50) ? complement(t) : t; }

  // Rotations, and slices of what is put together of slices.
  void wires(unsigned w) {
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
        add(r_.percent(50) ? app(S::bv_concat, {numeral(2), choice})
                           : app(S::bv_concat, {choice, numeral(2)}));
      }
    }
  }
  T chosen_numeral(unsigned w) { return app(S::term_ite, {boolean(), numeral(w), numeral(w)}); }

  // Bitwise operators that meet themselves, their complements and masks.
  void junctions(unsigned w) {
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

  // If-then-else in each other, and conditions in branches.
  void choices(unsigned w) {
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
      case 1:
        add(app(S::term_ite, {app(S::bool_not, {c}), maybe_complement(x), maybe_complement(y)}));
        return;
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

  // Comparisons of extensions, complements and concatenations, and with the numerals at the ends.
  void order_of_parts(unsigned w) {
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

  // Division and shift of words that are extended, large numerals or the same.
  void extended_division(unsigned w) {
    S const tag =
        r_.pick({S::bv_udiv, S::bv_urem, S::bv_sdiv, S::bv_srem, S::bv_lshr, S::bv_shl, S::bv_ashr});
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

  // Whether a sum, a difference or a product leaves its width, as scripts say it.
  void overflow(unsigned w) {
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
  T sign_of(T t) { return app(S::bv_extract, {t}, width(t) - 1, width(t) - 1); }

  // A term that is equal to t, or mostly: written otherwise.
  T twin(T t, unsigned depth) {
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
        T high =
            app(S::term_ite, {sign, tm_.mk_bv((1u << (w - from)) - 1, w - from), tm_.mk_bv(0, w - from)});
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

  // Two words in the branches of one condition, which says that they are equal, or nearly so.
  void under_equality() {
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

  // Products of the same words in two widths; what is above the words may hold products again.
  void two_widths() {
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

  // Made of products where there is one.
  T high_half(unsigned w) {
    for (std::size_t i = words_.size(); i-- > 0;)
      if (tm_.get_tag(words_[i]->symbol) == S::bv_mul && r_.percent(60)) return fit(words_[i], w);
    return word(w);
  }

  // (x - y * (x / y)) / y, and what looks so.
  void remainder_of_remainder(unsigned w) {
    S const tag = r_.pick({S::bv_udiv, S::bv_sdiv});
    T x = word(w);
    T y = numeral(w);
    T other = r_.percent(85) ? y : numeral(w);
    T quotient = app(tag, {x, y});
    T product = r_.percent(50) ? app(S::bv_mul, {y, quotient}) : app(S::bv_mul, {quotient, y});
    T rest = add(app(S::bv_sub, {x, product}));
    add_bool(app(S::equal, {add(app(r_.percent(85) ? tag : S::bv_udiv, {rest, other})), numeral(w)}));
  }

  // Equations with factors that are no powers of two, over variables and other words.
  void linear_system(std::vector<T>& formulas) {
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

  T definition() {
    T x = variables_.empty() ? some() : r_.pick(variables_);
    if (r_.percent(25)) x = some();
    T t = r_.percent(25) ? numeral(width(x)) : word(width(x));
    return r_.percent(50) ? app(S::equal, {x, t}) : app(S::equal, {t, x});
  }

  T assertion() {
    T f = boolean();
    if (r_.percent(15)) f = app(S::bool_and, {f, boolean()});
    if (r_.percent(15)) f = app(S::bool_or, {f, boolean()});
    return r_.percent(35) ? app(S::bool_not, {f}) : f;
  }

  TermManager& tm_;
  generate::Random r_;
  std::vector<T> variables_;
  std::vector<T> unused_;
  std::vector<T> words_;
  std::vector<T> bools_;
  bool sparing_ = false;
  bool linear_ = false;
};

}  // namespace

Case random_case(TermManager& tm, std::uint64_t seed) { return Generator(tm, seed).make(); }

std::vector<std::vector<T> Case::*> const& parts_of_a_case() {
  static std::vector<std::vector<T> Case::*> const parts{&Case::formulas, &Case::kept, &Case::permanent,
                                                         &Case::passing};
  return parts;
}

std::vector<T> terms_of(Case const& c) {
  Cone cone;
  for (auto const part : parts_of_a_case()) cone.add(c.*part);
  return cone.sorted();
}

std::string script_of(TermManager const& tm, Case const& c) {
  std::string out;
  if (c.free_division) out += "; with --div-by-zero free\n";
  for (T v : c.variables) {
    unsigned const w = bits_of(tm, v);
    bool const boolean = v->symbol->get_output_type() == tm.bool_type;
    out += "(declare-const " + std::string(v->symbol->name) +
           (boolean ? " Bool)\n" : " (_ BitVec " + std::to_string(w) + "))\n");
  }
  auto const assert_all = [&](std::vector<T> const& formulas) {
    for (T f : formulas) out += "(assert " + smtlib::term_text(tm, f) + ")\n";
  };
  auto const check = [&](std::vector<T> const& above) {
    if (!above.empty()) out += "(push 1)\n";
    assert_all(above);
    out += "(check-sat)\n";
    if (!above.empty()) out += "(pop 1)\n";
  };
  assert_all(c.formulas);
  check(c.kept);
  if (c.permanent.empty() && c.passing.empty()) return out;
  assert_all(c.permanent);
  check(c.passing);
  return out;
}

std::vector<T> simpler_terms(TermManager& tm, Case const& c, T t) {
  std::vector<T> out;
  Type const* const type = t->symbol->get_output_type();
  if (type == tm.bool_type) {
    out = {tm.mk_bool(true), tm.mk_bool(false)};
  } else {
    out = {tm.mk_bv(0, bits_of(tm, t)), tm.mk_bv(1, bits_of(tm, t))};
  }
  for (T v : c.variables)
    if (v->symbol->get_output_type() == type) out.push_back(v);
  Cone below;
  below.add(t);
  for (T s : below.terms())
    if (s != t && s->symbol->get_output_type() == type) out.push_back(s);
  out.erase(std::remove(out.begin(), out.end(), t), out.end());
  return out;
}

Case with(TermManager& tm, Case const& c, T from, T to) {
  std::vector<T> const terms = terms_of(c);
  std::vector<T> now(terms.empty() ? 1 : terms.back()->id + 1, nullptr);
  std::vector<T> operands;
  for (T t : terms) {
    operands.clear();
    for (std::uint64_t i = 0; i < t->symbol->arity; ++i) operands.push_back(now[t->children[i]->id]);
    now[t->id] = t == from ? to : t->symbol->arity == 0 ? t : tm.mk_term(t->symbol, operands);
  }
  Case out = c;
  for (auto const part : parts_of_a_case())
    for (T& f : out.*part) f = now[f->id];
  return out;
}

}  // namespace vell::test

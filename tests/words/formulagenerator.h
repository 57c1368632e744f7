#pragma once

// The generator behind random_case(): a pool of terms, and steps that add to it.

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "tests/generate/random.h"
#include "tests/words/case.h"
#include "tests/words/truthtable.h"

namespace vell::test {

class FormulaGenerator {
 public:
  FormulaGenerator(TermManager& tm, std::uint64_t seed) : tm_(tm), r_(seed) {}

  Case make();

 private:
  using T = Term_ const*;
  using S = SymbolTag::tag;

  static constexpr unsigned max_width = 12;

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

  void declare(Case& c);
  void declare_word(Case& c, std::int64_t w);
  T numeral(unsigned w);
  // A word as it stands.
  T some();
  T fit(T t, unsigned w);
  T word(unsigned w, unsigned depth = 0);
  T boolean() { return recent(r_, bools_); }

  unsigned some_width() { return r_.percent(80) ? width(some()) : static_cast<unsigned>(r_.between(1, 5)); }

  T comparison(T x, T y) {
    return app(r_.pick({S::equal, S::equal, S::bv_ult, S::bv_ule, S::bv_slt, S::bv_sle}), {x, y});
  }

  void step();
  void neighbour(unsigned w);
  T complement(T t) { return app(S::bv_not, {t}); }
  T maybe_complement(T t) { return r_.percent(50) ? complement(t) : t; }

  // Rotations, and slices of what is put together of slices.
  void wires(unsigned w);
  T chosen_numeral(unsigned w) { return app(S::term_ite, {boolean(), numeral(w), numeral(w)}); }

  // Bitwise operators that meet themselves, their complements and masks.
  void junctions(unsigned w);
  // If-then-else in each other, and conditions in branches.
  void choices(unsigned w);
  // Comparisons of extensions, complements and concatenations, and with the numerals at the ends.
  void order_of_parts(unsigned w);
  // Division and shift of words that are extended, large numerals or the same.
  void extended_division(unsigned w);
  // Whether a sum, a difference or a product leaves its width, as scripts say it.
  void overflow(unsigned w);
  T sign_of(T t) { return app(S::bv_extract, {t}, width(t) - 1, width(t) - 1); }

  // The same operator in both branches of an if-then-else, and comparisons of one with a numeral.
  void branches(unsigned w);
  // One word compared with several others, signed and unsigned.
  void bounds(unsigned w);
  // A condition, or a word, that is asked for again below the operator that it decides.
  void paths(unsigned w);

  // A term that is equal to t, or mostly: written otherwise.
  T twin(T t, unsigned depth);
  // Two words in the branches of one condition, which says that they are equal, or nearly so.
  void under_equality();
  // Products of the same words in two widths; what is above the words may hold products again.
  void two_widths();
  // Made of products where there is one.
  T high_half(unsigned w);
  // (x - y * (x / y)) / y, and what looks so.
  void remainder_of_remainder(unsigned w);
  // Equations with factors that are no powers of two, over variables and other words.
  void linear_system(std::vector<T>& formulas);
  T definition();
  T assertion();

  TermManager& tm_;
  generate::Random r_;
  std::vector<T> variables_;
  std::vector<T> unused_;
  std::vector<T> words_;
  std::vector<T> bools_;
  bool sparing_ = false;
  bool linear_ = false;
};

}  // namespace vell::test

// bvmul.

#include "vell/words/rules/rule.h"

namespace vell::words::rules {

namespace {

using Tag = SymbolTag::tag;

// The numeral stands first, where the circuit looks for it; otherwise the older operand does.
Term_ const* commute(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  bool const swapped = b.is_numeral(x) != b.is_numeral(y) ? b.is_numeral(y) : x->id > y->id;
  return swapped ? b.word(Tag::bv_mul, y, x) : nullptr;
}

Term_ const* single_bit(Builder const& b, Term_ const* t) {
  return b.width(t) == 1 ? b.word(Tag::bv_and, t->children[0], t->children[1]) : nullptr;
}

// By 0, 1, -1 and by powers of two.
Term_ const* simple_factor(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i) {
    Term_ const* const k = t->children[i];
    Term_ const* const x = t->children[1 - i];
    if (!b.is_numeral(k)) continue;
    if (b.is_zero(k)) return k;
    if (b.is_one(k)) return x;
    if (b.is_ones(k)) return b.minus(x);
    mpz_class const n = b.value(k);
    if (mpz_popcount(n.get_mpz_t()) != 1) continue;
    std::uint64_t const shift = mpz_scan1(n.get_mpz_t(), 0);
    return b.concat(b.extract(x, b.width(x) - 1 - shift, 0), b.zero(shift));
  }
  return nullptr;
}

// k * (l * x), k * -x, k * (x with zeros below).
Term_ const* nested_factor(Builder const& b, Term_ const* t) {
  Term_ const* const k = t->children[0];
  Term_ const* const x = t->children[1];
  if (!b.is_numeral(k)) return nullptr;
  std::uint64_t const w = b.width(t);
  if (b.is(x, Tag::bv_mul) && b.is_numeral(x->children[0]))
    return b.word(Tag::bv_mul, b.number(b.value(k) * b.value(x->children[0]), w), x->children[1]);
  if (!b.is(x, Tag::bv_neg)) return nullptr;
  // Each one of the numeral is an operand of a sum: more of them than before are not worth the negation.
  Term_ const* const opposite = b.number(-b.value(k), w);
  if (mpz_popcount(b.value(opposite).get_mpz_t()) > mpz_popcount(b.value(k).get_mpz_t())) return nullptr;
  return b.word(Tag::bv_mul, opposite, x->children[0]);
}

Term_ const* negated_operands(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  bool const nx = b.is(x, Tag::bv_neg);
  bool const ny = b.is(y, Tag::bv_neg);
  if (!nx && !ny) return nullptr;
  Term_ const* const product = b.word(Tag::bv_mul, nx ? x->children[0] : x, ny ? y->children[0] : y);
  return nx && ny ? product : b.minus(product);
}

// A factor 2^n * x, by its zeros at the low end: the product has them too, and is as much narrower.
Term_ const* zeros_below(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i) {
    Term_ const* const x = t->children[i];
    Term_ const* const y = t->children[1 - i];
    std::uint64_t zeros = 0;
    Term_ const* rest = nullptr;
    if (b.is(x, Tag::bv_concat) && b.is_zero(x->children[1])) {
      zeros = b.width(x->children[1]);
      rest = x->children[0];
    } else if (b.is_numeral(x) && !b.is_zero(x)) {
      zeros = mpz_scan1(b.value(x).get_mpz_t(), 0);
      if (zeros != 0) rest = b.extract(x, b.width(x) - 1, zeros);
    }
    if (zeros == 0) continue;
    std::uint64_t const w = b.width(t);
    return b.concat(b.word(Tag::bv_mul, rest, b.extract(y, w - 1 - zeros, 0)), b.zero(zeros));
  }
  return nullptr;
}

constexpr Rule table[] = {
    {"mul-bit", {Tag::bv_mul}, "x * y = x & y for one bit", single_bit},
    {"mul-simple", {Tag::bv_mul}, "0 * x = 0, 1 * x = x, -1 * x = -x, 2^n * x = low x.0", simple_factor},
    {"mul-nested", {Tag::bv_mul}, "k * (l * x) = (k * l) * x, k * -x = -k * x", nested_factor},
    {"mul-negation", {Tag::bv_mul}, "-x * -y = x * y, -x * y = -(x * y)", negated_operands},
    {"mul-zeros", {Tag::bv_mul}, "(x.0) * y = (x * low y).0", zeros_below},
    {"mul-order", {Tag::bv_mul}, "x * k = k * x", commute},
};

}  // namespace

std::span<Rule const> products() { return table; }

}  // namespace vell::words::rules

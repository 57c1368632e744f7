// Order of words. Only "at most" stays, and a numeral beside it stands second.

#include <utility>

#include "vell/words/rules/rule.h"

namespace vell::words::rules {

namespace {

using Tag = SymbolTag::tag;

constexpr Tags strict{Tag::bv_ult, Tag::bv_slt};
constexpr Tags weak{Tag::bv_ule, Tag::bv_sle};

// x < y where y <= x does not hold.
Term_ const* strict_order(Builder const& b, Term_ const* t) {
  Tag const tag = b.is(t, Tag::bv_ult) ? Tag::bv_ule : Tag::bv_sle;
  return b.negation(b.order(tag, t->children[1], t->children[0]));
}

Term_ const* same_sides(Builder const& b, Term_ const* t) {
  return t->children[0] == t->children[1] ? b.boolean(true) : nullptr;
}

bool is_least(Builder const& b, Tag tag, Term_ const* t) {
  return tag == Tag::bv_ule ? b.is_zero(t) : b.is_least_signed(t);
}
bool is_greatest(Builder const& b, Tag tag, Term_ const* t) {
  return tag == Tag::bv_ule ? b.is_ones(t) : b.is_greatest_signed(t);
}

Term_ const* bounds(Builder const& b, Term_ const* t) {
  Tag const tag = b.tag(t);
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  if (is_least(b, tag, x) || is_greatest(b, tag, y)) return b.boolean(true);
  if (is_greatest(b, tag, x) || is_least(b, tag, y)) return b.equal(x, y);
  return nullptr;
}

// k <= x where x <= k - 1 does not hold; k is not the least one.
Term_ const* numeral_first(Builder const& b, Term_ const* t) {
  Term_ const* const k = t->children[0];
  if (!b.is_numeral(k) || b.is_numeral(t->children[1]) || is_least(b, b.tag(t), k)) return nullptr;
  return b.negation(b.order(b.tag(t), t->children[1], b.number(b.value(k) - 1, b.width(k))));
}

// x <= 2^k - 1 says that the bits from k up are clear.
Term_ const* low_ones(Builder const& b, Term_ const* t) {
  Term_ const* const k = t->children[1];
  if (!b.is(t, Tag::bv_ule) || !b.is_numeral(k) || b.is_zero(k)) return nullptr;
  mpz_class const n = b.value(k) + 1;
  if (mpz_popcount(n.get_mpz_t()) != 1) return nullptr;
  std::uint64_t const low = mpz_scan1(n.get_mpz_t(), 0);
  std::uint64_t const w = b.width(k);
  if (low >= w) return nullptr;
  return b.equal(b.extract(t->children[0], w - 1, low), b.zero(w - low));
}

// Above 1..10..0 - 1 are the words that have ones where that has them.
Term_ const* high_ones(Builder const& b, Term_ const* t) {
  Term_ const* const k = t->children[1];
  if (!b.is(t, Tag::bv_ule) || !b.is_numeral(k)) return nullptr;
  // k + 1 = 1...10...0
  std::uint64_t const w = b.width(k);
  mpz_class const n = b.value(k) + 1;
  mpz_class const rest = (mpz_class(1) << w) - n;
  if (rest <= 0 || mpz_popcount(rest.get_mpz_t()) != 1) return nullptr;
  std::uint64_t const low = mpz_scan1(rest.get_mpz_t(), 0);
  if (low >= w) return nullptr;
  return b.negation(b.equal(b.extract(t->children[0], w - 1, low), b.ones(w - low)));
}

// x <= -1 and its negation 0 <= x ask for the sign.
Term_ const* sign(Builder const& b, Term_ const* t) {
  if (!b.is(t, Tag::bv_sle) || !b.is_ones(t->children[1])) return nullptr;
  return b.is_set(t->children[0], b.width(t->children[0]) - 1);
}

// Of the same sign, words are in the same order with and without one.
Term_ const* extended_sides(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  bool const zero = b.is(x, Tag::bv_zero_extend);
  if ((!zero && !b.is(x, Tag::bv_sign_extend)) || b.tag(x) != b.tag(y) ||
      b.width(x->children[0]) != b.width(y->children[0]) || b.width(x->children[0]) == b.width(x))
    return nullptr;
  // A word that was extended by a zero at least is not negative.
  return b.order(zero ? Tag::bv_ule : b.tag(t), x->children[0], y->children[0]);
}

// zext x <= k. The other way round is its negation.
Term_ const* zero_extended_side(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const k = t->children[1];
  if (!b.is(x, Tag::bv_zero_extend) || !b.is_numeral(k)) return nullptr;
  std::uint64_t const w = b.width(x->children[0]);
  if (w == b.width(x)) return nullptr;
  mpz_class const n = b.value(k);
  if (b.is(t, Tag::bv_sle) && mpz_tstbit(n.get_mpz_t(), b.width(k) - 1) != 0) return b.boolean(false);
  if (mpz_sizeinbase(n.get_mpz_t(), 2) > w) return b.boolean(true);
  return b.order(Tag::bv_ule, x->children[0], b.number(n, w));
}

// sext x <=s k.
Term_ const* sign_extended_side(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const k = t->children[1];
  if (!b.is(t, Tag::bv_sle) || !b.is(x, Tag::bv_sign_extend) || !b.is_numeral(k)) return nullptr;
  std::uint64_t const w = b.width(x->children[0]);
  Term_ const* const cut = b.extract(k, w - 1, 0);
  if (b.value(b.sign_extend(cut, b.width(k) - w)) == b.value(k))
    return b.order(Tag::bv_sle, x->children[0], cut);
  return b.boolean(mpz_tstbit(b.value(k).get_mpz_t(), b.width(k) - 1) == 0);
}

// The complement turns the order round.
Term_ const* complemented_sides(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  if (b.is(x, Tag::bv_not) && (b.is(y, Tag::bv_not) || b.is_numeral(y)))
    return b.order(b.tag(t), b.complement(y), x->children[0]);
  return nullptr;
}

// Equal parts decide nothing.
Term_ const* common_part(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  if (!b.is(x, Tag::bv_concat) || !b.is(y, Tag::bv_concat)) return nullptr;
  if (x->children[0] == y->children[0]) return b.order(Tag::bv_ule, x->children[1], y->children[1]);
  if (x->children[1] == y->children[1]) return b.order(b.tag(t), x->children[0], y->children[0]);
  return nullptr;
}

// One bit: x <= y is not x or y; signed, with 1 for -1, the other way round.
Term_ const* single_bit(Builder const& b, Term_ const* t) {
  Term_ const* x = t->children[0];
  Term_ const* y = t->children[1];
  if (b.width(x) != 1) return nullptr;
  if (b.is(t, Tag::bv_sle)) std::swap(x, y);
  return b.either(b.negation(b.is_set(x, 0)), b.is_set(y, 0));
}

constexpr Rule table[] = {
    {"order-strict", strict, "(x < y) = not (y <= x)", strict_order},
    {"order-same", weak, "(x <= x) = true", same_sides},
    {"order-bounds", weak, "(0 <= x) = true, (x <= 0) = (x = 0)", bounds},
    {"order-numeral", weak, "(k <= x) = not (x <= k - 1)", numeral_first},
    {"order-low-ones", {Tag::bv_ule}, "(x <= 2^k - 1) = (high x = 0)", low_ones},
    {"order-high-ones", {Tag::bv_ule}, "(x <= 1..10..0 - 1) = not (high x = 1..1)", high_ones},
    {"order-sign", {Tag::bv_sle}, "(x <=s -1) = (sign x = 1)", sign},
    {"order-extended", weak, "(zext x <=s zext y) = (x <= y), (sext x <= sext y) = (x <= y)", extended_sides},
    {"order-zero-extended", weak, "(zext x <= k) = (x <= low k) or true", zero_extended_side},
    {"order-sign-extended",
     {Tag::bv_sle},
     "(sext x <=s k) = (x <=s low k), true or false",
     sign_extended_side},
    {"order-complement", weak, "(~x <= ~y) = (y <= x), (~x <= k) = (~k <= x)", complemented_sides},
    {"order-common", weak, "(x.y <= x.z) = (y <= z), (x.z <= y.z) = (x <= y)", common_part},
    {"order-bit", weak, "(x <= y) = not x or y for one bit", single_bit},
};

}  // namespace

std::span<Rule const> comparisons() { return table; }

}  // namespace vell::words::rules

// bvudiv, bvurem, bvsdiv, bvsrem, with the quotients and remainders by zero that SMT-LIB defines.

#include <algorithm>

#include "vell/words/rules/rule.h"

namespace vell::words::rules {

namespace {

using Tag = SymbolTag::tag;

constexpr Tags unsigned_ones{Tag::bv_udiv, Tag::bv_urem};

// x / 0 = 1..1, x % 0 = x.
Term_ const* by_zero(Builder const& b, Term_ const* t) {
  if (!b.is_zero(t->children[1])) return nullptr;
  return b.is(t, Tag::bv_udiv) ? b.ones(b.width(t)) : t->children[0];
}

Term_ const* by_power_of_two(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const k = t->children[1];
  if (!b.is_numeral(k) || mpz_popcount(b.value(k).get_mpz_t()) != 1) return nullptr;
  std::uint64_t const w = b.width(t);
  std::uint64_t const shift = mpz_scan1(b.value(k).get_mpz_t(), 0);
  if (b.is(t, Tag::bv_udiv)) return b.zero_extend(b.extract(x, w - 1, shift), shift);
  return shift == 0 ? b.zero(w) : b.zero_extend(b.extract(x, shift - 1, 0), w - shift);
}

// By a numeral of more than half the range the quotient is 0 or 1.
Term_ const* by_large_numeral(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const k = t->children[1];
  std::uint64_t const w = b.width(t);
  if (!b.is_numeral(k) || !b.manager().number(k->symbol)->test_bit(w - 1) || w == 1) return nullptr;
  Term_ const* const reached = b.order(Tag::bv_ule, k, x);
  if (b.is(t, Tag::bv_udiv)) return b.ite(reached, b.one(w), b.zero(w));
  // x - k is less than 2^w - k: the bits above are zero, and only those below are subtracted.
  mpz_class const most = (mpz_class(1) << w) - 1 - b.value(k);
  if (most == 0) return b.ite(reached, b.zero(w), x);
  std::uint64_t const n = mpz_sizeinbase(most.get_mpz_t(), 2);
  Term_ const* const low = b.word(Tag::bv_sub, b.extract(x, n - 1, 0), b.extract(k, n - 1, 0));
  return b.ite(reached, b.zero_extend(low, w - n), x);
}

Term_ const* zero_dividend(Builder const& b, Term_ const* t) {
  if (!b.is_zero(t->children[0])) return nullptr;
  if (b.is(t, Tag::bv_urem)) return t->children[0];
  std::uint64_t const w = b.width(t);
  return b.ite(b.equal(t->children[1], b.zero(w)), b.ones(w), b.zero(w));
}

Term_ const* same_operands(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  if (x != t->children[1]) return nullptr;
  std::uint64_t const w = b.width(t);
  if (b.is(t, Tag::bv_urem)) return b.zero(w);
  return b.ite(b.equal(x, b.zero(w)), b.ones(w), b.one(w));
}

// What zeros extend the same way is divided in its own width; a quotient by zero is all ones in the full one.
Term_ const* extended_operands(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  Tag const tag = b.tag(t);
  std::uint64_t const w = b.width(t);
  if (b.is_numeral(y) && b.is(x, Tag::bv_zero_extend)) {
    Term_ const* const low = x->children[0];
    std::uint64_t const n = b.width(low);
    if (b.is_zero(y)) return nullptr;
    if (mpz_sizeinbase(b.value(y).get_mpz_t(), 2) > n) return tag == Tag::bv_udiv ? b.zero(w) : x;
    return b.zero_extend(b.word(tag, low, b.extract(y, n - 1, 0)), w - n);
  }
  auto const zeros = [&](Term_ const* o) -> std::uint64_t {
    if (b.is_numeral(o)) return w - mpz_sizeinbase(b.value(o).get_mpz_t(), 2);
    return b.is(o, Tag::bv_zero_extend) ? w - b.width(o->children[0]) : 0;
  };
  std::uint64_t const by = std::min(zeros(x), zeros(y));
  if (by == 0 || by == w) return nullptr;
  std::uint64_t const n = w - by;
  Term_ const* const low_y = b.extract(y, n - 1, 0);
  Term_ const* const narrow = b.zero_extend(b.word(tag, b.extract(x, n - 1, 0), low_y), by);
  if (tag == Tag::bv_urem) return narrow;
  return b.ite(b.equal(low_y, b.zero(n)), b.ones(w), narrow);
}

bool sign_is_known(Builder const& b, Term_ const* t) {
  return b.is_numeral(t) || (b.is(t, Tag::bv_zero_extend) && b.width(t) > b.width(t->children[0]));
}

// Signed division is the unsigned one of the absolute values, and where the signs are known it needs none of
// the circuits around it. Where they are not it stays: other simplifications know the signed one.
Term_ const* signed_division(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  if (!sign_is_known(b, x) || !sign_is_known(b, y)) return nullptr;
  auto const absolute = [&](Term_ const* o) { return b.ite(b.is_set(o, b.width(o) - 1), b.minus(o), o); };
  Term_ const* const x_negative = b.is_set(x, b.width(x) - 1);
  if (b.is(t, Tag::bv_srem)) {
    Term_ const* const r = b.word(Tag::bv_urem, absolute(x), absolute(y));
    return b.ite(x_negative, b.minus(r), r);
  }
  Term_ const* const q = b.word(Tag::bv_udiv, absolute(x), absolute(y));
  return b.ite(b.equal(x_negative, b.is_set(y, b.width(y) - 1)), q, b.minus(q));
}

constexpr Rule table[] = {
    {"div-zero", unsigned_ones, "x / 0 = 1..1, x % 0 = x", by_zero},
    {"div-power", unsigned_ones, "x / 2^n = zext high x, x % 2^n = zext low x", by_power_of_two},
    {"div-large", unsigned_ones, "x / k = (k <= x ? 1 : 0) for k >= 2^(w-1)", by_large_numeral},
    {"div-of-zero", unsigned_ones, "0 / x = (x = 0 ? 1..1 : 0), 0 % x = 0", zero_dividend},
    {"div-same", unsigned_ones, "x / x = (x = 0 ? 1..1 : 1), x % x = 0", same_operands},
    {"div-extended", unsigned_ones, "zext x % zext y = zext (x % y)", extended_operands},
    {"div-signed",
     {Tag::bv_sdiv, Tag::bv_srem},
     "x /s y = (sign x = sign y ? q : -q), q = |x| / |y|",
     signed_division},
};

}  // namespace

std::span<Rule const> divisions() { return table; }

}  // namespace vell::words::rules

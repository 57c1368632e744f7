#include "vell/bv/wordclausifier.h"

// Conversion of floating-point values to integers.
//
// With unbiased exponent u and fraction width s the value is F' * 2^(u - s), F' the fraction with its hidden
// bit on top. One right shift by a = s - u (for u <= s) and one left shift by -a (for u > s) are built and
// selected by the sign of a. What the right shift lost is found by shifting back; a rounding increment
// follows from it and the mode; values below one that are not rounded up become zero; the sign is applied
// last. An unsigned conversion is the signed one, one bit wider, without its top bit. Infinities, NaN and
// values out of range get whatever comes out.
//
// The exponent arithmetic is done in max(e, bits of the bias, bits of s) bits: e for every standard format.
// Formats whose s does not fit the signed range of that width shift small values the wrong way.
//
// Tested by tests/bv/fpconversion_test.cpp.

#include <algorithm>

#include "vell/bv/poollist.h"
#include "vell/bv/trace.h"

namespace vell::bv {

namespace {

// The low bits of an unsigned numeral, as many as the list has.
void write_numeral(BvLitList& list, QNumber const& q) {
  for (std::size_t i = 0; i < list.size(); ++i) list[i] = q.test_bit(i) ? l_true : l_false;
}

BvLitList one_of_length(std::size_t n) {
  BvLitList one(n, l_false);
  one[0] = l_true;
  return one;
}

}  // namespace

// A floating-point value on its way to an integer.
struct WordClausifier::Conversion {
  PoolList significand;  // F': fraction, hidden bit, zeros up to the width of the result
  PoolList amount;       // a: places to shift right, as long as the significand; negative for a left shift
  PoolList right;        // R: the significand shifted right by a
  PoolList back;         // R shifted left again: F' without the bits that R lost
  BvLit inexact;         // a right shift lost set bits
  BvLit sign;
};

// 1 where what was lost is more than half a unit, or half a unit and the result is odd. `unit` is twice the
// weight of the last bit shifted out; what is missing to it is compared with what was lost.
BvLit WordClausifier::round_to_even(ClauseSink* sink, Conversion& v) {
  std::size_t const n = v.significand->size();
  BvLitList one = one_of_length(n + 1);
  BvLitList amount = *v.amount;
  amount.push_back(l_false);
  PoolList unit(bvlist_pool, word_sl(sink, &one, &amount));
  BvLitList lost(n + 1, l_false);
  for (std::size_t i = 0; i < n; ++i) lost[i] = bit_xor(sink, v.significand[i], v.back[i]);
  PoolList negated(bvlist_pool, word_neg(sink, &lost));
  PoolList missing(bvlist_pool, word_add(sink, unit.get(), negated.get()));
  PoolList above(bvlist_pool, word_ult(sink, missing.get(), &lost, l_undef));
  BvLit const tie = word_equal(sink, missing.get(), &lost, l_undef);
  BvLit const up = bit_ite(sink, tie, v.right[0], above[0]);
  return bit_and(sink, v.inexact, up);
}

// 1 where the magnitude is to be rounded up under the mode of the term.
BvLit WordClausifier::rounding_increment(ClauseSink* sink, Term_ const* mode, Conversion& v) {
  Symbol const* symbol = mode->symbol;
  if (tm->is_fprounding_even(symbol)) return round_to_even(sink, v);
  if (tm->is_fprounding_zero(symbol)) return l_false;
  if (tm->is_fprounding_plus_inf(symbol)) return bit_and(sink, v.inexact, -v.sign);
  if (tm->is_fprounding_minus_inf(symbol)) return bit_and(sink, v.inexact, v.sign);

  BvLit const to_even = round_to_even(sink, v);
  BvLit const to_plus = bit_and(sink, v.inexact, -v.sign);
  BvLit const to_minus = bit_and(sink, v.inexact, v.sign);
  BvLitList* bits = lookup(mode);
  BvLit increment = l_false;
  auto const choose = [&](IEEEFloat::rounding_mode number, BvLit chosen) {
    BvLitList constant = fp_rounding(number);
    BvLit const is_mode = word_equal(sink, bits, &constant, l_undef);
    increment = bit_ite(sink, is_mode, chosen, increment);
  };
  choose(IEEEFloat::minus_inf, to_minus);
  choose(IEEEFloat::plus_inf, to_plus);
  choose(IEEEFloat::zero, l_false);
  choose(IEEEFloat::even, to_even);
  return increment;
}

BvLitList* WordClausifier::fp_to_bv(ClauseSink* sink, Term_ const* term, std::uint64_t width) {
  Term_ const* mode = term->children[0];
  Term_ const* x = term->children[1];
  std::uint64_t e = 0;
  std::uint64_t s = 0;
  tm->is_fp_type(x->symbol->get_output_type(), &e, &s);
  BvLitList const& value = *lookup(x);
  auto const fraction_end = value.begin() + static_cast<std::ptrdiff_t>(s);
  BvLitList exponent(fraction_end, fraction_end + static_cast<std::ptrdiff_t>(e));
  BvLitList zeros(e, l_false);
  BvLit const exponent_zero = word_equal(sink, &exponent, &zeros, l_undef);

  QNumber const bias = IEEEFloat::format(e, s).bias();
  QNumber const fraction_width(static_cast<std::int64_t>(s));
  BvLitList constant(std::max({e, bias.size_in_base_2(), fraction_width.size_in_base_2()}), l_false);
  exponent.resize(constant.size(), l_false);
  write_numeral(constant, bias);
  PoolList negated_bias(bvlist_pool, word_neg(sink, &constant));
  PoolList u(bvlist_pool, word_add(sink, &exponent, negated_bias.get()));

  PoolList significand(bvlist_pool, new_BvLitList(BvLitList(value.begin(), fraction_end)));
  significand->push_back(l_true);
  if (significand->size() < width) significand->resize(width, l_false);
  std::size_t const n = significand->size();

  PoolList negated_u(bvlist_pool, word_neg(sink, u.get()));
  write_numeral(constant, fraction_width);
  PoolList amount(bvlist_pool, word_add(sink, &constant, negated_u.get()));
  amount->resize(n, amount->back());

  PoolList right(bvlist_pool, word_sr(sink, significand.get(), amount.get(), false));
  PoolList negated_amount(bvlist_pool, word_neg(sink, amount.get()));
  PoolList left(bvlist_pool, word_sl(sink, significand.get(), negated_amount.get()));
  BvLit const is_left = amount->back();
  PoolList back(bvlist_pool, word_sl(sink, right.get(), amount.get()));
  BvLit const exact = word_equal(sink, significand.get(), back.get(), l_undef);
  BvLit const inexact = bit_and(sink, -is_left, -exact);
  Conversion v{std::move(significand), std::move(amount), std::move(right),
               std::move(back),        inexact,           value.back()};
  BvLit const increment = rounding_increment(sink, mode, v);

  BvLitList& r = *v.right;
  for (std::size_t i = 0; i < n; ++i) r[i] = bit_ite(sink, is_left, left[i], r[i]);
  BvLitList one = one_of_length(n);
  PoolList incremented(bvlist_pool, word_add(sink, &r, &one));
  for (std::size_t i = 0; i < n; ++i) r[i] = bit_ite(sink, increment, incremented[i], r[i]);
  BvLit const below_one = bit_or(sink, exponent_zero, u->back());
  BvLit const is_zero = bit_and(sink, -increment, below_one);
  for (std::size_t i = 0; i < n; ++i) r[i] = bit_and(sink, r[i], -is_zero);
  r.resize(width, l_false);
  PoolList negated(bvlist_pool, word_neg(sink, &r));
  for (std::size_t i = 0; i < r.size(); ++i) r[i] = bit_ite(sink, v.sign, negated[i], r[i]);
  return v.right.detach();
}

void WordClausifier::fp_to_sbv(ClauseSink* sink, Term_ const* term) {
  add_to_cache(term, fp_to_bv(sink, term, width_of(term)));
}

// The widths of a term that is no word differ from the signed case: 1 bit is computed, and dropped.
void WordClausifier::fp_to_ubv(ClauseSink* sink, Term_ const* term) {
  PoolList bits(bvlist_pool, fp_to_bv(sink, term, width_of(term) + 1));
  bits->pop_back();
  add_to_cache(term, bits.detach());
}

void WordClausifier::fp_as_ieeebv(ClauseSink*, Term_ const* term) {
  add_to_cache(term, new_BvLitList(*lookup(term->children[0])));
}

}  // namespace vell::bv

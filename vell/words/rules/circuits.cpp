// What is built in the end: the same values by smaller circuits. These rules run last, over the normal form,
// which says less once they have run.

#include <utility>
#include <vector>

#include "vell/words/rules/rule.h"

namespace vell::words::rules {

namespace {

using Tag = SymbolTag::tag;

// x - y is ~(~x + y): an adder, where the subtraction would negate y in a circuit of its own.
Term_ const* subtraction(Builder const& b, Term_ const* t) {
  return b.complement(b.word(Tag::bv_add, b.complement(t->children[0]), t->children[1]));
}

// With the sign bits flipped, signed words are in the order of unsigned ones.
Term_ const* signed_order(Builder const& b, Term_ const* t) {
  std::uint64_t const w = b.width(t->children[0]);
  auto const flipped = [&](Term_ const* x) {
    Term_ const* const sign = b.complement(b.sign(x));
    return w == 1 ? sign : b.concat(sign, b.extract(x, w - 2, 0));
  };
  return b.order(b.is(t, Tag::bv_sle) ? Tag::bv_ule : Tag::bv_ult, flipped(t->children[0]),
                 flipped(t->children[1]));
}

// A power of two with a sign.
struct Digit {
  std::uint64_t shift;
  bool negative;
};

// The non-adjacent form of a factor modulo 2^width: the signed binary form with the fewest digits
// (Reitwiesner, "Binary Arithmetic", 1960).
std::vector<Digit> non_adjacent_form(mpz_class n, std::uint64_t width) {
  std::vector<Digit> out;
  for (std::uint64_t shift = 0; n != 0 && shift < width; ++shift, n >>= 1) {
    if (mpz_odd_p(n.get_mpz_t()) == 0) continue;
    bool const negative = mpz_tstbit(n.get_mpz_t(), 1) != 0;
    out.push_back({shift, negative});
    n += negative ? 1 : -1;
  }
  return out;
}

// k * x as shifted words added and subtracted, where these are fewer than the ones of k. An adder takes about
// twice the clauses of a negation.
Term_ const* product(Builder const& b, Term_ const* t) {
  Term_ const* const k = t->children[0];
  Term_ const* const x = t->children[1];
  if (!b.is_numeral(k) || b.is_zero(k)) return nullptr;
  std::uint64_t const w = b.width(t);
  mpz_class const n = b.value(k);
  std::vector<Digit> const digits = non_adjacent_form(n, w);
  Term_ const* sums[2] = {nullptr, nullptr};
  for (Digit const& d : digits) {
    Term_ const* const shifted =
        d.shift == 0 ? x : b.concat(b.extract(x, w - 1 - d.shift, 0), b.zero(d.shift));
    Term_ const*& sum = sums[d.negative ? 1 : 0];
    sum = sum == nullptr ? shifted : b.word(Tag::bv_add, sum, shifted);
  }
  std::size_t const ones = mpz_popcount(n.get_mpz_t());
  if (2 * digits.size() + (sums[0] == nullptr ? 1 : 0) >= 2 * ones) return nullptr;
  if (sums[1] == nullptr) return sums[0];
  return sums[0] == nullptr ? b.minus(sums[1]) : b.word(Tag::bv_sub, sums[0], sums[1]);
}

constexpr Rule table[] = {
    {"circuit-product", {Tag::bv_mul}, "7 * x = 8 * x - x", product},
    {"circuit-difference", {Tag::bv_sub}, "x - y = ~(~x + y)", subtraction},
    {"circuit-signed", {Tag::bv_sle, Tag::bv_slt}, "(x <=s y) = (flip x <= flip y)", signed_order},
};

}  // namespace

std::span<Rule const> circuits() { return table; }

}  // namespace vell::words::rules

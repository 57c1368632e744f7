#include "vell/words/builder.h"

namespace vell::words {

bool Builder::is_ones(Term_ const* t) const {
  QNumber const* const n = terms.number(t->symbol);
  if (n == nullptr || !n->test_bit(0)) return false;
  std::uint64_t const w = width(t);
  return w != 0 && n->size_in_base_2() == w && mpz_popcount(value(t).get_mpz_t()) == w;
}

bool Builder::is_least_signed(Term_ const* t) const {
  QNumber const* const n = terms.number(t->symbol);
  std::uint64_t const w = width(t);
  return n != nullptr && w != 0 && n->sign() != 0 && n->lowest_set_bit(0) == w - 1;
}

bool Builder::is_greatest_signed(Term_ const* t) const {
  QNumber const* const n = terms.number(t->symbol);
  std::uint64_t const w = width(t);
  if (n == nullptr || w == 0 || n->test_bit(w - 1)) return false;
  return w == 1 || (n->size_in_base_2() == w - 1 && mpz_popcount(value(t).get_mpz_t()) == w - 1);
}

bool Builder::complementary(Term_ const* a, Term_ const* b) const {
  auto const negates = [this](Term_ const* x, Term_ const* y) {
    return (is(x, SymbolTag::bool_not) || is(x, SymbolTag::bv_not)) && x->children[0] == y;
  };
  return negates(a, b) || negates(b, a);
}

Term_ const* Builder::negation(Term_ const* p) const {
  if (is(p, SymbolTag::bool_not)) return p->children[0];
  if (is_true(p) || is_false(p)) return boolean(is_false(p));
  return negated(p);
}

Term_ const* Builder::complement(Term_ const* a) const {
  if (is(a, SymbolTag::bv_not)) return a->children[0];
  if (is_numeral(a)) return number(-1 - value(a), width(a));
  return TermBuilder::complement(a);
}

Term_ const* Builder::extract(Term_ const* a, std::uint64_t msb, std::uint64_t lsb) const {
  if (lsb == 0 && msb + 1 == width(a)) return a;
  if (is_numeral(a)) return number(value(a) >> lsb, msb - lsb + 1);
  return TermBuilder::extract(a, msb, lsb);
}

Term_ const* Builder::concat(Term_ const* high, Term_ const* low) const {
  if (high == nullptr) return low;
  if (low == nullptr) return high;
  if (!is_numeral(high) || !is_numeral(low)) return TermBuilder::concat(high, low);
  std::uint64_t const low_width = width(low);
  mpz_class n = value(high) << low_width;
  n += value(low);
  return number(n, width(high) + low_width);
}

}  // namespace vell::words

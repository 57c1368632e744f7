#include "vell/bv/wordclausifier.h"

// Multiplication modulo 2^n.
//
// A constant first operand: shift and add, one adder for each set bit above bit 0; the first addition is onto
// zero and folds, so a power of two costs nothing. Only the first operand is looked at.
//
// Otherwise the schoolbook array: row j is x shifted up by j and masked by bit j of y, and is added to the
// rows before. Products above bit n - 1 are never formed. Two free words take n(n+1)/2 and gates (3 clauses
// each) and n - 1 additions in which row j touches the upper n - j bits only; the adders fold the rest.
//
// Tested by tests/bv/multiplication_test.cpp.

#include <algorithm>

#include "vell/bv/poollist.h"
#include "vell/bv/trace.h"

namespace vell::bv {

void WordClausifier::word_mul(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_mul " << term << endlog;
  if (tm->is_number(term->children[0]->symbol))
    word_mul_by_constant(sink, term);
  else
    word_mul_generic(sink, term);
}

void WordClausifier::word_mul_by_constant(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word mul by c " << term << endlog;
  std::size_t const n = lookup(term->children[0])->size();
  BvLitList const& v = *lookup(term->children[1]);
  QNumber c;
  tm->is_number(term->children[0]->symbol, &c);
  PoolList result(bvlist_pool, n);
  if (c.sign() == 0) {
    for (BvLit& b : *result) b = l_false;
    add_to_cache(term, result.detach());
    return;
  }
  PoolList acc(bvlist_pool, c.test_bit(0) ? new_BvLitList(v) : bvlist_pool.alloc(n));
  if (!c.test_bit(0)) acc->assign(n, l_false);
  c.clear_bit(0);
  // An odd numeral gives the sum the length of v. Where that is not n, the places that v or n do not reach
  // are false.
  std::size_t const length = std::max(n, acc->size());
  while (c.sign() > 0) {
    std::uint64_t const k = c.lowest_set_bit(1);
    PoolList shifted(bvlist_pool, length);
    for (std::size_t i = 0; i < length; ++i)
      shifted[i] = i < n && i >= k && i - k < v.size() ? v[i - k] : l_false;
    acc.reset(word_add(sink, acc.get(), shifted.get()));
    c.clear_bit(k);
  }
  *result = *acc;
  acc.reset(nullptr);
  add_to_cache(term, result.detach());
}

void WordClausifier::word_mul_generic(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word mul generic " << term << endlog;
  BvLitList const& x = *lookup(term->children[0]);
  BvLitList const& y = *lookup(term->children[1]);
  std::size_t const n = width_of(term);
  PoolList acc(bvlist_pool, x.size());
  PoolList pp(bvlist_pool, x.size());
  for (std::size_t i = 0; i < n; ++i) acc[i] = bit_and(sink, x[i], y[0]);
  for (std::size_t j = 1; j < n; ++j) {
    for (std::size_t i = 0; i < j; ++i) pp[i] = l_false;
    for (std::size_t i = j; i < n; ++i) pp[i] = bit_and(sink, y[j], x[i - j]);
    acc.reset(word_add(sink, acc.get(), pp.get()));
  }
  pp.reset(nullptr);
  add_to_cache(term, acc.detach());
}

}  // namespace vell::bv

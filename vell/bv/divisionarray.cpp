#include "vell/bv/wordclausifier.h"

// Signed division by an array of controlled add/subtract cells, over a dividend register of 2n - 1 bits.
//
// n rows of n cells of eight gates: the control t decides whether the row adds or subtracts the divisor, and
// the sign of a row, complemented, is its quotient bit and the next row's control. No handler uses the array,
// and it is no usable divider: besides the feedback of a row into d[i ..], each row also writes its shifted
// result into the low part of d, over dividend bits that later rows still read. Quotient and remainder
// therefore depend on the sign of the dividend and on the divisor alone. That is the behaviour of record.
//
// Tested by tests/bv/divisionarray_test.cpp.

#include <algorithm>
#include <cassert>

#include "vell/bv/poollist.h"
#include "vell/bv/trace.h"

namespace vell::bv {

void WordClausifier::word_sdiv(ClauseSink* sink, BvLitList* a, BvLitList* b, BvLitList* q, BvLitList* r) {
  VELL_TRACE(3) << "word_sdiv " << endlog;
  std::size_t const n = a->size();
  assert(n > 0 && b->size() >= n && q->size() >= n);
  BvLit const sa = a->back();
  PoolList d(bvlist_pool, new_BvLitList(*a));
  d->resize(2 * n - 1, l_false);
  VELL_TRACE(4) << *d << " /s " << *b << endlog;
  BvLitList tbl(n, l_true);
  BvLitList remainder_out(n, l_undef);

  for (std::size_t i = n; i-- > 0;) {
    BvLit c = tbl[n - 1];
    BvLit const t = tbl[n - 1];
    VELL_TRACE(5) << "i = " << i << endlog;
    VELL_TRACE(5) << "   tbl = " << tbl << endlog;
    VELL_TRACE(5) << "   dividend = " << *d << endlog;
    for (std::size_t j = 0; j < n; ++j) {
      BvLit const x = d[i + j];
      BvLit const y = (*b)[j];
      VELL_TRACE(3) << "word_cas " << endlog;
      BvLit const e = bit_xor(sink, t, y);
      BvLit const s1 = bit_xor(sink, x, c);
      remainder_out[j] = bit_xor(sink, e, s1);
      BvLit const a1 = bit_and(sink, e, c);
      BvLit const a2 = bit_and(sink, e, x);
      BvLit const o1 = bit_or(sink, a2, a1);
      BvLit const a3 = bit_and(sink, x, c);
      c = bit_or(sink, o1, a3);
    }
    tbl = remainder_out;
    std::copy(remainder_out.begin() + 1, remainder_out.end(),
              d->begin() + static_cast<std::ptrdiff_t>(n - 1 - i));
    tbl[n - 1] = -tbl[n - 1];
    (*q)[i] = tbl[n - 1];
    std::copy(tbl.begin(), tbl.end() - 1, d->begin() + static_cast<std::ptrdiff_t>(i));
    VELL_TRACE(5) << "      remainder_out = " << remainder_out << endlog;
    VELL_TRACE(5) << "      quotient = " << *q << endlog;
  }

  *r = remainder_out;
  PoolList nq(bvlist_pool, word_neg(sink, q));
  for (std::size_t k = 0; k < q->size(); ++k) (*q)[k] = bit_ite(sink, -sa, (*q)[k], nq[k]);
  VELL_TRACE(4) << "Final remainder = " << *r << endlog;
  VELL_TRACE(4) << "Final quotient = " << *q << endlog;
}

}  // namespace vell::bv

#include "vell/bv/wordclausifier.h"

// Division and remainder.
//
// Restoring division, most significant quotient bit first. The remainder register never needs a bit more than
// the operands: before the shift of stage i it is at most the n - 1 - i dividend bits consumed so far, so the
// bit shifted out is 0. Per stage one comparator, n and gates, one negation, one addition, in that order; the
// subtraction is always built, and folds where the quotient bit or the divisor is constant. About 30n clauses
// per stage, 30n^2 in all.
//
// A zero divisor gives a quotient of all ones and the dividend as remainder, by itself. Under div_semantics 1
// the result is replaced by fresh literals where the divisor is zero.
//
// Signed division truncates: absolute values, unsigned division, then the signs (the remainder takes the
// dividend's).
//
// Tested by tests/bv/division_test.cpp.

#include <algorithm>
#include <cassert>

#include "vell/bv/poollist.h"
#include "vell/bv/trace.h"

namespace vell::bv {

void WordClausifier::word_udiv_simple(ClauseSink* sink, BvLitList* a, BvLitList* b, BvLitList* q,
                                      BvLitList* r, bool) {
  VELL_TRACE(3) << "word_udiv " << endlog;
  VELL_TRACE(4) << *a << " /u " << *b << endlog;
  std::size_t const n = a->size();
  assert(b->size() >= n && q->size() >= n && r->size() >= n);
  for (BvLit& bit : *r) bit = l_false;
  BvLitList mask(n);
  // Elements of r from n up stay false: the subtraction is one of n bits.
  bool const longer = r->size() > n;
  BvLitList low;
  for (std::size_t i = n; i-- > 0;) {
    VELL_TRACE(4) << "stage = " << i << endlog;
    VELL_TRACE(4) << "   quotient (before) = " << *q << endlog;
    VELL_TRACE(4) << "   remainder (before) = " << *r << endlog;
    for (std::size_t j = n; j-- > 1;) (*r)[j] = (*r)[j - 1];
    (*r)[0] = (*a)[i];
    VELL_TRACE(4) << "      remainder (1) = " << *r << endlog;

    PoolList ge(bvlist_pool, word_ule(sink, b, r, l_undef));
    VELL_TRACE(4) << "      " << *r << " >= " << *b << " = " << *ge << endlog;
    BvLit const qi = ge[0];
    ge.reset(nullptr);
    (*q)[i] = qi;
    VELL_TRACE(4) << "      quotient (2) = " << *q << endlog;

    mask.assign(n, qi);
    word_and(sink, mask, b, &mask);
    PoolList nd(bvlist_pool, word_neg(sink, &mask));
    VELL_TRACE(4) << "      neg_div = " << *nd << endlog;
    if (longer) low.assign(r->begin(), r->begin() + static_cast<std::ptrdiff_t>(n));
    PoolList s(bvlist_pool, word_add(sink, longer ? &low : r, nd.get()));
    std::copy(s->begin(), s->end(), r->begin());
    nd.reset(nullptr);
    s.reset(nullptr);
    VELL_TRACE(4) << "   quotient (after) = " << *q << endlog;
    VELL_TRACE(4) << "   remainder (after) = " << *r << endlog;
  }
  VELL_TRACE(4) << "   quotient (after) = " << *q << endlog;
  VELL_TRACE(4) << "   remainder (after) = " << *r << endlog;
}

void WordClausifier::word_div_complete_semantics(ClauseSink* sink, BvLitList* b, BvLitList* res) {
  if (config == nullptr || config->div_semantics != 1) return;
  std::size_t const n = b->size();
  assert(res->size() >= n);
  BvLitList zero(n, l_false);
  BvLit const z = word_equal(sink, b, &zero, l_undef);
  for (std::size_t i = 0; i < n; ++i) {
    BvLit const free = sink->new_lit();
    (*res)[i] = bit_ite(sink, z, free, (*res)[i]);
  }
}

void WordClausifier::word_sdiv_simple(ClauseSink* sink, BvLitList* a, BvLitList* b, BvLitList* q,
                                      BvLitList* r) {
  VELL_TRACE(3) << "word_sdiv simple " << endlog;
  std::size_t const n = a->size();
  BvLit const sa = a->back();
  BvLit const sb = b->back();
  {
    PoolList na(bvlist_pool, word_neg(sink, a));
    PoolList nb(bvlist_pool, word_neg(sink, b));
    PoolList abs_a(bvlist_pool, n);
    PoolList abs_b(bvlist_pool, n);
    for (std::size_t i = 0; i < n; ++i) {
      abs_a[i] = bit_ite(sink, sa, na[i], (*a)[i]);
      abs_b[i] = bit_ite(sink, sb, nb[i], (*b)[i]);
    }
    word_udiv_simple(sink, abs_a.get(), abs_b.get(), q, r, false);
  }
  {
    PoolList nr(bvlist_pool, word_neg(sink, r));
    for (std::size_t i = 0; i < n; ++i) (*r)[i] = bit_ite(sink, sa, nr[i], (*r)[i]);
  }
  {
    PoolList nq(bvlist_pool, word_neg(sink, q));
    BvLit const s = bit_xor(sink, sa, sb);
    for (std::size_t i = 0; i < n; ++i) (*q)[i] = bit_ite(sink, s, nq[i], (*q)[i]);
  }
  VELL_TRACE(4) << "Final signed quotient = " << *q << endlog;
  VELL_TRACE(4) << "Final signed remainder = " << *r << endlog;
}

void WordClausifier::word_udiv(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_udiv " << term << endlog;
  BvLitList* a = lookup(term->children[0]);
  BvLitList* b = lookup(term->children[1]);
  PoolList q(bvlist_pool, a->size());
  PoolList r(bvlist_pool, a->size());
  word_udiv_simple(sink, a, b, q.get(), r.get(), true);
  VELL_TRACE(4) << "Final unsigned quotient = " << *q << endlog;
  VELL_TRACE(4) << "Final unsigned remainder = " << *r << endlog;
  word_div_complete_semantics(sink, b, q.get());
  add_to_cache(term, q.detach());
}

void WordClausifier::word_urem(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_urem " << term << endlog;
  BvLitList* a = lookup(term->children[0]);
  BvLitList* b = lookup(term->children[1]);
  PoolList q(bvlist_pool, a->size());
  PoolList r(bvlist_pool, a->size());
  word_udiv_simple(sink, a, b, q.get(), r.get(), true);
  word_div_complete_semantics(sink, b, r.get());
  add_to_cache(term, r.detach());
}

void WordClausifier::word_sdiv(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_sdiv B.." << term << endlog;
  Term_ const* dividend = term->children[0];
  Term_ const* divisor = term->children[1];
  std::uint64_t const width = width_of(dividend);
  BvLitList* a = lookup(dividend);
  BvLitList* b = lookup(divisor);
  VELL_TRACE(4) << dividend << endlog;
  VELL_TRACE(4) << divisor << endlog;
  VELL_TRACE(4) << "width: " << width << " dividend: " << dividend << "(" << a->size() << ")-"
                << "divisor:" << divisor << "(" << b->size() << ")\n"
                << endlog;
  PoolList q(bvlist_pool, width);
  PoolList r(bvlist_pool, width);
  word_sdiv_simple(sink, a, b, q.get(), r.get());
  word_div_complete_semantics(sink, b, q.get());
  add_to_cache(term, q.detach());
}

void WordClausifier::word_srem(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_srem B.." << term << endlog;
  std::uint64_t const width = width_of(term->children[0]);
  BvLitList* a = lookup(term->children[0]);
  BvLitList* b = lookup(term->children[1]);
  PoolList q(bvlist_pool, width);
  PoolList r(bvlist_pool, width);
  word_sdiv_simple(sink, a, b, q.get(), r.get());
  word_div_complete_semantics(sink, b, r.get());
  add_to_cache(term, r.detach());
}

// Gives the term bits that mean nothing yet (all l_undef); kept out of the hook table.
void WordClausifier::word_srem_by_power_of_2(ClauseSink*, Term_ const* term) {
  VELL_TRACE(3) << "word srem " << term << endlog;
  add_to_cache(term, bvlist_pool.alloc(width_of(term->children[0])));
}

}  // namespace vell::bv

#include "vell/bv/wordclausifier.h"

// Equality of words.
//
// One literal runs from bit 0 upward and stands for "all bits so far agree". A free stage costs five clauses
// and a fresh literal (four clauses at bit 0, where nothing precedes); constant bits fold through and gates,
// equal bits are skipped, complementary bits make the chain false. The last stage may use the atom's own
// literal.
//
// Tested by tests/bv/equality_test.cpp.

#include <cassert>

#include "vell/bv/emit.h"
#include "vell/bv/poollist.h"
#include "vell/bv/trace.h"

namespace vell::bv {

BvLit WordClausifier::word_equal(ClauseSink* sink, BvLitList* x, BvLitList* y, BvLit out) {
  VELL_TRACE(3) << "word equal " << endlog;
  std::size_t const n = x->size();
  assert(y->size() >= n);
  BvLit r = l_true;
  for (std::size_t i = 0; i < n; ++i) {
    BvLit const a = (*x)[i];
    BvLit const b = (*y)[i];
    if (a == l_true) {
      r = bit_and(sink, b, r);
    } else if (a == l_false) {
      r = bit_and(sink, -b, r);
    } else if (b == l_true) {
      r = bit_and(sink, a, r);
    } else if (b == l_false) {
      r = bit_and(sink, -a, r);
    } else if (a == b) {
      continue;
    } else if (a == -b) {
      r = l_false;  // later free stages are still encoded, with this constant in their clauses
    } else {
      BvLit const e = i == n - 1 && out != l_undef ? out : sink->new_lit();
      emit(sink, -a, b, -e);
      emit(sink, a, -b, -e);
      if (i == 0) {
        emit(sink, -a, -b, e);
        emit(sink, a, b, e);
      } else {
        emit(sink, r, -e);
        emit(sink, -a, -b, -r, e);
        emit(sink, a, b, -r, e);
      }
      r = e;
    }
  }
  return r;
}

void WordClausifier::word_equal(ClauseSink* sink, Term_ const* term, bool use_proxy) {
  VELL_TRACE(3) << "word equal B.." << term << endlog;
  BvLitList* x = lookup(term->children[0]);
  BvLitList* y = lookup(term->children[1]);
  BvLit const atom = use_proxy ? sink_literal(sink, term) : l_undef;
  PoolList result(bvlist_pool, bvlist_pool.alloc_one());
  result[0] = word_equal(sink, x, y, atom);
  tie_to_atom(sink, result[0], atom);
  add_to_cache(term, result.detach());
}

void WordClausifier::word_equal(ClauseSink* sink, Term_ const* term) { word_equal(sink, term, true); }

void WordClausifier::word_equal_noproxy(ClauseSink* sink, Term_ const* term) {
  word_equal(sink, term, false);
}

bool WordClausifier::bit_blast_theory_eq(BvLit lit, Term_ const* t1, Term_ const* t2, ClauseSink* sink) {
  BvLitList* b1 = lookup(t1);
  BvLitList* b2 = lookup(t2);
  if (b1 == nullptr) {
    bit_blast(t1, sink);
    b1 = lookup(t1);
  }
  // Translating t1 may have cached t2 as well; the call then only leaves t2's entry on the trail, as for any
  // root.
  if (b2 == nullptr) {
    bit_blast(t2, sink);
    b2 = lookup(t2);
  }
  assert(b1 != nullptr && b2 != nullptr && b2->size() >= b1->size());
  for (std::size_t i = 0; i < b1->size(); ++i)
    if ((*b2)[i] == -(*b1)[i]) return false;
  BvLit const e = word_equal(sink, b1, b2, l_undef);
  emit(sink, e, -lit);
  emit(sink, -e, lit);
  return true;
}

}  // namespace vell::bv

#include "vell/bv/wordclausifier.h"

// Unsigned and signed order of words.
//
// One literal runs from bit 0 upward: after stage i it compares the low i+1 bits, the higher bit deciding
// where the two differ. A free stage takes six clauses and one fresh literal, so n free bits cost 6n clauses
// and n literals, the last of which may be the atom's own. The chain for <= starts at true and folds constant
// bits through and/or gates, the one for < starts at false and folds through ite gates.
//
// A signed comparison is the unsigned one of the whole words, turned where the signs differ: six clauses
// more, emitted whatever the signs are, so constants may stand in them.
//
// Tested by tests/bv/comparators_test.cpp.

#include <cassert>

#include "vell/bv/emit.h"
#include "vell/bv/poollist.h"
#include "vell/bv/trace.h"

namespace vell::bv {

BvLitList* WordClausifier::word_ule(ClauseSink* sink, BvLitList* x, BvLitList* y, BvLit out) {
  VELL_TRACE(3) << "word_ule " << endlog;
  VELL_TRACE(4) << *x << " <=u " << *y << endlog;
  std::size_t const n = x->size();
  assert(y->size() >= n);
  PoolList result(bvlist_pool, bvlist_pool.alloc_one());
  BvLit r = l_true;
  for (std::size_t i = 0; i < n; ++i) {
    BvLit const a = (*x)[i];
    BvLit const b = (*y)[i];
    if (a == l_true) {
      r = bit_and(sink, b, r);
    } else if (a == l_false) {
      r = bit_or(sink, b, r);
    } else if (b == l_true) {
      r = bit_or(sink, -a, r);
    } else if (b == l_false) {
      r = bit_and(sink, -a, r);
    } else {
      BvLit const next = i == n - 1 && out != l_undef ? out : sink->new_lit();
      emit(sink, -a, -b, -r, next);
      emit(sink, -a, -b, r, -next);
      emit(sink, -a, b, -next);
      emit(sink, a, -b, next);
      emit(sink, a, b, -r, next);
      emit(sink, a, b, r, -next);
      r = next;
    }
  }
  result[0] = r;
  return result.detach();
}

BvLitList* WordClausifier::word_ult(ClauseSink* sink, BvLitList* x, BvLitList* y, BvLit out) {
  VELL_TRACE(3) << "wordt ult " << endlog;
  VELL_TRACE(4) << *x << " < " << *y << endlog;
  std::size_t const n = x->size();
  assert(y->size() >= n);
  PoolList result(bvlist_pool, bvlist_pool.alloc_one());
  BvLit r = l_false;
  for (std::size_t i = 0; i < n; ++i) {
    BvLit const a = (*x)[i];
    BvLit const b = (*y)[i];
    BvLit next;
    auto const trace_stage = [&] {
      VELL_TRACE(4) << "i = " << i << " x = " << a << " y = " << b << " w = " << r << " v = " << next
                    << endlog;
    };
    // The markers end no line: they run on into the next message.
    auto const trace_marker = [&](char const* marker) { VELL_TRACE(4) << marker; };
    if (a == l_false) {
      next = bit_ite(sink, b, l_true, r);
    } else if (a == l_true) {
      next = bit_ite(sink, b, r, l_false);
    } else if (b == l_false) {
      next = bit_ite(sink, -a, r, l_false);
    } else if (b == l_true) {
      next = bit_ite(sink, a, r, l_true);
    } else {
      next = i == n - 1 && out != l_undef ? out : sink->new_lit();
      trace_stage();
      trace_marker("1; ");
      emit(sink, a, b, r, -next);
      trace_marker("2; ");
      emit(sink, a, b, -r, next);
      trace_marker("3; ");
      emit(sink, a, -b, next);
      trace_marker("4; ");
      emit(sink, -a, b, -next);
      trace_marker("5; ");
      emit(sink, -a, -b, r, -next);
      trace_marker("6; ");
      emit(sink, -a, -b, -r, next);
    }
    trace_stage();
    r = next;
  }
  result[0] = r;
  return result.detach();
}

BvLit WordClausifier::sink_literal(ClauseSink* sink, Term_ const* term) {
  BvLit literal = l_undef;
  return sink->atom_lit(term, literal) ? literal : l_undef;
}

void WordClausifier::tie_to_atom(ClauseSink* sink, BvLit& result, BvLit atom) {
  if (atom == l_undef || result == atom) return;
  emit(sink, -result, atom);
  emit(sink, -atom, result);
  result = atom;
}

void WordClausifier::word_ult(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word ult " << term << endlog;
  BvLitList* x = lookup(term->children[0]);
  BvLitList* y = lookup(term->children[1]);
  BvLit const atom = sink_literal(sink, term);
  PoolList result(bvlist_pool, word_ult(sink, x, y, atom));
  tie_to_atom(sink, result[0], atom);
  add_to_cache(term, result.detach());
}

void WordClausifier::word_ule(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_ule B.." << term << endlog;
  VELL_TRACE(4) << term << endlog;
  BvLitList* x = lookup(term->children[0]);
  BvLitList* y = lookup(term->children[1]);
  BvLit const atom = sink_literal(sink, term);
  PoolList result(bvlist_pool, word_ule(sink, x, y, atom));
  tie_to_atom(sink, result[0], atom);
  add_to_cache(term, result.detach());
}

// Turns the unsigned result c of x and y into the signed one, o: c where the signs agree, the sign of x where
// not.
void WordClausifier::correct_by_signs(ClauseSink* sink, Term_ const* term, BvLit a, BvLit b, BvLit& result) {
  BvLit const c = result;
  BvLit const atom = sink_literal(sink, term);
  BvLit const o = atom != l_undef ? atom : sink->new_lit();
  emit(sink, -a, -b, -c, o);
  emit(sink, -a, -b, c, -o);
  emit(sink, a, b, -c, o);
  emit(sink, a, b, c, -o);
  emit(sink, -a, b, o);
  emit(sink, a, -b, -o);
  result = o;
}

void WordClausifier::word_slt(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_slt " << term << term << endlog;
  VELL_TRACE(4) << term << endlog;
  BvLitList* x = lookup(term->children[0]);
  BvLitList* y = lookup(term->children[1]);
  VELL_TRACE(4) << *x << " <s " << *y << endlog;
  PoolList result(bvlist_pool, word_ult(sink, x, y, l_undef));
  correct_by_signs(sink, term, x->back(), (*y)[x->size() - 1], result[0]);
  add_to_cache(term, result.detach());
}

void WordClausifier::word_sle(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_sle " << term << endlog;
  BvLitList* x = lookup(term->children[0]);
  BvLitList* y = lookup(term->children[1]);
  PoolList result(bvlist_pool, word_ule(sink, x, y, l_undef));
  correct_by_signs(sink, term, x->back(), (*y)[x->size() - 1], result[0]);
  add_to_cache(term, result.detach());
}

}  // namespace vell::bv

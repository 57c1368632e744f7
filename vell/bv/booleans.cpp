#include "vell/bv/wordclausifier.h"

// Boolean connectives and if-then-else: one gate per result bit.
//
// The connectives are binary; an equivalence is a negated exclusive or, at its cost. A word's if-then-else
// takes four clauses and a fresh literal per bit where neither branch nor condition decides the bit.
//
// Tested by tests/bv/booleans_test.cpp.

#include "vell/bv/poollist.h"
#include "vell/bv/trace.h"

namespace vell::bv {

void WordClausifier::bool_not(ClauseSink*, Term_ const* term) {
  VELL_TRACE(3) << "bool not " << term << endlog;
  cache_literal(term, -child_bits(term->children[0])->front());
}

void WordClausifier::bool_and(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "bool and  " << term << term << endlog;
  BvLit const a = child_bits(term->children[0])->front();
  BvLit const b = child_bits(term->children[1])->front();
  cache_literal(term, bit_and(sink, a, b));
}

void WordClausifier::bool_or(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "bool or " << term << endlog;
  BvLit const a = child_bits(term->children[0])->front();
  BvLit const b = child_bits(term->children[1])->front();
  cache_literal(term, bit_or(sink, a, b));
}

void WordClausifier::bool_iff(ClauseSink* sink, Term_ const* term) {
  BvLit const a = child_bits(term->children[0])->front();
  BvLit const b = child_bits(term->children[1])->front();
  cache_literal(term, -bit_xor(sink, a, b));
}

void WordClausifier::word_atom(ClauseSink*, Term_ const* term) {
  VELL_TRACE(3) << "word atom " << term << endlog;
  add_to_cache(term, new_BvLitList(*child_bits(term->children[0])));
}

void WordClausifier::bool_ite(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "bool ite " << term << endlog;
  BvLit const c = child_bits(term->children[0])->front();
  BvLit const t = child_bits(term->children[1])->front();
  BvLit const e = child_bits(term->children[2])->front();
  cache_literal(term, bit_ite(sink, c, t, e));
}

void WordClausifier::word_ite(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "wordt ite " << term << term << endlog;
  BvLitList const& c = *child_bits(term->children[0]);
  BvLitList const& t = *child_bits(term->children[1]);
  BvLitList const& e = *child_bits(term->children[2]);
  PoolList bits(bvlist_pool, width_of(term));
  for (std::size_t i = 0; i < bits->size(); ++i) bits[i] = bit_ite(sink, c[0], t[i], e[i]);
  add_to_cache(term, bits.detach());
}

void WordClausifier::generic_ite(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "generic ite " << term << endlog;
  if (tm->is_term_ite(term->symbol)) word_ite(sink, term);
}

}  // namespace vell::bv

#include "vell/bv/wordclausifier.h"

// Single-bit gates and the bitwise and of words.
//
// Each gate folds what constant, equal or complementary inputs decide, without a clause; otherwise it draws
// one fresh literal x and defines it by the Tseitin clauses of x <-> gate (Tseitin, "On the complexity of
// derivation in propositional calculus", 1968): three clauses for and/or, four for xor/ite. No emitted clause
// contains a constant, save where ite keeps a constant branch. Constants run through whole circuits this way;
// nothing is hashed, sharing is the cache's business.
//
// Tested by tests/bv/gates_test.cpp.

#include <cassert>

#include "vell/bv/gates.h"
#include "vell/bv/trace.h"

namespace vell::bv {

BvLit WordClausifier::bit_not(BvLit a) {
  VELL_TRACE(3) << "bit_not " << endlog;
  return -a;
}

BvLit WordClausifier::bit_and(ClauseSink* sink, BvLit a, BvLit b) {
  VELL_TRACE(3) << "bit_and " << endlog;
  return and_gate(sink, a, b);
}

BvLit WordClausifier::bit_or(ClauseSink* sink, BvLit a, BvLit b) {
  VELL_TRACE(3) << "bit_or " << endlog;
  return or_gate(sink, a, b);
}

BvLit WordClausifier::bit_xor(ClauseSink* sink, BvLit a, BvLit b) {
  VELL_TRACE(3) << "bit xor " << endlog;
  return xor_gate(sink, a, b);
}

BvLit WordClausifier::bit_ite(ClauseSink* sink, BvLit c, BvLit t, BvLit e) {
  VELL_TRACE(3) << "bit ite " << endlog;
  return ite_gate(sink, c, t, e);
}

void WordClausifier::word_and(ClauseSink* sink, BvLitList& result, BvLitList* a, BvLitList* b) {
  assert(result.size() >= a->size() && b->size() >= a->size());
  VELL_TRACE(3) << "word_and " << endlog;
  for (std::size_t i = 0; i < a->size(); ++i) {
    VELL_TRACE(3) << "bit_and " << endlog;
    result[i] = and_gate(sink, (*a)[i], (*b)[i]);
  }
  VELL_TRACE(4) << *a << " & " << *b << " = " << result << endlog;
}

}  // namespace vell::bv

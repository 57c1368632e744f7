#include "vell/bv/wordclausifier.h"

// Single-bit gates and the bitwise and of words.
//
// Each gate folds what constant, equal or complementary inputs decide, without a clause; otherwise it draws one fresh
// literal x and defines it by the Tseitin clauses of x <-> gate (Tseitin, "On the complexity of derivation in
// propositional calculus", 1968): three clauses for and/or, four for xor/ite. No emitted clause contains a constant,
// save where ite keeps a constant branch. Constants run through whole circuits this way; nothing is hashed, sharing is
// the cache's business.
//
// Tested by tests/bv/gates_test.cpp.

#include <cassert>

#include "vell/bv/emit.h"
#include "vell/bv/trace.h"

namespace vell::bv {

BvLit WordClausifier::bit_not(BvLit a) {
  VELL_TRACE(3) << "bit_not " << endlog;
  return -a;
}

BvLit WordClausifier::bit_and(ClauseSink* sink, BvLit a, BvLit b) {
  VELL_TRACE(3) << "bit_and " << endlog;
  if (a == b) return a;
  if (a == -b) return l_false;
  if (a == l_false) return l_false;
  if (b == l_false) return l_false;
  if (a == l_true) return b;
  if (b == l_true) return a;
  BvLit const x = sink->new_lit();
  emit(sink, -a, -b, x);
  emit(sink, a, -x);
  emit(sink, b, -x);
  return x;
}

BvLit WordClausifier::bit_or(ClauseSink* sink, BvLit a, BvLit b) {
  VELL_TRACE(3) << "bit_or " << endlog;
  if (a == l_true) return l_true;
  if (b == l_true) return l_true;
  if (a == l_false) return b;
  if (b == l_false) return a;
  if (a == b) return a;
  if (a == -b) return l_true;
  BvLit const x = sink->new_lit();
  emit(sink, -a, x);
  emit(sink, -b, x);
  emit(sink, a, b, -x);
  return x;
}

BvLit WordClausifier::bit_xor(ClauseSink* sink, BvLit a, BvLit b) {
  VELL_TRACE(3) << "bit xor " << endlog;
  // With a constant: the other literal, negated where the constant is true. A product, since no processor foresees the
  // bits of a numeral.
  if (is_constant(a) || is_constant(b)) return -a * b;
  if (a == b) return l_false;
  if (a == -b) return l_true;
  BvLit const x = sink->new_lit();
  emit(sink, -a, -b, -x);
  emit(sink, a, b, -x);
  emit(sink, -a, b, x);
  emit(sink, a, -b, x);
  return x;
}

BvLit WordClausifier::bit_ite(ClauseSink* sink, BvLit c, BvLit t, BvLit e) {
  VELL_TRACE(3) << "bit ite " << endlog;
  if (c == l_false) return e;
  if (c == l_true) return t;
  if (e == t) return e;
  if (t == l_true && e == l_false) return c;
  if (t == l_false && e == l_true) return -c;
  BvLit const x = sink->new_lit();
  emit(sink, -c, -t, x);
  emit(sink, -c, t, -x);
  emit(sink, c, -e, x);
  emit(sink, c, e, -x);
  return x;
}

void WordClausifier::word_and(ClauseSink* sink, BvLitList& result, BvLitList* a, BvLitList* b) {
  assert(result.size() >= a->size() && b->size() >= a->size());
  VELL_TRACE(3) << "word_and " << endlog;
  for (std::size_t i = 0; i < a->size(); ++i) result[i] = bit_and(sink, (*a)[i], (*b)[i]);
  VELL_TRACE(4) << *a << " & " << *b << " = " << result << endlog;
}

}  // namespace vell::bv

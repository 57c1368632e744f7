#pragma once

// The gates' folds and clauses, to be expanded inside the loops over words; gates.cpp tells about them.

#include "vell/bv/emit.h"
#include "vell/terms/literal.h"

namespace vell::bv {

inline BvLit and_gate(ClauseSink* sink, BvLit a, BvLit b) {
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

inline BvLit or_gate(ClauseSink* sink, BvLit a, BvLit b) {
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

inline BvLit xor_gate(ClauseSink* sink, BvLit a, BvLit b) {
  // With a constant: the other literal, negated where the constant is true. A product, since no processor
  // foresees the bits of a numeral.
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

inline BvLit ite_gate(ClauseSink* sink, BvLit c, BvLit t, BvLit e) {
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

}  // namespace vell::bv

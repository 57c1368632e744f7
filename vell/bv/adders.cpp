#include "vell/bv/wordclausifier.h"

// Ripple-carry addition, two's-complement negation, subtraction.
//
// A full adder over three free bits takes 14 clauses and two fresh literals: eight clauses of four literals
// for the sum, six of three for the carry. With constants among its inputs it becomes a half adder (xor and
// and, or xnor and or) or a rearrangement of literals, so a constant operand costs clauses only where the
// other bit and the incoming carry are both free. Adding two words of n free bits: the first bit is a half
// adder (7 clauses), every other one a full adder: 14n - 7 clauses, 2n fresh literals; the last carry is
// defined, and dropped.
//
// -x is (not x) + 1; x - y is x + (-y).
//
// Tested by tests/bv/adders_test.cpp.

#include <cassert>

#include "vell/bv/emit.h"
#include "vell/bv/poollist.h"
#include "vell/bv/trace.h"

namespace vell::bv {

// sum = a xor b xor c, carry = majority(a, b, c).
inline void WordClausifier::add_bits(ClauseSink* sink, BvLit& sum, BvLit& carry, BvLit a, BvLit b, BvLit c) {
  VELL_TRACE(5) << "sum_consts " << endlog;
  if (!is_constant(a) && !is_constant(b) && !is_constant(c)) {
    BvLit const s = sink->new_lit();
    emit(sink, -a, -b, -c, s);
    emit(sink, -a, -b, c, -s);
    emit(sink, -a, b, -c, -s);
    emit(sink, a, -b, -c, -s);
    emit(sink, -a, b, c, s);
    emit(sink, a, -b, c, s);
    emit(sink, a, b, -c, s);
    emit(sink, a, b, c, -s);
    BvLit const k = sink->new_lit();
    emit(sink, -a, -b, k);
    emit(sink, -a, -c, k);
    emit(sink, -b, -c, k);
    emit(sink, a, b, -k);
    emit(sink, a, c, -k);
    emit(sink, c, b, -k);
    sum = s;
    carry = k;
    return;
  }

  int trues = 0;
  int free = 0;
  BvLit inputs[3];
  for (BvLit const x : {a, b, c}) {
    if (x == l_true)
      ++trues;
    else if (x != l_false)
      inputs[free++] = x;
  }
  BvLit const u = inputs[0];
  BvLit const v = inputs[1];
  if (free == 0) {
    carry = trues >= 2 ? l_true : l_false;
    sum = trues % 2 == 1 ? l_true : l_false;
  } else if (free == 1) {
    sum = trues == 1 ? -u : u;
    carry = trues == 0 ? l_false : trues == 1 ? u : l_true;
  } else if (u == v) {
    sum = trues == 0 ? l_false : l_true;
    carry = u;
  } else if (trues == 0) {
    sum = bit_xor(sink, u, v);
    carry = bit_and(sink, u, v);
  } else {
    sum = -bit_xor(sink, u, v);
    carry = bit_or(sink, u, v);
  }
}

void WordClausifier::full_adder(ClauseSink* sink, BvLit& sum, BvLit& carry, BvLit a, BvLit b, BvLit c) {
  VELL_TRACE(3) << "full adder " << endlog;
  add_bits(sink, sum, carry, a, b, c);
}

BvLitList* WordClausifier::word_add(ClauseSink* sink, BvLitList* x, BvLitList* y) {
  VELL_TRACE(3) << "word_add " << endlog;
  std::size_t const n = x->size();
  assert(y->size() >= n);
  PoolList r(bvlist_pool, n);
  BvLit cin = l_false;
  for (std::size_t i = 0; i < n; ++i) {
    BvLit sum;
    BvLit carry;
    add_bits(sink, sum, carry, (*x)[i], (*y)[i], cin);
    VELL_TRACE(4) << "i = " << i << " x = " << (*x)[i] << " y = " << (*y)[i] << " cin = " << cin << endlog;
    VELL_TRACE(4) << "   sum = " << sum << " = " << carry << endlog;
    r[i] = sum;
    cin = carry;
  }
  VELL_TRACE(4) << *x << " + " << *y << " = " << *r << endlog;
  return r.detach();
}

BvLitList* WordClausifier::word_neg(ClauseSink* sink, BvLitList* x) {
  VELL_TRACE(3) << "word_neg " << endlog;
  std::size_t const n = x->size();
  PoolList t(bvlist_pool, n);
  for (std::size_t i = 0; i < n; ++i) t[i] = -(*x)[i];
  PoolList one(bvlist_pool, n);
  for (std::size_t i = 0; i < n; ++i) one[i] = i == 0 ? l_true : l_false;
  return word_add(sink, t.get(), one.get());
}

void WordClausifier::word_add(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_add B.." << term << endlog;
  add_to_cache(term, word_add(sink, lookup(term->children[0]), lookup(term->children[1])));
}

void WordClausifier::word_neg(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_neg B.." << term << endlog;
  add_to_cache(term, word_neg(sink, lookup(term->children[0])));
}

void WordClausifier::word_sub(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_sub " << term << endlog;
  BvLitList* x = lookup(term->children[0]);
  PoolList negated(bvlist_pool, word_neg(sink, lookup(term->children[1])));
  BvLitList* difference = word_add(sink, x, negated.get());
  negated.reset(nullptr);
  add_to_cache(term, difference);
}

}  // namespace vell::bv

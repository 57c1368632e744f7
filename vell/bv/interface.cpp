#include "vell/bv/wordclausifier.h"

// Bits of terms for the surrounding solver: reading them, imposing them, copying them to fresh literals.
//
// Imposed bits are tied to existing ones by two clauses per bit rather than by renaming: literals already
// handed out may stand in clauses and in other theories.
//
// Tested by tests/bv/interface_test.cpp.

#include <cassert>

#include "vell/bv/emit.h"

namespace vell::bv {

bool WordClausifier::get_bits(Term_ const* t, BvLitList& out) {
  BvLitList const* bits = lookup(t);
  if (bits == nullptr) return false;
  out = *bits;
  return true;
}

void WordClausifier::set_bits(Term_ const* t, ClauseSink* sink, BvLitList const& bits) {
  // A derived class may answer either way: without a list there is nothing to tie to.
  BvLitList const* old = is_cached(t) ? lookup(t) : nullptr;
  if (old == nullptr) {
    add_to_cache(t, new_BvLitList(bits));
    return;
  }
  assert(bits.size() <= old->size());
  for (std::size_t i = 0; i < bits.size(); ++i) {
    emit(sink, -(*old)[i], bits[i]);
    emit(sink, (*old)[i], -bits[i]);
  }
}

bool WordClausifier::make_bits(Term_ const* t, BvLitList& out, ClauseSink* sink) {
  BvLitList const* old = lookup(t);
  assert(old != nullptr);
  out.resize(old->size());
  for (std::size_t i = 0; i < old->size(); ++i) {
    BvLit const x = sink->new_lit();
    out[i] = x;
    emit(sink, -x, (*old)[i]);
    emit(sink, x, -(*old)[i]);
  }
  return true;
}

void WordClausifier::notify_interface_term(Term_ const* t, ClauseSink* sink) {
  if (!is_cached(t)) bit_blast(t, sink);
}

bool WordClausifier::is_terminal(Term_ const* t) {
  if (t->symbol->arity == 0) return true;
  switch (tm->get_tag(t->symbol)) {
    case SymbolTag::function_application:
    case SymbolTag::int_to_bv:
    case SymbolTag::bv_to_int: return true;
    case SymbolTag::none: return tm->is_uninterpreted_function(t->symbol);
    default: return false;
  }
}

}  // namespace vell::bv

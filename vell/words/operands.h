#pragma once

// What each pass over the terms does at a term whose operands it has been at: take them as they are now.
//
// Tested by tests/words/sharedproducts_test.cpp, tests/words/unconstrained_test.cpp and
// tests/words/wordidentities_test.cpp.

#include <vector>

#include "vell/terms/termmanager.h"

namespace vell::words {

// Whether the operands may leave the value of t open, so that each such term has a value of its own in a
// model: a conversion of a floating-point value that its result cannot hold, and with free_division a
// quotient or remainder by zero. What stands for such a term in a formula must be the term itself, with the
// operands that it has.
inline bool open_valued(TermManager const& tm, Term_ const* t, bool free_division) {
  switch (tm.get_tag(t->symbol)) {
    case SymbolTag::fp_to_sbv:
    case SymbolTag::fp_to_ubv: return true;
    case SymbolTag::bv_udiv:
    case SymbolTag::bv_sdiv:
    case SymbolTag::bv_urem:
    case SymbolTag::bv_srem: return free_division;
    default: return false;
  }
}

// Whether there can be such terms.
inline bool may_be_open_valued(TermManager const& tm, bool free_division) {
  if (tm.has_operator(SymbolTag::fp_to_sbv) || tm.has_operator(SymbolTag::fp_to_ubv)) return true;
  return free_division && (tm.has_operator(SymbolTag::bv_udiv) || tm.has_operator(SymbolTag::bv_urem) ||
                           tm.has_operator(SymbolTag::bv_sdiv) || tm.has_operator(SymbolTag::bv_srem));
}

// Pushes the operands of t that `wanted` is true of, the first one on top; whether there are any. For a walk
// that comes to a term again when it has been at its operands.
template <typename Wanted>
bool push_operands(Term_ const* t, std::vector<Term_ const*>& stack, Wanted wanted) {
  std::size_t const before = stack.size();
  for (std::uint64_t i = t->symbol->arity; i-- > 0;)
    if (wanted(t->children[i])) stack.push_back(t->children[i]);
  return stack.size() != before;
}

// Fills `operands` with now(o) for each operand o of t, in their order; whether one of them is another than
// o.
template <typename Now>
bool map_operands(Term_ const* t, std::vector<Term_ const*>& operands, Now now) {
  operands.clear();
  bool changed = false;
  for (Term_ const* const* o = t->children; o != t->children + t->symbol->arity; ++o) {
    operands.push_back(now(*o));
    changed |= operands.back() != *o;
  }
  return changed;
}

}  // namespace vell::words

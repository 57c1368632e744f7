#pragma once

// What each pass over the terms does at a term whose operands it has been at: take them as they are now.
//
// Tested by those of the passes: sharedproducts_test.cpp, unconstrained_test.cpp and wordidentities_test.cpp.

#include <vector>

#include "vell/terms/termmanager.h"

namespace vell::engine {

// Fills `operands` with now(o) for each operand o of t, in their order; whether one of them is another than o.
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

}  // namespace vell::engine

#pragma once

// One clause into a sink: the buffer holds its literals, in order, and nothing else, when it is handed over.
//
// The effect is that of emptying the buffer and pushing the literals. Clauses of one length come in runs, though, and
// then the buffer has the right size already and takes plain stores; measured, that is a third of a clause's cost.

#include <cstddef>

#include "vell/terms/clausesink.h"

namespace vell::bv {

template <typename... Literals>
inline void emit(ClauseSink* sink, Literals... literals) {
  BvLitList& buffer = sink->lits;
  constexpr std::size_t n = sizeof...(literals);
  if (buffer.size() != n) {
    if (buffer.size() > n) buffer.resize(n);
    while (buffer.size() < n) buffer.push_back(l_undef);  // growing by a resize would be a call
  }
  BvLit* place = buffer.data();
  ((*place++ = literals), ...);
  sink->add_clause();
}

}  // namespace vell::bv

#pragma once

// One clause into a sink: the buffer holds its literals, in order, and nothing else, when it is handed over.
//
// The effect is that of emptying the buffer and pushing the literals. Clauses of one length come in runs,
// though, and then the buffer has the right size already and takes plain stores; measured, that is a third of
// a clause's cost.

#include <cstddef>

#include "vell/terms/clausesink.h"

namespace vell::bv {

// Apart, since it is rarely called: a vector's growing takes a hundred instructions.
[[gnu::noinline, gnu::cold]] inline void make_room(BvLitList& buffer, std::size_t n) {
  buffer.reserve(4 * n);
}

// Makes the buffer longer. There is room, and where the compiler is told so it leaves the growing out of
// every gate.
inline void lengthen(BvLitList& buffer, std::size_t n) {
  if (buffer.capacity() < n) make_room(buffer, n);
  while (buffer.size() < n) {
    if (buffer.size() == buffer.capacity()) __builtin_unreachable();
    buffer.push_back(l_undef);
  }
}

template <typename... Literals>
inline void emit(ClauseSink* sink, Literals... literals) {
  BvLitList& buffer = sink->lits;
  constexpr std::size_t n = sizeof...(literals);
  if (buffer.size() > n) buffer.resize(n);
  if (buffer.size() < n) lengthen(buffer, n);
  BvLit* place = buffer.data();
  ((*place++ = literals), ...);
  sink->add_clause();
}

}  // namespace vell::bv

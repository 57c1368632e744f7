#pragma once

// One clause into a sink: buffer emptied, literals appended in order, clause handed over.

#include "vell/terms/clausesink.h"

namespace vell::bv {

inline void emit(ClauseSink* sink, BvLit a, BvLit b) {
  sink->lits.clear();
  sink->push(a, b);
  sink->add_clause();
}

inline void emit(ClauseSink* sink, BvLit a, BvLit b, BvLit c) {
  sink->lits.clear();
  sink->push(a, b, c);
  sink->add_clause();
}

inline void emit(ClauseSink* sink, BvLit a, BvLit b, BvLit c, BvLit d) {
  sink->lits.clear();
  sink->push(a, b, c, d);
  sink->add_clause();
}

}  // namespace vell::bv

#pragma once

// Where clauses go: the one interface between the clausifier and whatever consumes its CNF.

#include "vell/terms/literal.h"
#include "vell/terms/term.h"
#include "vell/utils/export.h"

namespace vell::bv {

// Implement the three operations over a SAT solver, a file or a container.
//
// A clause is the content of `lits` at the moment add_clause() is called, in buffer order. Literals 1 and -1
// may occur in clauses and mean the constants true and false; 0 never does. The sink owns the numbering of
// variables.
class VELL_API ClauseSink {
 public:
  virtual ~ClauseSink() = default;

  // The positive literal (at least 2) of a new, never used variable.
  virtual BvLit new_lit() = 0;

  // Whether the sink already has a literal for the atom `term`; if so it is written to `out`.
  virtual bool atom_lit(Term_ const* term, BvLit& out) = 0;

  // Takes the clause held in `lits`. The buffer is emptied by the next emission, not by the sink.
  virtual void add_clause() = 0;

  // Appends literals to the clause under construction, in argument order.
  void push(BvLit a, BvLit b) {
    lits.push_back(a);
    lits.push_back(b);
  }
  void push(BvLit a, BvLit b, BvLit c) {
    lits.push_back(a);
    lits.push_back(b);
    lits.push_back(c);
  }
  void push(BvLit a, BvLit b, BvLit c, BvLit d) {
    lits.push_back(a);
    lits.push_back(b);
    lits.push_back(c);
    lits.push_back(d);
  }

  // The clause under construction; add_clause() reads it.
  BvLitList lits;
};

}  // namespace vell::bv

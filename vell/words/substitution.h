#pragma once

// Puts terms in the place of others, everywhere below a formula.
//
// Tested by tests/words/substitution_test.cpp.

#include "vell/run/limits.h"
#include "vell/terms/termmanager.h"
#include "vell/terms/termtable.h"

namespace vell::words {

// Fill it by replace() first, then apply it. tm and limits must outlive it.
class Substitution {
 public:
  // free_division: terms whose operands leave their value open stay as they are, with all below them.
  // Takes memory for every term that exists or, when sparse, for those that it meets.
  Substitution(TermManager& tm, bool free_division, run::Limits const& limits, bool sparse = false)
      : tm_(tm), free_division_(free_division), limits_(limits), entries_(sparse) {}

  // From now on `by` stands for t. `by` may hold replaced terms, which are replaced in turn. Where that leads
  // back to t, t stays: see stays().
  void replace(Term_ const* t, Term_ const* by);
  bool empty() const { return empty_; }
  bool is_replaced(Term_ const* t) const { return entries_.find(t).by != nullptr; }

  // The term with everything replaced. No recursion. Throws run::Stopped when the limits say so.
  Term_ const* apply(Term_ const* t);
  // The term with everything below it replaced; t itself may stand for another.
  Term_ const* apply_below(Term_ const* t);

  // Whether t was to be replaced, but by itself in the end. Known once what should stand for it was applied.
  bool stays(Term_ const* t) const { return entries_.find(t).stays; }

 private:
  struct Entry {
    Term_ const* by = nullptr;     // null for a term that is not replaced
    Term_ const* image = nullptr;  // null where not known yet
    bool entered = false;          // on the way to its image
    bool stays = false;
  };

  Term_ const* known(Term_ const* t) const { return entries_.find(t).image; }
  void set(Term_ const* t, Term_ const* image) { entries_.at(t).image = image; }

  TermManager& tm_;
  bool const free_division_;
  run::Limits const& limits_;
  bool empty_ = true;
  TermTable<Entry> entries_;
};

}  // namespace vell::words

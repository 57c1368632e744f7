#pragma once

// Puts terms in the place of others, everywhere below a formula.
//
// Tested by tests/words/substitution_test.cpp.

#include <vector>

#include "vell/run/limits.h"
#include "vell/terms/termmanager.h"

namespace vell::words {

// Fill it by replace() first, then apply it. tm and limits must outlive it.
class Substitution {
 public:
  // free_division: terms whose operands leave their value open stay as they are, with all below them.
  Substitution(TermManager& tm, bool free_division, run::Limits const& limits)
      : tm_(tm), free_division_(free_division), limits_(limits) {}

  // From now on `by` stands for t. `by` may hold replaced terms, which are replaced in turn. Where that leads
  // back to t, t stays: see stays().
  void replace(Term_ const* t, Term_ const* by);
  bool empty() const { return replaced_.empty(); }
  bool is_replaced(Term_ const* t) const { return t->id < by_.size() && by_[t->id] != nullptr; }

  // The term with everything replaced. No recursion. Throws run::Stopped when the limits say so.
  Term_ const* apply(Term_ const* t);
  // The term with everything below it replaced; t itself may stand for another.
  Term_ const* apply_below(Term_ const* t);

  // Whether t was to be replaced, but by itself in the end. Known once what should stand for it was applied.
  bool stays(Term_ const* t) const { return t->id < stays_.size() && stays_[t->id]; }
  // What was given to replace(), in that order.
  std::vector<Term_ const*> const& replaced() const { return replaced_; }

 private:
  Term_ const* known(Term_ const* t) const { return t->id < image_.size() ? image_[t->id] : nullptr; }
  void set(Term_ const* t, Term_ const* image);

  TermManager& tm_;
  bool const free_division_;
  run::Limits const& limits_;
  std::vector<Term_ const*> replaced_;
  std::vector<Term_ const*> by_;     // by id; null for a term that is not replaced
  std::vector<Term_ const*> image_;  // by id; null where not known yet
  std::vector<bool> entered_;        // by id: on the way to its image
  std::vector<bool> stays_;          // by id
};

}  // namespace vell::words

#pragma once

// Dominators of terms: a term d dominates t where every way from the formulas down to t goes through d. What
// holds of all uses of d then holds of all uses of t.
//
// Tested by tests/words/dominators_test.cpp.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "vell/run/limits.h"
#include "vell/terms/termmanager.h"

namespace vell::words {

class Dominators {
 public:
  using Place = std::uint32_t;
  static constexpr Place none = ~Place{0};

  // terms: a set that holds the operands of each of its terms, operands first. roots: terms of it that are
  // used from outside. Throws run::Stopped when the limits say so.
  Dominators(std::vector<Term_ const*> const& terms, std::span<Term_ const* const> roots,
             run::Limits const& limits);

  // By place in `terms`.
  Place place(Term_ const* t) const { return place_[t->id]; }
  // The nearest dominator other than the term; none where that is no term.
  Place immediate(Place t) const { return nodes_[t].dominator; }
  // Whether the term is one operand of one term, and no root.
  bool used_once(Place t) const { return nodes_[t].uses == 1 && nodes_[t].user != none; }
  // The term that uses it, and as which operand, where it is used once.
  Place user(Place t) const { return nodes_[t].user; }
  std::uint32_t operand(Place t) const { return nodes_[t].operand; }

 private:
  // A node of the tree of dominators. Besides its parent it knows an ancestor farther up, so that a common
  // ancestor is found in steps that grow with the logarithm of the depth (Myers, "An applicative
  // random-access stack", 1983).
  struct Node {
    Place dominator = none;
    Place jump = none;
    std::uint32_t depth = 0;
    std::uint32_t uses = 0;
    Place user = none;
    std::uint32_t operand = 0;
    bool outside = false;  // a root, or without a dominator that its users share
  };
  void enter_tree(Place t);
  Place common(Place a, Place b) const;
  std::uint32_t depth(Place t) const { return t == none ? 0 : nodes_[t].depth; }

  std::vector<Place> place_;  // by id
  std::vector<Node> nodes_;
};

}  // namespace vell::words

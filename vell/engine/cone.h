#pragma once

// The terms that formulas are made of.

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "vell/terms/termmanager.h"

namespace vell::engine {

// A growing set of terms that holds the operands of each of its terms. No recursion.
class Cone {
 public:
  // Adds t and everything below it.
  void add(Term_ const* t) {
    push(t);
    while (!stack_.empty()) {
      Term_ const* top = stack_.back();
      stack_.pop_back();
      for (std::uint64_t i = 0; i < top->symbol->arity; ++i) push(top->children[i]);
    }
  }
  void add(std::span<Term_ const* const> terms) {
    for (Term_ const* t : terms) add(t);
  }
  bool contains(Term_ const* t) const { return t->id < in_.size() && in_[t->id]; }
  // In the order they were found, operands anywhere.
  std::vector<Term_ const*> const& terms() const { return terms_; }
  // Operands before the terms made of them.
  std::vector<Term_ const*> sorted() const {
    std::vector<Term_ const*> out = terms_;
    std::sort(out.begin(), out.end(), [](Term_ const* a, Term_ const* b) { return a->id < b->id; });
    return out;
  }

 private:
  void push(Term_ const* t) {
    if (contains(t)) return;
    if (t->id >= in_.size()) in_.resize(std::max<std::size_t>(t->id + 1, 2 * in_.size()));
    in_[t->id] = true;
    terms_.push_back(t);
    stack_.push_back(t);
  }

  std::vector<bool> in_;  // by id
  std::vector<Term_ const*> terms_;
  std::vector<Term_ const*> stack_;
};

}  // namespace vell::engine

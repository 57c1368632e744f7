#pragma once

// The terms that formulas are made of.

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "vell/terms/terminationtest.h"
#include "vell/terms/termmanager.h"

namespace vell {

// A growing set of terms that holds the operands of each of its terms. No recursion.
class Cone {
 public:
  Cone() : Cone(never()) {}
  // Adding and sorting ask the test at each term; what it throws ends them. It must outlive this.
  explicit Cone(TerminationTest const& test) : test_(&test) {}

  // Adds t and everything below it.
  void add(Term_ const* t) {
    push(t);
    while (!stack_.empty()) {
      (*test_)();
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
    // Ids are dense: each term has a place of its own.
    std::vector<Term_ const*> by_id(in_.size(), nullptr);
    for (Term_ const* t : terms_) {
      (*test_)();
      by_id[t->id] = t;
    }
    std::vector<Term_ const*> out;
    out.reserve(terms_.size());
    for (Term_ const* t : by_id)
      if (t != nullptr) out.push_back(t);
    return out;
  }

 private:
  static TerminationTest const& never() {
    static TerminationTest const test;
    return test;
  }
  void push(Term_ const* t) {
    if (contains(t)) return;
    if (t->id >= in_.size()) in_.resize(std::max<std::size_t>(t->id + 1, 2 * in_.size()));
    in_[t->id] = true;
    terms_.push_back(t);
    stack_.push_back(t);
  }

  TerminationTest const* test_;
  std::vector<bool> in_;  // by id
  std::vector<Term_ const*> terms_;
  std::vector<Term_ const*> stack_;
};

}  // namespace vell

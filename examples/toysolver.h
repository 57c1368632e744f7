#pragma once

// The SAT solver of the examples: unit propagation and chronological search, on signed integers. It knows
// nothing of terms, and stands for the solver that you have.

#include <cstddef>
#include <cstdlib>
#include <utility>
#include <vector>

class ToySolver {
 public:
  // A new variable, counted from 1.
  int new_variable() {
    values_.push_back(0);
    return static_cast<int>(values_.size()) - 1;
  }
  void add(std::vector<int> clause) { clauses_.push_back(std::move(clause)); }
  std::size_t clause_count() const { return clauses_.size(); }

  // Whether an assignment satisfies the clauses and makes the assumptions true.
  bool solve(std::vector<int> const& assumptions = {}) {
    for (signed char& v : values_) v = 0;
    trail_.clear();
    for (int a : assumptions)
      if (!assign(a)) return false;
    return search();
  }
  // After solve() said true.
  bool value(int literal) const { return (values_[std::abs(literal)] > 0) == (literal > 0); }

 private:
  int state(int literal) const { return literal > 0 ? values_[literal] : -values_[-literal]; }
  bool assign(int literal) {
    if (state(literal) != 0) return state(literal) > 0;
    values_[std::abs(literal)] = literal > 0 ? 1 : -1;
    trail_.push_back(literal);
    return true;
  }
  bool propagate() {
    for (bool changed = true; changed;) {
      changed = false;
      for (std::vector<int> const& clause : clauses_) {
        int free = 0;
        int last = 0;
        bool satisfied = false;
        for (int l : clause) {
          satisfied |= state(l) > 0;
          if (state(l) == 0) ++free, last = l;
        }
        if (satisfied || free > 1) continue;
        if (free == 0) return false;
        assign(last);
        changed = true;
      }
    }
    return true;
  }
  bool search() {
    std::size_t const mark = trail_.size();
    if (propagate()) {
      int next = 1;
      while (next < static_cast<int>(values_.size()) && values_[next] != 0) ++next;
      if (next == static_cast<int>(values_.size())) return true;
      for (int literal : {-next, next}) {
        std::size_t const branch = trail_.size();
        assign(literal);
        if (search()) return true;
        undo(branch);
      }
    }
    undo(mark);
    return false;
  }
  void undo(std::size_t length) {
    for (; trail_.size() > length; trail_.pop_back()) values_[std::abs(trail_.back())] = 0;
  }

  std::vector<signed char> values_ = {0};  // per variable 1, -1, or 0 for none; variable 0 does not exist
  std::vector<int> trail_;
  std::vector<std::vector<int>> clauses_;
};

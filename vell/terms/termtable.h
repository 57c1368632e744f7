#pragma once

// Something for each term of a manager.
//
// Tested by tests/terms/termtable_test.cpp.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "vell/terms/term.h"

namespace vell {

// A term that nothing was said of has T().
template <typename T>
class TermTable {
 public:
  // Takes memory for every term up to the largest id it meets or, when sparse, for those that it meets.
  explicit TermTable(bool sparse = false) : sparse_(sparse) {}

  // What was said of the term.
  T find(Term_ const* t) const {
    if (!sparse_) return t->id < dense_.size() ? dense_[t->id] : T();
    auto const found = few_.find(t->id);
    return found == few_.end() ? T() : found->second;
  }
  // The same, to be changed. Valid until the next call.
  T& at(Term_ const* t) {
    if (sparse_) return few_[t->id];
    if (t->id >= dense_.size()) dense_.resize(std::max<std::size_t>(t->id + 1, 2 * dense_.size()));
    return dense_[t->id];
  }

 private:
  bool const sparse_;
  std::vector<T> dense_;  // by id
  std::unordered_map<std::uint64_t, T> few_;
};

}  // namespace vell

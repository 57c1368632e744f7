#pragma once

// Unit clauses that searches over one formula tell each other.
//
// Tested by tests/sat/portfolio_test.cpp.

#include <cstdint>
#include <mutex>
#include <new>
#include <vector>

namespace vell::sat {

// May be used by several threads.
class UnitPool {
 public:
  // A literal that the clauses imply. Where there is no memory for it, it is not kept.
  void add(std::int32_t literal) {
    std::lock_guard const lock(mutex_);
    try {
      units_.push_back(literal);
    } catch (std::bad_alloc const&) {
    }
  }
  // All of them, in the order they came; some may come twice.
  std::vector<std::int32_t> units() const {
    std::lock_guard const lock(mutex_);
    return units_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::int32_t> units_;
};

}  // namespace vell::sat

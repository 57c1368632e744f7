#pragma once

// Unit propagation over a fixed formula, with two watched literals for each clause.
//
// Tested by tests/cubes/propagation_test.cpp.

#include <cstdint>
#include <span>
#include <vector>

#include "vell/cubes/formula.h"

namespace vell::cubes {

class Propagation {
 public:
  // Propagates the formula's unit clauses for good. The formula need not outlive this.
  explicit Propagation(Formula const& formula);

  // Whether unit propagation alone has not refuted the formula.
  bool consistent() const { return consistent_; }
  // Makes the literals true on top of everything before, and propagates. False where that gives a conflict;
  // then call withdraw() before anything else.
  bool assume(std::span<std::int32_t const> literals);
  // 1 true, -1 false, 0 open.
  int value(std::int32_t literal) const { return values_[index(literal)]; }
  // How many literals are true.
  std::size_t assigned() const { return trail_.size(); }
  // Withdraws all but the first `assigned` of them.
  void withdraw(std::size_t assigned);

 private:
  struct Watch {
    std::uint32_t clause;  // its place in literals_
    std::int32_t other;    // a literal of the clause; where it is true the clause is not looked at
  };

  static std::size_t index(std::int32_t l) {
    return 2 * static_cast<std::size_t>(l < 0 ? -l : l) + (l < 0 ? 1 : 0);
  }
  void assign(std::int32_t l);
  bool propagate();

  std::vector<std::int32_t> literals_;       // of all clauses of two or more, 0 after each
  std::vector<std::vector<Watch>> watches_;  // by literal: the clauses to visit when it becomes false
  std::vector<std::int8_t> values_;          // by literal
  std::vector<std::int32_t> trail_;
  std::size_t head_ = 0;
  bool consistent_ = true;
};

}  // namespace vell::cubes

#pragma once

// A small complete SAT check for tests. A circuit whose inputs are fixed is decided by unit propagation
// alone; what propagation leaves open (free literals) is decided by search, so the answer never depends on a
// gate's encoding being strong enough.

#include <cstdint>
#include <span>
#include <vector>

#include "tests/support/recordingsink.h"

namespace vell::test {

class Propagator {
 public:
  // The clauses are copied; the literals 1 and -1 are true and false.
  explicit Propagator(RecordingSink const& sink);

  // Makes the literals true from now on, on top of what was assumed before, and propagates. False on a
  // conflict: the clauses forbid the assumptions.
  bool assume(std::span<bv::BvLit const> literals);
  // Withdraws all assumptions.
  void reset();
  // Withdraws what was assumed since mark() gave this value; also after a conflict.
  std::size_t mark() const { return trail_.size(); }
  void withdraw(std::size_t mark) { undo(mark); }
  // 1 true, -1 false, 0 not decided by propagation.
  int value(bv::BvLit literal) const;
  // Whether the clauses and the assumptions have a model; complete, by search over what propagation left
  // open. The state is as before afterwards.
  bool satisfiable();

  // With the inputs as the only assumptions: whether the clauses have a model with them, and whether every
  // model gives the outputs the same values; those go to `values`. Propagation first, search for what it
  // leaves open.
  enum class Answer { decided, contradictory, ambiguous };
  Answer decide(std::span<bv::BvLit const> inputs, std::span<bv::BvLit const> outputs,
                std::vector<bool>& values);

 private:
  struct Clause {
    std::uint32_t begin;
    std::uint32_t size;
  };

  static std::size_t index(bv::BvLit a) {
    return static_cast<std::size_t>(a < 0 ? -a : a) * 2 + (a < 0 ? 1 : 0);
  }
  bool enqueue(bv::BvLit a);
  bool propagate();
  void undo(std::size_t size);
  bool search();

  std::vector<bv::BvLit> literals_;
  std::vector<Clause> clauses_;
  std::vector<std::vector<std::uint32_t>> watches_;  // by literal: clauses to visit when it becomes false
  std::vector<std::int8_t> values_;                  // by variable
  std::vector<bv::BvLit> trail_;
  std::size_t head_ = 0;
  std::size_t root_ = 0;  // trail size without assumptions
  bool consistent_ = true;
};

}  // namespace vell::test

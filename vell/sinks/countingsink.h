#pragma once

// A sink that counts and keeps nothing: the size of an encoding, and the header of a DIMACS file before its
// clauses.
//
// Tested by tests/sinks/countingsink_test.cpp.

#include <algorithm>
#include <cstdint>

#include "vell/terms/clausesink.h"
#include "vell/utils/export.h"

namespace vell::sinks {

// No atom has a literal here.
class VELL_API CountingSink : public bv::ClauseSink {
 public:
  bv::BvLit new_lit() override { return next_++; }
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override {
    ++clauses_;
    literals_ += lits.size();
    // No loop over the few literals of a gate's clause: where it ends is what a processor foresees badly.
    bv::BvLit const* l = lits.data();
    bool satisfied = false;
    switch (lits.size()) {
      case 4: satisfied |= l[3] == bv::l_true; [[fallthrough]];
      case 3: satisfied |= l[2] == bv::l_true; [[fallthrough]];
      case 2: satisfied |= l[1] == bv::l_true; [[fallthrough]];
      case 1: satisfied |= l[0] == bv::l_true; [[fallthrough]];
      case 0: break;
      default: satisfied = std::find(lits.begin(), lits.end(), bv::l_true) != lits.end();
    }
    satisfied_ += satisfied ? 1 : 0;
  }

  // Clauses as emitted, and the literals in them.
  std::uint64_t clauses() const { return clauses_; }
  std::uint64_t literals() const { return literals_; }
  // Clauses that the constant true satisfies.
  std::uint64_t satisfied_clauses() const { return satisfied_; }
  // Literals that new_lit() gave out.
  std::uint64_t fresh_literals() const { return static_cast<std::uint64_t>(next_) - 2; }

 private:
  bv::BvLit next_ = 2;
  std::uint64_t clauses_ = 0;
  std::uint64_t literals_ = 0;
  std::uint64_t satisfied_ = 0;
};

}  // namespace vell::sinks

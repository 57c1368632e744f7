#pragma once

// A sink that counts and keeps nothing: the size of an encoding, and the header of a DIMACS file before its clauses.
//
// Tested by tests/sinks/countingsink_test.cpp.

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
    for (bv::BvLit l : lits)
      if (l == bv::l_true) {
        ++satisfied_;
        return;
      }
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

#pragma once

// Values of terms under every assignment of a few variables at once.
//
// An evaluator of its own, which shares no code with the circuits nor with the one of the engine: a term has
// a column with a value of at most 16 bits for each assignment, and an operator is a loop over columns.
//
// Tested by tests/words/truthtable_test.cpp.

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "vell/terms/termmanager.h"

namespace vell::test {

class TruthTable {
 public:
  using Value = std::uint16_t;
  using Column = std::vector<Value>;
  static constexpr unsigned max_bits = 16;  // of all variables together, and of a word

  // 2^bits assignments. free_division: each quotient or remainder has a value of its own where the divisor is
  // zero, made from its id and `salt`; otherwise SMT-LIB's.
  TruthTable(TermManager const& tm, unsigned bits, bool free_division = false, std::uint64_t salt = 0);

  std::size_t rows() const { return rows_; }
  // The largest value of a term.
  Value mask(Term_ const* t) const;
  // The variable's value is in the bits of the assignment's number from `first` on.
  void assign(Term_ const* variable, unsigned first);
  // The variable has these values.
  void assign(Term_ const* variable, Column column);
  bool has(Term_ const* t) const { return t->id < place_.size() && place_[t->id] >= 0; }

  // The values of t, valid as long as the table; those of a Boolean are 0 and 1. Throws std::logic_error for
  // a variable without values and for a term that has none here.
  Column const& column(Term_ const* t);
  // Where all the formulas hold.
  Column conjunction(std::vector<Term_ const*> const& formulas);

 private:
  void compute(Term_ const* t);
  Column& place(Term_ const* t);

  TermManager const& tm_;
  std::size_t rows_;
  bool free_division_;
  std::uint64_t salt_;
  std::vector<std::int32_t> place_;  // by id, in columns_; -1 for none
  std::deque<Column> columns_;
  std::vector<Term_ const*> stack_;
};

// Number of bits of a word; 1 for a Boolean.
unsigned bits_of(TermManager const& tm, Term_ const* t);

// The variables below the terms, the oldest first.
std::vector<Term_ const*> variables_below_all(TermManager const& tm, std::vector<Term_ const*> const& terms);

}  // namespace vell::test

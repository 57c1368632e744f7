#pragma once

// Formulas over floating-point values as formulas over words.
//
// Tested by tests/fp/lowering_test.cpp.

#include <cstdint>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

#include "vell/fp/operations.h"
#include "vell/terms/termtable.h"
#include "vell/utils/export.h"

namespace vell::fp {

// A term, and the word or Boolean that stands for it.
struct StandIn {
  Term_ const* term;
  Term_ const* word;
};

// Lowers terms of one manager, each once. No recursion.
//
// A floating-point variable becomes a variable of its bits, whose NaN patterns are all the same value; a
// variable of rounding modes becomes one of three bits that hold its number (0 even, 1 zero, 2 plus infinity,
// 3 minus infinity, and 4 to 7 away).
//
// Where SMT-LIB leaves a value open, a new variable takes its place: the same for operands of the same
// values, however they are written. These are fp.to_ubv and fp.to_sbv where the integer does not fit,
// fp.to_ieee_bv of NaN (any of its patterns), and fp.min and fp.max of zeros of both signs.
class VELL_API Lowering {
 public:
  // Both must outlive this. The test is called for each term.
  Lowering(TermManager& tm, TerminationTest const& test);

  // What stands for the term. For a Boolean or a word a term of the same sort, the term itself if nothing
  // below it has to do with floating point. For a floating-point value its bits: fraction, biased exponent,
  // sign, least significant first, NaN positive and quiet without payload. For a rounding mode its number in
  // three bits. Throws Exception for a format without operators (theory::format_error) and an operator that
  // is none of SMT-LIB's.
  Term_ const* lower(Term_ const* t);

  // The variables of floating point so far, with those that stand for them.
  std::vector<StandIn> const& variables() const { return variables_; }
  // The terms so far whose value may be open, with the value that they have where it is.
  std::vector<StandIn> const& open_values() const { return open_values_; }
  // The variable that stands for a variable; the variable itself where none does.
  Term_ const* stand_in(Term_ const* variable) const;

 private:
  // What is known of a term: its word, its unpacked value, or both.
  struct Entry {
    Term_ const* word = nullptr;
    Term_ const* variable = nullptr;  // that stands for this variable
    std::uint32_t value = 0;          // place in values_, plus 1
    bool one_nan = false;             // the word of a floating-point value has no other NaN
  };
  // An application whose value is open where its operands are out of range.
  struct Conversion {
    Term_ const* mode;   // as a word
    Term_ const* value;  // the operand
    Term_ const* open;   // the result where it is open
  };

  bool is_known(Term_ const* t) const;
  void compute(Term_ const* t);
  void compute_leaf(Term_ const* t);
  void compute_floating(Term_ const* t);
  void rebuild(Term_ const* t);
  void check_formats(Term_ const* t) const;
  void set_word(Term_ const* t, Term_ const* word, bool one_nan = false);
  void set_value(Term_ const* t, Unpacked const& value);

  Term_ const* word(Term_ const* t) const { return entries_.find(t).word; }
  Unpacked value(Term_ const* t);
  Term_ const* bits(Term_ const* t);
  Term_ const* is_nan(Term_ const* t);
  Term_ const* same(Term_ const* a, Term_ const* b);
  Term_ const* open_conversion(Term_ const* t);
  Term_ const* open_sign(Term_ const* t);
  Term_ const* open_pattern(Term_ const* t);
  Format format(Term_ const* t) const;

  TermManager& tm_;
  TerminationTest const& test_;
  Operations const ops_;
  FoldingBuilder const& b_;
  TermTable<Entry> entries_;
  std::vector<Unpacked> values_;
  std::vector<StandIn> variables_;
  std::vector<StandIn> open_values_;
  std::map<std::tuple<SymbolTag::tag, std::uint64_t, Type const*>, std::vector<Conversion>> conversions_;
  std::map<Type const*, Term_ const*> nan_bits_;
  // Whether the minimum or maximum of +0 and -0, and of -0 and +0, is negative.
  std::map<std::pair<SymbolTag::tag, Type const*>, std::pair<Term_ const*, Term_ const*>> signs_;
};

}  // namespace vell::fp

#pragma once

// Values of terms under an assignment of the leaves.
//
// Tested by tests/values/evaluator_test.cpp.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "vell/terms/termmanager.h"
#include "vell/values/fparithmetic.h"

namespace vell::values {

// How the value of a bit-vector is written.
enum class WordFormat : std::uint8_t {
  binary,       // #b0101
  hexadecimal,  // #x5 where the width is a multiple of four, else binary
  decimal       // (_ bv5 4)
};

// Where the values of leaves come from.
class Assignment {
 public:
  virtual ~Assignment() = default;
  // Writes the value of t: ceil(width / 64) words, least significant first, bits at and above width zero. t
  // is a variable, or a term whose value its operands leave open (see Evaluator); width its number of bits.
  virtual void read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const = 0;
};

class Evaluator {
 public:
  // free_division: a quotient or remainder by zero has the value that the assignment gives to the term.
  // Otherwise x / 0 is all ones and x % 0 is x.
  //
  // SMT-LIB leaves the values of some operators open: conversions of floating-point values that the result
  // cannot hold, the bits of NaN, and the sign of the minimum or maximum of zeros of both signs. They have
  // the value that the assignment gives to the term, always; for the same operator and values of operands the
  // one that it gave first.
  explicit Evaluator(TermManager const& tm, bool free_division = false)
      : tm_(tm), free_division_(free_division) {}

  // From now on values are those under `assignment`, which is read until the next call and must live as long.
  // Costs the leaves evaluated so far and the terms above those that changed.
  void set_assignment(Assignment const& assignment);

  // The value of t as words, as Assignment::read writes them; a Boolean is 0 or 1. Valid until the next call.
  // Throws Exception for a term that has no value here.
  std::uint64_t const* value(Term_ const* t);
  bool is_true(Term_ const* t) { return (value(t)[0] & 1) != 0; }
  // The value as SMT-LIB writes it: true, #b0101, (fp #b0 #b01 #b0), roundTowardZero.
  std::string text(Term_ const* t, WordFormat format = WordFormat::binary);

  // Terms computed since construction.
  std::uint64_t evaluations() const { return evaluations_; }

 private:
  enum State : std::uint8_t { valid = 1, known = 2 };
  struct Edge {
    std::uint32_t parent;
    std::uint32_t next;
  };

  std::uint64_t bits_of(Term_ const* t) const;
  std::uint64_t* slot(Term_ const* t, std::uint64_t width);
  std::uint64_t const* operand(Term_ const* t, std::uint64_t width) const;
  bool is_trimmed(Term_ const* t) const;
  void compute(Term_ const* t);
  void compute_leaf(Term_ const* t, std::uint64_t width);
  std::uint64_t small_word(Term_ const* t, SymbolTag::tag tag, std::uint64_t width, std::uint64_t w0);
  void wide_word(Term_ const* t, SymbolTag::tag tag, std::uint64_t width, std::uint64_t w0, std::uint64_t w1);
  void compute_floating(Term_ const* t, SymbolTag::tag tag, std::uint64_t width);
  void convert_fp(Term_ const* t, std::uint64_t width, bool is_signed);
  void choose_open(Term_ const* t, std::uint64_t width);
  void unify(Term_ const* t, std::uint64_t width);
  FpFormat format_of(Term_ const* t) const;
  void ask_assignment(Term_ const* t, std::uint64_t width);
  void first_seen(Term_ const* t);
  void add_edges(Term_ const* t);
  void invalidate_above(Term_ const* t);

  TermManager const& tm_;
  bool free_division_;
  Assignment const* assignment_ = nullptr;
  bool edges_kept_ = false;

  std::vector<std::uint8_t> state_;   // by id
  std::vector<std::uint64_t> small_;  // by id: the value up to 64 bits, else its place in limbs_
  std::vector<std::uint64_t> limbs_;
  std::vector<std::uint32_t> edge_of_;  // by id: first edge to a term above, plus 1
  std::vector<Edge> edges_;
  std::vector<Term_ const*> terms_;   // every known term, children first
  std::vector<Term_ const*> leaves_;  // the variables among them
  std::vector<Term_ const*>
      open_;  // valid terms whose value came from the assignment though they are no variables
  std::vector<Term_ const*> stack_;
  std::vector<std::uint32_t> dirty_;
  std::vector<std::uint64_t> scratch_;
  // What the assignment gave for operators that their operands leave open; by operator, sorts and operands.
  std::map<std::vector<std::uint64_t>, std::vector<std::uint64_t>> chosen_;
  std::uint64_t evaluations_ = 0;
};

// The value of a type as SMT-LIB writes it; words as Assignment::read writes them. The parts of a
// floating-point value are binary whatever the format.
std::string value_text(TermManager const& tm, Type const* type, std::uint64_t const* words,
                       WordFormat format = WordFormat::binary);

// Number of bits of the values of a type; 0 for a type without.
std::uint64_t value_width(TermManager const& tm, Type const* type);

}  // namespace vell::values

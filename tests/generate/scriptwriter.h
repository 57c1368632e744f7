#pragma once

// Random scripts for the replay of single calls. A seed decides everything: which parts of the language a
// script uses at all, how wide its words are, how long it is.
//
// Scripts are well formed by construction: widths fit, no term without bits is translated, amounts of shifts
// are not negative, handlers are installed and called only where the children have the shape they need.

#include <cstdint>
#include <string>
#include <vector>

#include "tests/generate/random.h"
#include "tests/generate/script.h"

namespace vell::generate {

class ScriptWriter {
 public:
  explicit ScriptWriter(std::uint64_t seed);
  Script write();

 private:
  enum class Kind { word, boolean, floating, mode, other };
  struct Sort {
    Kind kind = Kind::word;
    unsigned a = 0;  // width, exponent width
    unsigned b = 0;  // fraction width
    std::string text;
    bool operator==(Sort const& s) const { return text == s.text; }
    // Length of the list of a term of the type.
    unsigned bits() const;
  };
  // What handlers may be called on a term; by the number and types of its children.
  enum class Shape {
    leaf,
    word_binary,  // w, w -> w
    word_unary,   // w -> w
    predicate,    // n, n -> bool
    bool_binary,
    bool_unary,
    word_ite,
    bool_ite,
    extract,
    concat,
    extend,
    rotate,
    conversion,
    pattern,  // fp_as_ieeebv
    opaque    // children that no handler reads
  };
  struct Term {
    std::string name;
    Sort sort;
    Shape shape = Shape::leaf;
    std::vector<std::size_t> children;
    bool numeral = false;
    bool negative = false;     // a numeral below zero
    bool shift_amount = true;  // may be the amount of a shift
    bool scrap = false;        // never a child; may have an empty list
    bool unsupported = false;  // the translation ends by an error
    std::string op;
  };

  // ---- declarations.cpp: terms ----
  static Sort word_sort(unsigned width);
  static Sort fp_sort(unsigned e, unsigned s);
  unsigned random_width();
  Sort random_sort();
  std::size_t declare(std::string const& line_start, Term term);
  std::size_t leaf(Sort const& sort);
  std::size_t numeral(Sort const& sort, bool may_be_negative);
  // A term of the type: one that is there, or a new one.
  std::size_t operand(Sort const& sort);
  std::size_t shift_amount(Sort const& sort);
  std::size_t compound();
  std::size_t term_of(Sort const& sort, Shape shape, std::string const& op,
                      std::vector<std::size_t> children);
  std::size_t word_term();
  std::size_t structural_term();
  std::size_t predicate_term();
  std::size_t boolean_term();
  std::size_t ite_term();
  std::size_t fp_term();
  std::size_t odd_term();
  void scrap_term();
  bool affordable(unsigned cost);

  // ---- operations.cpp: everything else ----
  void command();
  void setting();
  void state_command();
  void interface_command();
  void handler_call();
  void circuit();
  void backtracking();
  void hook();
  void emit(std::string const& line) { script_.push_back(line); }
  std::size_t random_term() { return random_.below(terms_.size()); }
  // A term that bit_blast may be asked for.
  std::size_t blastable();
  std::string literal();
  std::string variable_literal();
  std::string unused_literal();
  std::string list(unsigned n);
  std::vector<std::string> handlers_for(Term const& t);

  Random random_;
  Script script_;
  std::vector<Term> terms_;
  unsigned cost_ = 0;
  int next_literal_ = 100000;  // literals of the script that no fresh one meets
  std::vector<int> used_literals_;
  std::vector<std::string> odd_tags_;  // tags without an operator that hooks may serve

  // Profile of the script.
  unsigned max_width_;
  unsigned commands_;
  unsigned budget_;
  bool null_config_;
  bool hooks_;
  bool floating_;
  bool atoms_;
  bool circuits_;
  bool calls_;
  bool backtracking_;
  bool imposing_;  // setbits, eq, makebits
  bool unsupported_;
  bool small_literals_;  // literals of the script may meet fresh ones
  bool zero_literals_;
  bool empty_words_;
  bool termination_;
  bool numbering_;
};

}  // namespace vell::generate

#pragma once

// Makes Booleans and words, and computes what is constant.
//
// SymFPU asks for its operations one by one, many of them on constants: a constant rounding mode, the bias of
// a format. What follows from constants becomes one, and so do selections whose condition is known;
// everything else is left to those who simplify terms.
//
// Tested by tests/fp/foldingbuilder_test.cpp.

#include <cstdint>

#include "vell/terms/termbuilder.h"
#include "vell/terms/terminationtest.h"

namespace vell::fp {

class FoldingBuilder : private TermBuilder {
 public:
  // Each operation calls the test. Both must outlive this.
  FoldingBuilder(TermManager& tm, TerminationTest const& test) : TermBuilder{tm}, test_(test) {}

  TermManager& manager() const { return terms; }
  using TermBuilder::type;
  using TermBuilder::width;

  // ---- Booleans ----
  Term_ const* boolean(bool b) const { return terms.mk_bool(b); }
  bool is_true(Term_ const* t) const { return terms.get_tag(t->symbol) == SymbolTag::bool_true; }
  bool is_false(Term_ const* t) const { return terms.get_tag(t->symbol) == SymbolTag::bool_false; }
  Term_ const* negation(Term_ const* p) const;
  Term_ const* both(Term_ const* p, Term_ const* q) const;
  Term_ const* either(Term_ const* p, Term_ const* q) const;

  // ---- of both ----
  Term_ const* equal(Term_ const* a, Term_ const* b) const;
  Term_ const* choose(Term_ const* condition, Term_ const* a, Term_ const* b) const;

  // ---- words ----
  // value modulo 2^width.
  Term_ const* number(std::uint64_t value, std::uint64_t width) const;
  Term_ const* all_ones(std::uint64_t width) const;
  // 1 or 0 in one bit.
  Term_ const* word_of(Term_ const* p) const;
  Term_ const* complement(Term_ const* a) const;
  Term_ const* minus(Term_ const* a) const;
  // An operator of two words and a word, all of one width.
  Term_ const* word(Tag tag, Term_ const* a, Term_ const* b) const;
  // One of the four orders.
  Term_ const* order(Tag tag, Term_ const* a, Term_ const* b) const;
  Term_ const* extract(Term_ const* a, std::uint64_t msb, std::uint64_t lsb) const;
  Term_ const* concat(Term_ const* high, Term_ const* low) const;
  // By so many bits more; the word itself for none.
  Term_ const* extend(Term_ const* a, bool is_signed, std::uint64_t by) const;

 private:
  bool is_number(Term_ const* t) const { return terms.number(t->symbol) != nullptr; }
  bool is_zero(Term_ const* t) const;
  bool is_ones(Term_ const* t) const;

  TerminationTest const& test_;
};

}  // namespace vell::fp

#pragma once

// Makes and takes apart the terms that simplification works on. Sorts are not checked: the caller knows that
// they fit.
//
// Tested by tests/words/builder_test.cpp.

#include <gmpxx.h>

#include <cstdint>
#include <span>

#include "vell/terms/termbuilder.h"
#include "vell/words/numeral.h"

namespace vell::words {

class Builder : private TermBuilder {
 public:
  using TermBuilder::Tag;

  // Terms are made in tm, which must outlive this.
  explicit Builder(TermManager& tm) : TermBuilder{tm} {}
  TermManager& manager() const { return terms; }

  // ---- what a term is ----
  Tag tag(Term_ const* t) const { return terms.get_tag(t->symbol); }
  bool is(Term_ const* t, Tag tag) const { return terms.get_tag(t->symbol) == tag; }
  bool is_bool(Term_ const* t) const { return t->symbol->get_output_type() == terms.bool_type; }
  // In bits; 0 for a term that is no word.
  using TermBuilder::width;
  bool is_variable(Term_ const* t) const {
    return t->symbol->arity == 0 && terms.is_uninterpreted_function(t->symbol);
  }
  // A numeral, true or false.
  bool is_constant(Term_ const* t) const { return is_numeral(t) || is_true(t) || is_false(t); }
  bool is_true(Term_ const* t) const { return is(t, SymbolTag::bool_true); }
  bool is_false(Term_ const* t) const { return is(t, SymbolTag::bool_false); }
  bool is_numeral(Term_ const* t) const { return terms.number(t->symbol) != nullptr; }
  // The value of a numeral.
  mpz_class value(Term_ const* t) const { return numeral_value(terms, t); }
  bool is_zero(Term_ const* t) const {
    QNumber const* const n = terms.number(t->symbol);
    return n != nullptr && n->sign() == 0;
  }
  bool is_one(Term_ const* t) const {
    QNumber const* const n = terms.number(t->symbol);
    return n != nullptr && n->size_in_base_2() == 1 && n->test_bit(0);
  }
  bool is_ones(Term_ const* t) const;
  // The numeral 10...0.
  bool is_least_signed(Term_ const* t) const;
  // The numeral 01...1.
  bool is_greatest_signed(Term_ const* t) const;
  // Whether one is the negation of the other: Booleans, or words bit by bit.
  bool complementary(Term_ const* a, Term_ const* b) const;
  // The bounds of an extraction, 0 the least significant bit.
  std::uint64_t msb(Term_ const* extract) const { return extract->symbol->parameter(0); }
  std::uint64_t lsb(Term_ const* extract) const { return extract->symbol->parameter(1); }

  // ---- constants ----
  Term_ const* boolean(bool b) const { return terms.mk_bool(b); }
  // n modulo 2^width.
  Term_ const* number(mpz_class const& n, std::uint64_t width) const { return make_numeral(terms, n, width); }
  Term_ const* zero(std::uint64_t width) const { return terms.mk_number(QNumber(0), terms.bv_type(width)); }
  Term_ const* one(std::uint64_t width) const { return terms.mk_number(QNumber(1), terms.bv_type(width)); }
  Term_ const* ones(std::uint64_t width) const { return make_numeral(terms, -1, width); }

  // ---- Booleans ----
  Term_ const* negation(Term_ const* p) const;
  using TermBuilder::both;
  using TermBuilder::either;
  // Of Booleans or of words.
  using TermBuilder::equal;
  using TermBuilder::ite;
  // With the tag of one of the four orders on words.
  using TermBuilder::order;

  // ---- words ----
  // An operator of two words and a word, all of one width.
  using TermBuilder::word;
  // bvnot or bvneg; of a complement the word itself.
  Term_ const* complement(Term_ const* a) const;
  Term_ const* minus(Term_ const* a) const {
    return make(SymbolTag::bv_neg, a->symbol->get_output_type(), {a});
  }
  // Bits msb to lsb; the word itself where these are all. Of a numeral a numeral.
  Term_ const* extract(Term_ const* a, std::uint64_t msb, std::uint64_t lsb) const;
  Term_ const* bit(Term_ const* a, std::uint64_t i) const { return extract(a, i, i); }
  Term_ const* sign(Term_ const* a) const { return bit(a, width(a) - 1); }
  // Null for a part that is not there: the other one then. Of numerals a numeral.
  Term_ const* concat(Term_ const* high, Term_ const* low) const;
  // By `by` more bits; the word itself for none. Of a numeral a numeral.
  Term_ const* zero_extend(Term_ const* a, std::uint64_t by) const {
    return by == 0 ? a : extended(SymbolTag::bv_zero_extend, a, by);
  }
  Term_ const* sign_extend(Term_ const* a, std::uint64_t by) const {
    return by == 0 ? a : extended(SymbolTag::bv_sign_extend, a, by);
  }
  // The formula that says that the bit is set.
  Term_ const* is_set(Term_ const* a, std::uint64_t i) const { return equal(bit(a, i), one(1)); }
  Term_ const* is_clear(Term_ const* a, std::uint64_t i) const { return equal(bit(a, i), zero(1)); }

  // The same operator over other operands, of the same sorts.
  Term_ const* with_operands(Term_ const* t, std::span<Term_ const* const> operands) const {
    return terms.mk_term(t->symbol, operands);
  }
};

}  // namespace vell::words

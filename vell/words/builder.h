#pragma once

// Makes and takes apart the terms that simplification works on. Sorts are not checked: the caller knows that
// they fit.
//
// Tested by tests/words/builder_test.cpp.

#include <gmpxx.h>

#include <cstdint>
#include <initializer_list>
#include <span>

#include "vell/terms/termmanager.h"
#include "vell/words/numeral.h"

namespace vell::words {

class Builder {
 public:
  using Tag = SymbolTag::tag;

  // Terms are made in tm, which must outlive this.
  explicit Builder(TermManager& tm) : tm_(tm) {}
  TermManager& manager() const { return tm_; }

  // ---- what a term is ----
  Tag tag(Term_ const* t) const { return tm_.get_tag(t->symbol); }
  bool is(Term_ const* t, Tag tag) const { return tm_.get_tag(t->symbol) == tag; }
  bool is_bool(Term_ const* t) const { return t->symbol->get_output_type() == tm_.bool_type; }
  // In bits; 0 for a term that is no word.
  std::uint64_t width(Term_ const* t) const { return word_width(tm_, t); }
  bool is_variable(Term_ const* t) const {
    return t->symbol->arity == 0 && tm_.is_uninterpreted_function(t->symbol);
  }
  // A numeral, true or false.
  bool is_constant(Term_ const* t) const { return is_numeral(t) || is_true(t) || is_false(t); }
  bool is_true(Term_ const* t) const { return is(t, SymbolTag::bool_true); }
  bool is_false(Term_ const* t) const { return is(t, SymbolTag::bool_false); }
  bool is_numeral(Term_ const* t) const { return tm_.number(t->symbol) != nullptr; }
  // The value of a numeral.
  mpz_class value(Term_ const* t) const { return numeral_value(tm_, t); }
  bool is_zero(Term_ const* t) const {
    QNumber const* const n = tm_.number(t->symbol);
    return n != nullptr && n->sign() == 0;
  }
  bool is_one(Term_ const* t) const {
    QNumber const* const n = tm_.number(t->symbol);
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
  Term_ const* boolean(bool b) const { return tm_.mk_bool(b); }
  // n modulo 2^width.
  Term_ const* number(mpz_class const& n, std::uint64_t width) const { return make_numeral(tm_, n, width); }
  Term_ const* zero(std::uint64_t width) const { return tm_.mk_number(QNumber(0), tm_.bv_type(width)); }
  Term_ const* one(std::uint64_t width) const { return tm_.mk_number(QNumber(1), tm_.bv_type(width)); }
  Term_ const* ones(std::uint64_t width) const { return make_numeral(tm_, -1, width); }

  // ---- Booleans ----
  Term_ const* negation(Term_ const* p) const;
  Term_ const* both(Term_ const* p, Term_ const* q) const { return boolean_of(SymbolTag::bool_and, p, q); }
  Term_ const* either(Term_ const* p, Term_ const* q) const { return boolean_of(SymbolTag::bool_or, p, q); }
  // Of Booleans or of words.
  Term_ const* equal(Term_ const* a, Term_ const* b) const {
    return boolean_of(is_bool(a) ? SymbolTag::bool_iff : SymbolTag::equal, a, b);
  }
  // Of Booleans or of words.
  Term_ const* ite(Term_ const* condition, Term_ const* then, Term_ const* otherwise) const;
  // tag: one of the four orders on words.
  Term_ const* order(Tag tag, Term_ const* a, Term_ const* b) const;

  // ---- words ----
  // An operator of two words and a word, all of one width.
  Term_ const* word(Tag tag, Term_ const* a, Term_ const* b) const {
    return make(tag, a->symbol->get_output_type(), {a, b});
  }
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
  Term_ const* zero_extend(Term_ const* a, std::uint64_t by) const;
  Term_ const* sign_extend(Term_ const* a, std::uint64_t by) const;
  // The formula that says that the bit is set.
  Term_ const* is_set(Term_ const* a, std::uint64_t i) const { return equal(bit(a, i), one(1)); }
  Term_ const* is_clear(Term_ const* a, std::uint64_t i) const { return equal(bit(a, i), zero(1)); }

  // The same operator over other operands, of the same sorts.
  Term_ const* with_operands(Term_ const* t, std::span<Term_ const* const> operands) const {
    return tm_.mk_term(t->symbol, operands);
  }

 private:
  Term_ const* make(Tag tag, Type const* type, std::initializer_list<Term_ const*> operands,
                    std::uint64_t parameter0 = 0, std::uint64_t parameter1 = 0) const {
    return tm_.mk_term(tm_.operator_symbol(tag, operands.size(), type, parameter0, parameter1),
                       std::span(operands.begin(), operands.size()));
  }
  Term_ const* boolean_of(Tag tag, Term_ const* a, Term_ const* b) const {
    return make(tag, tm_.bool_type, {a, b});
  }

  TermManager& tm_;
};

}  // namespace vell::words

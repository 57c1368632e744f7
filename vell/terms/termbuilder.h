#pragma once

// Makes terms whose sorts are known to fit; debug builds assert that they do. Not installed: mk_app is for
// users.
//
// Tested by tests/terms/theory_test.cpp.

#include <cassert>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <vector>

#include "vell/terms/operators.h"
#include "vell/terms/termmanager.h"

namespace vell {

struct TermBuilder {
  using Tag = SymbolTag::tag;

  TermManager& terms;  // must outlive this

  static Type const* type(Term_ const* t) { return t->symbol->get_output_type(); }
  std::uint64_t width(Term_ const* t) const { return terms.width(t); }
  Term_ const* make(Tag tag, Type const* result, std::initializer_list<Term_ const*> children,
                    std::uint64_t p0 = 0, std::uint64_t p1 = 0) const {
    assert(operator_arity(tag) == static_cast<int>(children.size()));
    return terms.mk_term(terms.operator_symbol(tag, children.size(), result, p0, p1),
                         std::span(children.begin(), children.size()));
  }
  Term_ const* negated(Term_ const* a) const { return make(Tag::bool_not, terms.bool_type, {a}); }
  Term_ const* both(Term_ const* a, Term_ const* b) const {
    return make(Tag::bool_and, terms.bool_type, {a, b});
  }
  Term_ const* either(Term_ const* a, Term_ const* b) const {
    return make(Tag::bool_or, terms.bool_type, {a, b});
  }
  Term_ const* equal(Term_ const* a, Term_ const* b) const {
    return make(type(a) == terms.bool_type ? Tag::bool_iff : Tag::equal, terms.bool_type, {a, b});
  }
  Term_ const* ite(Term_ const* c, Term_ const* a, Term_ const* b) const {
    assert(type(c) == terms.bool_type && type(a) == type(b));
    return make(type(a) == terms.bool_type ? Tag::bool_ite : Tag::term_ite, type(a), {c, a, b});
  }
  // op.tag over words of one width, with a word of that width as result.
  Term_ const* word(Tag tag, Term_ const* a, Term_ const* b) const {
    assert(type(a) == type(b) && width(a) != 0);
    return make(tag, type(a), {a, b});
  }
  Term_ const* complement(Term_ const* a) const { return make(Tag::bv_not, type(a), {a}); }
  // One of the four orders on words.
  Term_ const* order(Tag tag, Term_ const* a, Term_ const* b) const {
    assert(type(a) == type(b) && width(a) != 0);
    return make(tag, terms.bool_type, {a, b}, tag == Tag::bv_slt ? width(a) : 0);
  }
  Term_ const* extract(Term_ const* a, std::uint64_t msb, std::uint64_t lsb) const {
    assert(lsb <= msb && msb < width(a));
    return make(Tag::bv_extract, terms.bv_type(msb - lsb + 1), {a}, msb, lsb);
  }
  Term_ const* sign(Term_ const* a) const { return extract(a, width(a) - 1, width(a) - 1); }
  Term_ const* concat(Term_ const* high, Term_ const* low) const {
    return make(Tag::bv_concat, terms.bv_type(width(high) + width(low)), {high, low});
  }

  // Words of the argument's width.
  Term_ const* zeros(Term_ const* a) const { return terms.mk_number(QNumber(0), type(a)); }
  Term_ const* ones(Term_ const* a) const {
    std::uint64_t const w = width(a);
    std::vector<std::uint64_t> words((w + 63) / 64, UINT64_MAX);
    if (w % 64 != 0) words.back() >>= 64 - w % 64;
    return terms.mk_number(QNumber::from_words(words.data(), words.size()), type(a));
  }
  Term_ const* least_signed(Term_ const* a) const {
    std::vector<std::uint64_t> words((width(a) + 63) / 64, 0);
    words.back() = std::uint64_t{1} << ((width(a) - 1) % 64);
    return terms.mk_number(QNumber::from_words(words.data(), words.size()), type(a));
  }
  // tag: of the extension; by so many bits. Of a numeral a numeral.
  Term_ const* extended(Tag tag, Term_ const* a, std::uint64_t by) const {
    Type const* const longer = terms.bv_type(width(a) + by);
    QNumber const* const value = terms.number(a->symbol);
    if (value == nullptr) return make(tag, longer, {a}, by);
    std::uint64_t const w = width(a);
    std::vector<std::uint64_t> words((w + by + 63) / 64, 0);
    bool const filled = tag == Tag::bv_sign_extend && value->test_bit(w - 1);
    for (std::uint64_t i = 0; i < w + by; ++i)
      if (i < w ? value->test_bit(i) : filled) words[i / 64] |= std::uint64_t{1} << (i % 64);
    return terms.mk_number(QNumber::from_words(words.data(), words.size()), longer);
  }
};

}  // namespace vell

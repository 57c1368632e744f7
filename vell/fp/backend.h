#pragma once

// What SymFPU computes with: propositions, words, rounding modes and formats over terms.
//
// SymFPU makes constants out of nothing, as in ubv::zero(w), so the builder in use is a global of the thread,
// set for the time of a call; nothing of it stays. Included by operations.cpp alone.
//
// Tested by tests/fp/operations_test.cpp.

#include <algorithm>
#include <cassert>
#include <cstdint>

#include "vell/fp/foldingbuilder.h"

namespace vell::fp::backend {

using Tag = SymbolTag::tag;
using Width = std::uint64_t;

inline thread_local FoldingBuilder const* builder_in_use = nullptr;

inline FoldingBuilder const& builder() {
  assert(builder_in_use != nullptr);
  return *builder_in_use;
}

// Makes a builder the one in use.
class Use {
 public:
  explicit Use(FoldingBuilder const& b) : before_(builder_in_use) { builder_in_use = &b; }
  ~Use() { builder_in_use = before_; }
  Use(Use const&) = delete;
  Use& operator=(Use const&) = delete;

 private:
  FoldingBuilder const* before_;
};

struct Proposition {
  Term_ const* term;

  Proposition(bool b) : term(builder().boolean(b)) {}  // NOLINT: SymFPU converts
  explicit Proposition(Term_ const* t) : term(t) {}

  Proposition operator!() const { return Proposition(builder().negation(term)); }
  Proposition operator&&(Proposition const& b) const { return Proposition(builder().both(term, b.term)); }
  Proposition operator||(Proposition const& b) const { return Proposition(builder().either(term, b.term)); }
  Proposition operator==(Proposition const& b) const { return Proposition(builder().equal(term, b.term)); }
  Proposition operator^(Proposition const& b) const { return !(*this == b); }
};

template <bool is_signed>
struct Word {
  Term_ const* term;

  Word(Width width, std::uint64_t value) : term(builder().number(value, width)) {}
  explicit Word(Term_ const* t) : term(t) {}
  explicit Word(Proposition const& p) : term(builder().word_of(p.term)) {}

  Width getWidth() const { return builder().width(term); }

  static Word one(Width w) { return Word(w, 1); }
  static Word zero(Width w) { return Word(w, 0); }
  static Word allOnes(Width w) { return Word(builder().all_ones(w)); }
  static Word maxValue(Width w) {
    return is_signed ? Word(builder().extend(builder().all_ones(w - 1), false, 1)) : allOnes(w);
  }
  static Word minValue(Width w) { return is_signed ? Word(builder().complement(maxValue(w).term)) : zero(w); }

  Proposition isAllOnes() const { return Proposition(builder().equal(term, builder().all_ones(getWidth()))); }
  Proposition isAllZeros() const {
    return Proposition(builder().equal(term, builder().number(0, getWidth())));
  }

  Word operator<<(Word const& b) const { return word(Tag::bv_shl, b); }
  Word operator>>(Word const& b) const { return word(is_signed ? Tag::bv_ashr : Tag::bv_lshr, b); }
  Word operator|(Word const& b) const { return word(Tag::bv_or, b); }
  Word operator&(Word const& b) const { return word(Tag::bv_and, b); }
  Word operator+(Word const& b) const { return word(Tag::bv_add, b); }
  Word operator-(Word const& b) const { return word(Tag::bv_sub, b); }
  Word operator*(Word const& b) const { return word(Tag::bv_mul, b); }
  Word operator/(Word const& b) const { return word(is_signed ? Tag::bv_sdiv : Tag::bv_udiv, b); }
  Word operator%(Word const& b) const { return word(is_signed ? Tag::bv_srem : Tag::bv_urem, b); }
  Word operator-() const { return Word(builder().minus(term)); }
  Word operator~() const { return Word(builder().complement(term)); }
  Word increment() const { return *this + one(getWidth()); }
  Word decrement() const { return *this - one(getWidth()); }
  Word signExtendRightShift(Word const& b) const { return word(Tag::bv_ashr, b); }

  // Every operation here is modulo 2^width.
  Word modularLeftShift(Word const& b) const { return *this << b; }
  Word modularRightShift(Word const& b) const { return *this >> b; }
  Word modularIncrement() const { return increment(); }
  Word modularDecrement() const { return decrement(); }
  Word modularAdd(Word const& b) const { return *this + b; }
  Word modularNegate() const { return -*this; }

  Proposition operator==(Word const& b) const { return Proposition(builder().equal(term, b.term)); }
  Proposition operator<=(Word const& b) const {
    return order(is_signed ? Tag::bv_sle : Tag::bv_ule, *this, b);
  }
  Proposition operator>=(Word const& b) const {
    return order(is_signed ? Tag::bv_sle : Tag::bv_ule, b, *this);
  }
  Proposition operator<(Word const& b) const {
    return order(is_signed ? Tag::bv_slt : Tag::bv_ult, *this, b);
  }
  Proposition operator>(Word const& b) const {
    return order(is_signed ? Tag::bv_slt : Tag::bv_ult, b, *this);
  }

  Word<true> toSigned() const { return Word<true>(term); }
  Word<false> toUnsigned() const { return Word<false>(term); }

  Word extend(Width by) const { return Word(builder().extend(term, is_signed, by)); }
  Word contract(Width by) const { return Word(builder().extract(term, getWidth() - 1 - by, 0)); }
  // To a smaller width too: where a format has a fraction longer than its exponents are far, SymFPU computes
  // an exponent with more bits than the format it is for has, or needs.
  Word resize(Width w) const { return w >= getWidth() ? extend(w - getWidth()) : contract(getWidth() - w); }
  Word matchWidth(Word const& b) const { return resize(b.getWidth()); }
  Word append(Word const& low) const { return Word(builder().concat(term, low.term)); }
  Word extract(Width msb, Width lsb) const { return Word(builder().extract(term, msb, lsb)); }

 private:
  Word word(Tag tag, Word const& b) const { return Word(builder().word(tag, term, b.term)); }
  static Proposition order(Tag tag, Word const& a, Word const& b) {
    return Proposition(builder().order(tag, a.term, b.term));
  }
};

// A rounding mode is a word of three bits that holds its number, at most 4.
struct Mode {
  Term_ const* term;

  explicit Mode(Term_ const* t) : term(t) {}
  Proposition valid() const { return Proposition(true); }
  Proposition operator==(Mode const& b) const { return Proposition(builder().equal(term, b.term)); }
};

// The significand with its hidden bit.
class Format {
 public:
  Format(Width exponent, Width significand) : exponent_(exponent), significand_(significand) {}

  Width exponentWidth() const { return exponent_; }
  Width significandWidth() const { return significand_; }
  Width packedWidth() const { return exponent_ + significand_; }
  Width packedExponentWidth() const { return exponent_; }
  Width packedSignificandWidth() const { return significand_ - 1; }

 private:
  Width exponent_;
  Width significand_;
};

struct Traits {
  using bwt = Width;
  using rm = Mode;
  using fpt = Format;
  using prop = Proposition;
  using sbv = Word<true>;
  using ubv = Word<false>;

  static Mode mode(std::uint64_t number) { return Mode(builder().number(number, 3)); }
  static Mode RNE() { return mode(0); }
  static Mode RTZ() { return mode(1); }
  static Mode RTP() { return mode(2); }
  static Mode RTN() { return mode(3); }
  static Mode RNA() { return mode(4); }
};

}  // namespace vell::fp::backend

// They would make terms that nobody reads. What they state is tested instead.
#define PRECONDITION(X) static_cast<void>(0)
#define POSTCONDITION(X) static_cast<void>(0)
#define INVARIANT(X) static_cast<void>(0)

#include <symfpu/core/ite.h>

namespace symfpu {

template <>
struct ite<vell::fp::backend::Proposition, vell::fp::backend::Proposition> {
  using Proposition = vell::fp::backend::Proposition;
  static Proposition iteOp(Proposition const& c, Proposition const& a, Proposition const& b) {
    return Proposition(vell::fp::backend::builder().choose(c.term, a.term, b.term));
  }
};

template <bool is_signed>
struct ite<vell::fp::backend::Proposition, vell::fp::backend::Word<is_signed>> {
  using Word = vell::fp::backend::Word<is_signed>;
  static Word iteOp(vell::fp::backend::Proposition const& c, Word const& a, Word const& b) {
    return Word(vell::fp::backend::builder().choose(c.term, a.term, b.term));
  }
};

}  // namespace symfpu

#include <symfpu/core/add.h>
#include <symfpu/core/classify.h>
#include <symfpu/core/compare.h>
#include <symfpu/core/convert.h>
#include <symfpu/core/divide.h>
#include <symfpu/core/fma.h>
#include <symfpu/core/multiply.h>
#include <symfpu/core/packing.h>
#include <symfpu/core/remainder.h>
#include <symfpu/core/sign.h>
#include <symfpu/core/sqrt.h>

namespace symfpu {

// Enough for every exponent of a normalised subnormal, for the places that one is shifted by, and for
// differences of the smallest and greatest. What SymFPU has by default is the same for formats as long as
// those of the standard, but one bit too few for short ones.
template <>
inline vell::fp::backend::Width unpackedFloat<vell::fp::backend::Traits>::exponentWidth(
    vell::fp::backend::Format const& format) {
  using vell::fp::backend::Width;
  Width const e = format.exponentWidth();
  Width const reach = (Width{1} << (e - 1)) + format.significandWidth();
  Width width = e + 1;
  while (Width{1} << (width - 1) < reach) ++width;
  return std::max(width, bitsToRepresent(format.significandWidth()) + 1);
}

}  // namespace symfpu

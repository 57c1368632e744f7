// Operators that the term layer lacks, from those it has.
//
// Every expansion is exact on all inputs, division by zero included. The overflow predicates of sums compute
// the exact result in one bit more, those of products in twice the bits; a constant operand is widened as a
// constant, so that the clausifier still sees a numeral.

#include "vell/terms/theorybuilders.h"

#include <bit>

#include "vell/terms/termbuilder.h"

namespace vell::theory::build {

namespace {

using Tag = SymbolTag::tag;

Type const* type_of(Term_ const* t) { return t->symbol->get_output_type(); }

// Makes applications whose sorts are known to fit.
struct Builder : TermBuilder {
  Term_ const* product(Term_ const* a, Term_ const* b) const {
    // The clausifier multiplies by a constant in fewer gates, and looks for it in front.
    if (terms.is_number(b->symbol) && !terms.is_number(a->symbol)) std::swap(a, b);
    return word(Tag::bv_mul, a, b);
  }

  void check_width(Operator const& op, std::uint64_t width, std::uint64_t more) const {
    if (more > max_width - width)
      throw SortError(std::string("the result of `") + op.name + "` is wider than " +
                      std::to_string(max_width) + " bits");
  }
};

}  // namespace

// ---- one operator of the term layer ----

Term_ const* constant(Application const& a) { return a.terms.mk_bool(a.op.tag == Tag::bool_true); }

Term_ const* direct(Application const& a) {
  auto const x = a.arguments;
  Builder const m{{a.terms}};
  switch (a.op.tag) {
    case Tag::bool_not: return m.negated(x[0]);
    case Tag::term_ite: return m.ite(x[0], x[1], x[2]);
    case Tag::bv_not:
    case Tag::bv_neg: return m.make(a.op.tag, type_of(x[0]), {x[0]});
    case Tag::bv_ult:
    case Tag::bv_ule:
    case Tag::bv_slt:
    case Tag::bv_sle: return m.order(a.op.tag, x[0], x[1]);
    default: return m.word(a.op.tag, x[0], x[1]);
  }
}

Term_ const* fold_left(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* t = a.arguments[0];
  if (a.op.tag == Tag::bv_concat) {
    for (Term_ const* x : a.arguments.subspan(1)) {
      m.check_width(a.op, m.width(t), m.width(x));
      t = m.concat(t, x);
    }
    return t;
  }
  if (a.arguments.size() == 1) return t;
  Symbol const* const symbol = a.terms.operator_symbol(a.op.tag, 2, type_of(t));
  for (Term_ const* x : a.arguments.subspan(1)) {
    Term_ const* const children[] = {t, x};
    t = a.terms.mk_term(symbol, children);
  }
  return t;
}

Term_ const* swapped(Application const& a) {
  return Builder{a.terms}.order(a.op.tag, a.arguments[1], a.arguments[0]);
}

Term_ const* product(Application const& a) {
  return a.arguments.size() == 2 ? Builder{a.terms}.product(a.arguments[0], a.arguments[1]) : fold_left(a);
}

// ---- core ----

// a => (b => c)
Term_ const* implies(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* t = a.arguments.back();
  for (std::size_t i = a.arguments.size() - 1; i-- > 0;) t = m.either(m.negated(a.arguments[i]), t);
  return t;
}

Term_ const* exclusive_or(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* t = a.arguments[0];
  for (Term_ const* x : a.arguments.subspan(1)) t = m.negated(m.equal(t, x));
  return t;
}

Term_ const* equal(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* t = m.equal(a.arguments[0], a.arguments[1]);
  for (std::size_t i = 2; i < a.arguments.size(); ++i)
    t = m.both(t, m.equal(a.arguments[i - 1], a.arguments[i]));
  return t;
}

Term_ const* distinct(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* t = nullptr;
  for (std::size_t i = 0; i < a.arguments.size(); ++i)
    for (std::size_t j = i + 1; j < a.arguments.size(); ++j) {
      Term_ const* const differ = m.negated(m.equal(a.arguments[i], a.arguments[j]));
      t = t == nullptr ? differ : m.both(t, differ);
    }
  return t;
}

// ---- words ----

Term_ const* complemented(Application const& a) {
  Builder const m{{a.terms}};
  return m.complement(m.word(a.op.tag, a.arguments[0], a.arguments[1]));
}

Term_ const* xnor(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* t = a.arguments[0];
  for (Term_ const* x : a.arguments.subspan(1)) t = m.complement(m.word(Tag::bv_xor, t, x));
  return t;
}

Term_ const* compare(Application const& a) {
  Builder const m{{a.terms}};
  return m.ite(m.equal(a.arguments[0], a.arguments[1]), a.terms.mk_bv(1, 1), a.terms.mk_bv(0, 1));
}

// The remainder takes the sign of the dividend; where it is not zero and the divisor has the other sign, the
// divisor is added. A divisor of zero leaves the dividend as the remainder, and adding zero changes nothing:
// smod x 0 = x.
Term_ const* smod(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* const dividend = a.arguments[0];
  Term_ const* const divisor = a.arguments[1];
  Term_ const* const remainder = m.word(Tag::bv_srem, dividend, divisor);
  Term_ const* const adjust = m.both(m.negated(m.equal(remainder, m.zeros(remainder))),
                                     m.negated(m.equal(m.sign(dividend), m.sign(divisor))));
  return m.ite(adjust, m.word(Tag::bv_add, remainder, divisor), remainder);
}

Term_ const* extract(Application const& a) {
  Builder const m{{a.terms}};
  std::uint64_t const msb = a.indices[0];
  std::uint64_t const lsb = a.indices[1];
  std::uint64_t const w = m.width(a.arguments[0]);
  if (msb < lsb)
    throw SortError("the first index of `extract` is below the second: " + std::to_string(msb) + " and " +
                    std::to_string(lsb));
  if (msb >= w)
    throw SortError("`extract` takes bit " + std::to_string(msb) + " of " + std::to_string(w) +
                    (w == 1 ? " bit" : " bits"));
  return m.extract(a.arguments[0], msb, lsb);
}

Term_ const* rotate(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* const x = a.arguments[0];
  return m.make(a.op.tag, type_of(x), {x}, a.indices[0] % m.width(x));
}

// By a word: (x << r) | (x >> (w - r)) with r = amount mod w, and the same mirrored. For r = 0 the second
// shift moves all bits out. w itself fits a word of w bits, so the constants below do.
Term_ const* rotate_by_word(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* const x = a.arguments[0];
  Term_ const* const amount = a.arguments[1];
  std::uint64_t const w = m.width(x);
  if (QNumber const* value = a.terms.number(amount->symbol)) {
    std::uint64_t r = 0;  // value mod w, most significant bit first
    for (std::uint64_t i = w; i-- > 0;) r = (2 * r + (value->test_bit(i) ? 1 : 0)) % w;
    return m.make(a.op.tag, type_of(x), {x}, r);
  }
  if (w == 1) return x;
  Term_ const* const width_word = a.terms.mk_bv(w, w);
  Term_ const* const r = std::has_single_bit(w) ? m.word(Tag::bv_and, amount, a.terms.mk_bv(w - 1, w))
                                                : m.word(Tag::bv_urem, amount, width_word);
  Term_ const* const rest = m.word(Tag::bv_sub, width_word, r);
  bool const left = a.op.tag == Tag::bv_rotate_left;
  return m.word(Tag::bv_or, m.word(left ? Tag::bv_shl : Tag::bv_lshr, x, r),
                m.word(left ? Tag::bv_lshr : Tag::bv_shl, x, rest));
}

// By doubling, so that many copies take few terms.
Term_ const* repeat(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* power = a.arguments[0];
  std::uint64_t count = a.indices[0];
  if (count == 0) throw SortError("the index of `repeat` is 0; it must be at least 1");
  if (count > max_width / m.width(power)) m.check_width(a.op, max_width, 1);
  Term_ const* t = nullptr;
  for (;; power = m.concat(power, power)) {
    if (count % 2 == 1) t = t == nullptr ? power : m.concat(power, t);
    count /= 2;
    if (count == 0) return t;
  }
}

Term_ const* extend(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* const x = a.arguments[0];
  m.check_width(a.op, m.width(x), a.indices[0]);
  return m.make(a.op.tag, a.terms.bv_type(m.width(x) + a.indices[0]), {x}, a.indices[0]);
}

Term_ const* reduce_or(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* const x = a.arguments[0];
  return m.ite(m.equal(x, m.zeros(x)), a.terms.mk_bv(0, 1), a.terms.mk_bv(1, 1));
}

Term_ const* reduce_and(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* const x = a.arguments[0];
  return m.ite(m.equal(x, m.ones(x)), a.terms.mk_bv(1, 1), a.terms.mk_bv(0, 1));
}

// ---- overflow ----

Term_ const* negation_overflows(Application const& a) {
  Builder const m{{a.terms}};
  return m.equal(a.arguments[0], m.least_signed(a.arguments[0]));
}

Term_ const* unsigned_sum_overflows(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* const sum = m.word(Tag::bv_add, m.extended(Tag::bv_zero_extend, a.arguments[0], 1),
                                  m.extended(Tag::bv_zero_extend, a.arguments[1], 1));
  return m.equal(m.sign(sum), a.terms.mk_bv(1, 1));
}

// The exact result fits w bits iff its two top bits, w and w - 1, agree.
Term_ const* signed_sum_overflows(Application const& a) {
  Builder const m{{a.terms}};
  std::uint64_t const w = m.width(a.arguments[0]);
  Term_ const* const exact = m.word(a.op.tag, m.extended(Tag::bv_sign_extend, a.arguments[0], 1),
                                    m.extended(Tag::bv_sign_extend, a.arguments[1], 1));
  return m.negated(m.equal(m.extract(exact, w, w), m.extract(exact, w - 1, w - 1)));
}

Term_ const* unsigned_product_overflows(Application const& a) {
  Builder const m{{a.terms}};
  std::uint64_t const w = m.width(a.arguments[0]);
  m.check_width(a.op, w, w);
  Term_ const* const exact = m.product(m.extended(Tag::bv_zero_extend, a.arguments[0], w),
                                       m.extended(Tag::bv_zero_extend, a.arguments[1], w));
  Term_ const* const high = m.extract(exact, 2 * w - 1, w);
  return m.negated(m.equal(high, m.zeros(high)));
}

// The exact result fits w bits iff its high half repeats bit w - 1.
Term_ const* signed_product_overflows(Application const& a) {
  Builder const m{{a.terms}};
  std::uint64_t const w = m.width(a.arguments[0]);
  m.check_width(a.op, w, w);
  Term_ const* const exact = m.product(m.extended(Tag::bv_sign_extend, a.arguments[0], w),
                                       m.extended(Tag::bv_sign_extend, a.arguments[1], w));
  Term_ const* const fill = m.extended(Tag::bv_sign_extend, m.extract(exact, w - 1, w - 1), w - 1);
  return m.negated(m.equal(m.extract(exact, 2 * w - 1, w), fill));
}

// Only the least word by -1.
Term_ const* signed_quotient_overflows(Application const& a) {
  Builder const m{{a.terms}};
  Term_ const* const x = a.arguments[0];
  return m.both(m.equal(x, m.least_signed(x)), m.equal(a.arguments[1], m.ones(x)));
}

}  // namespace vell::theory::build

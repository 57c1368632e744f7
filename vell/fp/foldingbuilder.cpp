#include "vell/fp/foldingbuilder.h"

#include <gmp.h>

#include <utility>
#include <vector>

#include "vell/terms/qnumber_gmp.h"

namespace vell::fp {

namespace {

using Tag = SymbolTag::tag;

struct Integer {
  mpz_t v;
  Integer() { mpz_init(v); }
  explicit Integer(QNumber const& q) {
    mpz_init(v);
    get_numerator(q, v);
  }
  ~Integer() { mpz_clear(v); }
  Integer(Integer const&) = delete;
  Integer& operator=(Integer const&) = delete;
};

// value modulo 2^width.
Term_ const* numeral(TermManager& tm, mpz_t value, std::uint64_t width) {
  mpz_fdiv_r_2exp(value, value, width);
  std::vector<std::uint64_t> words((width + 63) / 64, 0);
  mpz_export(words.data(), nullptr, -1, sizeof words[0], 0, 0, value);
  return tm.mk_number(QNumber::from_words(words.data(), words.size()), tm.bv_type(width));
}

// The word as a two's-complement number.
void make_signed(mpz_t value, std::uint64_t width) {
  if (mpz_tstbit(value, width - 1) == 0) return;
  Integer modulus;
  mpz_setbit(modulus.v, width);
  mpz_sub(value, value, modulus.v);
}

// A shift amount, at most the width.
std::uint64_t amount(mpz_t const b, std::uint64_t width) {
  return mpz_cmp_ui(b, width) > 0 ? width : mpz_get_ui(b);
}

// a = a op b; false for an operator that is not computed here.
bool compute(Tag tag, mpz_t a, mpz_t b, std::uint64_t width) {
  switch (tag) {
    case Tag::bv_and: mpz_and(a, a, b); return true;
    case Tag::bv_or: mpz_ior(a, a, b); return true;
    case Tag::bv_add: mpz_add(a, a, b); return true;
    case Tag::bv_sub: mpz_sub(a, a, b); return true;
    case Tag::bv_mul: mpz_mul(a, a, b); return true;
    case Tag::bv_udiv:
      if (mpz_sgn(b) == 0) return false;
      mpz_fdiv_q(a, a, b);
      return true;
    case Tag::bv_urem:
      if (mpz_sgn(b) == 0) return false;
      mpz_fdiv_r(a, a, b);
      return true;
    case Tag::bv_shl: mpz_mul_2exp(a, a, amount(b, width)); return true;
    case Tag::bv_ashr: make_signed(a, width); [[fallthrough]];
    case Tag::bv_lshr: mpz_fdiv_q_2exp(a, a, amount(b, width)); return true;
    default: return false;
  }
}

}  // namespace

bool FoldingBuilder::is_zero(Term_ const* t) const {
  QNumber const* const n = terms.number(t->symbol);
  return n != nullptr && n->sign() == 0;
}

bool FoldingBuilder::is_ones(Term_ const* t) const { return is_number(t) && t == all_ones(width(t)); }

Term_ const* FoldingBuilder::negation(Term_ const* p) const {
  test_();
  if (is_true(p)) return boolean(false);
  if (is_false(p)) return boolean(true);
  if (terms.get_tag(p->symbol) == Tag::bool_not) return p->children[0];
  return negated(p);
}

Term_ const* FoldingBuilder::both(Term_ const* p, Term_ const* q) const {
  test_();
  if (is_true(p) || is_false(q) || p == q) return q;
  if (is_true(q) || is_false(p)) return p;
  return TermBuilder::both(p, q);
}

Term_ const* FoldingBuilder::either(Term_ const* p, Term_ const* q) const {
  test_();
  if (is_false(p) || is_true(q) || p == q) return q;
  if (is_false(q) || is_true(p)) return p;
  return TermBuilder::either(p, q);
}

Term_ const* FoldingBuilder::equal(Term_ const* a, Term_ const* b) const {
  test_();
  if (a == b) return boolean(true);
  if (type(a) == terms.bool_type) {
    if (is_true(a)) return b;
    if (is_true(b)) return a;
    if (is_false(a)) return negation(b);
    if (is_false(b)) return negation(a);
    return TermBuilder::equal(a, b);
  }
  if (is_number(a)) std::swap(a, b);
  if (is_number(a)) return boolean(false);  // different terms, different values
  // A Boolean as a word of one bit, compared with a constant.
  if (is_number(b) && width(b) == 1 && terms.get_tag(a->symbol) == Tag::term_ite &&
      is_number(a->children[1]) && is_number(a->children[2]) && a->children[1] != a->children[2])
    return a->children[1] == b ? a->children[0] : negation(a->children[0]);
  return TermBuilder::equal(a, b);
}

Term_ const* FoldingBuilder::choose(Term_ const* condition, Term_ const* a, Term_ const* b) const {
  test_();
  if (is_true(condition) || a == b) return a;
  if (is_false(condition)) return b;
  if (type(a) == terms.bool_type) {
    if (is_true(a)) return either(condition, b);
    if (is_false(a)) return both(negation(condition), b);
    if (is_true(b)) return either(negation(condition), a);
    if (is_false(b)) return both(condition, a);
  }
  return ite(condition, a, b);
}

Term_ const* FoldingBuilder::number(std::uint64_t value, std::uint64_t width) const {
  if (width < 64) value &= (std::uint64_t{1} << width) - 1;
  return terms.mk_number(QNumber::from_words(&value, 1), terms.bv_type(width));
}

Term_ const* FoldingBuilder::all_ones(std::uint64_t width) const {
  std::vector<std::uint64_t> words((width + 63) / 64, UINT64_MAX);
  if (width % 64 != 0) words.back() >>= 64 - width % 64;
  return terms.mk_number(QNumber::from_words(words.data(), words.size()), terms.bv_type(width));
}

Term_ const* FoldingBuilder::word_of(Term_ const* p) const { return choose(p, number(1, 1), number(0, 1)); }

Term_ const* FoldingBuilder::complement(Term_ const* a) const {
  test_();
  if (terms.get_tag(a->symbol) == Tag::bv_not) return a->children[0];
  if (!is_number(a)) return TermBuilder::complement(a);
  Integer value(*terms.number(a->symbol));
  mpz_com(value.v, value.v);
  return numeral(terms, value.v, width(a));
}

Term_ const* FoldingBuilder::minus(Term_ const* a) const {
  test_();
  if (!is_number(a)) return make(Tag::bv_neg, type(a), {a});
  Integer value(*terms.number(a->symbol));
  mpz_neg(value.v, value.v);
  return numeral(terms, value.v, width(a));
}

Term_ const* FoldingBuilder::word(Tag tag, Term_ const* a, Term_ const* b) const {
  test_();
  if (is_number(a) && is_number(b)) {
    Integer x(*terms.number(a->symbol));
    Integer y(*terms.number(b->symbol));
    if (compute(tag, x.v, y.v, width(a))) return numeral(terms, x.v, width(a));
  }
  switch (tag) {
    case Tag::bv_and:
      if (is_ones(a) || is_zero(b) || a == b) return b;
      if (is_ones(b) || is_zero(a)) return a;
      break;
    case Tag::bv_or:
      if (is_zero(a) || is_ones(b) || a == b) return b;
      if (is_zero(b) || is_ones(a)) return a;
      break;
    case Tag::bv_add:
      if (is_zero(a)) return b;
      if (is_zero(b)) return a;
      break;
    case Tag::bv_mul:
      // The clausifier multiplies by a constant in fewer gates, and looks for it in front.
      if (is_number(b)) std::swap(a, b);
      break;
    case Tag::bv_sub:
    case Tag::bv_shl:
    case Tag::bv_lshr:
    case Tag::bv_ashr:
      if (is_zero(b)) return a;
      break;
    default: break;
  }
  return TermBuilder::word(tag, a, b);
}

Term_ const* FoldingBuilder::order(Tag tag, Term_ const* a, Term_ const* b) const {
  test_();
  bool const strict = tag == Tag::bv_ult || tag == Tag::bv_slt;
  if (a == b) return boolean(!strict);
  if (!is_number(a) || !is_number(b)) return TermBuilder::order(tag, a, b);
  Integer x(*terms.number(a->symbol));
  Integer y(*terms.number(b->symbol));
  if (tag == Tag::bv_slt || tag == Tag::bv_sle) {
    make_signed(x.v, width(a));
    make_signed(y.v, width(a));
  }
  return boolean(mpz_cmp(x.v, y.v) < 0);
}

Term_ const* FoldingBuilder::extract(Term_ const* a, std::uint64_t msb, std::uint64_t lsb) const {
  test_();
  for (;;) {
    if (lsb == 0 && msb + 1 == width(a)) return a;
    switch (terms.get_tag(a->symbol)) {
      case Tag::bv_extract: {
        std::uint64_t const low = a->symbol->parameter(1);
        a = a->children[0];
        msb += low;
        lsb += low;
        continue;
      }
      case Tag::bv_concat: {
        std::uint64_t const low = width(a->children[1]);
        if (msb < low) {
          a = a->children[1];
          continue;
        }
        if (lsb >= low) {
          a = a->children[0];
          msb -= low;
          lsb -= low;
          continue;
        }
        break;
      }
      case Tag::bv_zero_extend:
      case Tag::bv_sign_extend:
        if (msb < width(a->children[0])) {
          a = a->children[0];
          continue;
        }
        if (terms.get_tag(a->symbol) == Tag::bv_zero_extend && lsb >= width(a->children[0]))
          return number(0, msb - lsb + 1);
        break;
      default: break;
    }
    break;
  }
  if (!is_number(a)) return TermBuilder::extract(a, msb, lsb);
  Integer value(*terms.number(a->symbol));
  mpz_fdiv_q_2exp(value.v, value.v, lsb);
  return numeral(terms, value.v, msb - lsb + 1);
}

Term_ const* FoldingBuilder::concat(Term_ const* high, Term_ const* low) const {
  test_();
  if (!is_number(high) || !is_number(low)) return TermBuilder::concat(high, low);
  Integer value(*terms.number(high->symbol));
  Integer const rest(*terms.number(low->symbol));
  mpz_mul_2exp(value.v, value.v, width(low));
  mpz_ior(value.v, value.v, rest.v);
  return numeral(terms, value.v, width(high) + width(low));
}

Term_ const* FoldingBuilder::extend(Term_ const* a, bool is_signed, std::uint64_t by) const {
  test_();
  if (by == 0) return a;
  return extended(is_signed ? Tag::bv_sign_extend : Tag::bv_zero_extend, a, by);
}

}  // namespace vell::fp

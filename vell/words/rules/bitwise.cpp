// bvnot, bvand, bvor, bvxor.

#include <utility>

#include "vell/words/rules/rule.h"

namespace vell::words::rules {

namespace {

using Tag = SymbolTag::tag;

constexpr Tags junction{Tag::bv_and, Tag::bv_or};
constexpr Tags commutative{Tag::bv_and, Tag::bv_or, Tag::bv_xor};

Term_ const* double_complement(Builder const& b, Term_ const* t) {
  return b.is(t->children[0], Tag::bv_not) ? t->children[0]->children[0] : nullptr;
}

// The complement of wires is wires over the complement: it then meets other complements.
Term_ const* complemented_wires(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  if (b.is(x, Tag::bv_concat) && (b.is_numeral(x->children[0]) || b.is_numeral(x->children[1]) ||
                                  b.is(x->children[0], Tag::bv_not) || b.is(x->children[1], Tag::bv_not)))
    return b.concat(b.complement(x->children[0]), b.complement(x->children[1]));
  if (b.is(x, Tag::bv_zero_extend)) {
    std::uint64_t const by = b.width(x) - b.width(x->children[0]);
    return b.concat(b.ones(by), b.complement(x->children[0]));
  }
  return nullptr;
}

bool is_absorbing(Builder const& b, Tag tag, Term_ const* t) {
  return tag == Tag::bv_and ? b.is_zero(t) : b.is_ones(t);
}
bool is_neutral(Builder const& b, Tag tag, Term_ const* t) {
  return tag == Tag::bv_and ? b.is_ones(t) : b.is_zero(t);
}

Term_ const* junction_constant(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i) {
    if (is_absorbing(b, b.tag(t), t->children[i])) return t->children[i];
    if (is_neutral(b, b.tag(t), t->children[i])) return t->children[1 - i];
  }
  return nullptr;
}

Term_ const* junction_same(Builder const&, Term_ const* t) {
  return t->children[0] == t->children[1] ? t->children[0] : nullptr;
}

Term_ const* junction_complement(Builder const& b, Term_ const* t) {
  if (!b.complementary(t->children[0], t->children[1])) return nullptr;
  return b.is(t, Tag::bv_and) ? b.zero(b.width(t)) : b.ones(b.width(t));
}

// x & (x & y), x & (x | y), x & (~x | y) and their duals.
Term_ const* junction_absorb(Builder const& b, Term_ const* t) {
  Tag const tag = b.tag(t);
  for (unsigned i = 0; i < 2; ++i) {
    Term_ const* const x = t->children[i];
    Term_ const* const inner = t->children[1 - i];
    if (!junction.contain(b.tag(inner))) continue;
    bool const same = b.tag(inner) == tag;
    for (unsigned j = 0; j < 2; ++j) {
      if (inner->children[j] == x) return same ? inner : x;
      if (!b.complementary(inner->children[j], x)) continue;
      if (same) return tag == Tag::bv_and ? b.zero(b.width(t)) : b.ones(b.width(t));
      return b.word(tag, x, inner->children[1 - j]);
    }
  }
  return nullptr;
}

// A mask of one run of ones cuts a slice out; a run of zeros in "or" keeps one.
Term_ const* mask(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i) {
    Term_ const* const k = t->children[i];
    Term_ const* const x = t->children[1 - i];
    if (!b.is_numeral(k) || b.is_numeral(x)) continue;
    std::uint64_t const w = b.width(k);
    bool const is_and = b.is(t, Tag::bv_and);
    mpz_class const kept = is_and ? b.value(k) : b.value(b.complement(k));
    if (kept == 0) return nullptr;
    std::uint64_t const low = mpz_scan1(kept.get_mpz_t(), 0);
    std::uint64_t const high = mpz_sizeinbase(kept.get_mpz_t(), 2) - 1;
    if (mpz_popcount(kept.get_mpz_t()) != high - low + 1 || high - low + 1 == w) return nullptr;
    auto const fill = [&](std::uint64_t n) { return n == 0 ? nullptr : is_and ? b.zero(n) : b.ones(n); };
    Term_ const* const upper = is_and && high + 1 < w ? b.zero_extend(b.extract(x, high, low), w - 1 - high)
                                                      : b.concat(fill(w - 1 - high), b.extract(x, high, low));
    return b.concat(upper, fill(low));
  }
  return nullptr;
}

// (x & k) & l, (x | k) | l, (x ^ k) ^ l.
Term_ const* nested_constants(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i) {
    Term_ const* const k = t->children[i];
    Term_ const* const inner = t->children[1 - i];
    if (!b.is_numeral(k) || b.tag(inner) != b.tag(t)) continue;
    for (unsigned j = 0; j < 2; ++j) {
      Term_ const* const l = inner->children[j];
      if (!b.is_numeral(l)) continue;
      mpz_class const m = b.is(t, Tag::bv_and)  ? mpz_class(b.value(k) & b.value(l))
                          : b.is(t, Tag::bv_or) ? mpz_class(b.value(k) | b.value(l))
                                                : mpz_class(b.value(k) ^ b.value(l));
      return b.word(b.tag(t), inner->children[1 - j], b.number(m, b.width(t)));
    }
  }
  return nullptr;
}

// ~x & ~y, the same gates with the negation outside.
Term_ const* both_complemented(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  if (!b.is(x, Tag::bv_not) || !b.is(y, Tag::bv_not)) return nullptr;
  Tag const dual = b.is(t, Tag::bv_and) ? Tag::bv_or : Tag::bv_and;
  return b.complement(b.word(dual, x->children[0], y->children[0]));
}

// Where parts of the operands are constant, the operator goes part by part.
Term_ const* aligned_parts(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i) {
    Term_ const* const x = t->children[i];
    Term_ const* const y = t->children[1 - i];
    bool const extension = b.is(x, Tag::bv_zero_extend);
    if (!extension && !b.is(x, Tag::bv_concat)) continue;
    Term_ const* const low = x->children[extension ? 0 : 1];
    std::uint64_t const split = b.width(low);
    std::uint64_t const w = b.width(x);
    Term_ const* const high = extension ? b.zero(w - split) : x->children[0];
    Term_ const* y_low = nullptr;
    Term_ const* y_high = nullptr;
    if (b.is_numeral(y) || (b.is_numeral(high) != b.is_numeral(low) && b.is_variable(y))) {
      y_low = b.extract(y, split - 1, 0);
      y_high = b.extract(y, w - 1, split);
    } else if (b.is(y, Tag::bv_concat) && b.width(y->children[1]) == split) {
      y_low = y->children[1];
      y_high = y->children[0];
    } else if (b.is(y, Tag::bv_zero_extend) && b.width(y->children[0]) == split) {
      y_low = y->children[0];
      y_high = b.zero(w - split);
    } else {
      continue;
    }
    Term_ const* const upper = b.word(b.tag(t), high, y_high);
    Term_ const* const lower = b.word(b.tag(t), low, y_low);
    return b.concat(upper, lower);
  }
  return nullptr;
}

Term_ const* xor_constant(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i) {
    if (b.is_zero(t->children[i])) return t->children[1 - i];
    if (b.is_ones(t->children[i])) return b.complement(t->children[1 - i]);
  }
  return nullptr;
}

Term_ const* xor_same(Builder const& b, Term_ const* t) {
  if (t->children[0] == t->children[1]) return b.zero(b.width(t));
  return b.complementary(t->children[0], t->children[1]) ? b.ones(b.width(t)) : nullptr;
}

Term_ const* xor_complement(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i)
    if (b.is(t->children[i], Tag::bv_not))
      return b.complement(b.word(Tag::bv_xor, t->children[i]->children[0], t->children[1 - i]));
  return nullptr;
}

// x ^ (x ^ y)
Term_ const* xor_cancel(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i) {
    Term_ const* const inner = t->children[1 - i];
    if (!b.is(inner, Tag::bv_xor)) continue;
    for (unsigned j = 0; j < 2; ++j)
      if (inner->children[j] == t->children[i]) return inner->children[1 - j];
  }
  return nullptr;
}

// The numeral stands second; otherwise the older operand stands first.
Term_ const* commute(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  bool const swapped = b.is_numeral(x) != b.is_numeral(y) ? b.is_numeral(x) : x->id > y->id;
  return swapped ? b.word(b.tag(t), y, x) : nullptr;
}

constexpr Rule table[] = {
    {"not-not", {Tag::bv_not}, "~~x = x", double_complement},
    {"not-wires", {Tag::bv_not}, "~(k.x) = ~k.~x, ~zext x = 1..1.~x", complemented_wires},
    {"bits-constant", junction, "x & 0 = 0, x & 1..1 = x", junction_constant},
    {"bits-same", junction, "x & x = x", junction_same},
    {"bits-complement", junction, "x & ~x = 0", junction_complement},
    {"bits-absorb", junction, "x & (x | y) = x, x & (~x | y) = x & y", junction_absorb},
    {"bits-mask", junction, "x & 0..01..10..0 = 0.slice x.0", mask},
    {"xor-constant", {Tag::bv_xor}, "x ^ 0 = x, x ^ 1..1 = ~x", xor_constant},
    {"xor-same", {Tag::bv_xor}, "x ^ x = 0, x ^ ~x = 1..1", xor_same},
    {"xor-complement", {Tag::bv_xor}, "~x ^ y = ~(x ^ y)", xor_complement},
    {"xor-cancel", {Tag::bv_xor}, "x ^ (x ^ y) = y", xor_cancel},
    {"bits-nested", commutative, "(x & k) & l = x & (k & l)", nested_constants},
    {"bits-complemented", junction, "~x & ~y = ~(x | y)", both_complemented},
    {"bits-parts", commutative, "x.y & z.u = (x & z).(y & u) where a part is constant", aligned_parts},
    {"bits-order", commutative, "y & x = x & y", commute},
};

}  // namespace

std::span<Rule const> bitwise() { return table; }

}  // namespace vell::words::rules

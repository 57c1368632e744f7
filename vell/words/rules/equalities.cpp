// Equality of words.

#include <utility>

#include "vell/words/rules/rule.h"

namespace vell::words::rules {

namespace {

using Tag = SymbolTag::tag;

constexpr Tags equality{Tag::equal, Tag::equal_noproxy};

Term_ const* same_sides(Builder const& b, Term_ const* t) {
  if (t->children[0] == t->children[1]) return b.boolean(true);
  return b.complementary(t->children[0], t->children[1]) ? b.boolean(false) : nullptr;
}

// The numeral stands second; otherwise the older term stands first.
Term_ const* order_sides(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  bool const swapped = b.is_numeral(x) != b.is_numeral(y) ? b.is_numeral(x) : x->id > y->id;
  if (!swapped || b.width(x) == 0) return nullptr;
  Term_ const* const operands[] = {y, x};
  return b.with_operands(t, operands);
}

Term_ const* complemented_sides(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  if (!b.is(x, Tag::bv_not)) return nullptr;
  if (b.is(y, Tag::bv_not)) return b.equal(x->children[0], y->children[0]);
  return b.is_numeral(y) ? b.equal(x->children[0], b.complement(y)) : nullptr;
}

Term_ const* negated_sides(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  if (!b.is(x, Tag::bv_neg)) return nullptr;
  if (b.is(y, Tag::bv_neg)) return b.equal(x->children[0], y->children[0]);
  return b.is_numeral(y) ? b.equal(x->children[0], b.number(-b.value(y), b.width(y))) : nullptr;
}

// A bit that is clear is one that is not set.
Term_ const* clear_bit(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  if (b.width(x) != 1 || !b.is_zero(t->children[1])) return nullptr;
  return b.negation(b.equal(x, b.one(1)));
}

Term_ const* concat_sides(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i) {
    Term_ const* const x = t->children[i];
    Term_ const* const y = t->children[1 - i];
    if (!b.is(x, Tag::bv_concat)) continue;
    Term_ const* const high = x->children[0];
    Term_ const* const low = x->children[1];
    std::uint64_t const split = b.width(low);
    bool const aligned = b.is(y, Tag::bv_concat) && b.width(y->children[1]) == split;
    if (!aligned && !b.is_numeral(y)) continue;
    return b.both(b.equal(high, b.extract(y, b.width(y) - 1, split)),
                  b.equal(low, b.extract(y, split - 1, 0)));
  }
  return nullptr;
}

Term_ const* extended_sides(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  bool const zero = b.is(x, Tag::bv_zero_extend);
  if (!zero && !b.is(x, Tag::bv_sign_extend)) return nullptr;
  Term_ const* const low = x->children[0];
  std::uint64_t const w = b.width(low);
  if (b.tag(y) == b.tag(x) && b.width(y->children[0]) == w) return b.equal(low, y->children[0]);
  if (!b.is_numeral(y)) return nullptr;
  Term_ const* const cut = b.extract(y, w - 1, 0);
  std::uint64_t const by = b.width(x) - w;
  Term_ const* const back = zero ? b.zero_extend(cut, by) : b.sign_extend(cut, by);
  return b.value(back) == b.value(y) ? b.equal(low, cut) : b.boolean(false);
}

// Whether it is known without a circuit whether the branch is y.
bool decided(Builder const& b, Term_ const* branch, Term_ const* y) {
  return branch == y || (b.is_numeral(branch) && b.is_numeral(y)) || b.complementary(branch, y);
}

// Whether the equality may be asked of the branches of x, one by one: in a chain of no more selections than x
// has bits, each with a branch that is decided. A longer chain may be compared with many words, and is better
// selected once.
bool short_chain(Builder const& b, Term_ const* x, Term_ const* y) {
  for (std::uint64_t left = b.width(x); left > 0; --left) {
    bool const first = decided(b, x->children[1], y);
    if (!first && !decided(b, x->children[2], y)) return false;
    Term_ const* const rest = x->children[first ? 2 : 1];
    if (!b.is(rest, Tag::term_ite)) return true;
    x = rest;
  }
  return false;
}

Term_ const* chosen_side(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i) {
    Term_ const* const x = t->children[i];
    Term_ const* const y = t->children[1 - i];
    if (!b.is(x, Tag::term_ite)) continue;
    if (b.width(x) == 1 ? !b.is_numeral(y) : !short_chain(b, x, y)) continue;
    return b.ite(x->children[0], b.equal(x->children[1], y), b.equal(x->children[2], y));
  }
  return nullptr;
}

// x ^ k = l, x ^ y = 0, x ^ y = x and x ^ y = x ^ z.
Term_ const* exclusive_or_sides(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i) {
    Term_ const* const x = t->children[i];
    Term_ const* const y = t->children[1 - i];
    if (!b.is(x, Tag::bv_xor)) continue;
    for (unsigned j = 0; j < 2; ++j) {
      Term_ const* const o = x->children[j];
      Term_ const* const rest = x->children[1 - j];
      if (o == y) return b.equal(rest, b.zero(b.width(y)));
      if (b.is_numeral(o) && b.is_numeral(y))
        return b.equal(rest, b.number(b.value(o) ^ b.value(y), b.width(y)));
      if (!b.is(y, Tag::bv_xor)) continue;
      for (unsigned k = 0; k < 2; ++k)
        if (y->children[k] == o) return b.equal(rest, y->children[1 - k]);
    }
    if (b.is_zero(y)) return b.equal(x->children[0], x->children[1]);
    if (b.is_ones(y)) return b.equal(x->children[0], b.complement(x->children[1]));
  }
  return nullptr;
}

// Both operands of "or" are zero where it is; both of "and" are all ones where it is. Of one bit each
// equality with a numeral is a formula of the operands.
Term_ const* junction_sides(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  bool const either = b.is(x, Tag::bv_or);
  if (!either && !b.is(x, Tag::bv_and)) return nullptr;
  if (either ? b.is_zero(y) : b.is_ones(y))
    return b.both(b.equal(x->children[0], y), b.equal(x->children[1], y));
  if (b.width(x) == 1 && b.is_numeral(y))
    return b.either(b.equal(x->children[0], y), b.equal(x->children[1], y));
  return nullptr;
}

constexpr Rule table[] = {
    {"equal-same", equality, "(x = x) = true, (x = ~x) = false", same_sides},
    {"equal-order", equality, "(k = x) = (x = k)", order_sides},
    {"equal-complement", equality, "(~x = ~y) = (x = y), (~x = k) = (x = ~k)", complemented_sides},
    {"equal-negation", equality, "(-x = -y) = (x = y), (-x = k) = (x = -k)", negated_sides},
    {"equal-bit", equality, "(x = 0) = not (x = 1) for one bit", clear_bit},
    {"equal-concat", equality, "(x.y = z) = (x = high z) and (y = low z)", concat_sides},
    {"equal-extend", equality, "(zext x = zext y) = (x = y), (zext x = k) = (x = low k) or false",
     extended_sides},
    {"equal-ite", equality, "((c ? x : y) = x) = c ? true : (y = x)", chosen_side},
    {"equal-xor", equality, "(x ^ y = 0) = (x = y), (x ^ y = x ^ z) = (y = z)", exclusive_or_sides},
    {"equal-junction", equality, "(x | y = 0) = (x = 0) and (y = 0)", junction_sides},
};

}  // namespace

std::span<Rule const> equalities() { return table; }

}  // namespace vell::words::rules

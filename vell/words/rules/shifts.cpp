// bvshl, bvlshr, bvashr.

#include <bit>

#include "vell/words/rules/rule.h"

namespace vell::words::rules {

namespace {

using Tag = SymbolTag::tag;

constexpr Tags shift{Tag::bv_shl, Tag::bv_lshr, Tag::bv_ashr};

Term_ const* by_numeral(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const k = t->children[1];
  if (!b.is_numeral(k)) return nullptr;
  std::uint64_t const w = b.width(t);
  mpz_class const n = b.value(k);
  bool const out = n >= mpz_class(static_cast<unsigned long>(w));
  if (b.is(t, Tag::bv_ashr)) {
    std::uint64_t const by = out ? w - 1 : n.get_ui();
    return b.sign_extend(b.extract(x, w - 1, by), by);
  }
  if (out) return b.zero(w);
  std::uint64_t const by = n.get_ui();
  if (by == 0) return x;
  if (b.is(t, Tag::bv_shl)) return b.concat(b.extract(x, w - 1 - by, 0), b.zero(by));
  return b.zero_extend(b.extract(x, w - 1, by), by);
}

Term_ const* of_zero(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  return b.is_zero(x) || (b.is(t, Tag::bv_ashr) && b.is_ones(x)) ? x : nullptr;
}

// A word x is below 2^x.
Term_ const* by_itself(Builder const& b, Term_ const* t) {
  if (t->children[0] != t->children[1] || !b.is(t, Tag::bv_lshr)) return nullptr;
  return b.zero(b.width(t));
}

// The bits of the amount that say "all out", from log2 of the width up, are asked once: the stages of the
// circuit that they would have are saved. Where one of them is set, all low bits of the amount are, and the
// word is shifted as far as they go: to nothing, or, where the width is a power of two, to one last bit. That
// bit alone is asked for again; the fill of an arithmetic shift is right as it is.
Term_ const* long_amount(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const s = t->children[1];
  std::uint64_t const w = b.width(t);
  std::uint64_t const k = static_cast<std::uint64_t>(std::bit_width(w - 1));  // amounts below w have k bits
  if (k == 0 || k + 1 >= w) return nullptr;
  if (b.is(s, Tag::bv_zero_extend) && b.width(s->children[0]) <= k) return nullptr;
  Term_ const* const inside = b.equal(b.extract(s, w - 1, k), b.zero(w - k));
  Term_ const* const fill = b.sign_extend(b.ite(inside, b.zero(1), b.one(1)), k - 1);
  Term_ const* const amount = b.word(Tag::bv_or, b.extract(s, k - 1, 0), fill);
  Term_ const* const shifted = b.word(b.tag(t), x, b.zero_extend(amount, w - k));
  if (b.is(t, Tag::bv_ashr) || !std::has_single_bit(w)) return shifted;
  Term_ const* const kept = b.ite(inside, b.one(1), b.zero(1));
  if (b.is(t, Tag::bv_shl))
    return b.concat(b.word(Tag::bv_and, b.sign(shifted), kept), b.extract(shifted, w - 2, 0));
  return b.concat(b.extract(shifted, w - 1, 1), b.word(Tag::bv_and, b.bit(shifted, 0), kept));
}

constexpr Rule table[] = {
    {"shift-numeral", shift, "x << k = low x.0", by_numeral},
    {"shift-zero", shift, "0 << x = 0", of_zero},
    {"shift-itself", {Tag::bv_lshr}, "x >> x = 0", by_itself},
    {"shift-amount", shift, "x << s = x << zext (high s = 0 ? low s : 1..1)", long_amount},
};

}  // namespace

std::span<Rule const> shifts() { return table; }

}  // namespace vell::words::rules

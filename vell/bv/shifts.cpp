#include "vell/bv/wordclausifier.h"

// Shifts and rotations.
//
// A shift by a numeral and every rotation rearrange literals and cost nothing. A shift by a word is a barrel
// shifter: one stage per amount bit, n if-then-else gates per stage, so at most 4n^2 clauses and n^2 fresh
// literals. Amount bits whose weight reaches the width are not merged into one overflow test: each gets a
// stage that selects the fill. The weight of stage k is 2^(k mod 32) as a signed 32-bit number; stage 31
// wraps to a huge unsigned value, and the overshift flag is sticky, so later stages never see the small
// weights come round again.
//
// Right shifts run upward and left shifts downward within a stage, so that a bit is read before it is
// overwritten.
//
// Tested by tests/bv/shifts_test.cpp.

#include <algorithm>
#include <cassert>

#include "vell/bv/gates.h"
#include "vell/bv/poollist.h"
#include "vell/bv/trace.h"

namespace vell::bv {

namespace {

std::uint64_t stage_weight(std::size_t k) {
  return static_cast<std::uint64_t>(
      static_cast<std::int64_t>(static_cast<std::int32_t>(std::uint32_t{1} << (k % 32))));
}

}  // namespace

BvLitList* WordClausifier::word_sr(ClauseSink* sink, BvLitList* x, BvLitList* s, bool arithmetic) {
  std::size_t const n = x->size();
  if (n == 0) return new_BvLitList(*x);
  assert(s->size() >= n);
  BvLit const fill = arithmetic ? x->back() : l_false;
  PoolList r(bvlist_pool, new_BvLitList(*x));
  BvLit* const bits = r->data();
  bool overshift = false;
  for (std::size_t k = 0; k < n; ++k) {
    std::uint64_t const d = stage_weight(k);
    if (d >= n) overshift = true;
    BvLit const by = (*s)[k];
    auto const gate = [&](BvLit then, BvLit otherwise) {
      VELL_TRACE(3) << "bit ite " << endlog;
      return ite_gate(sink, by, then, otherwise);
    };
    std::size_t const kept = overshift ? 0 : n - d;  // bits below this come from d places above
    for (std::size_t j = 0; j < kept; ++j) bits[j] = gate(bits[j + d], bits[j]);
    for (std::size_t j = kept; j < n; ++j) bits[j] = gate(fill, bits[j]);
  }
  return r.detach();
}

BvLitList* WordClausifier::word_sl(ClauseSink* sink, BvLitList* x, BvLitList* s) {
  std::size_t const n = x->size();
  if (n == 0) return new_BvLitList(*x);
  assert(s->size() >= n);
  PoolList r(bvlist_pool, new_BvLitList(*x));
  BvLit* const bits = r->data();
  bool overshift = false;
  for (std::size_t k = 0; k < n; ++k) {
    std::uint64_t const d = stage_weight(k);
    if (d >= n) overshift = true;
    BvLit const by = (*s)[k];
    auto const gate = [&](BvLit then, BvLit otherwise) {
      VELL_TRACE(3) << "bit ite " << endlog;
      return ite_gate(sink, by, then, otherwise);
    };
    std::size_t const lowest = overshift ? n : d;  // bits from this on come from d places below
    for (std::size_t j = n; j-- > lowest;) bits[j] = gate(bits[j - d], bits[j]);
    for (std::size_t j = lowest; j-- > 0;) bits[j] = gate(l_false, bits[j]);
  }
  return r.detach();
}

BvLitList* WordClausifier::word_sr(ClauseSink* sink, Term_ const* term, bool arithmetic) {
  VELL_TRACE(3) << "word_sr " << term << endlog;
  BvLitList* x = child_bits(term->children[0]);
  std::uint64_t const w = width_of(term);
  BvLit const fill = arithmetic ? x->back() : l_false;
  QNumber const* amount = tm->number(term->children[1]->symbol);
  if (amount == nullptr) return word_sr(sink, x, child_bits(term->children[1]), arithmetic);

  PoolList r(bvlist_pool, x->size());
  QNumber const width(static_cast<std::int64_t>(w));
  if (*amount == width || width < *amount) {
    for (std::uint64_t i = 0; i < w; ++i) r[i] = fill;
  } else {
    std::uint64_t const k = static_cast<std::uint64_t>(amount->to_int64());
    assert(k <= w);
    for (std::uint64_t i = 0; i < w - k; ++i) r[i] = (*x)[i + k];
    for (std::uint64_t i = w; i-- > w - k;) r[i] = fill;
  }
  return r.detach();
}

void WordClausifier::word_lsr(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_lsr.." << term << endlog;
  add_to_cache(term, word_sr(sink, term, false));
}

void WordClausifier::word_asr(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_asr " << term << endlog;
  add_to_cache(term, word_sr(sink, term, true));
}

void WordClausifier::word_lsl(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_lsl" << term << endlog;
  QNumber const* amount = tm->number(term->children[1]->symbol);
  if (amount == nullptr) {
    BvLitList* x = child_bits(term->children[0]);
    BvLitList* s = child_bits(term->children[1]);
    add_to_cache(term, word_sl(sink, x, s));
    return;
  }
  std::uint64_t const w = width_of(term);
  BvLitList const& x = *child_bits(term->children[0]);
  PoolList r(bvlist_pool, x.size());
  QNumber const width(static_cast<std::int64_t>(w));
  if (*amount == width || width < *amount) {
    for (std::uint64_t i = 0; i < w; ++i) r[i] = l_false;
  } else {
    std::uint64_t const k = static_cast<std::uint64_t>(amount->to_int64());
    assert(k <= w);
    for (std::uint64_t i = 0; i < k; ++i) r[i] = l_false;
    for (std::uint64_t i = 0; i < w - k; ++i) r[k + i] = x[i];
  }
  add_to_cache(term, r.detach());
}

void WordClausifier::word_rol(ClauseSink*, Term_ const* term) {
  VELL_TRACE(3) << "word_rol..:" << term << endlog;
  std::uint64_t amount = 0;
  tm->is_bv_rotate_left(term->symbol, &amount);
  PoolList r(bvlist_pool, new_BvLitList(*child_bits(term->children[0])));
  assert(amount <= r->size());
  std::rotate(r->rbegin(), r->rbegin() + static_cast<std::ptrdiff_t>(amount), r->rend());
  add_to_cache(term, r.detach());
}

void WordClausifier::word_ror(ClauseSink*, Term_ const* term) {
  VELL_TRACE(3) << "word_ror " << term << endlog;
  std::uint64_t amount = 0;
  tm->is_bv_rotate_right(term->symbol, &amount);
  PoolList r(bvlist_pool, new_BvLitList(*child_bits(term->children[0])));
  assert(amount <= r->size());
  std::rotate(r->begin(), r->begin() + static_cast<std::ptrdiff_t>(amount), r->end());
  add_to_cache(term, r.detach());
}

}  // namespace vell::bv

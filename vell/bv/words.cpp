#include "vell/bv/wordclausifier.h"

// Bitwise operators, one gate per bit from bit 0 upward, and structural ones, which only rearrange literals:
// extraction, concatenation and the extensions share their operands' literals and cost nothing.
//
// Tested by tests/bv/words_test.cpp.

#include <algorithm>
#include <cassert>

#include "vell/bv/gates.h"
#include "vell/bv/poollist.h"
#include "vell/bv/trace.h"

namespace vell::bv {

void WordClausifier::word_not(ClauseSink*, Term_ const* term) {
  VELL_TRACE(3) << "word_not " << term << endlog;
  BvLitList const& a = *child_bits(term->children[0]);
  PoolList bits(bvlist_pool, width_of(term->children[0]));
  for (std::size_t i = 0; i < bits->size(); ++i) bits[i] = bit_not(a[i]);
  add_to_cache(term, bits.detach());
}

void WordClausifier::word_and(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_and B.." << term << endlog;
  BvLitList* a = child_bits(term->children[0]);
  BvLitList* b = child_bits(term->children[1]);
  PoolList bits(bvlist_pool, a->size());
  word_and(sink, *bits, a, b);
  add_to_cache(term, bits.detach());
}

void WordClausifier::word_or(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_or " << term << endlog;
  BvLitList const& a = *child_bits(term->children[0]);
  BvLitList const& b = *child_bits(term->children[1]);
  PoolList bits(bvlist_pool, width_of(term->children[0]));
  for (std::size_t i = 0; i < bits->size(); ++i) {
    VELL_TRACE(3) << "bit_or " << endlog;
    bits[i] = or_gate(sink, a[i], b[i]);
  }
  add_to_cache(term, bits.detach());
}

void WordClausifier::word_xor(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_xor " << term << endlog;
  BvLitList const& a = *child_bits(term->children[0]);
  BvLitList const& b = *child_bits(term->children[1]);
  PoolList bits(bvlist_pool, width_of(term->children[0]));
  for (std::size_t i = 0; i < bits->size(); ++i) {
    VELL_TRACE(3) << "bit xor " << endlog;
    bits[i] = xor_gate(sink, a[i], b[i]);
  }
  add_to_cache(term, bits.detach());
}

void WordClausifier::word_sel(ClauseSink*, Term_ const* term) {
  VELL_TRACE(3) << "word_sel " << term << endlog;
  std::uint64_t msb = 0;
  std::uint64_t lsb = 0;
  tm->is_bv_extract(term->symbol, &msb, &lsb);
  BvLitList const& x = *child_bits(term->children[0]);
  assert(lsb <= msb && msb < x.size());
  PoolList bits(bvlist_pool, msb + 1 - lsb);
  for (std::uint64_t i = lsb; i <= msb; ++i) bits[i - lsb] = x[i];
  add_to_cache(term, bits.detach());
}

void WordClausifier::word_concat(ClauseSink*, Term_ const* term) {
  VELL_TRACE(3) << "word_concat " << term << endlog;
  std::uint64_t const width = width_of(term->children[0]) + width_of(term->children[1]);
  BvLitList const& high = *child_bits(term->children[0]);
  BvLitList const& low = *child_bits(term->children[1]);
  assert(high.size() + low.size() <= width);
  PoolList bits(bvlist_pool, width);
  std::copy(high.begin(), high.end(), std::copy(low.begin(), low.end(), bits->begin()));
  add_to_cache(term, bits.detach());
}

// The child's bits with `fill` appended up to the term's width; a term that is no word has the width of its
// child. Throws std::length_error for a width that no vector has.
void WordClausifier::cache_extension(Term_ const* term, BvLitList const& child, BvLit fill) {
  std::uint64_t width = width_of(term->children[0]);
  tm->is_bv_type(term->symbol->get_output_type(), &width);
  PoolList bits(bvlist_pool, new_BvLitList(child));
  bits->reserve(width);
  while (bits->size() < width) bits->push_back(fill);
  add_to_cache(term, bits.detach());
}

void WordClausifier::word_zext(ClauseSink*, Term_ const* term) {
  VELL_TRACE(3) << "word_zext " << term << endlog;
  cache_extension(term, *child_bits(term->children[0]), l_false);
}

void WordClausifier::word_sext(ClauseSink*, Term_ const* term) {
  VELL_TRACE(3) << "word_sext " << term << endlog;
  BvLitList const& x = *child_bits(term->children[0]);
  cache_extension(term, x, x.empty() ? l_undef : x.back());
}

}  // namespace vell::bv

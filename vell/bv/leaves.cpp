#include "vell/bv/wordclausifier.h"

// Variables and constants: no clause, one fresh literal per free bit, least significant first.
//
// Bits of a numeral above bit 63 depend on its form: a machine word is never sign-filled there, a GMP integer
// is read in infinite two's complement. A floating-point numeral carries its IEEE bit pattern.
//
// Tested by tests/bv/leaves_test.cpp.

#include "vell/bv/poollist.h"
#include "vell/bv/trace.h"

namespace vell::bv {

void WordClausifier::word_constant(ClauseSink*, Term_ const* term) {
  VELL_TRACE(3) << "word_constant " << term << endlog;
  static QNumber const zero;
  QNumber const* number = tm->number(term->symbol);
  QNumber const& q = number != nullptr ? *number : zero;

  Type const* type = term->symbol->get_output_type();
  std::uint64_t width = 1;
  std::uint64_t exponent_width = 0;
  std::uint64_t fraction_width = 0;
  if (!tm->is_bv_type(type, &width) && tm->is_fp_type(type, &exponent_width, &fraction_width))
    width = exponent_width + fraction_width + 1;

  PoolList bits(bvlist_pool, width);
  for (std::uint64_t i = 0; i < width; ++i) bits[i] = q.test_bit(i) ? l_true : l_false;
  VELL_TRACE(4) << "Constant " << term << ": " << *bits << endlog;
  add_to_cache(term, bits.detach());
}

void WordClausifier::word_variable(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "word_variable " << term << endlog;
  PoolList bits(bvlist_pool, width_of(term));
  for (BvLit& b : *bits) b = sink->new_lit();
  add_to_cache(term, bits.detach());
}

void WordClausifier::bool_true(ClauseSink*, Term_ const* term) {
  VELL_TRACE(3) << "bool true " << term << endlog;
  cache_literal(term, l_true);
}

void WordClausifier::bool_false(ClauseSink*, Term_ const* term) {
  VELL_TRACE(3) << "bool false " << term << endlog;
  cache_literal(term, l_false);
}

void WordClausifier::bool_variable(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "bool variable " << term << endlog;
  PoolList bit(bvlist_pool, bvlist_pool.alloc_one());
  bit[0] = sink->new_lit();
  VELL_TRACE(4) << "Variable " << term << ": " << *bit << endlog;
  add_to_cache(term, bit.detach());
}

bool WordClausifier::generic_variable(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "generic variable " << term << endlog;
  Type const* type = term->symbol->get_output_type();
  if (tm->is_bv_type(type)) {
    word_variable(sink, term);
  } else if (type == tm->bool_type) {
    bool_variable(sink, term);
  } else if (tm->is_fp_type(type)) {
    fp_variable(sink, term);
  } else if (type == tm->rounding_mode_type) {
    fp_rounding_variable(sink, term);
  } else {
    return false;
  }
  return true;
}

}  // namespace vell::bv

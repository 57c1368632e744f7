#include "vell/bv/wordclausifier.h"

// Floating-point variables and rounding modes.
//
// A floating-point value is e + s + 1 literals: fraction, biased exponent, sign, least significant first.
// Where a floating-point layer is installed it supplies them; otherwise they are fresh, and the term is
// remembered for the layer to pick up. A rounding mode is its number in two literals, low bit first; a mode
// variable may take all four values.
//
// Tested by tests/bv/floatingpoint_test.cpp.

#include "vell/bv/poollist.h"
#include "vell/bv/trace.h"

namespace vell::bv {

void WordClausifier::set_fp_combination(FpBvCombination* c) { fp_combination = c; }

bool WordClausifier::get_new_fp_terms(std::vector<Term_ const*>& out) {
  if (new_fp_terms.empty()) return false;
  out.swap(new_fp_terms);
  new_fp_terms.clear();
  return true;
}

BvLitList WordClausifier::fp_rounding(IEEEFloat::rounding_mode mode) {
  switch (mode) {
    case IEEEFloat::even: return {l_false, l_false};
    case IEEEFloat::zero: return {l_true, l_false};
    case IEEEFloat::plus_inf: return {l_false, l_true};
    case IEEEFloat::minus_inf: return {l_true, l_true};
  }
  return {l_undef, l_undef};
}

void WordClausifier::fp_variable(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "fp_variable " << term << endlog;
  if (fp_combination != nullptr) {
    fp_combination->encode_term(term);
    BvLitList bits;
    fp_combination->get_term_bits(term, &bits);
    add_to_cache(term, new_BvLitList(bits));
    return;
  }
  std::uint64_t e = 0;
  std::uint64_t s = 0;
  tm->is_fp_type(term->symbol->get_output_type(), &e, &s);
  PoolList bits(bvlist_pool, e + s + 1);
  for (BvLit& b : *bits) b = sink->new_lit();
  new_fp_terms.push_back(term);
  add_to_cache(term, bits.detach());
}

void WordClausifier::fp_rounding_variable(ClauseSink* sink, Term_ const* term) {
  VELL_TRACE(3) << "fp_rounding_variable " << term << endlog;
  Symbol const* symbol = term->symbol;
  auto const cache_mode = [&](IEEEFloat::rounding_mode mode) {
    add_to_cache(term, new_BvLitList(fp_rounding(mode)));
  };
  if (tm->is_fprounding_even(symbol)) return cache_mode(IEEEFloat::even);
  if (tm->is_fprounding_zero(symbol)) return cache_mode(IEEEFloat::zero);
  if (tm->is_fprounding_plus_inf(symbol)) return cache_mode(IEEEFloat::plus_inf);
  if (tm->is_fprounding_minus_inf(symbol)) return cache_mode(IEEEFloat::minus_inf);
  PoolList bits(bvlist_pool, 2);
  for (BvLit& b : *bits) b = sink->new_lit();
  add_to_cache(term, bits.detach());
}

}  // namespace vell::bv

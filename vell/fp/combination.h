#pragma once

// Floating-point terms for a clausifier: the layer that set_fp_combination installs.
//
//   bv::StandardClausifier clausifier(&terms);
//   fp::Combination floats(terms, clausifier, sink);
//   clausifier.set_fp_combination(&floats);
//   clausifier.bit_blast(floats.lower(formula), &sink);
//
// The clausifier asks it for the bits of every floating-point term that it meets: below fp.to_ubv, fp.to_sbv,
// fp.to_ieee_bv, =, and ite. Formulas with other operators on floating-point values, as fp.lt and fp.isNaN,
// it is given lowered.
//
// Tested by tests/fp/combination_test.cpp.

#include <memory>

#include "vell/bv/wordclausifier.h"
#include "vell/terms/fpbvcombination.h"
#include "vell/utils/export.h"

namespace vell::fp {

// Lowers each term once. A variable of rounding modes has the two bits that the clausifier gives it, so it
// takes four of the five modes: not to nearest with ties away from zero, which is a constant only.
class VELL_API Combination : public FpBvCombination {
 public:
  // All three must outlive this. The sink is the one that the clausifier is called with.
  Combination(TermManager& terms, bv::WordClausifier& clausifier, bv::ClauseSink& sink);
  ~Combination() override;

  // Lowers the floating-point term and translates what becomes of it with the clausifier. Throws Exception
  // for a term of a format or an operator that is not supported.
  void encode_term(Term_ const* term) override;
  bool is_encoded(Term_ const* term) const override;
  // The bits of an encoded term: fraction, biased exponent, sign, least significant first. NaN has one
  // pattern: positive, quiet, without payload.
  void get_term_bits(Term_ const* term, bv::BvLitList* out) override;

  // A term over Booleans and words alone that is worth the same: for a Boolean or a word of the same sort,
  // for a floating-point value its bits. Where SMT-LIB leaves a value open, a new variable takes its place.
  Term_ const* lower(Term_ const* term);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vell::fp

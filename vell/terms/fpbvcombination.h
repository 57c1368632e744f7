#pragma once

#include "vell/terms/literal.h"
#include "vell/terms/term.h"
#include "vell/utils/export.h"

namespace vell {

// A floating-point layer that reduces floating-point terms to bits. The clausifier calls encode_term and
// get_term_bits only.
class VELL_API FpBvCombination {
 public:
  virtual ~FpBvCombination() = default;

  // Makes the layer encode the term.
  virtual void encode_term(Term_ const* term) = 0;

  // Whether the layer has encoded the term. For the layer's own use: the clausifier does not ask.
  virtual bool is_encoded(Term_ const*) const { return false; }

  // Fills `out` (empty on entry) with the bits of the term: fraction, biased exponent, sign; least
  // significant first.
  virtual void get_term_bits(Term_ const* term, bv::BvLitList* out) = 0;
};

}  // namespace vell

#include "vell/fp/combination.h"

#include <cassert>

#include "vell/fp/lowering.h"
#include "vell/terms/exception.h"

namespace vell::fp {

struct Combination::State {
  State(TermManager& t, bv::WordClausifier& c, bv::ClauseSink& s)
      : terms(t), clausifier(c), sink(s), lowering(t, never) {}

  // What stands for a variable of rounding modes has the bits that the clausifier gives the variable. They
  // may have been retracted since the last time.
  void share_modes() {
    for (StandIn const& v : lowering.variables()) {
      if (v.term->symbol->get_output_type() != terms.rounding_mode_type || clausifier.is_cached(v.word))
        continue;
      if (!clausifier.is_cached(v.term)) clausifier.bit_blast(v.term, &sink);
      bv::BvLitList bits;
      clausifier.get_bits(v.term, bits);
      bits.resize(3, bv::l_false);
      clausifier.set_bits(v.word, &sink, bits);
    }
  }

  TermManager& terms;
  bv::WordClausifier& clausifier;
  bv::ClauseSink& sink;
  TerminationTest const never;
  Lowering lowering;
};

Combination::Combination(TermManager& terms, bv::WordClausifier& clausifier, bv::ClauseSink& sink)
    : state_(std::make_unique<State>(terms, clausifier, sink)) {}

Combination::~Combination() = default;

Term_ const* Combination::lower(Term_ const* term) {
  Term_ const* const lowered = state_->lowering.lower(term);
  state_->share_modes();
  return lowered;
}

void Combination::encode_term(Term_ const* term) {
  Term_ const* const word = lower(term);
  if (!state_->clausifier.is_cached(word)) state_->clausifier.bit_blast(word, &state_->sink);
}

bool Combination::is_encoded(Term_ const* term) const {
  return state_->clausifier.is_cached(state_->lowering.lower(term));
}

void Combination::get_term_bits(Term_ const* term, bv::BvLitList* out) {
  [[maybe_unused]] bool const found = state_->clausifier.get_bits(state_->lowering.lower(term), *out);
  assert(found);
}

}  // namespace vell::fp

#include "vell/bv/standardclausifier.h"

namespace vell::bv {

StandardClausifier::StandardClausifier(TermManager* tm, Configuration::Theory::Bv* config)
    : WordClausifier(tm, config) {
  set_logger(&own_logger_);  // frees the one that the base made
  register_hook(SymbolTag::bool_ite, &WordClausifier::bool_ite);
  register_hook(SymbolTag::term_ite, &WordClausifier::word_ite);
}

// The base, which dies after the logger, does not write.
StandardClausifier::~StandardClausifier() = default;

}  // namespace vell::bv

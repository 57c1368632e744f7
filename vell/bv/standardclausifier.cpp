#include "vell/bv/standardclausifier.h"

namespace vell::bv {

StandardClausifier::StandardClausifier(TermManager* tm, Configuration::Theory::Bv* config)
    : WordClausifier(tm, config) {
  set_logger(&own_logger_);  // frees the one that the base made
  register_hook(SymbolTag::bool_ite, &WordClausifier::bool_ite);
  register_hook(SymbolTag::term_ite, &WordClausifier::word_ite);
  register_hook(SymbolTag::fp_to_sbv, static_cast<Handler>(&StandardClausifier::checked_to_sbv));
  register_hook(SymbolTag::fp_to_ubv, static_cast<Handler>(&StandardClausifier::checked_to_ubv));
  for (OperatorInfo const& op : floating_operator_table)
    if (op.typing == OperatorInfo::Typing::fp_test)
      register_hook(op.tag, static_cast<Handler>(&StandardClausifier::refused));
}

void StandardClausifier::refused(ClauseSink* sink, Term_ const* term) { fail(sink, term); }

void StandardClausifier::checked_to_sbv(ClauseSink* sink, Term_ const* term) {
  if (term->children[0]->symbol->role() == Symbol::Role::rounding_away) fail(sink, term);
  fp_to_sbv(sink, term);
}

void StandardClausifier::checked_to_ubv(ClauseSink* sink, Term_ const* term) {
  if (term->children[0]->symbol->role() == Symbol::Role::rounding_away) fail(sink, term);
  fp_to_ubv(sink, term);
}

// The base, which dies after the logger, does not write.
StandardClausifier::~StandardClausifier() = default;

}  // namespace vell::bv

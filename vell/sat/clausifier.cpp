#include "vell/sat/clausifier.h"

namespace vell::sat {

ScriptClausifier::ScriptClausifier(TermManager* tm, Configuration::Theory::Bv* config)
    : StandardClausifier(tm, config), terms_(tm) {
  register_hook(SymbolTag::term_ite, static_cast<Handler>(&ScriptClausifier::checked_ite));
}

void ScriptClausifier::checked_ite(bv::ClauseSink* sink, Term_ const* term) {
  if (!terms_->is_bv_type(term->symbol->get_output_type())) fail(sink, term);
  word_ite(sink, term);
}

}  // namespace vell::sat

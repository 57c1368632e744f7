#include "vell/engine/clausifiers.h"

namespace vell::engine {

ScriptClausifier::ScriptClausifier(TermManager* tm, Configuration::Theory::Bv* config)
    : bv::WordClausifier(tm, config), terms_(tm) {
  set_logger(&silent_);
  register_hook(SymbolTag::bool_ite, &WordClausifier::bool_ite);
  register_hook(SymbolTag::term_ite, static_cast<Handler>(&ScriptClausifier::checked_ite));
}

void ScriptClausifier::checked_ite(bv::ClauseSink* sink, Term_ const* term) {
  if (!terms_->is_bv_type(term->symbol->get_output_type())) fail(sink, term);
  word_ite(sink, term);
}

void LimitTest::operator()() const {
  limits_.check();
  ++statistics_.clausified_terms;
  if (statistics_.clausified_terms % 1024 == 0) observe_();
}

}  // namespace vell::engine

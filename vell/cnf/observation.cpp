#include "vell/cnf/observation.h"

#include "vell/bv/inspector.h"

namespace vell::cnf {

ObservedClausifier::ObservedClausifier(TermManager* tm, Configuration::Theory::Bv* config,
                                       TranslationObserver& observer)
    : sat::ScriptClausifier(tm, config),
      tm_(*tm),
      observer_(observer),
      handlers_(bv::WordClausifierInspector(*this).hooks()) {
  for (std::size_t tag = 0; tag < handlers_.size(); ++tag)
    if (handlers_[tag] != nullptr)
      register_hook(static_cast<SymbolTag::tag>(tag), static_cast<Handler>(&ObservedClausifier::observed));
  register_hook(SymbolTag::none, static_cast<Handler>(&ObservedClausifier::observed_leaf));
}

void ObservedClausifier::observed(bv::ClauseSink* sink, Term_ const* term) {
  observer_.before(term);
  (this->*handlers_[term->symbol->tag()])(sink, term);
  observer_.after(term, *lookup(term), false);
}

// What call_hook() does for a tag without a handler.
void ObservedClausifier::observed_leaf(bv::ClauseSink* sink, Term_ const* term) {
  observer_.before(term);
  if (tm_.is_number(term->symbol))
    word_constant(sink, term);
  else if (!generic_variable(sink, term))
    fail(sink, term);
  observer_.after(term, *lookup(term), true);
}

}  // namespace vell::cnf

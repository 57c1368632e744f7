#include "vell/cnf/annotation.h"

#include "vell/bv/inspector.h"
#include "vell/cnf/mapline.h"
#include "vell/smtlib/termprinter.h"
#include "vell/values/evaluator.h"

namespace vell::cnf {

std::string one_line(std::string text) {
  for (char& c : text)
    if (c == '\n' || c == '\r') c = ' ';
  return text;
}

void AnnotatingSink::add_clause() {
  if (!holding_) {
    DimacsSink::add_clause();
    return;
  }
  held_.insert(held_.end(), lits.begin(), lits.end());
  held_.push_back(bv::l_undef);
}

void AnnotatingSink::release(std::string const& line) {
  holding_ = false;
  comment(line);
  lits.clear();
  for (bv::BvLit l : held_) {
    if (l != bv::l_undef) {
      lits.push_back(l);
      continue;
    }
    DimacsSink::add_clause();
    lits.clear();
  }
  held_.clear();
}

AnnotatingClausifier::AnnotatingClausifier(TermManager* tm, Configuration::Theory::Bv* config,
                                           AnnotatingSink& sink)
    : sat::ScriptClausifier(tm, config),
      tm_(*tm),
      sink_(sink),
      handlers_(bv::WordClausifierInspector(*this).hooks()) {
  for (std::size_t tag = 0; tag < handlers_.size(); ++tag)
    if (handlers_[tag] != nullptr)
      register_hook(static_cast<SymbolTag::tag>(tag), static_cast<Handler>(&AnnotatingClausifier::announced));
}

void AnnotatingClausifier::announced(bv::ClauseSink* sink, Term_ const* term) {
  sink_.hold();
  (this->*handlers_[term->symbol->tag()])(sink, term);
  std::uint64_t const width = values::value_width(tm_, term->symbol->get_output_type());
  sink_.release("term #" + std::to_string(term->id) + " line " + std::to_string(line_) + " " +
                one_line(smtlib::shallow_text(tm_, term)) + " =" +
                bits_text(lookup(term), width, sink_.form()));
}

void AnnotatingClausifier::announce_root(Term_ const* formula, bv::BvLit literal) {
  bv::BvLitList const bits = {literal};
  sink_.comment("root line " + std::to_string(line_) + " " + one_line(smtlib::shallow_text(tm_, formula)) +
                " =" + bits_text(&bits, 1, sink_.form()));
}

}  // namespace vell::cnf

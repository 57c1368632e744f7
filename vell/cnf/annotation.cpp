#include "vell/cnf/annotation.h"

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

void Annotator::begin_root(std::size_t i) {
  if (i < query_.formulas.size()) line_ = query_.positions[i].line;
}

void Annotator::before(Term_ const*) { sink_.hold(); }

void Annotator::after(Term_ const* term, bv::BvLitList const& bits, bool is_leaf) {
  if (is_leaf) return sink_.release();
  sink_.release("term #" + std::to_string(term->id) + " line " + std::to_string(line_) + " " +
                one_line(smtlib::shallow_text(tm_, term)) + " =" +
                bits_text(&bits, values::value_width(tm_, term->symbol->get_output_type()), sink_.form()));
}

void Annotator::end_root(std::size_t i, bv::BvLit literal) {
  if (i >= query_.formulas.size()) return;
  bv::BvLitList const bits = {literal};
  sink_.comment("root line " + std::to_string(line_) + " " +
                one_line(smtlib::shallow_text(tm_, query_.formulas[i])) + " =" +
                bits_text(&bits, 1, sink_.form()));
}

}  // namespace vell::cnf

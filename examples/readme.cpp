#include <iostream>

#include "vell/bv/standardclausifier.h"
#include "vell/sinks/recordingsink.h"

int main() {
  vell::TermManager terms;
  vell::Term_ const* x = terms.mk_variable("x", terms.bv_type(2));
  vell::Term_ const* y = terms.mk_variable("y", terms.bv_type(2));
  vell::Term_ const* less = terms.mk_app(vell::SymbolTag::bv_ult, {x, y});

  vell::sinks::RecordingSink cnf;
  vell::bv::StandardClausifier clausifier(&terms);
  std::cout << "x < y is literal " << clausifier.bit_blast(less, &cnf) << " in\n";
  for (vell::bv::BvLitList const& clause : cnf.clauses()) {
    for (vell::bv::BvLit literal : clause) std::cout << literal << ' ';
    std::cout << "0\n";
  }
}

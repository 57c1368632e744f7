// How large is a formula's encoding? A sink that counts gives the figures without keeping a clause.

#include <iostream>

#include "vell/bv/standardclausifier.h"
#include "vell/sinks/countingsink.h"

using namespace vell;

int main() {
  std::cout << "width  fresh literals  clauses  literals in clauses\n";
  for (std::uint64_t width : {8, 16, 32, 64}) {
    TermManager terms;
    Type const* word = terms.bv_type(width);
    Term_ const* x = terms.mk_variable("x", word);
    Term_ const* y = terms.mk_variable("y", word);
    // (x + y)^2 = x^2 + 2xy + y^2
    Term_ const* sum = terms.mk_app(SymbolTag::bv_add, {x, y});
    Term_ const* left = terms.mk_app(SymbolTag::bv_mul, {sum, sum});
    Term_ const* twice = terms.mk_app(SymbolTag::bv_mul, {terms.mk_bv(2, width), x});
    Term_ const* squares = terms.mk_app(SymbolTag::bv_add, {terms.mk_app(SymbolTag::bv_mul, {x, x}),
                                                            terms.mk_app(SymbolTag::bv_mul, {y, y})});
    Term_ const* right =
        terms.mk_app(SymbolTag::bv_add, {squares, terms.mk_app(SymbolTag::bv_mul, {twice, y})});
    Term_ const* formula = terms.mk_app(SymbolTag::equal, {left, right});

    sinks::CountingSink sink;
    bv::StandardClausifier clausifier(&terms);
    clausifier.bit_blast(formula, &sink);
    std::cout << width << "  " << sink.fresh_literals() << "  " << sink.clauses() << "  " << sink.literals()
              << "\n";
  }
}

// A program with the library inside: makes a term, has it clausified, and prints the clauses.

#include <cstdio>

#include "vell/bv/standardclausifier.h"
#include "vell/terms/termmanager.h"

// The clauses go wherever the program wants them; literals 1 and -1 are the constants true and false.
struct Printer : vell::bv::ClauseSink {
  vell::bv::BvLit new_lit() override { return next++; }
  bool atom_lit(vell::Term_ const*, vell::bv::BvLit&) override { return false; }
  void add_clause() override {
    for (vell::bv::BvLit l : lits) std::printf("%d ", l);
    std::puts("0");
  }
  vell::bv::BvLit next = 2;
};

int main() {
  using namespace vell;
  TermManager terms;
  Term_ const* x = terms.mk_variable("x", terms.bv_type(4));
  Term_ const* sum = terms.mk_app(SymbolTag::bv_add, {x, terms.mk_bv(3, 4)});
  Term_ const* formula = terms.mk_app(SymbolTag::equal, {sum, terms.mk_bv(1, 4)});

  bv::StandardClausifier clausifier(&terms);
  Printer sink;
  bv::BvLit const holds = clausifier.bit_blast(formula, &sink);

  bv::BvLitList bits;
  clausifier.get_bits(x, bits);
  std::printf("x is");
  for (bv::BvLit b : bits) std::printf(" %d", b);
  std::printf(", lowest bit first; the formula is %d\n", holds);
}

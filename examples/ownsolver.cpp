// A sink over one's own SAT solver. Three operations suffice; the constants 1 and -1, which may occur in
// clauses, are here the solver's variable 1, fixed to true, so that every literal means the same on both
// sides.

#include <iostream>

#include "toysolver.h"
#include "vell/bv/standardclausifier.h"

using namespace vell;

class ToySink : public bv::ClauseSink {
 public:
  explicit ToySink(ToySolver& solver) : solver_(solver) { solver_.add({solver_.new_variable()}); }

  bv::BvLit new_lit() override { return solver_.new_variable(); }
  // No other part of this program gives literals to terms.
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override { solver_.add(lits); }

 private:
  ToySolver& solver_;
};

int main() {
  TermManager terms;
  ToySolver solver;
  ToySink sink(solver);
  bv::StandardClausifier clausifier(&terms);

  // Is there a word of four bits whose square is itself, beside 0 and 1?
  Term_ const* x = terms.mk_variable("x", terms.bv_type(4));
  Term_ const* square = terms.mk_app(SymbolTag::bv_mul, {x, x});
  Term_ const* idempotent = terms.mk_app(SymbolTag::equal, {square, x});
  Term_ const* large = terms.mk_app(SymbolTag::bv_ult, {terms.mk_bv(1, 4), x});
  // Is there one whose square is 9?
  Term_ const* nine = terms.mk_app(SymbolTag::equal, {square, terms.mk_bv(9, 4)});

  bv::BvLit const a = clausifier.bit_blast(idempotent, &sink);
  bv::BvLit const b = clausifier.bit_blast(large, &sink);
  bv::BvLit const c = clausifier.bit_blast(nine, &sink);
  std::cout << solver.clause_count() << " clauses\n";
  std::cout << "x * x = x and x > 1: " << (solver.solve({a, b}) ? "sat" : "unsat") << "\n";
  std::cout << "x * x = 9: " << (solver.solve({c}) ? "sat" : "unsat") << "\n";
}

// Floating-point terms with the layer vell::fp. The clausifier asks it for the bits of floating-point terms;
// formulas about floating-point values become formulas about words before they are translated.

#include <iostream>

#include "toysolver.h"
#include "vell/bv/standardclausifier.h"
#include "vell/fp/combination.h"
#include "vell/terms/theory.h"

using namespace vell;

class Sink : public bv::ClauseSink {
 public:
  Sink() { solver.add({solver.new_variable()}); }
  bv::BvLit new_lit() override { return solver.new_variable(); }
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override { solver.add(lits); }

  ToySolver solver;
};

int main() {
  TermManager terms;
  Sink sink;
  bv::StandardClausifier clausifier(&terms);
  fp::Combination floats(terms, clausifier, sink);
  clausifier.set_fp_combination(&floats);

  // Four bits of exponent and two of fraction. (The clausifier's conversions want a fraction shorter than the
  // bias.)
  Type const* tiny = terms.fp_type(4, 2);
  Term_ const* x = terms.mk_variable("x", tiny);
  Term_ const* even = mk_app(terms, "RNE", {});
  Term_ const* one = mk_app(terms, "to_fp", {terms.mk_bv(0b0011100, 7)}, {4, 3});
  Term_ const* sum = mk_app(terms, "fp.add", {even, x, one});

  // An operator of the clausifier's own: the layer is asked for the bits of the sum.
  Term_ const* rounded = mk_app(terms, "fp.to_ubv", {even, sum}, {4});
  bv::BvLit const is_two = clausifier.bit_blast(mk_app(terms, "=", {rounded, terms.mk_bv(2, 4)}), &sink);
  // Questions about floating-point values are lowered first.
  bv::BvLit const below_one = clausifier.bit_blast(floats.lower(mk_app(terms, "fp.lt", {x, one})), &sink);
  bv::BvLit const number = clausifier.bit_blast(floats.lower(mk_app(terms, "fp.gt", {x, x})), &sink);
  std::cout << "x < 1 and x + 1 rounds to 2: " << (sink.solver.solve({is_two, below_one}) ? "sat" : "unsat")
            << "\n";
  std::cout << "x > x: " << (sink.solver.solve({number}) ? "sat" : "unsat") << "\n";
}

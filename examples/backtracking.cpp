// Backtracking: a search that tries one bound after another keeps what is common and forgets the rest.
//
// Clauses stay with the solver. They define literals that nobody mentions any more, so they can do no harm; a
// solver with scopes of its own drops them. The clausifier's part is its cache: after pop_backtrack_point no
// term refers to a literal of the scope.

#include <iostream>

#include "toysolver.h"
#include "vell/bv/standardclausifier.h"

using namespace vell;

class ToySink : public bv::ClauseSink {
 public:
  ToySink() { solver.add({solver.new_variable()}); }
  bv::BvLit new_lit() override { return solver.new_variable(); }
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override { solver.add(lits); }

  ToySolver solver;
};

int main() {
  TermManager terms;
  ToySink sink;
  bv::StandardClausifier clausifier(&terms);

  // The least x with 5x = 3 (mod 16), by bisection.
  Term_ const* x = terms.mk_variable("x", terms.bv_type(4));
  Term_ const* product = terms.mk_app(SymbolTag::bv_mul, {terms.mk_bv(5, 4), x});
  sink.solver.add(
      {clausifier.bit_blast(terms.mk_app(SymbolTag::equal, {product, terms.mk_bv(3, 4)}), &sink)});

  std::uint64_t low = 0;
  std::uint64_t high = 15;
  while (low < high) {
    std::uint64_t const middle = (low + high) / 2;
    clausifier.push_backtrack_point();
    Term_ const* bound = terms.mk_app(SymbolTag::bv_ule, {x, terms.mk_bv(middle, 4)});
    bool const found = sink.solver.solve({clausifier.bit_blast(bound, &sink)});
    std::cout << "x <= " << middle << ": " << (found ? "sat" : "unsat") << "\n";
    clausifier.pop_backtrack_point();
    std::cout << "  bound known: " << clausifier.is_cached(bound) << ", x known: " << clausifier.is_cached(x)
              << "\n";
    (found ? high : low) = found ? middle : middle + 1;
  }
  std::cout << "x = " << low << "\n";
}

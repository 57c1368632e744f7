// Two theories over one SAT solver. A theory of equality already has literals for atoms such as x = y; the
// bit-vector side takes those over through atom_lit instead of inventing its own. When the other theory later
// meets an equality of words itself, bit_blast_theory_eq ties its literal to the bits.

#include <iostream>
#include <unordered_map>

#include "toysolver.h"
#include "vell/bv/standardclausifier.h"

using namespace vell;

class SharedSink : public bv::ClauseSink {
 public:
  SharedSink() { solver.add({solver.new_variable()}); }
  bv::BvLit new_lit() override { return solver.new_variable(); }
  bool atom_lit(Term_ const* atom, bv::BvLit& out) override {
    auto const found = atoms.find(atom);
    if (found == atoms.end()) return false;
    out = found->second;
    return true;
  }
  void add_clause() override { solver.add(lits); }

  ToySolver solver;
  std::unordered_map<Term_ const*, bv::BvLit> atoms;  // of the theory of equality
};

int main() {
  TermManager terms;
  SharedSink sink;
  bv::StandardClausifier clausifier(&terms);
  auto answer = [&](std::vector<int> const& assumptions) {
    return sink.solver.solve(assumptions) ? "sat" : "unsat";
  };

  Type const* word = terms.bv_type(3);
  Term_ const* x = terms.mk_variable("x", word);
  Term_ const* y = terms.mk_variable("y", word);
  Term_ const* z = terms.mk_variable("z", word);

  // The theory of equality saw x = y first.
  Term_ const* x_is_y = terms.mk_app(SymbolTag::equal, {x, y});
  bv::BvLit const atom = sink.new_lit();
  sink.atoms[x_is_y] = atom;
  std::cout << "same literal: " << (clausifier.bit_blast(x_is_y, &sink) == atom ? "yes" : "no") << "\n";
  bv::BvLit const less = clausifier.bit_blast(terms.mk_app(SymbolTag::bv_ult, {x, y}), &sink);
  std::cout << "x = y and x < y: " << answer({atom, less}) << "\n";

  // It has a literal for y = z as well, which no asserted formula mentions.
  bv::BvLit const y_is_z = sink.new_lit();
  if (!clausifier.bit_blast_theory_eq(y_is_z, y, z, &sink)) sink.solver.add({-y_is_z});
  bv::BvLit const x_below_z = clausifier.bit_blast(terms.mk_app(SymbolTag::bv_ult, {x, z}), &sink);
  std::cout << "x = y, y = z, x < z: " << answer({atom, y_is_z, x_below_z}) << "\n";
  std::cout << "x = y, y /= z, x < z: " << answer({atom, -y_is_z, x_below_z}) << "\n";

  // Bits that contradict one another are found without a clause: the answer is false, the literal is the
  // caller's.
  bv::BvLit const never = sink.new_lit();
  Term_ const* not_y = terms.mk_app(SymbolTag::bv_not, {y});
  bool const possible = clausifier.bit_blast_theory_eq(never, y, not_y, &sink);
  std::cout << "y = ~y: " << (possible ? "possible" : "impossible") << "\n";
}

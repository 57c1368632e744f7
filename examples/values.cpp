// From a solver's assignment back to the values of words: get_bits gives a term's literals, element 0 the
// least significant, and the solver says which of them are true.

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

// A literal may be the constant 1 or -1; here the solver has a variable for it, another sink tests
// is_constant first.
std::uint64_t value(bv::BvLitList const& bits, ToySolver const& solver) {
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < bits.size(); ++i)
    if (solver.value(bits[i])) word |= std::uint64_t{1} << i;
  return word;
}

int main() {
  TermManager terms;
  ToySink sink;
  bv::StandardClausifier clausifier(&terms);

  // All ways to write 21 as a product of words of five bits that does not overflow, the smaller factor first.
  Type const* word = terms.bv_type(5);
  Term_ const* x = terms.mk_variable("x", word);
  Term_ const* y = terms.mk_variable("y", word);
  auto wide = [&](Term_ const* t) { return terms.mk_app(SymbolTag::bv_zero_extend, {t}, 5); };
  Term_ const* product = terms.mk_app(SymbolTag::bv_mul, {wide(x), wide(y)});
  bv::BvLit const equal =
      clausifier.bit_blast(terms.mk_app(SymbolTag::equal, {product, terms.mk_bv(21, 10)}), &sink);
  bv::BvLit const order = clausifier.bit_blast(terms.mk_app(SymbolTag::bv_ule, {x, y}), &sink);

  bv::BvLitList x_bits;
  bv::BvLitList y_bits;
  bv::BvLitList product_bits;
  clausifier.get_bits(x, x_bits);
  clausifier.get_bits(y, y_bits);
  clausifier.get_bits(product, product_bits);
  while (sink.solver.solve({equal, order})) {
    std::cout << value(x_bits, sink.solver) << " * " << value(y_bits, sink.solver) << " = "
              << value(product_bits, sink.solver) << "\n";
    // Never the same x again.
    std::vector<int> other;
    for (bv::BvLit b : x_bits) other.push_back(sink.solver.value(b) ? -b : b);
    sink.solver.add(other);
  }
  std::cout << "no other\n";
}

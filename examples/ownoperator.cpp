// An operator of one's own: a derived class with a handler for it. The handler reads its children's bits,
// builds the result out of the gates, and caches exactly one new list.

#include <iostream>

#include "toysolver.h"
#include "vell/bv/standardclausifier.h"

using namespace vell;

// Any number that SymbolTag does not use. The table of handlers is as long as the largest one.
constexpr auto parity = static_cast<SymbolTag::tag>(63);

class ParityClausifier : public bv::StandardClausifier {
 public:
  explicit ParityClausifier(TermManager* terms) : StandardClausifier(terms) {
    register_hook(parity, static_cast<Handler>(&ParityClausifier::word_parity));
  }

  // Whether the number of ones is odd: n - 1 exclusive ors for a word of n bits.
  void word_parity(bv::ClauseSink* sink, Term_ const* term) {
    bv::BvLit odd = bv::l_false;
    for (bv::BvLit bit : *lookup(term->children[0])) odd = bit_xor(sink, odd, bit);
    add_to_cache(term, new_BvLitList({odd}));
  }
};

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
  ParityClausifier clausifier(&terms);

  Symbol const* symbol =
      terms.make_symbol({.name = "parity", .arity = 1, .output_type = terms.bool_type, .tag = parity});
  Term_ const* x = terms.mk_variable("x", terms.bv_type(5));
  Term_ const* children[] = {x};
  Term_ const* odd = terms.mk_term(symbol, children);
  std::cout << odd->to_shallow_str() << " is literal " << clausifier.bit_blast(odd, &sink) << ", "
            << sink.solver.clause_count() - 1 << " clauses\n";

  // Flipping one bit flips the parity, whatever x is.
  Term_ const* one = terms.mk_bv(1, 5);
  Term_ const* flipped[] = {terms.mk_app(SymbolTag::bv_xor, {x, one})};
  Term_ const* same = terms.mk_app(SymbolTag::bool_iff, {odd, terms.mk_term(symbol, flipped)});
  std::cout << "parity kept by a flip: "
            << (sink.solver.solve({clausifier.bit_blast(same, &sink)}) ? "sat" : "unsat") << "\n";
}

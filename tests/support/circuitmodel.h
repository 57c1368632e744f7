#pragma once

// A second, independent description of the gates and circuits: what each writes to the trace, which literals
// it takes, which clauses it emits and which lists of the pool it takes and gives back, in order. It builds
// the text that EventText records, so that an exchanged pair of gates or lines anywhere shows as a difference
// of two strings.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "vell/terms/literal.h"

namespace vell::test {

class CircuitModel {
 public:
  using Lit = bv::BvLit;
  using Bits = bv::BvLitList;
  // A list of the pool: its bits and its place in the pool.
  struct Pooled {
    Bits bits;
    int slot = -1;
  };

  CircuitModel(int verbosity, Lit next_literal, int pool_lists_in_use = 0)
      : verbosity_(verbosity), next_literal_(next_literal), next_slot_(pool_lists_in_use) {}

  std::string text;
  // Setting of div_semantics.
  int div_semantics = 0;

  // ---- pieces of text ----
  static std::string show(Lit a);
  static std::string show(Bits const& bits);
  void trace(int level, std::string const& message);
  Lit fresh();
  void clause(std::initializer_list<Lit> literals);
  void ask_atom() { text += "{a}\n"; }
  Lit next_literal() const { return next_literal_; }

  // ---- the pool: the list given back last is the first one taken ----
  int take_slot();
  void give_back(Pooled const& list);
  Pooled pooled(Bits bits) { return {std::move(bits), take_slot()}; }

  // ---- gates ----
  Lit bit_not(Lit a);
  Lit bit_and(Lit a, Lit b);
  Lit bit_or(Lit a, Lit b);
  Lit bit_xor(Lit a, Lit b);
  Lit bit_ite(Lit c, Lit t, Lit e);
  Bits word_and(Bits const& a, Bits const& b);

  // ---- circuits ----
  Pooled word_add(Bits const& x, Bits const& y);
  Pooled word_neg(Bits const& x);
  Pooled word_ule(Bits const& x, Bits const& y, Lit out = 0);
  Pooled word_ult(Bits const& x, Bits const& y, Lit out = 0);
  Lit word_equal(Bits const& x, Bits const& y, Lit out = 0);
  Pooled word_sr(Bits const& x, Bits const& s, bool arithmetic);
  Pooled word_sl(Bits const& x, Bits const& s);
  void word_udiv_simple(Bits const& a, Bits const& b, Bits& q, Bits& r);
  void complete_semantics(Bits const& b, Bits& result);
  void word_sdiv_simple(Bits const& a, Bits const& b, Bits& q, Bits& r);
  void word_sdiv_array(Bits const& a, Bits const& b, Bits& q, Bits& r);

  // mode: 0 to 3, or -1 for a rounding-mode variable with the bits m.
  Bits fp_to_bv(unsigned e, unsigned s, Bits const& value, int mode, Bits const& m, unsigned width);

 private:
  int verbosity_;
  Lit next_literal_;
  int next_slot_;
  std::vector<int> free_slots_;

  void adder_cell(Lit& sum, Lit& carry, Lit a, Lit b, Lit c);
  Lit rounding_increment(int mode, Lit inexact, Lit sign, Bits const& significand, Bits const& back,
                         Bits const& amount, Lit lowest);
};

}  // namespace vell::test

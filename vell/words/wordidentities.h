#pragma once

// Equalities that hold, or fail, whatever the values: decided at the word level, before any circuit.
//
// Identities of products (distributivity, associativity, commuted operands, a product cut into slices) are
// what a SAT solver is worst at, and what a normal form sees at once. Comparisons with a neighbour
// (neighbours.h) become plain ones. Only whole atoms are decided: a formula in which none is found comes back
// as it went in, and its clauses are those of the script.
//
// Tested by tests/words/wordidentities_test.cpp.

#include <cstdint>
#include <memory>

#include "vell/run/limits.h"
#include "vell/terms/termmanager.h"
#include "vell/words/pass.h"

namespace vell::words {

class WordIdentities {
 public:
  // Terms are made in tm, which must outlive this, as limits must. free_division: a quotient or remainder by
  // zero has a value of its own for each term, so the facts about remainders are left unused, and such terms
  // stay as they are.
  explicit WordIdentities(TermManager& tm, bool free_division = false,
                          run::Limits const& limits = run::no_limits(),
                          run::Tunables const& tunables = run::Tunables());
  ~WordIdentities();
  WordIdentities(WordIdentities const&) = delete;
  WordIdentities& operator=(WordIdentities const&) = delete;

  // Takes note of a formula that holds for good. Where it defines a word, (= x t) with a variable x or a
  // numeral t, formulas are read with t for x from now on: decide() gives formulas equivalent under what was
  // assumed. To be called for everything that holds before anything is decided.
  void assume(Term_ const* formula);

  // An equivalent formula: `formula` itself, or one in which decided atoms are constants or simpler ones, and
  // atoms that say the same are one. What was found stays known for later formulas. Throws Stopped when the
  // limits say so.
  Term_ const* decide(Term_ const* formula);

  // Atoms replaced so far.
  std::uint64_t decided() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// The pass "identities".
std::unique_ptr<Pass> make_word_identities(PassContext const& context);

}  // namespace vell::words

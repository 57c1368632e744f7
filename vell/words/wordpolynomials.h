#pragma once

// Words as polynomials.
//
// A word t of width w is given a polynomial P over atoms with t = P modulo 2^w. Atoms are the words that
// arithmetic does not look into, taken as unsigned integers, and Booleans, taken as 0 and 1 (so that a power
// of one is the bit itself). Where P, as an integer, is known to stay within [0, 2^w), t = P outright: then
// the word may be extended, concatenated or cut without losing track. Ranges come from interval arithmetic on
// the operands.
//
// A remainder, written out as x - y * (x / y), gives zero when it is divided by the numeral y once more.
//
// An if-then-else is c * then + (1 - c) * else. Where the bit c says that two words are equal whose values
// are one atom each, one stands for the other in every monomial that has c as a factor. Both values must be
// exact: a low slice of a wider word has that word's atom as well, but is equal to it modulo a power of two
// only.
//
// Tested by tests/words/wordidentities_test.cpp.

#include <memory>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vell/run/limits.h"
#include "vell/run/tunables.h"
#include "vell/terms/termmanager.h"
#include "vell/words/polynomial.h"

namespace vell::words {

class WordPolynomials {
 public:
  // free_division: a quotient by zero has no value of its own, so nothing is known of quotients. limits must
  // outlive this.
  explicit WordPolynomials(TermManager& tm, bool free_division = false,
                           run::Limits const& limits = run::no_limits(),
                           run::Tunables const& tunables = run::Tunables())
      : tm_(tm), free_division_(free_division), limits_(limits), tunables_(tunables) {}

  struct Value {
    Polynomial p;
    bool exact = false;  // the term's value is that of p, an integer within [low, high]
    mpz_class low;
    mpz_class high;
  };

  // From now on `word` has the value of `definition`, a term that does not depend on it. Does nothing where
  // the word's polynomial was made already.
  void define(Term_ const* word, Term_ const* definition);
  // The definition of a word; null without.
  Term_ const* definition(Term_ const* word) const;

  // The polynomial of a word, kept for later. No recursion. Throws Stopped when the limits say so.
  Value const& value(Term_ const* word);

  // The word or Boolean that an atom stands for.
  Term_ const* term_of(Atom a) const { return terms_[a]; }

 private:
  using Memo = std::unordered_map<Term_ const*, Value>;

  // Computes t from its children's values, which are known.
  Value make(Term_ const* t);
  Value opaque(Term_ const* t);
  Value integer(Term_ const* t);
  Value numeral(mpz_class const& n);
  Value bit(Term_ const* t);
  Value slice(Term_ const* t, Term_ const* operand, std::uint64_t lsb);
  Value choose(Term_ const* t);
  // Brings v to the width: exact where its range fits, otherwise modulo 2^width. Opaque where it has grown
  // too large.
  Value finish(Term_ const* t, Value v);
  Polynomial product(Polynomial const& a, Polynomial const& b, bool& too_large);
  void normalise(Monomial& m) const;
  bool divides_remainder(Term_ const* t) const;
  bool transparent(Term_ const* t) const;
  Atom atom_of(Term_ const* t, std::uint64_t width);
  std::uint64_t width_of(Term_ const* t) const { return tm_.width(t); }

  // What make() reads the values of.
  std::span<Term_ const* const> inputs(Term_ const* t) const;

  TermManager& tm_;
  bool free_division_;
  run::Limits const& limits_;
  run::Tunables const tunables_;
  Memo memo_;
  std::unordered_map<Term_ const*, Term_ const*> definitions_;
  std::unordered_map<Term_ const*, Atom> atoms_;
  std::vector<Term_ const*> terms_;  // by atom
  std::vector<bool> is_bit_;         // by atom
  std::vector<mpz_class> largest_;   // by atom: the largest value it takes
  // For a bit that says that two atoms are equal: the two, the larger first.
  std::unordered_map<Atom, std::pair<Atom, Atom>> equality_;
};

}  // namespace vell::words

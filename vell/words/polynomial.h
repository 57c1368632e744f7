#pragma once

// Polynomials with integer coefficients over atoms: variables that stand for words and bits.
//
// Tested by tests/words/wordidentities_test.cpp.

#include <gmpxx.h>

#include <cstdint>
#include <map>
#include <vector>

namespace vell::words {

// Atoms are numbers. A monomial is the sorted list of its atoms, one entry for each power.
using Atom = std::uint32_t;
using Monomial = std::vector<Atom>;

class Polynomial {
 public:
  Polynomial() = default;
  explicit Polynomial(mpz_class const& constant) { add_term({}, constant); }
  static Polynomial of_atom(Atom a) {
    Polynomial p;
    p.add_term({a}, 1);
    return p;
  }

  std::map<Monomial, mpz_class> const& terms() const { return terms_; }
  bool is_zero() const { return terms_.empty(); }
  bool is_constant() const { return terms_.empty() || (terms_.size() == 1 && terms_.begin()->first.empty()); }
  // The coefficient of the empty monomial.
  mpz_class constant() const;
  // The atom that the polynomial consists of; false when it is anything else.
  bool is_atom(Atom& a) const;

  void add_term(Monomial const& m, mpz_class const& coefficient);
  // *this += factor * other
  void add(Polynomial const& other, mpz_class const& factor = 1);
  // Coefficients modulo 2^width, in [0, 2^width).
  void reduce(std::uint64_t width);

 private:
  std::map<Monomial, mpz_class> terms_;  // no zero coefficients
};

}  // namespace vell::words

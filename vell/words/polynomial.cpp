#include "vell/words/polynomial.h"

namespace vell::words {

mpz_class Polynomial::constant() const {
  auto const found = terms_.find({});
  return found == terms_.end() ? mpz_class(0) : found->second;
}

bool Polynomial::is_atom(Atom& a) const {
  if (terms_.size() != 1 || terms_.begin()->first.size() != 1 || terms_.begin()->second != 1) return false;
  a = terms_.begin()->first.front();
  return true;
}

void Polynomial::add_term(Monomial const& m, mpz_class const& coefficient) {
  if (coefficient == 0) return;
  auto const [place, fresh] = terms_.try_emplace(m, coefficient);
  if (fresh) return;
  place->second += coefficient;
  if (place->second == 0) terms_.erase(place);
}

void Polynomial::add(Polynomial const& other, mpz_class const& factor) {
  for (auto const& [m, c] : other.terms_) add_term(m, c * factor);
}

void Polynomial::reduce(std::uint64_t width) {
  for (auto i = terms_.begin(); i != terms_.end();) {
    mpz_fdiv_r_2exp(i->second.get_mpz_t(), i->second.get_mpz_t(), width);
    if (i->second == 0)
      i = terms_.erase(i);
    else
      ++i;
  }
}

}  // namespace vell::words

#include "vell/words/numeral.h"

#include <vector>

#include "vell/terms/qnumber_gmp.h"

namespace vell::words {

Term_ const* make_numeral(TermManager& tm, mpz_class const& n, std::uint64_t width) {
  mpz_class wrapped;
  mpz_fdiv_r_2exp(wrapped.get_mpz_t(), n.get_mpz_t(), width);
  std::vector<std::uint64_t> words((width + 63) / 64, 0);
  mpz_export(words.data(), nullptr, -1, sizeof(std::uint64_t), 0, 0, wrapped.get_mpz_t());
  return tm.mk_number(QNumber::from_words(words.data(), words.size()), tm.bv_type(width));
}

mpz_class numeral_value(TermManager const& tm, Term_ const* numeral) {
  mpz_class n;
  get_numerator(*tm.number(numeral->symbol), n.get_mpz_t());
  return n;
}

}  // namespace vell::words

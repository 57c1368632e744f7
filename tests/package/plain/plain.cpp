// Includes much of what is installed; exits with 0 when the library does its work.

#include <memory>

#include "vell/bv/standardclausifier.h"
#include "vell/sinks/countingsink.h"
#include "vell/terms/qnumber_gmp.h"
#include "vell/terms/theory.h"
#include "vell/utils/version.h"

#if VELL_VERSION_NUMBER < 100
#error "the version is a number"
#endif

int main() {
  vell::TermManager terms;
  vell::Term_ const* x = terms.mk_variable("x", terms.bv_type(4));
  vell::Term_ const* t = vell::mk_app(terms, "bvsmod", {x, terms.mk_bv(3, 4)});
  vell::sinks::CountingSink sink;
  std::unique_ptr<vell::bv::WordClausifierInterface> c =
      std::make_unique<vell::bv::StandardClausifier>(&terms);
  c->bit_blast(t, &sink);
  // An object of the library, one for each thread.
  mpz_set_ui(vell::QNumber::gmp_tmp.numerator, 7);
  return mpz_cmp_ui(vell::QNumber::gmp_tmp.numerator, 7) == 0 && c->is_cached(t) ? 0 : 1;
}

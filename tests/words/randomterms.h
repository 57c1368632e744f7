#pragma once

// Random terms of every operator.
//
// Tested by tests/words/rewriter_test.cpp.

#include <vector>

#include "tests/generate/random.h"
#include "vell/terms/termmanager.h"

namespace vell::test {

// Words of 1 to `most_width` bits and Booleans. Where they are shared, over variables of at most 16 bits
// together. A seed gives the same terms with every compiler: each call draws at most one random choice in its
// arguments, or they stand in braces, which fixes their order.
class RandomTerms {
 public:
  // shared: subterms that were made before are taken again, and so are the variables. Otherwise every
  // variable stands in one place, so that no two operands share a bit.
  RandomTerms(TermManager& tm, std::uint64_t seed, bool shared, unsigned most_width = 5);

  Term_ const* word(unsigned width, unsigned depth);
  Term_ const* boolean(unsigned depth);

 private:
  using T = Term_ const*;

  T make_word(unsigned width, unsigned depth);
  T make_boolean(unsigned depth);
  T leaf(unsigned width);
  T boolean_leaf();
  T numeral(unsigned width);
  T junction(unsigned width, unsigned depth);
  T app(SymbolTag::tag tag, std::initializer_list<T> operands, std::uint64_t p0 = 0, std::uint64_t p1 = 0) {
    return tm_.mk_app(tag, operands, p0, p1);
  }
  unsigned some_width() { return 1 + static_cast<unsigned>(r_.below(most_width_)); }

  TermManager& tm_;
  generate::Random r_;
  bool const shared_;
  unsigned const most_width_;
  std::vector<std::vector<T>> words_;  // by width: those made
  std::vector<std::vector<T>> variables_;
  std::vector<T> booleans_;
  std::vector<T> boolean_variables_;
};

}  // namespace vell::test

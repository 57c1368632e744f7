#pragma once

// Formulas as a script asserts them, to be printed and made smaller.
//
// Tested by tests/words/simplification_test.cpp.

#include <cstdint>
#include <string>
#include <vector>

#include "vell/terms/termmanager.h"

namespace vell::test {

// What a script asserts, as the passes meet it.
struct Case {
  std::vector<Term_ const*> variables;  // of at most 14 bits together
  std::vector<Term_ const*> formulas;   // asserted on the first level before the first check
  std::vector<Term_ const*> kept;       // asserted above it, or assumed, by the first check
  std::vector<Term_ const*> permanent;  // asserted on the first level after the first check
  std::vector<Term_ const*> passing;    // asserted above it, or assumed, by a later check
  bool free_division = false;
  std::uint64_t salt = 0;  // of the values of quotients by zero, with free_division
};

// As an SMT-LIB script; one check for the formulas with those kept, one more for the later ones.
std::string script_of(TermManager const& tm, Case const& c);

// A smaller case for which `fails` still says so. Leaves out formulas, and puts operands, variables and
// numerals in the place of terms.
template <typename Fails>
Case shrink(TermManager& tm, Case c, Fails fails);

// The terms that shrinking tries in the place of t, and the case with one of them there.
std::vector<Term_ const*> simpler_terms(TermManager& tm, Case const& c, Term_ const* t);
Case with(TermManager& tm, Case const& c, Term_ const* from, Term_ const* to);
std::vector<Term_ const*> terms_of(Case const& c);
std::vector<std::vector<Term_ const*> Case::*> const& parts_of_a_case();

template <typename Fails>
Case shrink(TermManager& tm, Case c, Fails fails) {
  for (bool smaller = true; smaller;) {
    smaller = false;
    for (auto const part : parts_of_a_case())
      for (std::size_t i = (c.*part).size(); i-- > 0;) {
        Case fewer = c;
        (fewer.*part).erase((fewer.*part).begin() + static_cast<std::ptrdiff_t>(i));
        if (!fails(fewer)) continue;
        c = fewer;
        smaller = true;
      }
    std::vector<Term_ const*> const terms = terms_of(c);
    for (std::size_t i = terms.size(); i-- > 0 && !smaller;)
      for (Term_ const* to : simpler_terms(tm, c, terms[i])) {
        Case const now = with(tm, c, terms[i], to);
        if (terms_of(now).size() >= terms.size() || !fails(now)) continue;
        c = now;
        smaller = true;
        break;
      }
  }
  return c;
}

}  // namespace vell::test

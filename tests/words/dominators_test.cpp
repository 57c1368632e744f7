#include "vell/words/analysis/dominators.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/generate/random.h"
#include "vell/terms/cone.h"

namespace vell::words {
namespace {

using Terms = std::vector<Term_ const*>;
using S = SymbolTag::tag;

// Whether a way from a root to t leaves out d.
bool reached_without(Terms const& terms, Terms const& roots, Term_ const* t, Term_ const* d) {
  std::vector<bool> in(terms.back()->id + 1, false);
  for (Term_ const* r : roots) in[r->id] = r != d;
  for (std::size_t i = terms.size(); i-- > 0;)
    if (in[terms[i]->id])
      for (std::uint64_t k = 0; k < terms[i]->symbol->arity; ++k)
        if (terms[i]->children[k] != d) in[terms[i]->children[k]->id] = true;
  return in[t->id];
}

TEST(Dominators, AgreeWithWaysOnRandomTerms) {
  generate::Random r(3);
  for (unsigned round = 0; round < 60; ++round) {
    TermManager tm;
    Terms made;
    for (unsigned i = 0; i < 4; ++i) made.push_back(tm.mk_variable("x" + std::to_string(i), tm.bool_type));
    for (unsigned i = 0; i < 30; ++i) {
      auto const recent = [&] {
        return made[made.size() - 1 - r.below(std::min<std::size_t>(made.size(), 6))];
      };
      made.push_back(r.percent(30) ? tm.mk_app(S::bool_not, {recent()})
                                   : tm.mk_app(S::bool_and, {recent(), recent()}));
    }
    Terms const roots{made.back(), made[made.size() - 4]};
    Cone cone;
    cone.add(roots);
    Terms const terms = cone.sorted();
    Dominators const dominators(terms, roots, run::no_limits());
    for (Term_ const* t : terms) {
      // Of those that dominate t, all others dominate the nearest one.
      Terms above;
      for (Term_ const* d : terms)
        if (d != t && !reached_without(terms, roots, t, d)) above.push_back(d);
      Dominators::Place const immediate = dominators.immediate(dominators.place(t));
      ASSERT_EQ(above.empty(), immediate == Dominators::none);
      if (!above.empty()) {
        // Users have larger ids than their operands, so the nearest one has the least.
        ASSERT_EQ(above.front(), terms[immediate]);
      }
      std::uint64_t uses = static_cast<std::uint64_t>(std::count(roots.begin(), roots.end(), t));
      bool const root = uses != 0;
      for (Term_ const* u : terms)
        for (std::uint64_t k = 0; k < u->symbol->arity; ++k) uses += u->children[k] == t ? 1 : 0;
      bool const once = dominators.used_once(dominators.place(t));
      ASSERT_EQ(uses == 1 && !root, once);
      if (once) {
        Term_ const* const user = terms[dominators.user(dominators.place(t))];
        ASSERT_EQ(t, user->children[dominators.operand(dominators.place(t))]);
      }
    }
  }
}

TEST(Dominators, DeepTerms) {
  TermManager tm;
  Term_ const* const p = tm.mk_variable("p", tm.bool_type);
  Term_ const* t = p;
  for (unsigned i = 0; i < 300'000; ++i) t = tm.mk_app(S::bool_and, {p, tm.mk_app(S::bool_not, {t})});
  Cone cone;
  cone.add(t);
  Terms const terms = cone.sorted();
  Dominators const dominators(terms, std::span(&t, 1), run::no_limits());
  EXPECT_EQ(t, terms[dominators.immediate(dominators.place(p))]);
}

}  // namespace
}  // namespace vell::words

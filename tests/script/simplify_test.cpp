#include "vell/script/simplify.h"

#include <gtest/gtest.h>

#include "vell/script/error.h"
#include "vell/script/script.h"

namespace vell::script {
namespace {

std::vector<Term_ const*> formulas_of(Script const& script) {
  std::vector<Term_ const*> out;
  for (Formula const& f : script.formulas()) out.push_back(f.term);
  return out;
}

TEST(Simplify, EliminatesWhatAFormulaDefines) {
  TermManager terms;
  Script const script = Script::text(terms,
                                     "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))"
                                     "(assert (= x (bvadd y #x01)))(assert (bvult x #x10))");
  Simplified const s = simplify(terms, formulas_of(script));
  ASSERT_EQ(1U, s.definitions.size());
  ASSERT_EQ(1U, s.formulas.size());
}

TEST(Simplify, DoesNothingWithoutPasses) {
  TermManager terms;
  Script const script = Script::text(terms, "(declare-const x Bool)(assert (and x x))");
  Options options;
  options.words = "none";
  Simplified const s = simplify(terms, formulas_of(script), options);
  EXPECT_EQ(formulas_of(script), s.formulas);
  EXPECT_TRUE(s.definitions.empty());
}

TEST(Simplify, RefusesUnknownOptions) {
  TermManager terms;
  Options options;
  options.words = "some";
  EXPECT_THROW(simplify(terms, {}, options), Exception);
  options.words = "all";
  options.settings = {"none=1"};
  EXPECT_THROW(simplify(terms, {}, options), Exception);
}

}  // namespace
}  // namespace vell::script

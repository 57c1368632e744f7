#include "vell/report/model.h"

#include <gtest/gtest.h>

#include "tests/support/scratch.h"
#include "vell/terms/exception.h"

namespace vell::report {
namespace {

Model read(std::string const& text) {
  vell::test::Scratch scratch;
  return Model::read(scratch.write("model", text));
}

TEST(Model, ReadsWhatDecodePrints) {
  Model const m =
      read("sat\n(\n  (define-fun x () (_ BitVec 4) #b0110)\n  (define-fun |a b| () Bool true)\n)\n");
  EXPECT_EQ((Model::Bits{false, true, true, false}), *m.find("x"));
  EXPECT_EQ((Model::Bits{true}), *m.find("a b"));
  EXPECT_EQ(nullptr, m.find("y"));
  EXPECT_NE(nullptr, read("(define-fun x () Bool true)").find("x"));
  EXPECT_EQ(nullptr, read("sat\n(\n)\n").find("x"));
}

TEST(Model, GivesValuesToTerms) {
  Model const m = read("sat\n((define-fun x () (_ BitVec 4) #b0110))");
  TermManager tm;
  values::Evaluator evaluator(tm);
  evaluator.set_assignment(m);
  Term_ const* x = tm.mk_variable("x", tm.bv_type(4));
  Term_ const* y = tm.mk_variable("y", tm.bv_type(4));
  EXPECT_EQ("#b1100", evaluator.text(tm.mk_app(SymbolTag::bv_add, {x, x})));
  EXPECT_EQ("#b0000", evaluator.text(y));
  EXPECT_EQ("#b00000", evaluator.text(tm.mk_variable("x", tm.bv_type(5))));
}

TEST(Model, RefusesWhatIsNone) {
  for (char const* text : {"", "unsat\n", "unknown\n", "s SATISFIABLE", "sat\n((define-fun x () Bool true)",
                           "sat\n((assert true))", "sat\n((define-fun x () Bool 1))", "sat\n(()"})
    EXPECT_THROW(read(text), Exception) << text;
}

}  // namespace
}  // namespace vell::report

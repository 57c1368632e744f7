#include "vell/words/elimination.h"

#include "tests/words/passfixture.h"

namespace vell::words {
namespace {

using Texts = std::vector<std::string>;

class EliminationTest : public test::PassTest {
 protected:
  Formulas formulas;

  // The formulas that are left; "x := t" for each definition after them.
  Texts after(std::string const& script) {
    formulas = read(
        "(declare-const p Bool)(declare-const q Bool)(declare-const x (_ BitVec 4))"
        "(declare-const y (_ BitVec 4))(declare-const z (_ BitVec 4))(declare-const b (_ BitVec 1))" +
        script);
    make_elimination(context)->apply(formulas);
    Texts out = texts(formulas.permanent);
    for (Definition const& d : formulas.definitions)
      out.push_back(std::string(d.variable->symbol->name) + " := " + smtlib::term_text(tm, d.value));
    return out;
  }
};

TEST_F(EliminationTest, AnEquationDefinesAVariable) {
  EXPECT_EQ((Texts{"(bvult (bvmul y z) y)", "x := (bvmul y z)"}),
            after("(assert (= x (bvmul y z)))(assert (bvult x y))"));
  EXPECT_EQ((Texts{"x := (_ bv3 4)"}), after("(assert (= #b0011 x))"));
  // Of two variables the younger one goes.
  EXPECT_EQ((Texts{"y := x"}), after("(assert (= x y))"));
}

TEST_F(EliminationTest, ALiteralDefinesABoolean) {
  EXPECT_EQ((Texts{"p := true", "q := false"}), after("(assert p)(assert (not q))"));
  EXPECT_EQ((Texts{"p := (bvult x y)"}), after("(assert (= p (bvult x y)))"));
  EXPECT_EQ((Texts{"p := (not (bvult x y))"}), after("(assert (not (= p (bvult x y))))"));
  EXPECT_EQ((Texts{"b := (_ bv0 1)"}), after("(assert (not (= b #b1)))"));
}

TEST_F(EliminationTest, FormulasAreSolvedForAVariable) {
  EXPECT_EQ((Texts{"x := (bvsub (bvmul z z) y)"}), after("(assert (= (bvadd x y) (bvmul z z)))"));
  EXPECT_EQ((Texts{"x := (bvadd (bvmul z z) (bvmul y y))"}),
            after("(assert (= (bvsub x (bvmul y y)) (bvmul z z)))"));
  EXPECT_EQ((Texts{"x := (bvsub (bvmul y y) (bvmul z z))"}),
            after("(assert (= (bvsub (bvmul y y) x) (bvmul z z)))"));
  EXPECT_EQ((Texts{"x := (bvxor (bvmul z z) (bvmul y y))"}),
            after("(assert (= (bvxor x (bvmul y y)) (bvmul z z)))"));
  EXPECT_EQ((Texts{"x := (bvsub (bvmul z z) y)"}), after("(assert (= (bvmul z z) (bvadd x y)))"));
  EXPECT_EQ((Texts{"x := (bvnot (bvmul y z))"}), after("(assert (= (bvnot x) (bvmul y z)))"));
  EXPECT_EQ((Texts{"x := (bvneg (bvmul y z))"}), after("(assert (= (bvneg x) (bvmul y z)))"));
}

TEST_F(EliminationTest, AVariableIsNotDefinedByItself) {
  EXPECT_EQ((Texts{"(= x (bvmul x x))"}), after("(assert (= x (bvmul x x)))"));
}

TEST_F(EliminationTest, ACircleKeepsOneVariable) {
  Texts const left = after("(assert (= x (bvmul y y)))(assert (= y (bvmul z z)))(assert (= z (bvmul x x)))");
  EXPECT_EQ(1u, formulas.permanent.size());
  EXPECT_EQ(2u, formulas.definitions.size()) << testing::PrintToString(left);
}

TEST_F(EliminationTest, AChainIsFollowedToItsEnd) {
  EXPECT_EQ((Texts{"x := (bvmul (bvnot z) z)", "y := (bvnot z)"}),
            after("(assert (= x (bvmul y z)))(assert (= y (bvnot z)))"));
}

TEST_F(EliminationTest, AChainOfAMillionDefinitions) {
  Formulas chain;
  chain.first = true;
  Term_ const* last = tm.mk_variable("x", tm.bv_type(8));
  for (unsigned i = 0; i < 1'000'000; ++i) {
    Term_ const* const next = tm.mk_variable("n", tm.bv_type(8));
    chain.permanent.push_back(
        {tm.mk_app(SymbolTag::equal, {next, tm.mk_app(SymbolTag::bv_mul, {last, last})}), i});
    last = next;
  }
  EXPECT_EQ(1'000'000u, make_elimination(context)->apply(chain));
  EXPECT_TRUE(chain.permanent.empty());
}

TEST_F(EliminationTest, LaterFormulasTakeTheValue) {
  std::unique_ptr<Pass> const pass = make_elimination(context);
  Formulas first = read(
      "(declare-const x (_ BitVec 4))(declare-const y (_ BitVec 4))(assert (= x (bvmul y y)))"
      "(assert (bvult x y))");
  Term_ const* const comparison = first.permanent[1].term;
  pass->apply(first);
  Formulas later;
  later.assumed.push_back({comparison, 0});
  pass->apply(later);
  EXPECT_EQ((Texts{"(bvult (bvmul y y) y)"}), texts(later.assumed));
  EXPECT_TRUE(later.permanent.empty());
}

// With free division each quotient by zero has a value of its own: the term has to stay as it is.
TEST_F(EliminationTest, BelowATermWithAnOpenValueVariablesStay) {
  PassContext const free{tm, true, limits, tunables};
  Formulas both = read(
      "(declare-const x (_ BitVec 4))(declare-const y (_ BitVec 4))(assert (= x (bvmul y y)))"
      "(assert (bvult (bvudiv y x) y))");
  EXPECT_EQ(0u, make_elimination(free)->apply(both));
  EXPECT_EQ((Texts{"(= x (bvmul y y))", "(bvult (bvudiv y x) y)"}), texts(both.permanent));

  std::unique_ptr<Pass> const pass = make_elimination(free);
  Formulas first;
  first.first = true;
  first.permanent.push_back(both.permanent[0]);
  EXPECT_EQ(1u, pass->apply(first));
  Formulas later;
  later.permanent.push_back(both.permanent[1]);
  pass->apply(later);
  EXPECT_EQ((Texts{"(bvult (bvudiv y x) y)", "(= x (bvmul y y))"}), texts(later.permanent));
}

// ---- slices ----

TEST_F(EliminationTest, AFormulaThatFixesASliceEliminatesItsBits) {
  EXPECT_EQ((Texts{"(bvult (concat part!0 (concat (bvmul b b) part!1)) y)",
                   "x := (concat part!0 (concat (bvmul b b) part!1))"}),
            after("(assert (= ((_ extract 1 1) x) (bvmul b b)))(assert (bvult x y))"));
  // At an end, of one bit, negated.
  for (std::string const said :
       {"(= ((_ extract 3 2) x) #b01)", "(= #b0 ((_ extract 0 0) x))", "(not (= ((_ extract 1 1) x) #b0))"}) {
    EXPECT_EQ(2u, after("(assert " + said + ")(assert (bvult x (bvmul x x)))").size()) << said;
    ASSERT_EQ(1u, formulas.definitions.size()) << said;
    EXPECT_STREQ("x", formulas.definitions[0].variable->symbol->name);
    EXPECT_EQ(4u, tm.width(formulas.definitions[0].value));
  }
  // What is said of it by itself stays, and so does every variable where no new ones are wanted.
  EXPECT_EQ(1u, after("(assert (= ((_ extract 3 2) x) ((_ extract 1 0) (bvnot x))))").size());
  Formulas only =
      read("(declare-const x (_ BitVec 8))(assert (= ((_ extract 7 6) x) #b01))(assert (bvult x #x42))");
  only.substitute_only = true;
  EXPECT_EQ(0u, make_elimination(context)->apply(only));
}

TEST_F(EliminationTest, AVariableOfWhichOnlySlicesAreUsedIsSplit) {
  EXPECT_EQ(
      (Texts{"(let ((_t17 (concat part!2 (concat part!1 part!0)))) "
             "(bvult (concat (_ bv0 1) ((_ extract 0 0) _t17)) ((_ extract 2 1) _t17)))",
             "(bvult y z)", "x := (concat part!2 (concat part!1 part!0))"}),
      after("(assert (bvult (concat #b0 ((_ extract 0 0) x)) ((_ extract 2 1) x)))(assert (bvult y z))"));
  ASSERT_EQ(1u, formulas.definitions.size());
  EXPECT_EQ(4u, tm.width(formulas.definitions[0].value));
  // A use of the whole, an overlap, and one slice alone leave it as it is.
  for (std::string const said :
       {"(bvult ((_ extract 2 1) x) ((_ extract 1 0) (bvand x y)))",
        "(bvult ((_ extract 2 1) x) ((_ extract 3 2) x))", "(bvult ((_ extract 2 1) x) ((_ extract 3 2) y))"})
    EXPECT_EQ(1u, after("(assert " + said + ")").size()) << said;
}

}  // namespace
}  // namespace vell::words

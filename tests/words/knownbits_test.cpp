#include "vell/words/knownbits.h"

#include "tests/words/passfixture.h"

namespace vell::words {
namespace {

using Texts = std::vector<std::string>;

class KnownBitsTest : public test::PassTest {
 protected:
  Texts after(std::string const& script) {
    Formulas formulas = read(
        "(declare-const p Bool)(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))"
        "(declare-const z (_ BitVec 8))" +
        script);
    replaced = make_known_bits(context)->apply(formulas);
    return texts(formulas.permanent);
  }
  std::uint64_t replaced = 0;
};

TEST_F(KnownBitsTest, AFormulaDoesNotDecideItself) {
  for (std::string const f :
       {"(bvule x (_ bv5 8))", "(not (bvule x (_ bv5 8)))", "(bvsle x (_ bv5 8))", "(bvule x y)",
        "(= ((_ extract 5 2) x) (_ bv3 4))", "(not (= x (_ bv0 8)))", "(bvule (bvadd x y) (_ bv9 8))",
        "(not (= ((_ extract 7 7) (bvmul x y)) (_ bv1 1)))", "(= (bvadd x y) (_ bv9 8))"}) {
    EXPECT_EQ(Texts{f}, after("(assert " + f + ")"));
    EXPECT_EQ(0u, replaced);
  }
}

TEST_F(KnownBitsTest, TwoFormulasDoNotDecideEachOther) {
  // Each follows from the other two.
  Texts const circle{"(bvule x y)", "(bvule y z)", "(bvule z x)"};
  EXPECT_EQ(circle, after("(assert " + circle[0] + ")(assert " + circle[1] + ")(assert " + circle[2] + ")"));
  // Of two that say the same one stays.
  EXPECT_EQ((Texts{"(bvule x (_ bv5 8))", "true"}), after("(assert (bvule x #x05))(assert (bvule x #x07))"));
  EXPECT_EQ((Texts{"(bvule x (_ bv7 8))", "(bvule x (_ bv5 8))"}),
            after("(assert (bvule x #x07))(assert (bvule x #x05))"));
  EXPECT_EQ((Texts{"(= ((_ extract 7 4) x) (_ bv0 4))", "true"}),
            after("(assert (= ((_ extract 7 4) x) #x0))(assert (bvule x #x0f))"));
}

TEST_F(KnownBitsTest, AboutAWordBelowAndAWordAbove) {
  // The bounds of x and y reach x + y; that of x + y does not reach back.
  EXPECT_EQ((Texts{"(bvule x (_ bv3 8))", "(bvule y (_ bv3 8))", "true"}),
            after("(assert (bvule x #x03))(assert (bvule y #x03))(assert (bvule (bvadd x y) #x06))"));
  EXPECT_EQ(
      (Texts{"(bvule (bvor (concat (_ bv0 6) ((_ extract 1 0) x)) y) (_ bv3 8))", "(bvule x (_ bv3 8))"}),
      after("(assert (bvule (bvor x y) #x03))(assert (bvule x #x03))"));
}

TEST_F(KnownBitsTest, ContradictionsAreFound) {
  EXPECT_EQ(Texts{"false"}, after("(assert (bvule x #x03))(assert (bvule #x04 x))"));
  EXPECT_EQ(Texts{"false"}, after("(assert (= ((_ extract 0 0) x) #b1))(assert (= x #x04))"));
  EXPECT_EQ(Texts{"false"}, after("(assert (bvult x y))(assert (bvule y #x00))(assert (not (= x y)))"
                                  "(assert (bvult (bvurem z #x05) z))(assert (= (bvurem z #x05) #x05))"));
}

TEST_F(KnownBitsTest, ComparisonsAreDecided) {
  EXPECT_EQ((Texts{"(bvule x (_ bv5 8))", "(or p false)"}),
            after("(assert (bvule x #x05))(assert (or p (bvult #x0b (bvadd x #x06))))"));
  EXPECT_EQ(Texts{"true"}, after("(assert (bvult (bvurem x #x05) #x07))"));
  EXPECT_EQ((Texts{"true"}), after("(assert (or p (bvsle (bvlshr x #x01) #x7f)))"));
}

TEST_F(KnownBitsTest, WordsAreCutToTheBitsThatVary) {
  EXPECT_EQ((Texts{"(bvule x (_ bv5 8))",
                   "(= (concat (_ bv0 4) (bvadd ((_ extract 3 0) (concat (_ bv0 5) ((_ extract 2 0) x))) "
                   "(_ bv7 4))) y)"}),
            after("(assert (bvule x #x05))(assert (= (bvadd x #x07) y))"));
  EXPECT_EQ((Texts{"(= ((_ extract 5 2) x) (_ bv3 4))",
                   "(bvult (concat ((_ extract 7 6) x) (concat (_ bv3 4) ((_ extract 1 0) x))) y)"}),
            after("(assert (= ((_ extract 5 2) x) #x3))(assert (bvult x y))"));
}

TEST_F(KnownBitsTest, NarrowProductsAndQuotients) {
  std::string const bounds = "(assert (bvule x #x0f))(assert (bvule y #x03))(assert (bvule #x01 y))";
  EXPECT_NE(std::string::npos,
            after(bounds + "(assert (= (bvmul x y) z))")[3].find("(bvmul ((_ extract 5 0)"));
  EXPECT_NE(std::string::npos,
            after(bounds + "(assert (= (bvsdiv x y) z))")[3].find("(bvudiv ((_ extract 3 0)"));
  EXPECT_NE(std::string::npos,
            after(bounds + "(assert (= (bvsrem x y) z))")[3].find("(bvurem ((_ extract 3 0)"));
  // The quotient by zero has all its bits.
  EXPECT_NE(std::string::npos,
            after("(assert (bvule x #x0f))(assert (bvule y #x03))(assert (= (bvudiv x y) z))")[2].find(
                "(_ bv255 8)"));
}

TEST_F(KnownBitsTest, FormulasThatMayGoSayNothing) {
  Formulas formulas = read("(declare-const x (_ BitVec 8))(assert (bvule x #x05))(assert (bvule x #x09))");
  formulas.retractable.push_back(formulas.permanent[0]);
  formulas.permanent.erase(formulas.permanent.begin());
  make_known_bits(context)->apply(formulas);
  EXPECT_EQ(Texts{"(bvule x (_ bv9 8))"}, texts(formulas.permanent));
  EXPECT_EQ(1u, formulas.retractable.size());
  EXPECT_NE("true", texts(formulas.retractable)[0]);
}

}  // namespace
}  // namespace vell::words

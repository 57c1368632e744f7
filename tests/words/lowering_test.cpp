#include "vell/words/lowering.h"

#include "tests/words/passfixture.h"

namespace vell::words {
namespace {

using Texts = std::vector<std::string>;

class LoweringTest : public test::PassTest {
 protected:
  Texts after(std::string const& script, bool free_division = false) {
    Formulas formulas = read("(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))" + script);
    PassContext const c{tm, free_division, limits, tunables};
    make_lowering(c)->apply(formulas);
    return texts(formulas.permanent);
  }
};

TEST_F(LoweringTest, ADifferenceIsOneAdder) {
  EXPECT_EQ((Texts{"(= (bvnot (bvadd (bvnot x) y)) (_ bv5 8))"}), after("(assert (= (bvsub x y) #x05))"));
}

TEST_F(LoweringTest, AProductByANumeralTakesTheFewestDigits) {
  // 15 = 16 - 1
  EXPECT_EQ((Texts{"(= (bvnot (bvadd (bvnot (concat ((_ extract 3 0) x) (_ bv0 4))) x)) y)"}),
            after("(assert (= (bvmul #x0f x) y))"));
  EXPECT_EQ((Texts{"(= (bvmul (_ bv3 8) x) y)"}), after("(assert (= (bvmul #x03 x) y))"));
}

TEST_F(LoweringTest, ARemainderUsesTheQuotientBesideIt) {
  EXPECT_EQ(
      (Texts{"(= (bvudiv x y) (_ bv5 8))", "(= (bvnot (bvadd (bvnot x) (bvmul y (bvudiv x y)))) (_ bv1 8))"}),
      after("(assert (= (bvudiv x y) #x05))(assert (= (bvurem x y) #x01))"));
  Texts const alone{"(= (bvurem x y) (_ bv1 8))"};
  EXPECT_EQ(alone, after("(assert (= (bvurem x y) #x01))"));
  Texts const free{"(= (bvudiv x y) (_ bv5 8))", "(= (bvurem x y) (_ bv1 8))"};
  EXPECT_EQ(free, after("(assert (= (bvudiv x y) #x05))(assert (= (bvurem x y) #x01))", true));
}

TEST_F(LoweringTest, SignedOrderIsUnsignedOrderWithTheSignFlipped) {
  EXPECT_EQ((Texts{"(bvule (concat (bvnot ((_ extract 7 7) x)) ((_ extract 6 0) x)) "
                   "(concat (bvnot ((_ extract 7 7) y)) ((_ extract 6 0) y)))"}),
            after("(assert (bvsle x y))"));
}

}  // namespace
}  // namespace vell::words

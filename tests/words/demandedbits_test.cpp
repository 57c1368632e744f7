#include "vell/words/demandedbits.h"

#include "tests/words/passfixture.h"

namespace vell::words {
namespace {

using Texts = std::vector<std::string>;

class DemandedBitsTest : public test::PassTest {
 protected:
  Texts after(std::string const& script) {
    Formulas formulas =
        read("(declare-const p Bool)(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))" + script);
    replaced = make_demanded_bits(context)->apply(formulas);
    return texts(formulas.permanent);
  }
  std::uint64_t replaced = 0;
};

TEST_F(DemandedBitsTest, BitwiseOperatorsAreCutOnBothSides) {
  EXPECT_EQ((Texts{"(= (bvand ((_ extract 5 2) x) ((_ extract 5 2) y)) (_ bv5 4))"}),
            after("(assert (= ((_ extract 5 2) (bvand x y)) #b0101))"));
  EXPECT_EQ((Texts{"(= (ite p ((_ extract 5 2) x) ((_ extract 5 2) y)) (_ bv5 4))"}),
            after("(assert (= ((_ extract 5 2) (ite p x y)) #b0101))"));
  EXPECT_EQ(1u, replaced);
}

TEST_F(DemandedBitsTest, SumsAndProductsKeepTheirLowBits) {
  EXPECT_EQ((Texts{"(= ((_ extract 3 2) (bvadd ((_ extract 3 0) x) ((_ extract 3 0) y))) (_ bv1 2))"}),
            after("(assert (= ((_ extract 3 2) (bvadd x y)) #b01))"));
  EXPECT_EQ((Texts{"(= (bvmul ((_ extract 3 0) x) ((_ extract 3 0) y)) (_ bv5 4))"}),
            after("(assert (= ((_ extract 3 0) (bvmul x y)) #b0101))"));
  EXPECT_EQ((Texts{"(= (bvneg ((_ extract 3 0) x)) (_ bv5 4))"}),
            after("(assert (= ((_ extract 3 0) (bvneg x)) #b0101))"));
}

TEST_F(DemandedBitsTest, OneRangeForAllWhoAsk) {
  // Bits 1 to 6: one circuit, not two.
  EXPECT_EQ(
      (Texts{"(= ((_ extract 1 0) (bvor ((_ extract 6 1) x) ((_ extract 6 1) y))) (_ bv1 2))",
             "(= ((_ extract 5 4) (bvor ((_ extract 6 1) x) ((_ extract 6 1) y))) (_ bv2 2))"}),
      after("(assert (= ((_ extract 2 1) (bvor x y)) #b01))(assert (= ((_ extract 6 5) (bvor x y)) #b10))"));
}

TEST_F(DemandedBitsTest, WhatIsAskedForAsAWholeStays) {
  Texts const script{"(= ((_ extract 3 0) (bvadd x y)) (_ bv5 4))", "(bvult (bvadd x y) x)"};
  EXPECT_EQ(script, after("(assert " + script[0] + ")(assert " + script[1] + ")"));
  EXPECT_EQ(0u, replaced);
}

TEST_F(DemandedBitsTest, ThroughWires) {
  EXPECT_EQ((Texts{"(= (bvnot (bvadd ((_ extract 1 0) x) ((_ extract 1 0) y))) (_ bv1 2))"}),
            after("(assert (= ((_ extract 1 0) (bvnot (concat ((_ extract 3 0) x) ((_ extract 3 0) (bvadd x "
                  "y))))) #b01))"));
  EXPECT_EQ((Texts{"(= ((_ extract 1 1) (bvadd ((_ extract 1 0) x) ((_ extract 1 0) y))) (_ bv1 1))"}),
            after("(assert (= ((_ extract 9 9) ((_ sign_extend 8) ((_ extract 1 0) (bvadd x y)))) #b1))"));
}

}  // namespace
}  // namespace vell::words

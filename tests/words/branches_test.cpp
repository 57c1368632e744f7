#include "vell/words/branches.h"

#include "tests/words/passfixture.h"

namespace vell::words {
namespace {

class BranchesTest : public test::PassTest {
 protected:
  std::string after(std::string const& formula) {
    Formulas formulas = read(
        "(declare-const p Bool)(declare-const q Bool)(declare-const x (_ BitVec 8))"
        "(declare-const y (_ BitVec 8))(declare-const z (_ BitVec 8))(declare-const u (_ BitVec 8))(assert " +
        formula + ")");
    make_branches(context)->apply(formulas);
    return texts(formulas.permanent).at(0);
  }
  void stays(std::string const& formula) { EXPECT_EQ(formula, after(formula)); }
};

TEST_F(BranchesTest, OperatorsWithACommonOperandMeet) {
  EXPECT_EQ("(= (bvadd x (ite p y z)) u)", after("(= (ite p (bvadd x y) (bvadd z x)) u)"));
  EXPECT_EQ("(= (bvsub (ite p y z) x) u)", after("(= (ite p (bvsub y x) (bvsub z x)) u)"));
  EXPECT_EQ("(= (bvor (ite p y z) x) u)", after("(= (ite p (bvor y x) (bvor z x)) u)"));
  EXPECT_EQ("(= (bvshl x (ite p y z)) u)", after("(= (ite p (bvshl x y) (bvshl x z)) u)"));
  EXPECT_EQ("(= (bvneg (ite p y z)) u)", after("(= (ite p (bvneg y) (bvneg z)) u)"));
  EXPECT_EQ("(bvule (ite p x y) z)", after("(ite p (bvule x z) (bvule y z))"));
  EXPECT_EQ("(= (bvadd x (ite p (_ bv1 8) (_ bv7 8))) u)",
            after("(= (ite p (bvadd x (_ bv1 8)) (bvadd x (_ bv7 8))) u)"));
}

TEST_F(BranchesTest, LargeOperatorsMeetWithoutOne) {
  EXPECT_EQ("(= (bvmul (ite p x z) (ite p y u)) u)", after("(= (ite p (bvmul x y) (bvmul z u)) u)"));
  EXPECT_EQ("(= (bvsub (ite p x z) (ite p y x)) u)", after("(= (ite p (bvsub x y) (bvsub z x)) u)"));
  stays("(= (ite p (bvor x y) (bvor z u)) u)");
}

TEST_F(BranchesTest, ChainsMeetFromTheInside) {
  EXPECT_EQ("(= (bvadd x (ite p y (ite q z u))) u)",
            after("(= (ite p (bvadd x y) (ite q (bvadd x z) (bvadd x u))) u)"));
}

TEST_F(BranchesTest, SharedBranchesStay) {
  stays("(let ((_t7 (bvadd x y))) (and (= (ite p _t7 (bvadd x z)) u) (bvult _t7 z)))");
  stays("(let ((_t19 (ite p x y))) (and (bvule _t19 (_ bv9 8)) (= _t19 z)))");
}

TEST_F(BranchesTest, NumeralsAreComparedInTheBranches) {
  EXPECT_EQ("(ite p (bvule x (_ bv9 8)) (ite q (bvule y (_ bv9 8)) (bvule z (_ bv9 8))))",
            after("(bvule (ite p x (ite q y z)) (_ bv9 8))"));
  EXPECT_EQ("(ite p (= x (_ bv9 8)) (= y (_ bv9 8)))", after("(= (ite p x y) (_ bv9 8))"));
  stays("(bvule (ite p x y) z)");
}

TEST_F(BranchesTest, DeepTrees) {
  Term_ const* t = tm.mk_variable("x", tm.bv_type(8));
  for (unsigned i = 0; i < 100'000; ++i)
    t = tm.mk_app(SymbolTag::term_ite,
                  {tm.mk_variable("p", tm.bool_type), tm.mk_variable("y", tm.bv_type(8)), t});
  Formulas formulas;
  formulas.first = true;
  formulas.permanent.push_back({tm.mk_app(SymbolTag::bv_ule, {t, tm.mk_bv(9, 8)}), 0});
  EXPECT_EQ(1u, make_branches(context)->apply(formulas));
}

}  // namespace
}  // namespace vell::words

#include "vell/words/pathconditions.h"

#include "tests/words/passfixture.h"

namespace vell::words {
namespace {

using Texts = std::vector<std::string>;

class PathConditionsTest : public test::PassTest {
 protected:
  std::string after(std::string const& formula) {
    Formulas formulas = read(
        "(declare-const p Bool)(declare-const q Bool)(declare-const r Bool)(declare-const x (_ BitVec 8))"
        "(declare-const y (_ BitVec 8))(declare-const z (_ BitVec 8))(assert " +
        formula + ")");
    make_path_conditions(context)->apply(formulas);
    return texts(formulas.permanent).at(0);
  }
};

TEST_F(PathConditionsTest, ConditionsInBranches) {
  EXPECT_EQ("(= (ite p (bvadd x (ite true y z)) (ite (or false q) x y)) z)",
            after("(= (ite p (bvadd x (ite p y z)) (ite (or p q) x y)) z)"));
  EXPECT_EQ("(= (ite (= x (_ bv3 8)) (bvmul y (_ bv3 8)) (bvadd y x)) z)",
            after("(= (ite (= x #x03) (bvmul y x) (bvadd y x)) z)"));
  EXPECT_EQ("(= (ite (and p q) (ite true x y) (ite p y z)) x)",
            after("(= (ite (and p q) (ite q x y) (ite p y z)) x)"));
}

TEST_F(PathConditionsTest, AChainOverOneKey) {
  EXPECT_EQ("(= (ite (= x (_ bv1 8)) (ite false y z) (ite (= x (_ bv2 8)) y x)) z)",
            after("(= (ite (= x #x01) (ite (= x #x02) y z) (ite (= x #x02) y x)) z)"));
}

TEST_F(PathConditionsTest, OfAConjunctionTheOlderPartSpeaks) {
  EXPECT_EQ("(and p (or q (and true r)))", after("(and p (or q (and p r)))"));
  EXPECT_EQ("(or p (and q (or false r)))", after("(or p (and q (or p r)))"));
  // Both have p in common, and one of them keeps it.
  EXPECT_EQ("(and (or p q) (or p r))", after("(and (or p q) (or p r))"));
}

TEST_F(PathConditionsTest, BitsOfBitwiseOperators) {
  EXPECT_EQ("(= (bvor x (bvxor y (bvand z (_ bv0 8)))) z)", after("(= (bvor x (bvxor y (bvand z x))) z)"));
  EXPECT_EQ("(= (bvand x (bvxor y (bvor z (_ bv0 8)))) z)",
            after("(= (bvand x (bvxor y (bvor z (bvnot x)))) z)"));
  // Sums move bits, and conditions are no bits of the word.
  EXPECT_EQ("(= (bvor x (bvadd y (bvand z x))) z)", after("(= (bvor x (bvadd y (bvand z x))) z)"));
  EXPECT_EQ("(= (bvor x (ite (= (bvand y x) z) y z)) z)",
            after("(= (bvor x (ite (= (bvand y x) z) y z)) z)"));
}

TEST_F(PathConditionsTest, WhatIsUsedElsewhereStays) {
  std::string const shared = "(let ((_t8 (bvadd x (ite p y z)))) (and (= (ite p _t8 x) z) (bvult _t8 y)))";
  EXPECT_EQ(shared, after(shared));
  // Used twice, but under the condition both times.
  EXPECT_EQ("(let ((_t26 (ite true y z))) (= (ite p (bvmul _t26 (bvadd x _t26)) x) z))",
            after("(= (ite p (bvmul (ite p y z) (bvadd x (ite p y z))) x) z)"));
}

TEST_F(PathConditionsTest, DeepChains) {
  Term_ const* const x = tm.mk_variable("x", tm.bv_type(8));
  Term_ const* const y = tm.mk_variable("y", tm.bv_type(8));
  Term_ const* t = y;
  for (unsigned i = 0; i < 100'000; ++i)
    t = tm.mk_app(SymbolTag::bv_or, {x, tm.mk_app(SymbolTag::bv_xor, {tm.mk_bv(i % 255, 8), t})});
  Formulas formulas;
  formulas.first = true;
  formulas.permanent.push_back({tm.mk_app(SymbolTag::equal, {t, y}), 0});
  EXPECT_EQ(1u, make_path_conditions(context)->apply(formulas));
}

}  // namespace
}  // namespace vell::words

#include "vell/report/profile.h"

#include <gtest/gtest.h>

#include "tests/report/measured.h"
#include "vell/terms/exception.h"

namespace vell::report {
namespace {

using test::measured;

// x + y is needed by both assertions; the second has a name.
constexpr char shared[] =
    "(declare-const x (_ BitVec 8))\n(declare-const y (_ BitVec 8))\n"
    "(assert (bvult (bvadd x y) x))\n"
    "(assert (! (= (bvadd x y) (bvmul x y)) :named second))\n(check-sat)";

TEST(Profile, EachTermHasTheClausesOfItsHandler) {
  Profile const p = measured(shared);
  ASSERT_EQ(6u, p.terms.size());
  auto const cost = [&](std::string const& name) {
    for (TermCost const& t : p.terms)
      if (operator_name_of(*p.tm, t.term) == name) return t;
    ADD_FAILURE() << name;
    return TermCost();
  };
  // The sizes of docs/encodings.md at n = 8.
  EXPECT_EQ(14u * 8 - 7, cost("bvadd").own.clauses);
  EXPECT_EQ(16u, cost("bvadd").own.fresh);
  EXPECT_EQ(50u * 8 - 31, cost("bvadd").own.literals);
  // In the first stage of the comparison stands a constant, which satisfies two clauses.
  EXPECT_EQ(8u, cost("bvult").own.fresh);
  EXPECT_EQ(6u * 8 - 2, cost("bvult").own.clauses);
  EXPECT_EQ(5u * 8 - 1, cost("=").own.clauses);
  EXPECT_EQ(8u, cost("variable").own.fresh);
  EXPECT_EQ(0u, cost("variable").own.clauses);
  EXPECT_EQ(2u, cost("bvadd").uses);
  EXPECT_EQ(0u, cost("bvadd").root);
  EXPECT_EQ(1u, cost("bvmul").root);
  EXPECT_EQ(1u, cost("=").uses);

  Cost sum = p.units;
  for (TermCost const& t : p.terms) sum += t.own;
  EXPECT_EQ(p.total, sum);
  EXPECT_EQ(2u, p.units.clauses);
}

TEST(Profile, ASharedTermBelongsToTheFirstAssertion) {
  Profile const p = measured(shared);
  ASSERT_EQ(2u, p.roots.size());
  EXPECT_EQ(3u, p.roots[0].line);
  EXPECT_EQ("", p.roots[0].name);
  EXPECT_EQ(4u, p.roots[0].terms);
  EXPECT_EQ(14u * 8 - 7 + 6 * 8 - 2 + 1, p.roots[0].cost.clauses);
  EXPECT_EQ("second", p.roots[1].name);
  EXPECT_EQ(2u, p.roots[1].terms);
  Cost both = p.roots[0].cost;
  both += p.roots[1].cost;
  EXPECT_EQ(p.total, both);
  // With what it shares, without unit clauses.
  EXPECT_EQ(p.roots[0].cost.clauses - 1, p.roots[0].cumulative.clauses);
  EXPECT_EQ(p.roots[1].cost.clauses - 1 + 14 * 8 - 7, p.roots[1].cumulative.clauses);
  EXPECT_EQ(p.roots[1].cost.fresh + 32, p.roots[1].cumulative.fresh);
}

TEST(Profile, ByOperatorAndWidthOfTheOperands) {
  Profile const p = measured(shared);
  std::string text;
  Cost sum = p.units;
  for (OperatorCost const& o : p.operators) {
    text += o.name + "/" + std::to_string(o.width) + "*" + std::to_string(o.terms) + " ";
    sum += o.cost;
  }
  EXPECT_EQ("bvmul/8*1 bvadd/8*1 bvult/8*1 =/8*1 variable/8*2 ", text);
  EXPECT_EQ(p.total, sum);
}

TEST(Profile, TheMostExpensiveTermsComeFirst) {
  Profile const p = measured(shared);
  std::string text;
  for (std::size_t i : most_expensive(p, 3)) text += operator_name_of(*p.tm, p.terms[i].term) + " ";
  EXPECT_EQ("bvmul bvadd bvult ", text);
  EXPECT_EQ(6u, most_expensive(p, 100).size());
}

TEST(Profile, PassesHaveASizeBeforeAndAfter) {
  // A product by zero goes away, and y with it.
  Profile const p = measured(
      "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))"
      "(assert (bvult x (bvor #x10 (bvmul (bvmul y x) #x00))))(check-sat)",
      "all");
  ASSERT_FALSE(p.steps.empty());
  EXPECT_EQ("rewrite", p.steps[0].pass);
  EXPECT_EQ(p.given.clauses, p.steps[0].before.clauses);
  EXPECT_LT(*p.steps[0].after.clauses, *p.steps[0].before.clauses);
  EXPECT_LT(p.steps[0].after.terms, p.steps[0].before.terms);
  EXPECT_EQ(p.total.clauses, *p.steps.back().after.clauses);
  for (std::size_t i = 1; i < p.steps.size(); ++i) {
    EXPECT_EQ(p.steps[i - 1].after.clauses, p.steps[i].before.clauses);
    EXPECT_GT(p.steps[i].replaced, 0u);
  }
  EXPECT_TRUE(measured(shared).steps.empty());
}

TEST(Profile, TheValueOfAnEliminatedVariableIsARoot) {
  Profile const p = measured(
      "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))(declare-const z (_ BitVec 8))"
      "(assert (= z (bvnot x)))(assert (bvult (bvmul x y) (bvor x y)))(check-sat)",
      "all");
  ASSERT_EQ(2u, p.roots.size());
  EXPECT_FALSE(p.roots[0].is_definition);
  EXPECT_TRUE(p.roots[1].is_definition);
  EXPECT_EQ("z", p.roots[1].name);
  EXPECT_EQ(0u, p.roots[1].line);
  EXPECT_EQ(0u, p.roots[1].cost.clauses);
  EXPECT_EQ(1u, p.units.clauses);
}

TEST(Profile, ValuesHaveTheNamesOfTheFile) {
  // x and y are eliminated with new variables, of which the values are made.
  Profile const p = measured(
      "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))(assert (bvult x y))(check-sat)", "all");
  ASSERT_FALSE(p.roots.empty());
  for (RootCost const& r : p.roots) {
    EXPECT_TRUE(r.is_definition);
    EXPECT_TRUE(r.name == "x" || r.name == "y" || r.name.starts_with("aux!")) << r.name;
  }
  // The term of a name that the formulas do not hold.
  Profile const named = measured(
      "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))(define-const n (_ BitVec 4)"
      " ((_ extract 5 2) x))(assert (bvult (bvmul x y) (bvor x y)))(check-sat)",
      "all");
  ASSERT_EQ(2u, named.roots.size());
  EXPECT_EQ("n", named.roots[1].name);
}

TEST(Profile, EachQueryHasItsOwn) {
  std::string const script =
      "(declare-const x (_ BitVec 4))(assert (bvult x #x3))(check-sat)(assert (bvult #x1 x))(check-sat)";
  EXPECT_EQ(1u, measured(script).roots.size());
  EXPECT_EQ(2u, measured(script, "none", 2).roots.size());
  EXPECT_THROW(measured(script, "none", 3), Exception);
}

}  // namespace
}  // namespace vell::report

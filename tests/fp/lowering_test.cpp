#include "vell/fp/lowering.h"

#include <gtest/gtest.h>

#include "tests/fp/agreement.h"
#include "vell/terms/cone.h"
#include "vell/terms/exception.h"

namespace vell::fp {
namespace {

class LoweringTest : public ::testing::Test {
 protected:
  Term_ const* app(char const* name, std::initializer_list<Term_ const*> arguments,
                   std::initializer_list<std::uint64_t> indices = {}) {
    return mk_app(tm, name, arguments, indices);
  }
  Term_ const* variable(char const* name) { return tm.mk_variable(name, tm.fp_type(5, 10)); }
  std::size_t size(Term_ const* t) {
    Cone cone;
    cone.add(t);
    return cone.terms().size();
  }

  TermManager tm;
  TerminationTest const never;
  Lowering lowering{tm, never};
};

TEST_F(LoweringTest, TermsWithoutFloatingPointStayAsTheyAre) {
  Term_ const* const x = tm.mk_variable("x", tm.bv_type(8));
  Term_ const* const t = app("bvult", {x, app("bvadd", {x, tm.mk_bv(1, 8)})});
  EXPECT_EQ(lowering.lower(t), t);
  EXPECT_TRUE(lowering.variables().empty());
}

TEST_F(LoweringTest, EachTermOnce) {
  Term_ const* const x = variable("x");
  Term_ const* const y = variable("y");
  Term_ const* const sum = app("fp.add", {app("RNE", {}), x, y});
  Term_ const* const low = lowering.lower(sum);
  EXPECT_EQ(low->symbol->get_output_type(), tm.bv_type(16));
  std::uint64_t const terms = tm.term_count();
  EXPECT_EQ(lowering.lower(sum), low);
  EXPECT_EQ(tm.term_count(), terms);
  ASSERT_EQ(lowering.variables().size(), 2u);
  EXPECT_EQ(lowering.stand_in(x), lowering.variables()[0].word);
  EXPECT_EQ(lowering.stand_in(low), low);
  // The second sum shares the unpacked operands.
  std::uint64_t const before = tm.term_count();
  lowering.lower(app("fp.leq", {x, y}));
  EXPECT_LT(tm.term_count() - before, 120u);
}

TEST_F(LoweringTest, EqualitiesOfVariablesDoNotUnpackThem) {
  EXPECT_LT(size(lowering.lower(app("=", {variable("x"), variable("y")}))), 40u);
  Term_ const* const x = variable("x");
  EXPECT_EQ(lowering.lower(app("=", {x, x})), tm.mk_bool(true));
}

TEST_F(LoweringTest, ConstantsFold) {
  Term_ const* const one = app("to_fp", {tm.mk_bv(0x3c00, 16)}, {5, 11});
  Term_ const* const two = app("to_fp", {tm.mk_bv(0x4000, 16)}, {5, 11});
  EXPECT_EQ(lowering.lower(app("fp.add", {app("RNE", {}), one, one})), tm.mk_bv(0x4000, 16));
  EXPECT_EQ(lowering.lower(app("fp.div", {app("RNE", {}), one, two})), tm.mk_bv(0x3800, 16));
  EXPECT_EQ(lowering.lower(app("fp.to_sbv", {app("RTZ", {}), app("fp.neg", {two})}, {4})), tm.mk_bv(14, 4));
  EXPECT_TRUE(lowering.open_values().empty());
}

// The same operands give the same open value, in whichever term.
TEST_F(LoweringTest, OpenValuesAreFunctionsOfTheirOperands) {
  Agreement a;
  Term_ const* const x = a.tm.mk_variable("x", a.tm.fp_type(3, 2));
  Term_ const* const y = a.tm.mk_variable("y", a.tm.fp_type(3, 2));
  auto const both = [&](char const* name, std::initializer_list<std::uint64_t> indices, bool mode) {
    Term_ const* const rne = mk_app(a.tm, "RNE", {});
    auto const of = [&](Term_ const* v) {
      return mode ? mk_app(a.tm, name, {rne, v}, indices) : mk_app(a.tm, name, {v}, indices);
    };
    return mk_app(a.tm, "=", {of(x), of(y)});
  };
  for (Term_ const* t :
       {both("fp.to_ubv", {3}, true), both("fp.to_sbv", {3}, true), both("fp.to_ieee_bv", {}, false)})
    for (std::uint64_t i = 0; i < 64; ++i)
      for (std::uint64_t k : {i, (i + 1) % 64, std::uint64_t{29}}) {
        a.set(x, i);
        a.set(y, k);
        ASSERT_EQ(a.disagreement(t), "");
        if (i == k) {
          ASSERT_EQ(a.value(t), "true");
        }
      }
  // Minima of zeros: of each order of the two, whichever terms they are of.
  Term_ const* const mixed = mk_app(
      a.tm, "=", {mk_app(a.tm, "fp.min", {x, y}), mk_app(a.tm, "fp.min", {mk_app(a.tm, "fp.abs", {x}), y})});
  a.set(x, 0);
  a.set(y, 32);
  EXPECT_EQ(a.disagreement(mixed), "");
  EXPECT_EQ(a.value(mixed), "true");
}

TEST_F(LoweringTest, DeepTerms) {
  Term_ const* t = variable("x");
  Term_ const* const y = variable("y");
  Term_ const* const p = tm.mk_variable("p", tm.bool_type);
  for (int i = 0; i < 200000; ++i) t = i % 2 == 0 ? app("fp.neg", {t}) : app("ite", {p, t, y});
  Term_ const* const low = lowering.lower(app("fp.isNaN", {t}));
  EXPECT_EQ(low->symbol->get_output_type(), tm.bool_type);
}

TEST_F(LoweringTest, WhatIsNotSupportedIsRefused) {
  Term_ const* const odd = tm.mk_variable("odd", tm.fp_type(1, 3));
  EXPECT_THROW(lowering.lower(tm.mk_app(SymbolTag::fp_is_nan, {odd})), Exception);
  SymbolSpec spec;
  spec.name = "own";
  spec.arity = 1;
  spec.output_type = tm.bool_type;
  Term_ const* const operands[] = {variable("x")};
  EXPECT_THROW(lowering.lower(tm.mk_term(tm.make_symbol(spec), operands)), Exception);
}

}  // namespace
}  // namespace vell::fp

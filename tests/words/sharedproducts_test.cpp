// Products that are low bits of others: which ones are found, and that no formula changes its value.

#include "vell/words/sharedproducts.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tests/values/values.h"

namespace vell::words {
namespace {

class SharedProductsTest : public testing::Test {
 protected:
  Term_ const* word(char const* name, std::uint64_t width) { return tm.mk_variable(name, tm.bv_type(width)); }
  Term_ const* app(SymbolTag::tag tag, std::initializer_list<Term_ const*> c, std::uint64_t p0 = 0,
                   std::uint64_t p1 = 0) {
    return tm.mk_app(tag, c, p0, p1);
  }
  Term_ const* zeros(Term_ const* t, std::uint64_t n) { return app(SymbolTag::bv_zero_extend, {t}, n); }
  Term_ const* signs(Term_ const* t, std::uint64_t n) { return app(SymbolTag::bv_sign_extend, {t}, n); }
  Term_ const* joined(Term_ const* high, Term_ const* low) { return app(SymbolTag::bv_concat, {high, low}); }
  Term_ const* low(Term_ const* t, std::uint64_t n) { return app(SymbolTag::bv_extract, {t}, n - 1, 0); }
  Term_ const* mul(Term_ const* x, Term_ const* y) { return app(SymbolTag::bv_mul, {x, y}); }
  Term_ const* is_one(Term_ const* t) { return app(SymbolTag::equal, {t, tm.mk_bv(1, tm.width(t))}); }
  // The products in the formulas, shared as one batch, are those given.
  std::vector<Term_ const*> shared(std::vector<Term_ const*> words) {
    for (Term_ const*& t : words) t = is_one(t);
    products.share(words);
    for (Term_ const*& t : words) t = t->children[0];
    return words;
  }

  TermManager tm;
  SharedProducts products{tm};
  Term_ const* a = word("a", 8);
  Term_ const* b = word("b", 8);
};

TEST_F(SharedProductsTest, TheNarrowOneIsASliceOfTheWideOne) {
  Term_ const* wide = mul(zeros(a, 8), zeros(b, 8));
  // The extension as a concatenation, the operands the other way round; a product that is narrower than its
  // operands.
  for (Term_ const* narrow :
       {mul(a, b), mul(b, a), mul(zeros(a, 1), zeros(b, 1)),
        mul(joined(tm.mk_bv(0, 3), b), zeros(zeros(a, 1), 2)), mul(low(a, 5), low(b, 5))}) {
    SharedProducts fresh(tm);
    std::vector<Term_ const*> formulas{is_one(narrow), is_one(wide)};
    fresh.share(formulas);
    EXPECT_EQ(formulas[0], is_one(low(wide, tm.width(narrow)))) << narrow->to_shallow_str();
    EXPECT_EQ(formulas[1], is_one(wide));
    EXPECT_EQ(fresh.shared(), 1u);
  }
}

TEST_F(SharedProductsTest, EqualExtensionsByTheSignAreTheSame) {
  Term_ const* wide = mul(signs(a, 8), zeros(b, 8));
  EXPECT_EQ(shared({wide, mul(a, b), mul(signs(a, 2), zeros(b, 2))}),
            (std::vector<Term_ const*>{wide, low(wide, 8), low(wide, 10)}));
}

TEST_F(SharedProductsTest, OtherBitsAboveAreAnotherOperand) {
  Term_ const* wide = mul(zeros(a, 8), zeros(b, 8));
  std::vector<Term_ const*> const others{wide,
                                         mul(signs(a, 2), zeros(b, 2)),
                                         mul(joined(tm.mk_bv(1, 2), a), zeros(b, 2)),
                                         mul(a, a),
                                         mul(app(SymbolTag::bv_extract, {a}, 6, 1), low(b, 6)),
                                         mul(tm.mk_bv(3, 8), b),
                                         mul(tm.mk_bv(3, 16), zeros(b, 8))};
  EXPECT_EQ(shared(others), others);
  EXPECT_EQ(products.shared(), 0u);
}

TEST_F(SharedProductsTest, ProductsInProductsAndBelowOtherTerms) {
  Term_ const* wide = mul(zeros(a, 8), zeros(b, 8));
  Term_ const* outer = mul(app(SymbolTag::bv_not, {mul(b, a)}), a);
  Term_ const* outer_wide = mul(zeros(app(SymbolTag::bv_not, {mul(b, a)}), 4), zeros(a, 4));
  Term_ const* inner = app(SymbolTag::bv_not, {low(wide, 8)});
  Term_ const* outer_now = mul(zeros(inner, 4), zeros(a, 4));
  EXPECT_EQ(shared({outer, wide, outer_wide}),
            (std::vector<Term_ const*>{low(outer_now, 8), wide, outer_now}));
}

TEST_F(SharedProductsTest, WhatWasClausifiedStays) {
  Term_ const* narrow = mul(a, b);
  EXPECT_EQ(shared({narrow}), std::vector<Term_ const*>{narrow});
  Term_ const* wide = mul(zeros(b, 8), zeros(a, 8));
  EXPECT_EQ(shared({wide, narrow}), (std::vector<Term_ const*>{wide, narrow}));
  // One that comes later is a slice of the one that is there.
  Term_ const* between = mul(zeros(b, 4), zeros(a, 4));
  EXPECT_EQ(shared({between}), std::vector<Term_ const*>{low(wide, 12)});
  EXPECT_EQ(shared({between, narrow}), (std::vector<Term_ const*>{low(wide, 12), narrow}));
}

// Formulas of random products over extended and cut words keep their value under every assignment.
TEST(RandomProducts, KeepTheirValue) {
  std::mt19937 random(5);
  auto const pick = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
  std::uint64_t shared = 0;
  for (int round = 0; round < 150; ++round) {
    TermManager tm;
    std::vector<Term_ const*> variables{tm.mk_variable("x", tm.bv_type(3)),
                                        tm.mk_variable("y", tm.bv_type(3))};
    std::vector<Term_ const*> words = variables;
    auto const fit = [&](Term_ const* t, std::uint64_t w) {
      std::uint64_t const have = tm.width(t);
      if (have == w) return t;
      if (have > w) return tm.mk_app(SymbolTag::bv_extract, {t}, w - 1, 0);
      switch (pick(4)) {
        case 0: return tm.mk_app(SymbolTag::bv_sign_extend, {t}, w - have);
        case 1: return tm.mk_app(SymbolTag::bv_concat, {tm.mk_bv(0, w - have), t});
        case 2:
          return tm.mk_app(SymbolTag::bv_concat,
                           {tm.mk_bv(random() & ((1u << (w - have)) - 1), w - have), t});
        default: return tm.mk_app(SymbolTag::bv_zero_extend, {t}, w - have);
      }
    };
    std::vector<Term_ const*> formulas;
    for (int i = 0; i < 12; ++i) {
      std::uint64_t const w = 1 + pick(8);
      // Mostly variables, so that operands meet again.
      auto const operand = [&] { return fit(words[pick(pick(4) == 0 ? words.size() : 2)], w); };
      Term_ const* x = operand();
      Term_ const* y = operand();
      words.push_back(tm.mk_app(pick(4) == 0 ? SymbolTag::bv_add : SymbolTag::bv_mul, {x, y}));
      formulas.push_back(
          tm.mk_app(SymbolTag::equal, {words.back(), tm.mk_bv(random() & ((1u << w) - 1), w)}));
    }
    // In two batches.
    SharedProducts products(tm);
    std::vector<Term_ const*> first(formulas.begin(), formulas.begin() + 6);
    std::vector<Term_ const*> now(formulas.begin() + 6, formulas.end());
    products.share(first);
    products.share(now);
    now.insert(now.begin(), first.begin(), first.end());
    shared += products.shared();
    test::Values values;
    for (std::uint64_t n = 0; n < test::assignments(tm, variables); ++n) {
      values.assign(tm, variables, n);
      for (std::size_t i = 0; i < formulas.size(); ++i)
        ASSERT_EQ(test::hold(tm, {formulas[i]}, values), test::hold(tm, {now[i]}, values))
            << "round " << round << " formula " << i << " assignment " << n;
    }
  }
  EXPECT_GT(shared, 100u);  // the rounds share something at all
}

// The narrow product stands in the high half of an operand of the wide one.
TEST_F(SharedProductsTest, AProductIsNoSliceOfOneThatStandsOnIt) {
  Term_ const* square = mul(a, a);
  Term_ const* wide = mul(joined(square, a), zeros(a, 8));
  EXPECT_EQ(shared({wide}), (std::vector<Term_ const*>{wide}));
  EXPECT_EQ(shared({square, wide}), (std::vector<Term_ const*>{square, wide}));
}

// Each of two wide products stands on what is the low part of the other one.
TEST_F(SharedProductsTest, SlicesOfEachOtherMakeNoCircle) {
  Term_ const* first = mul(joined(mul(b, b), a), zeros(a, 8));
  Term_ const* second = mul(joined(mul(a, a), b), zeros(b, 8));
  std::vector<Term_ const*> const both{first, second};
  EXPECT_EQ(shared(both), both);
  // Products nested no deeper below the wide one than below the narrow one: what stands above is taken.
  SharedProducts fresh(tm);
  Term_ const* flat = mul(joined(b, a), zeros(a, 8));
  std::vector<Term_ const*> formulas{is_one(mul(a, a)), is_one(flat)};
  fresh.share(formulas);
  EXPECT_EQ(formulas[0], is_one(low(flat, 8)));
}

// With a value of its own for each quotient by zero, the term with other operands would be another one.
TEST_F(SharedProductsTest, OperandsOfAFreeQuotientStay) {
  Term_ const* narrow = mul(a, b);
  Term_ const* wide = mul(zeros(a, 8), zeros(b, 8));
  for (SymbolTag::tag tag :
       {SymbolTag::bv_udiv, SymbolTag::bv_sdiv, SymbolTag::bv_urem, SymbolTag::bv_srem}) {
    Term_ const* quotient = app(tag, {narrow, narrow});
    SharedProducts free(tm, true);
    std::vector<Term_ const*> formulas{is_one(quotient), is_one(wide), is_one(narrow)};
    free.share(formulas);
    EXPECT_EQ(formulas, (std::vector<Term_ const*>{is_one(quotient), is_one(wide), is_one(low(wide, 8))}));
    SharedProducts fresh(tm);
    formulas = {is_one(quotient), is_one(wide)};
    fresh.share(formulas);
    EXPECT_EQ(formulas[0], is_one(app(tag, {low(wide, 8), low(wide, 8)})));
  }
}

}  // namespace
}  // namespace vell::words

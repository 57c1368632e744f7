#include "vell/words/builder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vell/values/evaluator.h"

namespace vell::words {
namespace {

using Tag = SymbolTag::tag;

class NoVariables : public values::Assignment {
 public:
  void read(Term_ const*, std::uint64_t, std::uint64_t*) const override {}
};

class BuilderTest : public ::testing::TestWithParam<unsigned> {
 protected:
  mpz_class power(unsigned n) const { return mpz_class(1) << n; }
  mpz_class modulo(mpz_class const& n, std::uint64_t width) const {
    mpz_class out;
    mpz_fdiv_r_2exp(out.get_mpz_t(), n.get_mpz_t(), width);
    return out;
  }
  // The numerals of a value: in its usual form, and held as a GMP integer.
  std::vector<Term_ const*> forms(mpz_class const& n, std::uint64_t width) {
    mpz_class const value = modulo(n, width);
    std::vector<Term_ const*> out;
    for (bool big : {false, true})
      out.push_back(tm.mk_number(QNumber::from_digits(value.get_str(), 10, big), tm.bv_type(width)));
    return out;
  }
  std::vector<mpz_class> corners() const {
    return {0,
            1,
            2,
            3,
            5,
            -1,
            -2,
            -3,
            power(w - 1),
            power(w - 1) - 1,
            power(w - 1) + 1,
            power(w / 2),
            power(w / 2) - 1};
  }
  // The value by the evaluator, which computes with machine words.
  mpz_class evaluated(Term_ const* t) {
    values::Evaluator evaluator(tm);
    NoVariables const none;
    evaluator.set_assignment(none);
    std::uint64_t const* words = evaluator.value(t);
    mpz_class out;
    mpz_import(out.get_mpz_t(), (b.width(t) + 63) / 64, -1, sizeof *words, 0, 0, words);
    return out;
  }

  TermManager tm;
  Builder const b{tm};
  unsigned const w = GetParam();
  Term_ const* x = tm.mk_variable("x", tm.bv_type(w));
  Term_ const* y = tm.mk_variable("y", tm.bv_type(w));
  Term_ const* p = tm.mk_variable("p", tm.bool_type);
};

TEST_P(BuilderTest, KnowsNumeralsInEitherForm) {
  for (mpz_class const& corner : corners()) {
    mpz_class const n = modulo(corner, w);
    std::vector<Term_ const*> const k = forms(n, w);
    ASSERT_EQ(n >= power(63), k[0] == k[1]);
    for (Term_ const* t : k) {
      std::string const text = n.get_str();
      EXPECT_TRUE(b.is_numeral(t)) << text;
      EXPECT_TRUE(b.is_constant(t)) << text;
      EXPECT_FALSE(b.is_variable(t)) << text;
      EXPECT_EQ(w, b.width(t)) << text;
      EXPECT_EQ(n, b.value(t)) << text;
      EXPECT_EQ(n == 0, b.is_zero(t)) << text;
      EXPECT_EQ(n == 1, b.is_one(t)) << text;
      EXPECT_EQ(n == power(w) - 1, b.is_ones(t)) << text;
      EXPECT_EQ(n == power(w - 1), b.is_least_signed(t)) << text;
      EXPECT_EQ(n == power(w - 1) - 1, b.is_greatest_signed(t)) << text;
    }
  }
}

TEST_P(BuilderTest, TakesNoVariableForANumeral) {
  for (Term_ const* t : {x, tm.mk_app(Tag::bv_not, {x}), p}) {
    EXPECT_FALSE(b.is_numeral(t) || b.is_constant(t) || b.is_zero(t) || b.is_one(t) || b.is_ones(t) ||
                 b.is_least_signed(t) || b.is_greatest_signed(t));
    EXPECT_EQ(t != tm.mk_app(Tag::bv_not, {x}), b.is_variable(t));
  }
  EXPECT_EQ(0u, b.width(p));
  EXPECT_TRUE(b.is_bool(p));
  EXPECT_FALSE(b.is_bool(x));
  EXPECT_FALSE(b.is_zero(tm.mk_bool(false)));
  EXPECT_TRUE(b.is_constant(tm.mk_bool(false)));
  EXPECT_TRUE(b.is_true(b.boolean(true)));
  EXPECT_TRUE(b.is_false(b.boolean(false)));
}

TEST_P(BuilderTest, MakesNumerals) {
  EXPECT_TRUE(b.is_zero(b.zero(w)));
  EXPECT_TRUE(b.is_one(b.one(w)));
  EXPECT_TRUE(b.is_ones(b.ones(w)));
  for (mpz_class const& n : corners()) {
    EXPECT_EQ(modulo(n, w), b.value(b.number(n, w)));
    EXPECT_EQ(modulo(n, w), evaluated(b.number(n, w)));
    EXPECT_EQ(b.number(n, w), b.number(n + power(w), w));
  }
}

TEST_P(BuilderTest, ComputesWithNumeralsInEitherForm) {
  for (mpz_class const& n : corners())
    for (Term_ const* k : forms(n, w)) {
      EXPECT_EQ(evaluated(tm.mk_app(Tag::bv_not, {k})), b.value(b.complement(k)));
      for (unsigned by : {0u, 1u, 64u, 65u}) {
        EXPECT_EQ(evaluated(tm.mk_app(Tag::bv_zero_extend, {k}, by)), b.value(b.zero_extend(k, by)));
        EXPECT_EQ(evaluated(tm.mk_app(Tag::bv_sign_extend, {k}, by)), b.value(b.sign_extend(k, by)));
        EXPECT_EQ(w + by, b.width(b.sign_extend(k, by)));
      }
      for (unsigned low : {0u, 1u, w / 2, w - 1})
        for (unsigned high : {low, w / 2, w - 1}) {
          if (high < low || high >= w) continue;
          Term_ const* const cut = b.extract(k, high, low);
          EXPECT_TRUE(b.is_numeral(cut));
          EXPECT_EQ(high - low + 1, b.width(cut));
          EXPECT_EQ(evaluated(tm.mk_app(Tag::bv_extract, {k}, high, low)), b.value(cut));
        }
      for (mpz_class const& m : corners())
        for (Term_ const* l : forms(m, w)) {
          Term_ const* const both = b.concat(k, l);
          EXPECT_TRUE(b.is_numeral(both));
          EXPECT_EQ(2 * w, b.width(both));
          EXPECT_EQ(evaluated(tm.mk_app(Tag::bv_concat, {k, l})), b.value(both));
        }
    }
}

TEST_P(BuilderTest, MakesTheTermsThatMkAppMakes) {
  Term_ const* const q = tm.mk_variable("q", tm.bool_type);
  EXPECT_EQ(tm.mk_app(Tag::bool_not, {p}), b.negation(p));
  EXPECT_EQ(p, b.negation(b.negation(p)));
  EXPECT_EQ(b.boolean(false), b.negation(b.boolean(true)));
  EXPECT_EQ(tm.mk_app(Tag::bool_and, {p, q}), b.both(p, q));
  EXPECT_EQ(tm.mk_app(Tag::bool_or, {p, q}), b.either(p, q));
  EXPECT_EQ(tm.mk_app(Tag::bool_iff, {p, q}), b.equal(p, q));
  EXPECT_EQ(tm.mk_app(Tag::equal, {x, y}), b.equal(x, y));
  EXPECT_EQ(tm.mk_app(Tag::bool_ite, {p, q, p}), b.ite(p, q, p));
  EXPECT_EQ(tm.mk_app(Tag::term_ite, {p, x, y}), b.ite(p, x, y));
  for (Tag tag : {Tag::bv_ult, Tag::bv_ule, Tag::bv_slt, Tag::bv_sle})
    EXPECT_EQ(tm.mk_app(tag, {x, y}), b.order(tag, x, y)) << tag;
  for (Tag tag : {Tag::bv_and, Tag::bv_or, Tag::bv_xor, Tag::bv_add, Tag::bv_sub, Tag::bv_mul, Tag::bv_udiv,
                  Tag::bv_sdiv, Tag::bv_urem, Tag::bv_srem, Tag::bv_shl, Tag::bv_lshr, Tag::bv_ashr})
    EXPECT_EQ(tm.mk_app(tag, {x, y}), b.word(tag, x, y)) << tag;
  EXPECT_EQ(tm.mk_app(Tag::bv_not, {x}), b.complement(x));
  EXPECT_EQ(x, b.complement(b.complement(x)));
  EXPECT_EQ(tm.mk_app(Tag::bv_neg, {x}), b.minus(x));
  EXPECT_EQ(x, b.extract(x, w - 1, 0));
  EXPECT_EQ(x, b.zero_extend(x, 0));
  EXPECT_EQ(x, b.sign_extend(x, 0));
  EXPECT_EQ(tm.mk_app(Tag::bv_zero_extend, {x}, 3), b.zero_extend(x, 3));
  EXPECT_EQ(tm.mk_app(Tag::bv_sign_extend, {x}, 3), b.sign_extend(x, 3));
  EXPECT_EQ(tm.mk_app(Tag::bv_concat, {x, y}), b.concat(x, y));
  EXPECT_EQ(y, b.concat(nullptr, y));
  EXPECT_EQ(x, b.concat(x, nullptr));
  if (w > 1) {
    Term_ const* const cut = b.extract(x, w - 1, 1);
    EXPECT_EQ(tm.mk_app(Tag::bv_extract, {x}, w - 1, 1), cut);
    EXPECT_EQ(w - 1, b.msb(cut));
    EXPECT_EQ(1u, b.lsb(cut));
    EXPECT_EQ(tm.mk_app(Tag::bv_extract, {x}, w - 1, w - 1), b.sign(x));
    EXPECT_EQ(tm.mk_app(Tag::equal, {b.bit(x, 1), b.one(1)}), b.is_set(x, 1));
    EXPECT_EQ(tm.mk_app(Tag::equal, {b.bit(x, 1), b.zero(1)}), b.is_clear(x, 1));
  }
  Term_ const* const operands[] = {y, x};
  EXPECT_EQ(tm.mk_app(Tag::bv_sub, {y, x}), b.with_operands(tm.mk_app(Tag::bv_sub, {x, y}), operands));
}

TEST_P(BuilderTest, KnowsComplements) {
  EXPECT_TRUE(b.complementary(x, b.complement(x)));
  EXPECT_TRUE(b.complementary(b.complement(x), x));
  EXPECT_TRUE(b.complementary(p, b.negation(p)));
  EXPECT_TRUE(b.complementary(b.negation(p), p));
  EXPECT_FALSE(b.complementary(x, x));
  EXPECT_FALSE(b.complementary(x, y));
  EXPECT_FALSE(b.complementary(x, b.minus(x)));
  EXPECT_FALSE(b.complementary(b.complement(x), b.complement(x)));
}

INSTANTIATE_TEST_SUITE_P(Widths, BuilderTest, ::testing::Values(1, 2, 8, 63, 64, 65, 128));

}  // namespace
}  // namespace vell::words

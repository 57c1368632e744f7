#include "vell/fp/foldingbuilder.h"

#include <gtest/gtest.h>

#include <random>

#include "vell/values/evaluator.h"

namespace vell::fp {
namespace {

using Tag = SymbolTag::tag;

class NoVariables : public values::Assignment {
 public:
  void read(Term_ const*, std::uint64_t, std::uint64_t*) const override {}
};

class FoldingBuilderTest : public ::testing::Test {
 protected:
  Term_ const* random_number(std::uint64_t width) {
    std::vector<std::uint64_t> words((width + 63) / 64);
    for (std::uint64_t& w : words)
      w = random_() % 4 == 0 ? 0 : random_() % 4 == 0 ? ~std::uint64_t{0} : random_();
    if (random_() % 4 == 0) words.assign(words.size(), 0), words[0] = random_() % 6;
    if (width % 64 != 0) words.back() &= (std::uint64_t{1} << (width % 64)) - 1;
    return tm.mk_number(QNumber::from_words(words.data(), words.size()), tm.bv_type(width));
  }
  // The folded term is a constant with the value that the term has.
  void check(Term_ const* folded, Term_ const* whole) {
    ASSERT_EQ(folded->symbol->arity, 0u) << folded->to_shallow_str();
    values::Evaluator evaluator(tm);
    NoVariables const none;
    evaluator.set_assignment(none);
    std::string const expected = evaluator.text(whole);
    ASSERT_EQ(evaluator.text(folded), expected) << whole->to_shallow_str();
  }

  std::mt19937_64 random_{3};
  TermManager tm;
  TerminationTest const never;
  FoldingBuilder b{tm, never};
};

TEST_F(FoldingBuilderTest, ConstantsAreComputed) {
  for (std::uint64_t width : {1, 3, 8, 63, 64, 65, 130})
    for (int i = 0; i < 40; ++i) {
      Term_ const* const x = random_number(width);
      Term_ const* const y = random_number(width);
      for (Tag tag : {Tag::bv_and, Tag::bv_or, Tag::bv_add, Tag::bv_sub, Tag::bv_mul, Tag::bv_shl,
                      Tag::bv_lshr, Tag::bv_ashr})
        check(b.word(tag, x, y), tm.mk_app(tag, {x, y}));
      if (y != b.number(0, width))
        for (Tag tag : {Tag::bv_udiv, Tag::bv_urem}) check(b.word(tag, x, y), tm.mk_app(tag, {x, y}));
      for (Tag tag : {Tag::bv_ult, Tag::bv_ule, Tag::bv_slt, Tag::bv_sle})
        check(b.order(tag, x, y), tm.mk_app(tag, {x, y}));
      check(b.equal(x, y), tm.mk_app(Tag::equal, {x, y}));
      check(b.complement(x), tm.mk_app(Tag::bv_not, {x}));
      check(b.minus(x), tm.mk_app(Tag::bv_neg, {x}));
      check(b.concat(x, y), tm.mk_app(Tag::bv_concat, {x, y}));
      check(b.extend(x, true, 7), tm.mk_app(Tag::bv_sign_extend, {x}, 7));
      check(b.extend(x, false, 70), tm.mk_app(Tag::bv_zero_extend, {x}, 70));
      std::uint64_t const msb = random_() % width;
      std::uint64_t const lsb = random_() % (msb + 1);
      check(b.extract(x, msb, lsb), tm.mk_app(Tag::bv_extract, {x}, msb, lsb));
    }
}

TEST_F(FoldingBuilderTest, WhatConstantsDecide) {
  Term_ const* const p = tm.mk_variable("p", tm.bool_type);
  Term_ const* const q = tm.mk_variable("q", tm.bool_type);
  Term_ const* const x = tm.mk_variable("x", tm.bv_type(8));
  Term_ const* const yes = b.boolean(true);
  Term_ const* const no = b.boolean(false);
  EXPECT_EQ(b.both(p, yes), p);
  EXPECT_EQ(b.both(no, p), no);
  EXPECT_EQ(b.either(p, no), p);
  EXPECT_EQ(b.either(yes, p), yes);
  EXPECT_EQ(b.negation(b.negation(p)), p);
  EXPECT_EQ(b.equal(p, yes), p);
  EXPECT_EQ(b.equal(no, p), b.negation(p));
  EXPECT_EQ(b.choose(yes, p, q), p);
  EXPECT_EQ(b.choose(no, p, q), q);
  EXPECT_EQ(b.choose(p, yes, q), b.either(p, q));
  EXPECT_EQ(b.choose(p, q, no), b.both(p, q));
  EXPECT_EQ(b.choose(p, x, x), x);
  EXPECT_EQ(b.equal(b.word_of(p), b.number(1, 1)), p);
  EXPECT_EQ(b.equal(b.number(0, 1), b.word_of(p)), b.negation(p));
  EXPECT_EQ(b.word(Tag::bv_add, x, b.number(0, 8)), x);
  EXPECT_EQ(b.word(Tag::bv_and, x, b.all_ones(8)), x);
  EXPECT_EQ(b.word(Tag::bv_or, b.all_ones(8), x), b.all_ones(8));
  EXPECT_EQ(b.word(Tag::bv_shl, x, b.number(0, 8)), x);
  EXPECT_EQ(b.extract(b.concat(x, b.number(5, 3)), 2, 0), b.number(5, 3));
  EXPECT_EQ(b.extract(b.concat(x, b.number(5, 3)), 10, 3), x);
  EXPECT_EQ(b.extract(b.extend(x, false, 4), 11, 8), b.number(0, 4));
  EXPECT_EQ(b.extract(b.extract(x, 6, 2), 3, 1), b.extract(x, 5, 3));
  EXPECT_EQ(b.order(Tag::bv_ule, x, x), yes);
  EXPECT_EQ(b.order(Tag::bv_slt, x, x), no);
}

}  // namespace
}  // namespace vell::fp

// What a sweep finds is true under every assignment, and the circuits it is made for meet.

#include "vell/sat/sweep.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/values/values.h"

namespace vell::sat {
namespace {

class SweepTest : public testing::Test {
 protected:
  Term_ const* word(std::uint64_t width) { return tm.mk_variable("x", tm.bv_type(width)); }
  Term_ const* app(SymbolTag::tag tag, std::initializer_list<Term_ const*> c) { return tm.mk_app(tag, c); }
  Term_ const* bit_not(Term_ const* a) { return app(SymbolTag::bv_not, {a}); }
  Term_ const* bit_and(Term_ const* a, Term_ const* b) { return app(SymbolTag::bv_and, {a, b}); }

  std::vector<EqualSignals> run(std::vector<Term_ const*> const& formulas) {
    return sweep(tm, formulas, limits).equal;
  }

  bool found(std::vector<EqualSignals> const& pairs, Term_ const* a, Term_ const* b, bool opposite) {
    for (EqualSignals const& p : pairs)
      if (((p.a.term == a && p.b.term == b) || (p.a.term == b && p.b.term == a)) && p.opposite == opposite)
        return true;
    return false;
  }

  // Every pair under every assignment of the variables below the formulas, at most 16 bits together.
  void expect_true(std::vector<EqualSignals> const& pairs, std::vector<Term_ const*> const& formulas) {
    std::vector<Term_ const*> const variables = test::variables_below(tm, formulas);
    std::uint64_t const all = test::assignments(tm, variables);
    ASSERT_LE(all, 1u << 16);
    test::Values values;
    values::Evaluator evaluator(tm);
    for (std::uint64_t n = 0; n < all; ++n) {
      values.assign(tm, variables, n);
      evaluator.set_assignment(values);
      for (EqualSignals const& p : pairs) {
        std::uint64_t const a = (*evaluator.value(p.a.term) >> p.a.bit) & 1;
        std::uint64_t const b = (*evaluator.value(p.b.term) >> p.b.bit) & 1;
        ASSERT_EQ(a ^ b, p.opposite ? 1u : 0u);
      }
    }
  }

  TermManager tm;
  run::Limits limits;
};

TEST_F(SweepTest, AnExclusiveOrInTwoWays) {
  Term_ const* a = word(1);
  Term_ const* b = word(1);
  Term_ const* direct = app(SymbolTag::bv_xor, {a, b});
  Term_ const* built = bit_and(bit_not(bit_and(a, b)), bit_not(bit_and(bit_not(a), bit_not(b))));
  Term_ const* opposite = app(SymbolTag::bv_or, {bit_and(a, b), bit_and(bit_not(a), bit_not(b))});
  std::vector<EqualSignals> const pairs =
      run({app(SymbolTag::equal, {direct, built}), app(SymbolTag::equal, {opposite, built})});
  EXPECT_TRUE(found(pairs, direct, built, false));
  EXPECT_TRUE(found(pairs, direct, opposite, true) || found(pairs, built, opposite, true));
}

TEST_F(SweepTest, ASumOfWordsMeetsBitByBit) {
  Term_ const* a = word(12);
  Term_ const* b = word(12);
  Term_ const* sum = app(SymbolTag::bv_add, {a, b});
  Term_ const* other = app(SymbolTag::bv_sub, {b, app(SymbolTag::bv_neg, {a})});
  std::vector<EqualSignals> const pairs = run({app(SymbolTag::bv_ult, {sum, other})});
  std::size_t met = 0;
  for (EqualSignals const& p : pairs)
    met += p.a.term == other && p.b.term == sum && p.a.bit == p.b.bit ? 1 : 0;
  EXPECT_EQ(met, 12u);
}

TEST_F(SweepTest, ProductsMeetAsPolynomials) {
  Term_ const* a = word(48);
  Term_ const* b = word(48);
  Term_ const* c = word(48);
  Term_ const* first = app(SymbolTag::bv_mul, {a, app(SymbolTag::bv_mul, {b, c})});
  Term_ const* second = app(SymbolTag::bv_mul, {app(SymbolTag::bv_mul, {c, a}), b});
  std::vector<EqualSignals> const pairs = run({app(SymbolTag::bv_ult, {first, second})});
  std::size_t met = 0;
  for (EqualSignals const& p : pairs)
    met += p.a.term == second && p.b.term == first && p.a.bit == p.b.bit ? 1 : 0;
  EXPECT_EQ(met, 48u);
}

TEST_F(SweepTest, RareDifferencesAreSeen) {
  // They differ where all twelve bits are one, which no simulation is likely to hit.
  Term_ const* x = word(12);
  Term_ const* all = app(SymbolTag::equal, {x, tm.mk_bv(0xfff, 12)});
  Term_ const* top = app(SymbolTag::equal, {tm.mk_app(SymbolTag::bv_extract, {x}, 11, 11), tm.mk_bv(1, 1)});
  Term_ const* almost = app(SymbolTag::bool_and, {top, app(SymbolTag::bool_not, {all})});
  std::vector<Term_ const*> const formulas{app(SymbolTag::bool_iff, {top, almost})};
  std::vector<EqualSignals> const pairs = run(formulas);
  EXPECT_FALSE(found(pairs, top, almost, false));
  expect_true(pairs, formulas);
}

TEST_F(SweepTest, StoppedItFindsNothing) {
  Term_ const* a = word(8);
  limits.stop(run::StopReason::timeout);
  EXPECT_TRUE(run({app(SymbolTag::equal,
                       {app(SymbolTag::bv_add, {a, a}), app(SymbolTag::bv_mul, {a, tm.mk_bv(2, 8)})})})
                  .empty());
}

TEST_F(SweepTest, RandomFormulas) {
  std::mt19937 random(11);
  std::size_t pairs_found = 0;
  for (int round = 0; round < 60; ++round) {
    std::vector<Term_ const*> words{word(3), word(3), word(3)};
    auto const pick = [&] { return words[random() % words.size()]; };
    SymbolTag::tag const binary[] = {SymbolTag::bv_add,  SymbolTag::bv_sub,  SymbolTag::bv_xor,
                                     SymbolTag::bv_and,  SymbolTag::bv_or,   SymbolTag::bv_mul,
                                     SymbolTag::bv_udiv, SymbolTag::bv_urem, SymbolTag::bv_shl,
                                     SymbolTag::bv_lshr, SymbolTag::bv_sdiv, SymbolTag::bv_srem};
    for (int i = 0; i < 20; ++i) {
      if (random() % 5 == 0)
        words.push_back(app(random() % 2 == 0 ? SymbolTag::bv_not : SymbolTag::bv_neg, {pick()}));
      else
        words.push_back(app(binary[random() % 12], {pick(), pick()}));
    }
    std::vector<Term_ const*> formulas;
    for (int i = 0; i < 4; ++i)
      formulas.push_back(app(SymbolTag::bv_ult, {words[words.size() - 1 - i], pick()}));
    std::vector<EqualSignals> const pairs = run(formulas);
    pairs_found += pairs.size();
    expect_true(pairs, formulas);
  }
  EXPECT_GT(pairs_found, 100u);
}

}  // namespace
}  // namespace vell::sat

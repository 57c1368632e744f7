// Word-level decisions: what must be seen, and that nothing is decided wrongly (random formulas, every
// assignment).

#include "vell/words/wordidentities.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tests/values/values.h"

namespace vell::words {
namespace {

using test::Values;

class WordIdentitiesTest : public testing::Test {
 protected:
  Term_ const* word(char const* name, std::uint64_t width) { return tm.mk_variable(name, tm.bv_type(width)); }
  Term_ const* app(SymbolTag::tag tag, std::initializer_list<Term_ const*> c, std::uint64_t p0 = 0,
                   std::uint64_t p1 = 0) {
    return tm.mk_app(tag, c, p0, p1);
  }
  Term_ const* add(Term_ const* a, Term_ const* b) { return app(SymbolTag::bv_add, {a, b}); }
  Term_ const* mul(Term_ const* a, Term_ const* b) { return app(SymbolTag::bv_mul, {a, b}); }
  Term_ const* eq(Term_ const* a, Term_ const* b) { return app(SymbolTag::equal, {a, b}); }
  Term_ const* yes() { return tm.mk_bool(true); }
  Term_ const* no() { return tm.mk_bool(false); }

  TermManager tm;
};

TEST_F(WordIdentitiesTest, SeesRingIdentities) {
  WordIdentities w(tm);
  Term_ const* a = word("a", 128);
  Term_ const* b = word("b", 128);
  Term_ const* c = word("c", 128);
  EXPECT_EQ(w.decide(eq(mul(a, add(b, c)), add(mul(a, b), mul(a, c)))), yes());
  EXPECT_EQ(w.decide(eq(mul(mul(a, b), c), mul(b, mul(c, a)))), yes());
  EXPECT_EQ(w.decide(eq(mul(app(SymbolTag::bv_neg, {a}), app(SymbolTag::bv_neg, {b})), mul(a, b))), yes());
  Term_ const* even = mul(tm.mk_bv(6, 128), mul(a, b));
  EXPECT_EQ(w.decide(eq(even, add(mul(tm.mk_bv(2, 128), c), tm.mk_bv(1, 128)))), no());
}

TEST_F(WordIdentitiesTest, LeavesTheRestAlone) {
  WordIdentities w(tm);
  Term_ const* a = word("a", 8);
  Term_ const* b = word("b", 8);
  Term_ const* open = eq(mul(a, b), tm.mk_bv(6, 8));
  EXPECT_EQ(w.decide(open), open);
  // Linear, but without a product: not looked at.
  Term_ const* linear = eq(add(a, b), add(b, a));
  EXPECT_EQ(w.decide(linear), linear);
  EXPECT_EQ(w.decided(), 0u);
}

TEST_F(WordIdentitiesTest, EqualAtomsBecomeOne) {
  WordIdentities w(tm);
  Term_ const* a = word("a", 8);
  Term_ const* b = word("b", 8);
  Term_ const* c = word("c", 8);
  Term_ const* first = eq(mul(a, b), c);
  EXPECT_EQ(w.decide(first), first);
  EXPECT_EQ(w.decide(eq(app(SymbolTag::bv_neg, {c}), mul(app(SymbolTag::bv_neg, {b}), a))), first);
}

TEST_F(WordIdentitiesTest, SlicesOfAProductAddUp) {
  // (0:h) * (0:l) over 8 bits never wraps, so it may be shifted into a 16-bit sum.
  WordIdentities w(tm);
  Term_ const* h = word("h", 4);
  Term_ const* l = word("l", 4);
  Term_ const* m = word("m", 4);
  auto const zext = [&](Term_ const* t, std::uint64_t k) { return app(SymbolTag::bv_zero_extend, {t}, k); };
  Term_ const* whole = mul(zext(app(SymbolTag::bv_concat, {h, l}), 8), zext(m, 12));
  Term_ const* low = zext(mul(zext(l, 4), zext(m, 4)), 8);
  Term_ const* high =
      app(SymbolTag::bv_concat,
          {app(SymbolTag::bv_concat, {tm.mk_bv(0, 4), mul(zext(h, 4), zext(m, 4))}), tm.mk_bv(0, 4)});
  EXPECT_EQ(w.decide(eq(whole, add(high, low))), yes());
}

TEST_F(WordIdentitiesTest, RemaindersAgainstTheirDivisor) {
  Term_ const* a = word("a", 32);
  Term_ const* b = word("b", 32);
  Term_ const* r = app(SymbolTag::bv_urem, {a, b});
  Term_ const* b_is_zero = eq(b, tm.mk_bv(0, 32));
  WordIdentities w(tm);
  EXPECT_EQ(w.decide(app(SymbolTag::bv_ult, {r, b})), app(SymbolTag::bool_not, {b_is_zero}));
  EXPECT_EQ(w.decide(app(SymbolTag::bv_ule, {b, r})), b_is_zero);
  WordIdentities free(tm, true);
  Term_ const* below = app(SymbolTag::bv_ult, {r, b});
  EXPECT_EQ(free.decide(below), below);
}

TEST_F(WordIdentitiesTest, ARemainderDividedByItsDivisorIsZero) {
  for (SymbolTag::tag division : {SymbolTag::bv_udiv, SymbolTag::bv_sdiv}) {
    WordIdentities w(tm);
    Term_ const* a = word("a", 8);
    Term_ const* y = tm.mk_bv(11, 8);
    Term_ const* quotient = app(division, {a, y});
    Term_ const* remainder = app(SymbolTag::bv_sub, {a, mul(y, quotient)});
    Term_ const* zero = tm.mk_bv(0, 8);
    EXPECT_EQ(w.decide(eq(app(division, {remainder, y}), zero)), yes());
    EXPECT_EQ(w.decide(eq(zero, app(division, {add(a, mul(quotient, tm.mk_bv(256 - 11, 8))), y}))), yes());
    // Another divisor, another dividend, the other division, no numeral: open.
    SymbolTag::tag const other = division == SymbolTag::bv_udiv ? SymbolTag::bv_sdiv : SymbolTag::bv_udiv;
    for (Term_ const* open :
         {eq(app(division, {remainder, tm.mk_bv(10, 8)}), zero),
          eq(app(division, {add(remainder, tm.mk_bv(1, 8)), y}), zero), eq(app(other, {remainder, y}), zero)})
      EXPECT_EQ(w.decide(open), open);
    Term_ const* b = word("b", 8);
    Term_ const* by_variable = app(SymbolTag::bv_sub, {a, mul(b, app(division, {a, b}))});
    Term_ const* open = eq(app(division, {by_variable, b}), zero);
    EXPECT_EQ(w.decide(open), open);
    WordIdentities free(tm, true);
    Term_ const* left_open = eq(app(division, {remainder, y}), zero);
    EXPECT_EQ(free.decide(left_open), left_open);
  }
}

TEST_F(WordIdentitiesTest, DefinitionsAreUsedAndKept) {
  WordIdentities w(tm);
  Term_ const* a = word("a", 64);
  Term_ const* b = word("b", 64);
  Term_ const* x = word("x", 64);
  Term_ const* y = word("y", 64);
  Term_ const* dx = eq(x, mul(a, b));
  Term_ const* dy = eq(mul(b, a), y);
  w.assume(dx);
  w.assume(dy);
  EXPECT_EQ(w.decide(dx), dx);
  EXPECT_EQ(w.decide(dy), dy);
  EXPECT_EQ(w.decide(eq(x, y)), yes());
}

TEST_F(WordIdentitiesTest, AFormulaInTheDressOfABitIsDecided) {
  WordIdentities w(tm);
  Term_ const* a = word("a", 64);
  Term_ const* b = word("b", 64);
  Term_ const* c = word("c", 64);
  Term_ const* law = eq(mul(a, add(b, c)), add(mul(a, b), mul(a, c)));
  Term_ const* one = tm.mk_bv(1, 1);
  Term_ const* formula =
      eq(one, app(SymbolTag::term_ite, {app(SymbolTag::bool_not, {law}), one, tm.mk_bv(0, 1)}));
  w.assume(formula);
  EXPECT_EQ(w.decide(formula), no());
}

TEST_F(WordIdentitiesTest, CircularDefinitionsAreNotUsed) {
  WordIdentities w(tm);
  Term_ const* x = word("x", 8);
  Term_ const* y = word("y", 8);
  w.assume(eq(x, mul(y, y)));
  w.assume(eq(y, mul(x, x)));
  Term_ const* open = eq(mul(x, y), tm.mk_bv(1, 8));
  w.decide(open);  // ends
}

// Random formulas over a few small words: the decided formula has the value of the original under every
// assignment that satisfies what was assumed.
class RandomFormulas : public testing::TestWithParam<unsigned> {};

TEST_P(RandomFormulas, KeepTheirValue) {
  std::mt19937 random(GetParam());
  auto const pick = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
  std::uint64_t changed = 0;
  for (int round = 0; round < 60; ++round) {
    TermManager tm;
    std::uint64_t const width = 1 + pick(3);
    std::vector<Term_ const*> variables;
    for (int i = 0; i < 3; ++i)
      variables.push_back(tm.mk_variable("v" + std::to_string(i), tm.bv_type(width)));
    std::vector<Term_ const*> words = variables;
    std::vector<Term_ const*> bools;
    auto const width_of = [&](Term_ const* t) {
      std::uint64_t w = 0;
      tm.is_bv_type(t->symbol->get_output_type(), &w);
      return w;
    };
    auto const fit = [&](Term_ const* t, std::uint64_t w) {
      std::uint64_t const have = width_of(t);
      if (have > w) return tm.mk_app(SymbolTag::bv_extract, {t}, w - 1, 0);
      SymbolTag::tag const extension = pick(2) == 0 ? SymbolTag::bv_zero_extend : SymbolTag::bv_sign_extend;
      return have < w ? tm.mk_app(extension, {t}, w - have) : t;
    };
    for (int i = 0; i < 24; ++i) {
      Term_ const* x = words[pick(words.size())];
      Term_ const* y = fit(words[pick(words.size())], width_of(x));
      std::uint64_t const w = width_of(x);
      std::uint64_t const mask = (std::uint64_t{1} << w) - 1;
      switch (pick(17)) {
        case 0: words.push_back(tm.mk_app(SymbolTag::bv_add, {x, y})); break;
        case 1: words.push_back(tm.mk_app(SymbolTag::bv_sub, {x, y})); break;
        case 2:
        case 3:
        case 4: words.push_back(tm.mk_app(SymbolTag::bv_mul, {x, y})); break;
        case 5: words.push_back(tm.mk_app(SymbolTag::bv_neg, {x})); break;
        case 6: words.push_back(tm.mk_app(SymbolTag::bv_not, {x})); break;
        case 7:
          if (w < 7) words.push_back(tm.mk_app(SymbolTag::bv_concat, {x, words[pick(3)]}));
          break;
        case 8: {
          std::uint64_t const lsb = pick(w);
          words.push_back(tm.mk_app(SymbolTag::bv_extract, {x}, lsb + pick(w - lsb), lsb));
          break;
        }
        case 9:
          if (w < 7) words.push_back(fit(x, w + 1 + pick(2)));
          break;
        case 10: words.push_back(tm.mk_app(SymbolTag::bv_shl, {x, y})); break;
        case 11: words.push_back(tm.mk_app(SymbolTag::bv_lshr, {x, tm.mk_bv(pick(w + 2) & mask, w)})); break;
        case 12: words.push_back(tm.mk_bv(random() & mask, w)); break;
        case 13: words.push_back(tm.mk_app(SymbolTag::bv_urem, {x, y})); break;
        case 14:
          words.push_back(tm.mk_app(pick(2) == 0 ? SymbolTag::bv_or : SymbolTag::bv_xor, {x, y}));
          break;
        case 15:
          bools.push_back(tm.mk_app(pick(2) == 0 ? SymbolTag::bv_ult : SymbolTag::bv_ule, {x, y}));
          break;
        case 16:
          if (!bools.empty())
            words.push_back(tm.mk_app(SymbolTag::bool_ite, {bools[pick(bools.size())], x, y}));
          break;
      }
      bools.push_back(tm.mk_app(SymbolTag::equal, {x, y}));
    }
    // A formula that mixes the atoms.
    Term_ const* formula = bools[0];
    for (std::size_t i = 1; i < bools.size(); ++i)
      formula = tm.mk_app(pick(2) == 0 ? SymbolTag::bool_iff : SymbolTag::bool_or,
                          {formula, pick(2) == 0 ? tm.mk_app(SymbolTag::bool_not, {bools[i]}) : bools[i]});

    WordIdentities identities(tm);
    std::vector<Term_ const*> assumed;
    if (pick(2) == 0)
      for (int i = 0; i < 2; ++i) {
        Term_ const* t = words[pick(words.size())];
        assumed.push_back(
            tm.mk_app(SymbolTag::equal, {fit(variables[static_cast<std::size_t>(i)], width_of(t)), t}));
        identities.assume(assumed.back());
      }
    std::vector<Term_ const*> checked = bools;
    checked.push_back(formula);
    std::vector<Term_ const*> decided;
    for (Term_ const* b : checked) decided.push_back(identities.decide(b));
    changed += identities.decided();

    values::Evaluator evaluator(tm);
    for (std::uint64_t n = 0; n < (std::uint64_t{1} << (3 * width)); ++n) {
      Values values;
      for (std::size_t i = 0; i < 3; ++i) values.of[variables[i]] = (n >> (i * width)) & ((1u << width) - 1);
      evaluator.set_assignment(values);
      bool assumptions_hold = true;
      for (Term_ const* a : assumed) assumptions_hold &= evaluator.is_true(a);
      if (!assumptions_hold) continue;
      for (std::size_t i = 0; i < checked.size(); ++i)
        ASSERT_EQ(evaluator.is_true(checked[i]), evaluator.is_true(decided[i]))
            << "round " << round << " width " << width << " assignment " << n << " formula " << i;
    }
  }
  EXPECT_GT(changed, 50u);  // the rounds decide something at all
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomFormulas, testing::Range(0u, 40u));

// The low slice of a wider word has the wider word's atom, but is equal to it modulo a power of two only.
TEST_F(WordIdentitiesTest, AnEqualityOfALowSliceDoesNotReplaceTheWholeWord) {
  Term_ const* x = word("x", 3);
  Term_ const* y = word("y", 2);
  Term_ const* zero = tm.mk_bv(0, 3);
  Term_ const* low = app(SymbolTag::bv_extract, {x}, 1, 0);
  Term_ const* wide_y = app(SymbolTag::bv_zero_extend, {y}, 1);
  for (Term_ const* c : {eq(low, y), eq(y, low)}) {
    WordIdentities w(tm);
    auto const times_x = [&](Term_ const* t) { return mul(x, app(SymbolTag::term_ite, {c, t, zero})); };
    Term_ const* f = eq(times_x(x), times_x(wide_y));
    EXPECT_EQ(w.decide(f), f);
  }
  // Of whole words it does.
  WordIdentities w(tm);
  Term_ const* c = eq(x, wide_y);
  auto const times_x = [&](Term_ const* t) { return mul(x, app(SymbolTag::term_ite, {c, t, zero})); };
  EXPECT_EQ(w.decide(eq(times_x(x), times_x(wide_y))), yes());
}

// With a value of its own for each quotient by zero, the term with other operands would be another one.
TEST_F(WordIdentitiesTest, OperandsOfAFreeQuotientStay) {
  Term_ const* x = word("x", 2);
  Term_ const* square = mul(x, x);
  Term_ const* decided = app(SymbolTag::term_ite, {eq(square, square), x, tm.mk_bv(1, 2)});
  for (SymbolTag::tag tag :
       {SymbolTag::bv_udiv, SymbolTag::bv_sdiv, SymbolTag::bv_urem, SymbolTag::bv_srem}) {
    WordIdentities free(tm, true);
    Term_ const* f = eq(app(tag, {decided, square}), x);
    EXPECT_EQ(free.decide(f), f);
    WordIdentities w(tm);
    EXPECT_NE(w.decide(f), f);
  }
}

// What a conversion of a value out of range gives is open for each term, always.
TEST_F(WordIdentitiesTest, OperandsOfAConversionStay) {
  Term_ const* x = word("x", 4);
  Term_ const* rounding = tm.mk_variable("r", tm.rounding_mode_type);
  Term_ const* f = tm.mk_variable("f", tm.fp_type(3, 4));
  Term_ const* g = tm.mk_variable("g", tm.fp_type(3, 4));
  Term_ const* decided = app(SymbolTag::term_ite, {eq(mul(x, x), mul(x, x)), f, g});
  for (SymbolTag::tag tag : {SymbolTag::fp_to_ubv, SymbolTag::fp_to_sbv}) {
    WordIdentities w(tm);
    Term_ const* formula = eq(app(tag, {rounding, decided}, 4), x);
    EXPECT_EQ(w.decide(formula), formula);
  }
}

}  // namespace
}  // namespace vell::words

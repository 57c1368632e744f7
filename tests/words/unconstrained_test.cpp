// Elimination of unconstrained variables: satisfiable as before, and every model of what is left, completed
// by the definitions, is one of the formulas.

#include "vell/words/unconstrained.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/values/values.h"

namespace vell::words {
namespace {

using test::assignments;
using test::hold;
using test::Values;
using test::variables_below;

class UnconstrainedTest : public testing::Test {
 protected:
  Term_ const* word(std::uint64_t width) { return tm.mk_variable("x", tm.bv_type(width)); }
  Term_ const* boolean() { return tm.mk_variable("b", tm.bool_type); }
  Term_ const* app(SymbolTag::tag tag, std::initializer_list<Term_ const*> c, std::uint64_t p0 = 0,
                   std::uint64_t p1 = 0) {
    return tm.mk_app(tag, c, p0, p1);
  }

  Definitions eliminate(std::vector<Term_ const*>& terms, std::vector<Term_ const*> const& kept = {}) {
    Formulas formulas;
    formulas.first = true;
    for (Term_ const* t : terms) formulas.permanent.push_back({t, 0});
    for (Term_ const* t : kept) formulas.retractable.push_back({t, 0});
    make_unconstrained({tm, free_division, limits, tunables})->apply(formulas);
    terms = terms_of(formulas.permanent);
    return formulas.definitions;
  }

  // Compares formulas before and after under every assignment; whether anything was eliminated.
  bool check(std::vector<Term_ const*> const& before, std::vector<Term_ const*> const& kept = {}) {
    std::vector<Term_ const*> now = before;
    Definitions const definitions = eliminate(now, kept);
    std::vector<Term_ const*> const old_variables = variables_below(tm, before);
    std::vector<Term_ const*> const new_variables = variables_below(tm, now);
    Values values;
    bool satisfiable = false;
    for (std::uint64_t all = 0; all < assignments(tm, old_variables) && !satisfiable; ++all) {
      values.assign(tm, old_variables, all);
      satisfiable = hold(tm, before, values);
    }
    bool still = false;
    for (std::uint64_t all = 0; all < assignments(tm, new_variables); ++all) {
      for (Term_ const* x : old_variables) values.of[x] = 0;
      values.assign(tm, new_variables, all);
      if (!hold(tm, now, values)) continue;
      still = true;
      for (std::size_t i = definitions.size(); i-- > 0;) {
        EXPECT_EQ(definitions[i].variable->symbol->get_output_type(),
                  definitions[i].value->symbol->get_output_type());
        values::Evaluator evaluator(tm);
        evaluator.set_assignment(values);
        std::uint64_t const value = *evaluator.value(definitions[i].value);
        values.of[definitions[i].variable] = value;
      }
      EXPECT_TRUE(hold(tm, before, values));
    }
    EXPECT_EQ(satisfiable, still);
    for (Term_ const* x : variables_below(tm, kept))
      for (Definition const& d : definitions) EXPECT_NE(d.variable, x);
    return !definitions.empty();
  }

  TermManager tm;
  run::Limits limits;
  run::Tunables tunables;
  bool free_division = false;
};

TEST_F(UnconstrainedTest, EveryOperatorThatAFreeOperandMakesFree) {
  // t is constrained: it stands twice.
  for (std::uint64_t w : {1, 2, 3}) {
    for (SymbolTag::tag tag : {SymbolTag::bv_add, SymbolTag::bv_sub, SymbolTag::bv_xor})
      for (bool first : {true, false}) {
        Term_ const* x = word(w);
        Term_ const* t = word(w);
        Term_ const* place = first ? app(tag, {x, t}) : app(tag, {t, x});
        EXPECT_TRUE(check({app(SymbolTag::bv_ult, {place, t})})) << tag;
      }
    for (SymbolTag::tag tag : {SymbolTag::bv_not, SymbolTag::bv_neg})
      EXPECT_TRUE(check({app(SymbolTag::equal, {app(tag, {word(w)}), tm.mk_bv(1, w)})})) << tag;
    Term_ const* t = word(w);
    EXPECT_TRUE(check(
        {app(SymbolTag::equal, {word(w), t}), app(SymbolTag::equal, {t, app(SymbolTag::bv_neg, {t})})}));
    EXPECT_TRUE(
        check({app(SymbolTag::bv_ult, {app(SymbolTag::bv_mul, {tm.mk_bv(w == 1 ? 1 : 3, w), word(w)}), t}),
               app(SymbolTag::bv_ult, {t, tm.mk_bv(1, w)})}));
  }
}

TEST_F(UnconstrainedTest, EveryOperatorThatTwoFreeOperandsMakeFree) {
  for (std::uint64_t w : {1, 2, 3}) {
    for (SymbolTag::tag tag : {SymbolTag::bv_and, SymbolTag::bv_or, SymbolTag::bv_shl, SymbolTag::bv_lshr,
                               SymbolTag::bv_ashr, SymbolTag::bv_mul, SymbolTag::bv_udiv, SymbolTag::bv_urem,
                               SymbolTag::bv_sdiv, SymbolTag::bv_srem}) {
      Term_ const* t = word(w);
      EXPECT_TRUE(
          check({app(SymbolTag::bv_ult, {app(tag, {word(w), word(w)}), t}), app(SymbolTag::bv_ult, {t, t})}))
          << tag;
      Term_ const* u = word(w);
      EXPECT_TRUE(check({app(SymbolTag::bv_ult, {u, app(tag, {word(w), word(w)})}),
                         app(SymbolTag::bool_not, {app(SymbolTag::bv_ult, {u, u})})}))
          << tag;
    }
    for (SymbolTag::tag tag : {SymbolTag::bv_ult, SymbolTag::bv_ule, SymbolTag::bv_slt, SymbolTag::bv_sle}) {
      EXPECT_TRUE(check({app(tag, {word(w), word(w)})})) << tag;
      EXPECT_TRUE(check({app(SymbolTag::bool_not, {app(tag, {word(w), word(w)})})})) << tag;
    }
    Term_ const* joined = app(SymbolTag::bv_concat, {word(w), word(2)});
    EXPECT_TRUE(check({app(SymbolTag::bv_ult, {tm.mk_bv(5, w + 2), joined})}));
    EXPECT_TRUE(
        check({app(SymbolTag::equal, {app(SymbolTag::bv_extract, {word(4)}, 2, 1), tm.mk_bv(2, 2)})}));
  }
}

TEST_F(UnconstrainedTest, Booleans) {
  Term_ const* t = boolean();
  EXPECT_TRUE(check({app(SymbolTag::bool_iff, {boolean(), t}), t}));
  EXPECT_TRUE(check({app(SymbolTag::bool_and, {boolean(), boolean()})}));
  EXPECT_TRUE(check({app(SymbolTag::bool_not, {app(SymbolTag::bool_or, {boolean(), boolean()})})}));
  EXPECT_TRUE(check({app(SymbolTag::bool_ite, {t, boolean(), boolean()}), t}));
  EXPECT_TRUE(check({app(SymbolTag::bool_ite, {boolean(), boolean(), t}), app(SymbolTag::bool_not, {t})}));
  EXPECT_TRUE(check({app(SymbolTag::bool_ite, {boolean(), t, boolean()}), app(SymbolTag::bool_not, {t})}));
}

// With t constrained by a second place.
TEST_F(UnconstrainedTest, AComparisonWithAFreeSideBecomesATestForTheBound) {
  for (std::uint64_t w : {1, 2, 3})
    for (SymbolTag::tag tag : {SymbolTag::bv_ult, SymbolTag::bv_ule, SymbolTag::bv_slt, SymbolTag::bv_sle})
      for (bool first : {true, false})
        for (bool negated : {true, false}) {
          Term_ const* t = word(w);
          auto const comparison = [&](Term_ const* other) {
            Term_ const* c = first ? app(tag, {word(w), other}) : app(tag, {other, word(w)});
            return negated ? app(SymbolTag::bool_not, {c}) : c;
          };
          EXPECT_TRUE(check({comparison(t), app(SymbolTag::bv_ule, {t, tm.mk_bv(0, w)})})) << tag;
          for (std::uint64_t n = 0; n < std::uint64_t{1} << w; ++n)
            EXPECT_TRUE(check({comparison(tm.mk_bv(n, w))})) << tag << " " << n;
        }
}

TEST_F(UnconstrainedTest, AProductReachesTheMultiplesOfTheOtherFactor) {
  for (std::uint64_t w : {1, 2, 3, 4}) {
    for (std::uint64_t n = 1; n < std::uint64_t{1} << w; ++n) {
      Term_ const* product = app(SymbolTag::bv_mul, {tm.mk_bv(n, w), word(w)});
      Term_ const* u = word(w);
      EXPECT_TRUE(check({app(SymbolTag::bv_ult, {u, product}), app(SymbolTag::bv_ult, {u, u})})) << n;
    }
    for (bool first : {true, false}) {
      Term_ const* t = word(w);
      Term_ const* u = word(w);
      Term_ const* product =
          first ? app(SymbolTag::bv_mul, {word(w), t}) : app(SymbolTag::bv_mul, {t, word(w)});
      EXPECT_TRUE(check({app(SymbolTag::bool_not, {app(SymbolTag::bv_ult, {u, product})}),
                         app(SymbolTag::bv_ule, {u, t})}));
    }
  }
  // The inverse by iteration, at a width of several steps: x * t = 5 * t has models, whatever t is.
  for (std::uint64_t t : {1ull, 0xdeadbeefull, 0xfffffffffffffffull, 0x123456789abcd000ull}) {
    Term_ const* x = word(61);
    Term_ const* factor = word(61);
    std::vector<Term_ const*> formulas{
        app(SymbolTag::bv_ult, {tm.mk_bv(1, 61), app(SymbolTag::bv_mul, {x, factor})}),
        app(SymbolTag::bv_ult, {factor, factor})};
    Definitions const definitions = eliminate(formulas);
    ASSERT_EQ(1u, definitions.size());
    ASSERT_EQ(x, definitions[0].variable);
    for (std::uint64_t value : {0ull, 1ull, 77ull, 0x1edcba987654321ull}) {
      Values values;
      for (Term_ const* v : variables_below(tm, {definitions[0].value})) values.of[v] = value;
      values.of[factor] = t & ((1ull << 61) - 1);
      values::Evaluator evaluator(tm);
      evaluator.set_assignment(values);
      values.of[x] = *evaluator.value(definitions[0].value);
      values::Evaluator again(tm);
      again.set_assignment(values);
      EXPECT_EQ(*again.value(definitions[0].by), *again.value(definitions[0].replaced));
    }
  }
}

TEST_F(UnconstrainedTest, ADisjunctionWithAFreeBooleanGoes) {
  Term_ const* t = boolean();
  Term_ const* u = boolean();
  std::vector<Term_ const*> formulas{
      app(SymbolTag::bool_or, {t, app(SymbolTag::bool_or, {boolean(), u})}), t,
      app(SymbolTag::bool_not, {app(SymbolTag::bool_and, {u, app(SymbolTag::bool_not, {boolean()})})}), u};
  EXPECT_TRUE(check(formulas));
  eliminate(formulas);
  EXPECT_EQ((std::vector<Term_ const*>{t, u}), formulas);
  // A disjunction with a second place is not the free Boolean's alone.
  Term_ const* shared = app(SymbolTag::bool_or, {t, boolean()});
  std::vector<Term_ const*> other{app(SymbolTag::bool_or, {shared, u}), app(SymbolTag::bool_not, {shared}), u,
                                  t};
  EXPECT_FALSE(check(other));
}

// Asserting that what was replaced equals what stands for it brings a variable back.
TEST_F(UnconstrainedTest, EveryDefinitionSaysWhatItReplaced) {
  Term_ const* x = word(3);
  Term_ const* y = word(3);
  Term_ const* t = word(3);
  Term_ const* sum = app(SymbolTag::bv_add, {x, t});
  Term_ const* product = app(SymbolTag::bv_mul, {sum, y});
  std::vector<Term_ const*> formulas{app(SymbolTag::bv_ult, {product, t})};
  Definitions const definitions = eliminate(formulas);
  ASSERT_EQ(4u, definitions.size());
  EXPECT_EQ(x, definitions[0].variable);
  EXPECT_EQ(sum, definitions[0].replaced);
  EXPECT_EQ(definitions[1].replaced, definitions[2].replaced);
  EXPECT_EQ(y, definitions[2].variable);
  EXPECT_EQ(definitions[0].by, definitions[2].replaced->children[0]);
}

TEST_F(UnconstrainedTest, WhatIsConstrainedStays) {
  Term_ const* t = word(3);
  // x / t is not every value; x and t share x's place with a second one.
  EXPECT_FALSE(check({app(SymbolTag::bv_ult, {app(SymbolTag::bv_udiv, {word(3), t}), t}),
                      app(SymbolTag::bv_ult, {t, tm.mk_bv(2, 3)})}));
  Term_ const* x = word(3);
  Term_ const* f = app(SymbolTag::equal, {app(SymbolTag::bv_add, {x, t}), tm.mk_bv(0, 3)});
  EXPECT_FALSE(check({app(SymbolTag::bv_ult, {x, x})}));
  EXPECT_FALSE(check({f}, {app(SymbolTag::bv_ult, {x, t}), t}));
  // With open quotients by zero their operands stay.
  free_division = true;
  std::vector<Term_ const*> quotient{app(SymbolTag::equal, {app(SymbolTag::bv_udiv, {word(3), word(3)}), t}),
                                     t};
  quotient[1] = app(SymbolTag::bv_ult, {t, t});
  EXPECT_TRUE(eliminate(quotient).empty());
}

TEST_F(UnconstrainedTest, RandomFormulas) {
  std::mt19937 random(3);
  unsigned eliminated = 0;
  SymbolTag::tag const relation[] = {SymbolTag::equal, SymbolTag::bv_ult, SymbolTag::bv_sle};
  for (int round = 0; round < 400; ++round) {
    std::vector<Term_ const*> words;
    for (int i = 0; i < 5; ++i) words.push_back(word(2));
    std::vector<Term_ const*> booleans{boolean()};
    auto const pick = [&](std::vector<Term_ const*> const& from) { return from[random() % from.size()]; };
    for (int i = 0; i < 8; ++i) {
      static SymbolTag::tag const binary[] = {SymbolTag::bv_add,  SymbolTag::bv_sub,  SymbolTag::bv_xor,
                                              SymbolTag::bv_and,  SymbolTag::bv_or,   SymbolTag::bv_mul,
                                              SymbolTag::bv_udiv, SymbolTag::bv_urem, SymbolTag::bv_shl,
                                              SymbolTag::bv_sdiv, SymbolTag::bv_srem};
      switch (random() % 4) {
        case 0: booleans.push_back(app(relation[random() % 3], {pick(words), pick(words)})); break;
        case 1: words.push_back(app(SymbolTag::term_ite, {pick(booleans), pick(words), pick(words)})); break;
        case 2: words.push_back(tm.mk_bv(random() % 4, 2)); break;
        default:
          words.push_back(app(binary[random() % std::size(binary)], {pick(words), pick(words)}));
          break;
      }
    }
    Term_ const* f = app(relation[random() % 3], {words.back(), pick(words)});
    if (random() % 2 == 0) f = app(SymbolTag::bool_not, {f});
    std::vector<Term_ const*> kept;
    if (random() % 3 == 0) kept.push_back(app(SymbolTag::equal, {words[0], words[1]}));
    eliminated += check({f, pick(booleans)}, kept) ? 1 : 0;
  }
  EXPECT_GT(eliminated, 100u);
}

// What a conversion of a value out of range gives is open for each term: its operands stay.
TEST_F(UnconstrainedTest, OperandsOfAConversionStay) {
  Term_ const* f = tm.mk_variable("f", tm.fp_type(3, 4));
  Term_ const* g = tm.mk_variable("g", tm.fp_type(3, 4));
  Term_ const* free_condition = app(SymbolTag::bv_ult, {word(4), word(4)});
  Term_ const* chosen = app(SymbolTag::term_ite, {free_condition, f, g});
  Term_ const* rounding = tm.mk_variable("r", tm.rounding_mode_type);
  Term_ const* conversion = app(SymbolTag::fp_to_ubv, {rounding, chosen}, 4);
  Term_ const* square = app(SymbolTag::bv_mul, {word(4), word(4)});
  std::vector<Term_ const*> formulas{app(SymbolTag::equal, {conversion, tm.mk_bv(5, 4)}),
                                     app(SymbolTag::equal, {square, tm.mk_bv(5, 4)})};
  std::vector<Term_ const*> const before = formulas;
  EXPECT_FALSE(eliminate(formulas).empty());
  EXPECT_EQ((std::vector<Term_ const*>{before[0]}), formulas);
}

}  // namespace
}  // namespace vell::words

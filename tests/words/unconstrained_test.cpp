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

  // Compares formulas before and after under every assignment; whether anything was eliminated.
  bool check(std::vector<Term_ const*> const& formulas, std::vector<Term_ const*> const& kept = {}) {
    // A product that goes, so that there is a saving; its variables stand nowhere else.
    Term_ const* a = word(1);
    Term_ const* big = app(SymbolTag::equal, {app(SymbolTag::bv_mul, {a, word(1)}), word(1)});
    std::vector<Term_ const*> before = formulas;
    before.push_back(big);
    std::vector<Term_ const*> now = before;
    Definitions definitions;
    EXPECT_TRUE(eliminate_unconstrained(tm, now, kept, 0, definitions));
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
    return now.front() != formulas.front();
  }

  TermManager tm;
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
    for (SymbolTag::tag tag :
         {SymbolTag::bv_and, SymbolTag::bv_or, SymbolTag::bv_shl, SymbolTag::bv_lshr, SymbolTag::bv_ashr,
          SymbolTag::bv_mul, SymbolTag::bv_udiv, SymbolTag::bv_urem, SymbolTag::bv_sdiv}) {
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
      bool const free = w > 1 || tag != SymbolTag::bv_slt;
      EXPECT_EQ(check({app(tag, {word(w), word(w)})}), free) << tag;
      EXPECT_EQ(check({app(SymbolTag::bool_not, {app(tag, {word(w), word(w)})})}), free) << tag;
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

TEST_F(UnconstrainedTest, WhatIsConstrainedStays) {
  Term_ const* t = word(3);
  // x * 2 is even; x / t is not every value; x and t share x's place with a second one.
  EXPECT_FALSE(check({app(SymbolTag::bv_ult, {app(SymbolTag::bv_mul, {tm.mk_bv(2, 3), word(3)}), t}),
                      app(SymbolTag::bv_ult, {t, tm.mk_bv(2, 3)})}));
  EXPECT_FALSE(check({app(SymbolTag::bv_ult, {app(SymbolTag::bv_udiv, {word(3), t}), t}),
                      app(SymbolTag::bv_ult, {t, tm.mk_bv(2, 3)})}));
  Term_ const* x = word(3);
  Term_ const* f = app(SymbolTag::equal, {app(SymbolTag::bv_add, {x, t}), tm.mk_bv(0, 3)});
  EXPECT_FALSE(check({app(SymbolTag::bv_ult, {x, x})}));
  EXPECT_FALSE(check({f}, {app(SymbolTag::bv_ult, {x, t}), t}));
}

TEST_F(UnconstrainedTest, NothingIsDoneForASmallSaving) {
  Term_ const* product = app(SymbolTag::bv_mul, {word(8), word(8)});
  std::vector<Term_ const*> formulas{app(SymbolTag::equal, {product, word(8)})};
  std::vector<Term_ const*> const before = formulas;
  Definitions definitions;
  EXPECT_EQ(circuit_cost(tm, formulas), 64u);
  EXPECT_FALSE(eliminate_unconstrained(tm, formulas, {}, 64, definitions));
  EXPECT_EQ(formulas, before);
  EXPECT_TRUE(definitions.empty());
  EXPECT_TRUE(eliminate_unconstrained(tm, formulas, {}, 63, definitions));
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
  Definitions definitions;
  EXPECT_TRUE(eliminate_unconstrained(tm, formulas, {}, 0, definitions));
  EXPECT_EQ(formulas[0], before[0]);
  EXPECT_NE(formulas[1], before[1]);
}

}  // namespace
}  // namespace vell::words

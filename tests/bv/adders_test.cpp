// Full adder, ripple-carry addition, negation and their handlers.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/clausifiertest.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::WordClausifier;

constexpr BvLit T = bv::l_true;
constexpr BvLit F = bv::l_false;

class AddersTest : public ClausifierTest {
 protected:
  std::uint64_t lists_in_use() const {
    return inspect.list_pool().chunk_count() * 1024 - inspect.list_pool().free_count();
  }
  BvLitList add(BvLitList x, BvLitList y) { return take(c.word_add(&sink, &x, &y)); }
  BvLitList negate(BvLitList x) { return take(c.word_neg(&sink, &x)); }
};

BvLitList constant(std::uint64_t value, std::size_t width) {
  BvLitList bits;
  for (std::size_t i = 0; i < width; ++i) bits.push_back((value >> i & 1) != 0 ? T : F);
  return bits;
}

// ---- full adder ----

TEST_F(AddersTest, FullAdderOfThreeVariables) {
  BvLit sum = 0;
  BvLit carry = 0;
  c.full_adder(&sink, sum, carry, 2, 3, 4);
  EXPECT_EQ(sum, 100);
  EXPECT_EQ(carry, 101);
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 -3 -4 100 | -2 -3 4 -100 | -2 3 -4 -100 | 2 -3 -4 -100
    clauses -2 3 4 100 | 2 -3 4 100 | 2 3 -4 100 | 2 3 4 -100
    new 101
    clauses -2 -3 101 | -2 -4 101 | -3 -4 101 | 2 3 -101 | 2 4 -101 | 4 3 -101
  )");
}

TEST_F(AddersTest, FullAdderOfThreeVariablesTestsNoEquality) {
  BvLit sum = 0;
  BvLit carry = 0;
  c.full_adder(&sink, sum, carry, 2, 2, -2);
  EXPECT_EQ(sum, 100);
  EXPECT_EQ(carry, 101);
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 -2 2 100 | -2 -2 -2 -100 | -2 2 2 -100 | 2 -2 2 -100
    clauses -2 2 -2 100 | 2 -2 -2 100 | 2 2 2 100 | 2 2 -2 -100
    new 101
    clauses -2 -2 101 | -2 2 101 | -2 2 101 | 2 2 -101 | 2 -2 -101 | -2 2 -101
  )");
}

TEST_F(AddersTest, FullAdderWithConstants) {
  struct Case {
    BvLit a, b, c, sum, carry;
    char const* events;
  };
  constexpr char const* none = "";
  constexpr char const* half = R"(
    new 100
    clauses -2 -3 -100 | 2 3 -100 | -2 3 100 | 2 -3 100
    new 101
    clauses -2 -3 101 | 2 -101 | 3 -101)";
  constexpr char const* half_with_carry = R"(
    new 100
    clauses -2 -3 -100 | 2 3 -100 | -2 3 100 | 2 -3 100
    new 101
    clauses -2 101 | -3 101 | 2 3 -101)";
  Case const cases[] = {
      // no variable
      {F, F, F, F, F, none},
      {T, F, F, T, F, none},
      {F, T, F, T, F, none},
      {F, F, T, T, F, none},
      {T, T, F, F, T, none},
      {T, F, T, F, T, none},
      {F, T, T, F, T, none},
      {T, T, T, T, T, none},
      // one
      {2, F, F, 2, F, none},
      {F, -2, F, -2, F, none},
      {F, F, 2, 2, F, none},
      {2, T, F, -2, 2, none},
      {2, F, T, -2, 2, none},
      {T, 2, F, -2, 2, none},
      {F, -2, T, 2, -2, none},
      {T, F, 2, -2, 2, none},
      {F, T, 2, -2, 2, none},
      {2, T, T, 2, T, none},
      {T, 2, T, 2, T, none},
      {T, T, -2, -2, T, none},
      // two, equal
      {2, 2, F, F, 2, none},
      {2, F, 2, F, 2, none},
      {F, 2, 2, F, 2, none},
      {2, 2, T, T, 2, none},
      {-2, T, -2, T, -2, none},
      {T, 2, 2, T, 2, none},
      // two, complementary: folded by the gates
      {2, -2, F, T, F, none},
      {2, F, -2, T, F, none},
      {F, -2, 2, T, F, none},
      {2, -2, T, F, T, none},
      {2, T, -2, F, T, none},
      {T, 2, -2, F, T, none},
      // two, different: xor first, then the carry
      {2, 3, F, 100, 101, half},
      {2, F, 3, 100, 101, half},
      {F, 2, 3, 100, 101, half},
      {2, 3, T, -100, 101, half_with_carry},
      {2, T, 3, -100, 101, half_with_carry},
      {T, 2, 3, -100, 101, half_with_carry},
  };
  for (Case const& k : cases) {
    SCOPED_TRACE(to_string({k.a, k.b, k.c}));
    BvLit sum = 77;
    BvLit carry = 77;
    sink.next = 100;
    c.full_adder(&sink, sum, carry, k.a, k.b, k.c);
    EXPECT_EQ(sum, k.sum);
    EXPECT_EQ(carry, k.carry);
    EXPECT_EVENTS(k.events);
  }
}

TEST_F(AddersTest, FullAdderMayOverwriteItsInputs) {
  BvLit sum = 2;
  BvLit carry = 3;
  c.full_adder(&sink, sum, carry, sum, T, F);
  EXPECT_EQ(sum, -2);
  EXPECT_EQ(carry, 2);
}

TEST_F(AddersTest, FullAdderTraces) {
  EXPECT_TRACE_LEVELS(
      [](WordClausifier& w, RecordingSink& s) {
        BvLit sum = 0;
        BvLit carry = 0;
        w.full_adder(&s, sum, carry, T, T, 2);
        w.full_adder(&s, sum, carry, 2, 3, F);
        w.full_adder(&s, sum, carry, 2, T, 3);
        w.full_adder(&s, sum, carry, 2, 2, F);
        w.full_adder(&s, sum, carry, 2, 3, 4);
      },
      R"(
        3 "full adder "
        5 "sum_consts "
        3 "full adder "
        5 "sum_consts "
        3 "bit xor "
        3 "bit_and "
        3 "full adder "
        5 "sum_consts "
        3 "bit xor "
        3 "bit_or "
        3 "full adder "
        5 "sum_consts "
        3 "full adder "
        5 "sum_consts "
      )");
}

TEST_F(AddersTest, FullAdderStopsWhereTheSinkThrows) {
  // 16 calls of the sink in this order: a literal, 8 clauses, a literal, 6 clauses.
  for (int clauses = 0; clauses < 14; ++clauses) {
    sink.next = 100;
    sink.clauses_left = clauses;
    BvLit sum = 0;
    BvLit carry = 0;
    EXPECT_THROW(c.full_adder(&sink, sum, carry, 2, 3, 4), Interrupted);
    EXPECT_EQ(events.size(), static_cast<std::size_t>(clauses) + (clauses < 8 ? 1 : 2));
    events.clear();
  }
  sink.clauses_left = -1;
  for (int literals = 0; literals < 2; ++literals) {
    sink.new_lits_left = literals;
    BvLit sum = 0;
    BvLit carry = 0;
    EXPECT_THROW(c.full_adder(&sink, sum, carry, 2, 3, 4), Interrupted);
    EXPECT_EQ(events.size(), literals == 0 ? 0u : 9u);
    events.clear();
  }
}

// ---- addition ----

TEST_F(AddersTest, AdditionRipplesFromBitZero) {
  EXPECT_EQ(add({2, 3}, {4, 5}), (BvLitList{100, 102}));
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 -4 -100 | 2 4 -100 | -2 4 100 | 2 -4 100
    new 101
    clauses -2 -4 101 | 2 -101 | 4 -101
    new 102
    clauses -3 -5 -101 102 | -3 -5 101 -102 | -3 5 -101 -102 | 3 -5 -101 -102
    clauses -3 5 101 102 | 3 -5 101 102 | 3 5 -101 102 | 3 5 101 -102
    new 103
    clauses -3 -5 103 | -3 -101 103 | -5 -101 103 | 3 5 -103 | 3 101 -103 | 101 5 -103
  )");
}

TEST_F(AddersTest, AdditionOfConstantsIsModular) {
  for (std::size_t width = 1; width <= 4; ++width)
    for (std::uint64_t x = 0; x < (1u << width); ++x)
      for (std::uint64_t y = 0; y < (1u << width); ++y)
        EXPECT_EQ(add(constant(x, width), constant(y, width)), constant(x + y, width));
  EXPECT_NO_EVENTS();
}

TEST_F(AddersTest, AdditionOfZeroIsTheOtherOperand) {
  EXPECT_EQ(add({2, -3, 4}, {F, F, F}), (BvLitList{2, -3, 4}));
  EXPECT_EQ(add({F, F, F}, {2, -3, 4}), (BvLitList{2, -3, 4}));
  EXPECT_NO_EVENTS();
}

TEST_F(AddersTest, AdditionOfAConstantCostsOnlyTheCarryChain) {
  EXPECT_EQ(add({2, 3, 4}, {T, F, F}), (BvLitList{-2, 100, 102}));
  EXPECT_EVENTS(R"(
    new 100
    clauses -3 -2 -100 | 3 2 -100 | -3 2 100 | 3 -2 100
    new 101
    clauses -3 -2 101 | 3 -101 | 2 -101
    new 102
    clauses -4 -101 -102 | 4 101 -102 | -4 101 102 | 4 -101 102
    new 103
    clauses -4 -101 103 | 4 -103 | 101 -103
  )");
}

TEST_F(AddersTest, AdditionTakesItsLengthFromTheFirstOperand) {
  EXPECT_EQ(add({2}, {F, 3, 4}), (BvLitList{2}));
  EXPECT_NO_EVENTS();
}

TEST_F(AddersTest, AdditionOfEmptyWords) {
  EXPECT_EQ(add({}, {}), BvLitList{});
  EXPECT_EQ(lists_in_use(), 0u);
}

TEST_F(AddersTest, AdditionLeavesItsOperandsAlone) {
  BvLitList x{2, T};
  BvLitList const copy = x;
  c.release(c.word_add(&sink, &x, &x));
  EXPECT_EQ(x, copy);
}

TEST_F(AddersTest, AdditionTraces) {
  EXPECT_TRACE_LEVELS(
      [](WordClausifier& w, RecordingSink& s) {
        BvLitList x{2, F, 3};
        BvLitList y{-4, F, T};
        w.release(w.word_add(&s, &x, &y));
      },
      R"(
        3 "word_add "
        5 "sum_consts "
        3 "bit xor "
        3 "bit_and "
        4 "i = 0 x = 0 y = ~2 cin = F"
        4 "   sum = 98 = 99"
        5 "sum_consts "
        4 "i = 1 x = F y = F cin = 99"
        4 "   sum = 99 = F"
        5 "sum_consts "
        4 "i = 2 x = 1 y = T cin = F"
        4 "   sum = ~1 = 1"
        4 "[ 1, F, 0 ] + [ T, F, ~2 ] = [ ~1, 99, 98 ]"
      )");
}

TEST_F(AddersTest, AdditionTracesAStageAfterItsClauses) {
  logger.set_verbosity(5);
  add({2}, {3});
  EXPECT_EVENTS(R"(
    log "word_add "
    log "sum_consts "
    log "bit xor "
    new 100
    clauses -2 -3 -100 | 2 3 -100 | -2 3 100 | 2 -3 100
    log "bit_and "
    new 101
    clauses -2 -3 101 | 2 -101 | 3 -101
    log "i = 0 x = 0 y = 1 cin = F"
    log "   sum = 98 = 99"
    log "[ 0 ] + [ 1 ] = [ 98 ]"
  )");
}

// ---- negation ----

TEST_F(AddersTest, NegationIsComplementPlusOne) {
  EXPECT_EQ(negate({2, 3, 4}), (BvLitList{2, 100, 102}));
  EXPECT_EVENTS(R"(
    new 100
    clauses 3 2 -100 | -3 -2 -100 | 3 -2 100 | -3 2 100
    new 101
    clauses 3 2 101 | -3 -101 | -2 -101
    new 102
    clauses 4 -101 -102 | -4 101 -102 | 4 101 102 | -4 -101 102
    new 103
    clauses 4 -101 103 | -4 -103 | 101 -103
  )");
}

TEST_F(AddersTest, NegationOfConstantsIsModular) {
  for (std::size_t width = 1; width <= 5; ++width)
    for (std::uint64_t x = 0; x < (1u << width); ++x)
      EXPECT_EQ(negate(constant(x, width)), constant(0 - x, width));
  EXPECT_NO_EVENTS();
}

TEST_F(AddersTest, NegationOfOneBitIsTheBit) {
  EXPECT_EQ(negate({2}), (BvLitList{2}));
  EXPECT_EQ(negate({-2}), (BvLitList{-2}));
  EXPECT_NO_EVENTS();
}

TEST_F(AddersTest, NegationTraces) {
  EXPECT_TRACE_LEVELS(
      [](WordClausifier& w, RecordingSink& s) {
        BvLitList x{2};
        w.release(w.word_neg(&s, &x));
      },
      R"(
        3 "word_neg "
        3 "word_add "
        5 "sum_consts "
        4 "i = 0 x = ~0 y = T cin = F"
        4 "   sum = 0 = ~0"
        4 "[ ~0 ] + [ T ] = [ 0 ]"
      )");
}

TEST_F(AddersTest, NegationOfAnEmptyWordRunsAsUsual) {
  logger.set_verbosity(5);
  EXPECT_EQ(negate({}), BvLitList{});
  EXPECT_EVENTS(R"(
    log "word_neg "
    log "word_add "
    log "[ ] + [ ] = [ ]"
  )");
}

TEST_F(AddersTest, NegationReturnsItsTemporaries) {
  BvLitList x{2, 3};
  BvLitList* const first = c.new_BvLitList({});
  c.release(first);
  BvLitList* result = c.word_neg(&sink, &x);
  EXPECT_EQ(lists_in_use(), 1u);
  EXPECT_EQ(result, first + 2);  // the complement and the constant one came before it
  c.release(result);
}

TEST_F(AddersTest, TemporariesSurviveNoException) {
  BvLitList x{2, 3};
  for (int literals = 0; literals < 4; ++literals) {
    sink.new_lits_left = literals;
    try {
      c.release(c.word_neg(&sink, &x));
    } catch (Interrupted const&) {
    }
    EXPECT_EQ(lists_in_use(), 0u) << literals;
  }
}

// ---- handlers ----

TEST_F(AddersTest, AddHandler) {
  Term_ const* x = bv_var("x", BvLitList{2, T});
  Term_ const* y = bv_var("y", BvLitList{3, F});
  Term_ const* sum = tm.mk_app(SymbolTag::bv_add, {x, y});
  logger.set_verbosity(3);
  c.word_add(&sink, sum);
  EXPECT_EVENTS(R"-(
    log "word_add B..(bvadd x y)"
    log "word_add "
    log "bit xor "
    new 100
    clauses -2 -3 -100 | 2 3 -100 | -2 3 100 | 2 -3 100
    log "bit_and "
    new 101
    clauses -2 -3 101 | 2 -101 | 3 -101
  )-");
  EXPECT_EQ(bits(sum), (BvLitList{100, -101}));
  EXPECT_EQ(trail(), "x y (bvadd x y)");
}

TEST_F(AddersTest, NegHandler) {
  Term_ const* x = bv_var("x", BvLitList{2});
  Term_ const* n = tm.mk_app(SymbolTag::bv_neg, {x});
  logger.set_verbosity(3);
  c.word_neg(&sink, n);
  EXPECT_EVENTS(R"-(
    log "word_neg B..(bvneg x)"
    log "word_neg "
    log "word_add "
  )-");
  EXPECT_EQ(bits(n), (BvLitList{2}));
  EXPECT_EQ(trail(), "x (bvneg x)");
}

TEST_F(AddersTest, SubHandlerAddsTheNegation) {
  Term_ const* x = bv_var("x", BvLitList{2, 3});
  Term_ const* y = bv_var("y", BvLitList{4, F});
  Term_ const* difference = tm.mk_app(SymbolTag::bv_sub, {x, y});
  logger.set_verbosity(3);
  c.word_sub(&sink, difference);
  // -y = [ 4, ~4 xor' ... ]: bit 0 is 4 with carry -4, bit 1 is T xor -4 = 4 with carry -4.
  EXPECT_EVENTS(R"-(
    log "word_sub (bvsub x y)"
    log "word_neg "
    log "word_add "
    log "word_add "
    log "bit xor "
    new 100
    clauses -2 -4 -100 | 2 4 -100 | -2 4 100 | 2 -4 100
    log "bit_and "
    new 101
    clauses -2 -4 101 | 2 -101 | 4 -101
    new 102
    clauses -3 -4 -101 102 | -3 -4 101 -102 | -3 4 -101 -102 | 3 -4 -101 -102
    clauses -3 4 101 102 | 3 -4 101 102 | 3 4 -101 102 | 3 4 101 -102
    new 103
    clauses -3 -4 103 | -3 -101 103 | -4 -101 103 | 3 4 -103 | 3 101 -103 | 101 4 -103
  )-");
  EXPECT_EQ(bits(difference), (BvLitList{100, 102}));
  EXPECT_EQ(lists_in_use(), 3u);
}

TEST_F(AddersTest, SubHandlerReleasesTheNegationAfterTheAddition) {
  Term_ const* x = bv_var("x", BvLitList{2});
  Term_ const* y = bv_var("y", BvLitList{3});
  BvLitList* const first = c.new_BvLitList({});
  c.release(first);
  Term_ const* difference = tm.mk_app(SymbolTag::bv_sub, {x, y});
  c.word_sub(&sink, difference);
  EXPECT_NE(c.lookup(difference), first + 2);  // the negation's list, in use during the addition
  BvLitList* const next = c.new_BvLitList({});
  EXPECT_EQ(next, first + 2);  // released last
  c.release(next);
}

TEST_F(AddersTest, AdditionIsBinary) {
  Term_ const* x = bv_var("x", BvLitList{2});
  Term_ const* zero = bv_var("zero", BvLitList{F});
  Term_ const* z = bv_var("z", BvLitList{3});
  Term_ const* sum = raw_term(SymbolTag::bv_add, tm.bv_type(1), {x, zero, z}, "sum");
  c.word_add(&sink, sum);
  EXPECT_EQ(bits(sum), (BvLitList{2}));
  EXPECT_NO_EVENTS();
}

TEST_F(AddersTest, HandlerLabelsAreOfLevelThree) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* sum = tm.mk_app(SymbolTag::bv_add, {x, x});
  Term_ const* minus = tm.mk_app(SymbolTag::bv_neg, {x});
  Term_ const* difference = tm.mk_app(SymbolTag::bv_sub, {x, x});
  auto const levels = trace_levels([&](WordClausifier& w, RecordingSink& s) {
    w.set_bits(x, &s, {T});
    w.word_add(&s, sum);
    w.word_neg(&s, minus);
    w.word_sub(&s, difference);
  });
  std::vector<std::string> labels;
  for (std::string const& l : levels)
    if (l.find("x") != std::string::npos && l.find("(bv") != std::string::npos) labels.push_back(l);
  EXPECT_TRUE(match_lines(labels, R"-(
    3 "word_add B..(bvadd x x)"
    3 "word_neg B..(bvneg x)"
    3 "word_sub (bvsub x x)"
  )-"));
}

TEST_F(AddersTest, AHandlerThatThrowsCachesNothing) {
  Term_ const* x = bv_var("x", BvLitList{2, 3});
  Term_ const* y = bv_var("y", BvLitList{4, 5});
  for (SymbolTag::tag tag : {SymbolTag::bv_add, SymbolTag::bv_sub}) {
    Term_ const* t = tm.mk_app(tag, {x, y});
    for (int clauses : {0, 3, 7, 20}) {
      sink.clauses_left = clauses;
      EXPECT_THROW(tag == SymbolTag::bv_add ? c.word_add(&sink, t) : c.word_sub(&sink, t), Interrupted);
      EXPECT_FALSE(c.is_cached(t));
      EXPECT_EQ(trail(), "x y");
      EXPECT_EQ(lists_in_use(), 2u);
    }
  }
}

}  // namespace
}  // namespace vell::test

// Unsigned and signed division: the order of every circuit within a stage, the treatment of zero divisors,
// and the handlers with their traces and lists.

#include "tests/support/clausifiertest.h"
#include "tests/support/meaning.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::WordClausifier;

constexpr BvLit T = bv::l_true;
constexpr BvLit F = bv::l_false;

constexpr SymbolTag::tag tags[] = {SymbolTag::bv_udiv, SymbolTag::bv_urem, SymbolTag::bv_sdiv,
                                   SymbolTag::bv_srem};

bool is_quotient(SymbolTag::tag tag) { return tag == SymbolTag::bv_udiv || tag == SymbolTag::bv_sdiv; }

WordClausifier::Handler handler_of(SymbolTag::tag tag) {
  switch (tag) {
    case SymbolTag::bv_udiv: return &WordClausifier::word_udiv;
    case SymbolTag::bv_urem: return &WordClausifier::word_urem;
    case SymbolTag::bv_sdiv: return static_cast<WordClausifier::Handler>(&WordClausifier::word_sdiv);
    default: return &WordClausifier::word_srem;
  }
}

BvLitList word(long value, std::size_t width) {
  BvLitList bits;
  for (std::size_t i = 0; i < width; ++i) bits.push_back((value >> i & 1) != 0 ? T : F);
  return bits;
}

class DivisionTest : public ClausifierTest {
 protected:
  enum class Circuit { udiv, sdiv };

  // Quotient and remainder of the circuits; events are recorded.
  std::pair<BvLitList, BvLitList> divide(Circuit circuit, BvLitList a, BvLitList b) {
    BvLitList q(a.size(), 0);
    BvLitList r(a.size(), 0);
    if (circuit == Circuit::udiv) {
      c.word_udiv_simple(&sink, &a, &b, &q, &r, true);
    } else {
      c.word_sdiv_simple(&sink, &a, &b, &q, &r);
    }
    return {q, r};
  }

  Term_ const* division(SymbolTag::tag tag, BvLitList const& a, BvLitList const& b) {
    return tm.mk_app(tag, {bv_var("a", a), bv_var("b", b)});
  }
  BvLitList run(Term_ const* t) {
    (c.*handler_of(t->symbol->tag()))(&sink, t);
    EXPECT_EQ(stray_lists(c), 0);
    EXPECT_EQ(inspect.trail().back(), t);
    return bits(t);
  }
};

// ---- unsigned circuit ----

// 200 / 7 in eight bits into lists that are longer: what is not theirs is left alone in q and false in r.
TEST_F(DivisionTest, LongerResultsKeepTheirLengths) {
  for (std::size_t const more : {1, 2, 9}) {
    BvLitList a = word(200, 8);
    BvLitList b = word(7, 8);
    BvLitList q(8 + more, 9);
    BvLitList r(8 + more, T);
    c.word_udiv_simple(&sink, &a, &b, &q, &r, true);
    BvLitList expected_q = word(200 / 7, 8);
    expected_q.resize(8 + more, 9);
    EXPECT_EQ(q, expected_q);
    EXPECT_EQ(r, word(200 % 7, 8 + more));
    q.assign(8 + more, F);
    r.assign(8 + more, F);
    a = word(-100, 8);
    c.word_sdiv_simple(&sink, &a, &b, &q, &r);
    for (std::size_t i = 0; i < 8; ++i) {
      EXPECT_EQ(q[i], word(-100 / 7, 8)[i]) << i;
      EXPECT_EQ(r[i], word(-100 % 7, 8)[i]) << i;
    }
    EXPECT_EQ(q.size(), 8 + more);
    EXPECT_EQ(r.size(), 8 + more);
  }
  EXPECT_NO_EVENTS();
  // The clauses are those of results of the right length.
  auto const clauses = [&](std::size_t length) {
    BvLitList a{2, 3, 4};
    BvLitList b{5, 6, 7};
    BvLitList q(length, 0);
    BvLitList r(length, 0);
    sink.next = 100;
    sink.clauses.clear();
    c.word_udiv_simple(&sink, &a, &b, &q, &r, true);
    EXPECT_EQ(r.size(), length);
    r.resize(3);
    sink.clauses.push_back(r);
    return sink.clauses;
  };
  EXPECT_EQ(clauses(5), clauses(3));
  EXPECT_EQ(stray_lists(c), 0);
}

// One stage: the quotient bit is the literal of b <= a, then come mask, negation and addition.
TEST_F(DivisionTest, WidthOne) {
  auto const [q, r] = divide(Circuit::udiv, {2}, {3});
  EXPECT_EVENTS(R"(
    new 100
    clauses -3 -2 -1 100 | -3 -2 1 -100 | -3 2 -100 | 3 -2 100 | 3 2 -1 100 | 3 2 1 -100
    new 101
    clauses -3 -100 101 | 3 -101 | 100 -101
    new 102
    clauses -2 -101 -102 | 2 101 -102 | -2 101 102 | 2 -101 102
    new 103
    clauses -2 -101 103 | 2 -103 | 101 -103
  )");
  EXPECT_EQ(q, (BvLitList{100}));
  EXPECT_EQ(r, (BvLitList{102}));
}

TEST_F(DivisionTest, TracesOfWidthOne) {
  auto const action = [](WordClausifier& fresh, RecordingSink& out) {
    BvLitList a = {T};
    BvLitList b = {T};
    BvLitList q = {0};
    BvLitList r = {0};
    fresh.word_udiv_simple(&out, &a, &b, &q, &r, true);
  };
  EXPECT_TRACE_LEVELS(action, R"(
    3 "word_udiv "
    4 "[ T ] /u [ T ]"
    4 "stage = 0"
    4 "   quotient (before) = [ ? ]"
    4 "   remainder (before) = [ F ]"
    4 "      remainder (1) = [ T ]"
    3 "word_ule "
    4 "[ T ] <=u [ T ]"
    3 "bit_and "
    4 "      [ T ] >= [ T ] = [ T ]"
    4 "      quotient (2) = [ T ]"
    3 "word_and "
    3 "bit_and "
    4 "[ T ] & [ T ] = [ T ]"
    3 "word_neg "
    3 "word_add "
    5 "sum_consts "
    4 "i = 0 x = F y = T cin = F"
    4 "   sum = T = F"
    4 "[ F ] + [ T ] = [ T ]"
    4 "      neg_div = [ T ]"
    3 "word_add "
    5 "sum_consts "
    4 "i = 0 x = T y = T cin = F"
    4 "   sum = F = T"
    4 "[ T ] + [ T ] = [ F ]"
    4 "   quotient (after) = [ T ]"
    4 "   remainder (after) = [ F ]"
    4 "   quotient (after) = [ T ]"
    4 "   remainder (after) = [ F ]"
  )");
}

TEST_F(DivisionTest, WidthZeroRunsNoStage) {
  logger.set_verbosity(5);
  divide(Circuit::udiv, {}, {});
  EXPECT_EVENTS(R"(
    log "word_udiv "
    log "[ ] /u [ ]"
    log "   quotient (after) = [ ]"
    log "   remainder (after) = [ ]"
  )");
}

TEST_F(DivisionTest, ZeroDivisorFoldsCompletely) {
  BvLitList const a = {10, 11, 12, 13, 14};
  auto const [q, r] = divide(Circuit::udiv, a, BvLitList(5, F));
  EXPECT_EQ(q, BvLitList(5, T));
  EXPECT_EQ(r, a);
  EXPECT_NO_EVENTS();
}

TEST_F(DivisionTest, ConstantsFoldCompletely) {
  for (long a = 0; a < 16; ++a)
    for (long b = 1; b < 16; ++b) {
      auto const [q, r] = divide(Circuit::udiv, word(a, 4), word(b, 4));
      EXPECT_EQ(q, word(a / b, 4));
      EXPECT_EQ(r, word(a % b, 4));
    }
  EXPECT_NO_EVENTS();
}

// ---- complete semantics ----

TEST_F(DivisionTest, CompleteSemanticsOfTwoBits) {
  config.div_semantics = 1;
  BvLitList b = {2, 3};
  BvLitList result = {4, 5};
  c.word_div_complete_semantics(&sink, &b, &result);
  EXPECT_EVENTS(R"(
    new 100
    clauses 3 2 100 | -3 -100 | -2 -100
    new 101
    new 102
    clauses -100 -101 102 | -100 101 -102 | 100 -4 102 | 100 4 -102
    new 103
    new 104
    clauses -100 -103 104 | -100 103 -104 | 100 -5 104 | 100 5 -104
  )");
  EXPECT_EQ(result, (BvLitList{102, 104}));
}

// The literals are taken even where the divisor decides that they are not needed.
TEST_F(DivisionTest, CompleteSemanticsOfConstantDivisors) {
  config.div_semantics = 1;
  BvLitList three = word(3, 2);
  BvLitList result = {4, 5};
  c.word_div_complete_semantics(&sink, &three, &result);
  EXPECT_EVENTS("new 100 \n new 101");
  EXPECT_EQ(result, (BvLitList{4, 5}));
  BvLitList zero = word(0, 2);
  c.word_div_complete_semantics(&sink, &zero, &result);
  EXPECT_EVENTS("new 102 \n new 103");
  EXPECT_EQ(result, (BvLitList{102, 103}));
}

TEST_F(DivisionTest, CompleteSemanticsAreReadAtEveryCall) {
  logger.set_verbosity(5);
  BvLitList b = {2};
  BvLitList result = {4};
  c.word_div_complete_semantics(&sink, &b, &result);
  EXPECT_NO_EVENTS();
  config.div_semantics = 1;
  c.word_div_complete_semantics(&sink, &b, &result);
  EXPECT_EQ(result, (BvLitList{101}));
  config.div_semantics = 0;
  events.clear();
  c.word_div_complete_semantics(&sink, &b, &result);
  EXPECT_NO_EVENTS();
  WordClausifier d(&tm, nullptr);
  d.set_logger(&logger);
  d.word_div_complete_semantics(&sink, &b, &result);
  EXPECT_NO_EVENTS();
  EXPECT_EQ(result, (BvLitList{101}));
}

// ---- signed circuit ----

TEST_F(DivisionTest, SignOfTheQuotientIsTheExclusiveOrOfTheSigns) {
  divide(Circuit::sdiv, {F, 2}, {T, 3});
  // The clauses over both signs.
  std::vector<BvLitList> both;
  for (BvLitList const& clause : sink.clauses)
    if (clause.size() == 3 && std::abs(clause[0]) + std::abs(clause[1]) == 5) both.push_back(clause);
  ASSERT_EQ(both.size(), 4u);
  BvLit const s = both[3][2];
  EXPECT_EQ(both, (std::vector<BvLitList>{{-2, -3, -s}, {2, 3, -s}, {-2, 3, s}, {2, -3, s}}));
}

TEST_F(DivisionTest, SignedCircuitTruncates) {
  auto expect = [&](long a, long b, long q, long r) {
    auto const result = divide(Circuit::sdiv, word(a, 4), word(b, 4));
    EXPECT_EQ(result.first, word(q, 4)) << a << " / " << b;
    EXPECT_EQ(result.second, word(r, 4)) << a << " % " << b;
    EXPECT_NO_EVENTS();
  };
  expect(-7, 2, -3, -1);
  expect(7, -2, -3, 1);
  expect(-7, -2, 3, -1);
  expect(7, 2, 3, 1);
  expect(-8, -1, -8, 0);
  expect(5, 0, -1, 5);
  expect(0, 0, -1, 0);
  expect(-5, 0, 1, -5);
  expect(-8, 0, 1, -8);
}

// ---- handlers ----

TEST_F(DivisionTest, HookTable) {
  auto const& hooks = inspect.hooks();
  for (SymbolTag::tag const tag : tags) EXPECT_EQ(hooks[tag], handler_of(tag));
  for (WordClausifier::Handler const h : hooks)
    EXPECT_NE(h, static_cast<WordClausifier::Handler>(&WordClausifier::word_srem_by_power_of_2));
}

// The lines of the handlers themselves, those of the steps left out. The operands are constants, so that the
// only fresh literal is the one for a division by zero.
TEST_F(DivisionTest, HandlersTraceWhatTheyDo) {
  config.div_semantics = 1;
  Term_ const* x = bv_var("x", 1);
  Term_ const* y = bv_var("y", 1);
  auto const lines = [&](SymbolTag::tag tag) {
    std::vector<std::string> kept;
    for (std::string const &line : trace_levels([&](WordClausifier&fresh, RecordingSink&out) {
           fresh.set_bits(x, &out, {T});
           fresh.set_bits(y, &out, {T});
           (fresh.*handler_of(tag))(&out, tm.mk_app(tag, {x, y}));
         }))
      for (char const* own :
           {"x y)", "\"x\"", "\"y\"", "width", "trace", "\"word_sdiv ", "\"word_udiv ", "Final", "equal"})
        if (line.find(own) != std::string::npos) {
          kept.push_back(line);
          break;
        }
    return kept;
  };
  EXPECT_TRUE(match_lines(lines(SymbolTag::bv_udiv), R"x(
    3 "word_udiv (bvudiv x y)"
    3 "word_udiv "
    4 "Final unsigned quotient = [ T ]"
    4 "Final unsigned remainder = [ F ]"
    3 "word equal "
  )x"));
  EXPECT_TRUE(match_lines(lines(SymbolTag::bv_urem), R"x(
    3 "word_urem (bvurem x y)"
    3 "word_udiv "
    3 "word equal "
  )x"));
  // The trace of the operands ends in a line break of its own.
  EXPECT_TRUE(match_lines(lines(SymbolTag::bv_sdiv), R"x(
    3 "word_sdiv B..(bvsdiv x y)"
    4 "x"
    4 "y"
    4 "width: 1 dividend: x(1)-divisor:y(1)"
    4 trace ""
    3 "word_sdiv simple "
    3 "word_udiv "
    4 "Final signed quotient = [ T ]"
    4 "Final signed remainder = [ F ]"
    3 "word equal "
  )x"));
  EXPECT_TRUE(match_lines(lines(SymbolTag::bv_srem), R"x(
    3 "word_srem B..(bvsrem x y)"
    3 "word_sdiv simple "
    3 "word_udiv "
    4 "Final signed quotient = [ T ]"
    4 "Final signed remainder = [ F ]"
    3 "word equal "
  )x"));
}

// Each handler completes the result that it keeps, after the circuit, and leaves its operands alone.
TEST_F(DivisionTest, HandlersCompleteTheResultThatTheyKeep) {
  config.div_semantics = 1;
  for (SymbolTag::tag const tag : tags)
    for (long const a : {0, 1, 2, 3})
      for (long const b : {0, 1, 2, 3}) {
        sink.next = 100;
        Term_ const* t = division(tag, word(a, 3), word(b, 3));
        BvLitList const result = run(t);
        if (b == 0)
          EXPECT_EQ(result, (BvLitList{100, 101, 102}));
        else
          EXPECT_EQ(result, word(is_quotient(tag) ? a / b : a % b, 3)) << a << ", " << b;
        EXPECT_EQ(bits(t->children[0]), word(a, 3));
        EXPECT_EQ(bits(t->children[1]), word(b, 3));
      }
}

// The unsigned handlers take the length of the dividend's vector, not the width of its type.
TEST_F(DivisionTest, UnsignedHandlersTakeTheLengthOfTheVector) {
  Term_ const* x = with_bits(bv_var("x", 7), word(11, 4));
  Term_ const* y = with_bits(bv_var("y", 7), word(3, 4));
  EXPECT_EQ(run(tm.mk_app(SymbolTag::bv_udiv, {x, y})), word(3, 4));
  EXPECT_EQ(run(tm.mk_app(SymbolTag::bv_urem, {x, y})), word(2, 4));
}

TEST_F(DivisionTest, ConstantZeroDivisorWithoutCompleteSemantics) {
  BvLitList const x = {10, 11, 12};
  BvLitList const zero = word(0, 3);
  EXPECT_EQ(run(division(SymbolTag::bv_udiv, x, zero)), BvLitList(3, T));
  EXPECT_EQ(run(division(SymbolTag::bv_urem, x, zero)), x);
  EXPECT_NO_EVENTS();
  for (long a = -4; a < 4; ++a) {
    EXPECT_EQ(run(division(SymbolTag::bv_sdiv, word(a, 3), zero)), a < 0 ? word(1, 3) : word(-1, 3)) << a;
    EXPECT_EQ(run(division(SymbolTag::bv_srem, word(a, 3), zero)), word(a, 3)) << a;
  }
}

TEST_F(DivisionTest, NonZeroConstantDivisorUnderCompleteSemanticsStillTakesItsLiterals) {
  config.div_semantics = 1;
  for (SymbolTag::tag const tag : tags) {
    events.clear();
    run(division(tag, word(5, 4), word(2, 4)));
    EXPECT_EQ(events.size(), 4u);
    for (std::string const& e : events) EXPECT_TRUE(e.starts_with("new ")) << e;
  }
}

TEST_F(DivisionTest, SignedHandlersTruncate) {
  EXPECT_EQ(run(division(SymbolTag::bv_srem, word(-7, 4), word(2, 4))), word(-1, 4));
  EXPECT_EQ(run(division(SymbolTag::bv_sdiv, word(-7, 4), word(2, 4))), word(-3, 4));
}

TEST_F(DivisionTest, QuotientAndRemainderShareNothing) {
  Term_ const* x = bv_var("x", 4);
  Term_ const* y = bv_var("y", 4);
  c.bit_blast(x, &sink);
  c.bit_blast(y, &sink);
  events.clear();
  c.bit_blast(tm.mk_app(SymbolTag::bv_udiv, {x, y}), &sink);
  std::size_t const quotient = events.size();
  events.clear();
  c.bit_blast(tm.mk_app(SymbolTag::bv_urem, {x, y}), &sink);
  EXPECT_EQ(events.size(), quotient);
  EXPECT_GT(quotient, 100u);
}

TEST_F(DivisionTest, PlaceholderOfAPowerOfTwo) {
  Term_ const* x = bv_var("x", BvLitList{2, 3, 4});
  Term_ const* y = bv_var("y", BvLitList{5, 6, 7});
  Term_ const* t = tm.mk_app(SymbolTag::bv_srem, {x, y});
  logger.set_verbosity(5);
  c.word_srem_by_power_of_2(&sink, t);
  EXPECT_EVENTS(R"x(log "word srem (bvsrem x y)")x");
  EXPECT_EQ(bits(t), BvLitList(3, 0));
  EXPECT_EQ(trail(), "x y (bvsrem x y)");
  EXPECT_EQ(stray_lists(c), 0);
  auto const action = [&](WordClausifier& fresh, RecordingSink& out) {
    fresh.set_bits(x, &out, {2, 3, 4});
    fresh.set_bits(y, &out, {5, 6, 7});
    fresh.word_srem_by_power_of_2(&out, t);
  };
  EXPECT_TRACE_LEVELS(action, R"x(3 "word srem (bvsrem x y)")x");
  // As long as the dividend's type says.
  Term_ const* short_y = bv_var("z", BvLitList{5, 6});
  Term_ const* uneven = raw_term(SymbolTag::bv_srem, tm.bv_type(3), {x, short_y});
  c.word_srem_by_power_of_2(&sink, uneven);
  EXPECT_EQ(bits(uneven), BvLitList(3, 0));
}

// The signed handlers make lists as wide as the dividend's type, whatever the divisor's type says.
TEST_F(DivisionTest, SignedWidthIsThatOfTheDividend) {
  Term_ const* x = bv_var("x", BvLitList{T, F, F});
  Term_ const* y = with_bits(bv_var("y", 4), {T, F, F});
  Term_ const* quotient = raw_term(SymbolTag::bv_sdiv, tm.bv_type(3), {x, y}, "q");
  Term_ const* remainder = raw_term(SymbolTag::bv_srem, tm.bv_type(3), {x, y}, "r");
  c.word_sdiv(&sink, quotient);
  c.word_srem(&sink, remainder);
  EXPECT_EQ(bits(quotient), (BvLitList{T, F, F}));
  EXPECT_EQ(bits(remainder), (BvLitList{F, F, F}));
}

// The third line of the signed quotient carries a line break of its own, so an empty line follows.
TEST_F(DivisionTest, SignedQuotientShowsItsOperands) {
  Term_ const* x = bv_var("x", BvLitList{T, F});
  Term_ const* y = bv_var("y", BvLitList{T, F});
  logger.set_verbosity(4);
  run(tm.mk_app(SymbolTag::bv_sdiv, {x, y}));
  ASSERT_GE(events.size(), 6u);
  events.resize(6);
  EXPECT_EVENTS(R"x(
    log "word_sdiv B..(bvsdiv x y)"
    log "x"
    log "y"
    log "width: 2 dividend: x(2)-divisor:y(2)"
    trace ""
    log "word_sdiv simple "
  )x");
}

// ---- errors and the table ----

TEST_F(DivisionTest, AThrowingSinkLeavesNothing) {
  for (std::int32_t const setting : {0, 1}) {
    config.div_semantics = setting;
    for (SymbolTag::tag const tag : tags) {
      Term_ const* t = division(tag, {10, 11, 12}, {13, 14, 15});
      std::size_t const trail_size = inspect.trail().size();
      bool thrown = true;
      int calls = 0;
      for (; thrown; ++calls) {
        sink.new_lits_left = calls;
        try {
          (c.*handler_of(tag))(&sink, t);
          thrown = false;
        } catch (Interrupted const&) {
          ASSERT_FALSE(c.is_cached(t));
          ASSERT_EQ(inspect.trail().size(), trail_size);
          ASSERT_EQ(stray_lists(c), 0) << "after " << calls << " literals";
        }
      }
      EXPECT_GT(calls, 20);
      thrown = true;
      for (calls = 0; thrown; ++calls) {
        Term_ const* again = division(tag, {10, 11}, {13, 14});
        sink.new_lits_left = -1;
        sink.clauses_left = calls;
        try {
          (c.*handler_of(tag))(&sink, again);
          thrown = false;
        } catch (Interrupted const&) {
          ASSERT_EQ(stray_lists(c), 0) << "after " << calls << " clauses";
        }
      }
      sink.clauses_left = -1;
    }
  }
}

// Children are read by a plain look-up: the table does not grow before the result is stored.
TEST_F(DivisionTest, ReadingTheChildrenDoesNotGrowTheTable) {
  for (SymbolTag::tag const tag : tags) {
    QuietClausifier d(&tm, nullptr);
    bv::WordClausifierInspector const look(d);
    Term_ const* x = bv_var("x", 2);
    Term_ const* y = bv_var("y", 2);
    d.set_bits(x, &sink, {2, 3});
    d.set_bits(y, &sink, {4, 5});
    for (int i = 0; i < 20; ++i) d.set_bits(bool_var("z"), &sink, {8});
    Term_ const* t = tm.mk_app(tag, {x, y});
    sink.new_lits_left = 0;
    EXPECT_THROW((d.*handler_of(tag))(&sink, t), Interrupted);
    EXPECT_EQ(look.bits_cache().bucket_count(), 31u);
    sink.new_lits_left = -1;
    (d.*handler_of(tag))(&sink, t);
    EXPECT_EQ(look.bits_cache().bucket_count(), 73u);
  }
}

}  // namespace
}  // namespace vell::test

// Unsigned and signed division: the order of every circuit within a stage, the treatment of zero divisors,
// and the handlers with their traces and lists.

#include "tests/support/clausifiertest.h"
#include "tests/support/meaning.h"
#include "tests/support/streamtest.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::WordClausifier;

constexpr BvLit T = bv::l_true;
constexpr BvLit F = bv::l_false;

constexpr SymbolTag::tag tags[] = {SymbolTag::bv_udiv, SymbolTag::bv_urem, SymbolTag::bv_sdiv,
                                   SymbolTag::bv_srem};

bool is_signed(SymbolTag::tag tag) { return tag == SymbolTag::bv_sdiv || tag == SymbolTag::bv_srem; }
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

  // q and r are preset to the given word, so that what a circuit leaves alone shows.
  bool same_circuit(Circuit circuit, BvLitList const& a, BvLitList const& b, BvLitList const& preset_q,
                    BvLitList const& preset_r, std::string const& what) {
    StreamCase test;
    test.act = [&](WordClausifier& k, bv::ClauseSink* out) {
      BvLitList x = a;
      BvLitList y = b;
      BvLitList q = preset_q;
      BvLitList r = preset_r;
      if (circuit == Circuit::udiv) {
        k.word_udiv_simple(out, &x, &y, &q, &r, what.size() % 2 == 0);
      } else {
        k.word_sdiv_simple(out, &x, &y, &q, &r);
      }
      EXPECT_EQ(x, a);
      EXPECT_EQ(y, b);
      return std::vector<BvLitList>{q, r};
    };
    test.model = [&](CircuitModel& m) {
      BvLitList q = preset_q;
      BvLitList r = preset_r;
      if (circuit == Circuit::udiv) {
        m.word_udiv_simple(a, b, q, r);
      } else {
        m.word_sdiv_simple(a, b, q, r);
      }
      return std::vector<BvLitList>{q, r};
    };
    return expect_same_stream(tm, test, what);
  }

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

TEST_F(DivisionTest, UnsignedCircuitStageByStage) {
  std::mt19937 random(5);
  for (std::size_t n = 0; n <= 6; ++n)
    for (int round = 0; round < 12; ++round) {
      double const constants = round % 4 * 0.25;
      BvLitList const a = random_word(random, n, round % 2 == 0 ? constants : 0);
      BvLitList const b = random_word(random, n, constants);
      ASSERT_TRUE(same_circuit(Circuit::udiv, a, b, BvLitList(n, 0), random_word(random, n, 0.5),
                               "unsigned, width " + std::to_string(n)));
      ASSERT_TRUE(same_circuit(Circuit::udiv, a, b, BvLitList(n + 2, 9), BvLitList(n, 0),
                               "unsigned with a longer quotient, width " + std::to_string(n)));
    }
}

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

TEST_F(DivisionTest, UnsignedCircuitAtWidth33) {
  std::mt19937 random(6);
  ASSERT_TRUE(same_circuit(Circuit::udiv, random_word(random, 33, 0.1), random_word(random, 33, 0.1),
                           BvLitList(33, 0), BvLitList(33, 0), "width 33"));
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

TEST_F(DivisionTest, CompleteSemanticsFollowTheEqualityBitByBit) {
  std::mt19937 random(7);
  for (std::size_t n = 0; n <= 5; ++n)
    for (int round = 0; round < 8; ++round) {
      BvLitList const b = random_word(random, n, round % 4 * 0.3);
      BvLitList const preset = random_word(random, n + round % 2, 0.3);
      for (std::int32_t const setting : {1, 0, 2, -1}) {
        StreamCase test;
        test.div_semantics = setting;
        test.act = [&](WordClausifier& k, bv::ClauseSink* out) {
          BvLitList y = b;
          BvLitList result = preset;
          k.word_div_complete_semantics(out, &y, &result);
          EXPECT_EQ(y, b);
          return std::vector<BvLitList>{result};
        };
        test.model = [&](CircuitModel& m) {
          BvLitList result = preset;
          m.complete_semantics(b, result);
          return std::vector<BvLitList>{result};
        };
        ASSERT_TRUE(expect_same_stream(tm, test, "setting " + std::to_string(setting)));
      }
    }
}

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

TEST_F(DivisionTest, SignedCircuitStepByStep) {
  std::mt19937 random(8);
  for (std::size_t n = 1; n <= 5; ++n)
    for (int round = 0; round < 12; ++round) {
      double const constants = round % 4 * 0.25;
      BvLitList const a = random_word(random, n, round % 2 == 0 ? constants : 0);
      BvLitList const b = random_word(random, n, constants);
      ASSERT_TRUE(same_circuit(Circuit::sdiv, a, b, BvLitList(n, 0), BvLitList(n, 0),
                               "signed, width " + std::to_string(n)));
    }
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

TEST_F(DivisionTest, HandlersTraceAndKeepOneOfTheTwo) {
  std::mt19937 random(9);
  for (SymbolTag::tag const tag : tags)
    for (std::size_t n = 1; n <= 4; ++n)
      for (std::int32_t const setting : {0, 1})
        for (int round = 0; round < 4; ++round) {
          Term_ const* x = bv_var("x", n);
          Term_ const* y = bv_var("y", n);
          Term_ const* t = tm.mk_app(tag, {x, y});
          BvLitList const a = random_word(random, n, 0.2);
          BvLitList const b = random_word(random, n, round == 0 ? 1 : 0.2);
          StreamCase test;
          test.div_semantics = setting;
          test.prepare = [&](WordClausifier& k) {
            k.set_bits(x, nullptr, a);
            k.set_bits(y, nullptr, b);
          };
          test.act = [&](WordClausifier& k, bv::ClauseSink* out) {
            (k.*handler_of(tag))(out, t);
            EXPECT_EQ(bv::WordClausifierInspector(k).trail().back(), t);
            EXPECT_EQ(*k.lookup(x), a);
            EXPECT_EQ(*k.lookup(y), b);
            return std::vector<BvLitList>{*k.lookup(t)};
          };
          test.model = [&](CircuitModel& m) {
            std::string const name = t->to_shallow_str();
            m.trace(3, (tag == SymbolTag::bv_udiv   ? "word_udiv "
                        : tag == SymbolTag::bv_urem ? "word_urem "
                        : tag == SymbolTag::bv_sdiv ? "word_sdiv B.."
                                                    : "word_srem B..") +
                           name);
            if (tag == SymbolTag::bv_sdiv) {
              std::string const w = std::to_string(n);
              m.trace(4, "x");
              m.trace(4, "y");
              m.trace(4, "width: " + w + " dividend: x(" + w + ")-divisor:y(" + w + ")\n");
            }
            auto q = m.pooled(BvLitList(n, 0));
            auto r = m.pooled(BvLitList(n, 0));
            if (is_signed(tag)) {
              m.word_sdiv_simple(a, b, q.bits, r.bits);
            } else {
              m.word_udiv_simple(a, b, q.bits, r.bits);
            }
            if (tag == SymbolTag::bv_udiv) {
              m.trace(4, "Final unsigned quotient = " + CircuitModel::show(q.bits));
              m.trace(4, "Final unsigned remainder = " + CircuitModel::show(r.bits));
            }
            auto& kept = is_quotient(tag) ? q : r;
            m.complete_semantics(b, kept.bits);
            m.give_back(is_quotient(tag) ? r : q);
            return std::vector<BvLitList>{kept.bits};
          };
          ASSERT_TRUE(expect_same_stream(tm, test, t->to_shallow_str() + " of width " + std::to_string(n)));
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

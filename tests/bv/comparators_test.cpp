// Unsigned comparison chains, signed correction, literals that the sink already has.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/clausifiertest.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::ClauseSink;
using bv::WordClausifier;
using Circuit = BvLitList* (WordClausifier::*)(ClauseSink*, BvLitList*, BvLitList*, BvLit);
using Handler = WordClausifier::Handler;

constexpr BvLit T = bv::l_true;
constexpr BvLit F = bv::l_false;

constexpr Circuit ule_circuit = &WordClausifier::word_ule;
constexpr Circuit ult_circuit = &WordClausifier::word_ult;

BvLitList constant(std::uint64_t value, std::size_t width) {
  BvLitList bits;
  for (std::size_t i = 0; i < width; ++i) bits.push_back((value >> i & 1) != 0 ? T : F);
  return bits;
}

class ComparatorsTest : public ClausifierTest {
 protected:
  // The literal of the circuit; its list goes back.
  BvLit run(Circuit circuit, BvLitList x, BvLitList y, BvLit out = 0) {
    BvLitList const result = take((c.*circuit)(&sink, &x, &y, out));
    EXPECT_EQ(result.size(), 1u);
    return result.at(0);
  }
  BvLit ule(BvLitList x, BvLitList y, BvLit out = 0) {
    return run(ule_circuit, std::move(x), std::move(y), out);
  }
  BvLit ult(BvLitList x, BvLitList y, BvLit out = 0) {
    return run(ult_circuit, std::move(x), std::move(y), out);
  }

  // Stage 1 over (a, b) on top of a stage 0 of 2 and 3, whose literal is 100. Forgets the events of stage 0.
  void expect_second_stage(Circuit circuit, BvLit a, BvLit b, BvLit result, std::string const& expected) {
    SCOPED_TRACE(std::to_string(a) + ", " + std::to_string(b));
    sink.next = 100;
    logger.set_verbosity(3);
    EXPECT_EQ(run(circuit, {2, a}, {3, b}), result);
    std::ptrdiff_t constexpr first = 8;  // label, literal, six clauses
    ASSERT_GE(events.size(), 8u);
    events.erase(events.begin(), events.begin() + first);
    EXPECT_EVENTS(expected);
    logger.set_verbosity(0);
  }
  std::uint64_t lists_in_use() const {
    return inspect.list_pool().chunk_count() * 1024 - inspect.list_pool().free_count();
  }
};

// ---- the <= chain ----

TEST_F(ComparatorsTest, UleStageOfVariables) {
  EXPECT_EQ(ule({2, 4}, {3, 5}), 101);
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 -3 -1 100 | -2 -3 1 -100 | -2 3 -100 | 2 -3 100 | 2 3 -1 100 | 2 3 1 -100
    new 101
    clauses -4 -5 -100 101 | -4 -5 100 -101 | -4 5 -101 | 4 -5 101 | 4 5 -100 101 | 4 5 100 -101
  )");
}

TEST_F(ComparatorsTest, UleFoldsConstantsOfTheFirstWordFirst) {
  // The gate that decides shows in the trace where the literal alone does not.
  expect_second_stage(ule_circuit, T, 5, 101,
                      "log \"bit_and \"\n new 101\n clauses -5 -100 101 | 5 -101 | 100 -101");
  expect_second_stage(ule_circuit, F, 5, 101,
                      "log \"bit_or \"\n new 101\n clauses -5 101 | -100 101 | 5 100 -101");
  expect_second_stage(ule_circuit, 4, T, 101,
                      "log \"bit_or \"\n new 101\n clauses 4 101 | -100 101 | -4 100 -101");
  expect_second_stage(ule_circuit, 4, F, 101,
                      "log \"bit_and \"\n new 101\n clauses 4 -100 101 | -4 -101 | 100 -101");
  expect_second_stage(ule_circuit, T, T, 100, "log \"bit_and \"");
  expect_second_stage(ule_circuit, T, F, F, "log \"bit_and \"");
  expect_second_stage(ule_circuit, F, T, T, "log \"bit_or \"");
  expect_second_stage(ule_circuit, F, F, 100, "log \"bit_or \"");
}

TEST_F(ComparatorsTest, UleTraces) {
  EXPECT_TRACE_LEVELS(
      [](WordClausifier& w, RecordingSink& s) {
        BvLitList x{2, T};
        BvLitList y{3, -4};
        w.release(w.word_ule(&s, &x, &y, 0));
      },
      R"(
        3 "word_ule "
        4 "[ T, 0 ] <=u [ ~2, 1 ]"
        3 "bit_and "
      )");
}

// ---- the < chain ----

TEST_F(ComparatorsTest, UltStageOfVariables) {
  EXPECT_EQ(ult({2, 4}, {3, 5}), 101);
  EXPECT_EVENTS(R"(
    new 100
    clauses 2 3 -1 -100 | 2 3 1 100 | 2 -3 100 | -2 3 -100 | -2 -3 -1 -100 | -2 -3 1 100
    new 101
    clauses 4 5 100 -101 | 4 5 -100 101 | 4 -5 101 | -4 5 -101 | -4 -5 100 -101 | -4 -5 -100 101
  )");
}

TEST_F(ComparatorsTest, UltFoldsConstantsOfTheFirstWordFirst) {
  expect_second_stage(ult_circuit, F, 5, 101,
                      "log \"bit ite \"\n new 101\n clauses -5 -1 101 | -5 1 -101 | 5 -100 101 | 5 100 -101");
  expect_second_stage(ult_circuit, T, 5, 101,
                      "log \"bit ite \"\n new 101\n clauses -5 -100 101 | -5 100 -101 | 5 1 101 | 5 -1 -101");
  expect_second_stage(ult_circuit, 4, F, 101,
                      "log \"bit ite \"\n new 101\n clauses 4 -100 101 | 4 100 -101 | -4 1 101 | -4 -1 -101");
  expect_second_stage(ult_circuit, 4, T, 101,
                      "log \"bit ite \"\n new 101\n clauses -4 -100 101 | -4 100 -101 | 4 -1 101 | 4 1 -101");
  expect_second_stage(ult_circuit, F, F, 100, "log \"bit ite \"");
  expect_second_stage(ult_circuit, F, T, T, "log \"bit ite \"");
  expect_second_stage(ult_circuit, T, F, F, "log \"bit ite \"");
  expect_second_stage(ult_circuit, T, T, 100, "log \"bit ite \"");
}

TEST_F(ComparatorsTest, UltTracesTheStageTwiceAndMarksItsClauses) {
  logger.set_verbosity(4);
  EXPECT_EQ(ult({2}, {3}), 100);
  // The markers have no end of line of their own: they run on into the second stage line.
  EXPECT_EVENTS(
      R"(
    log "wordt ult "
    log "[ 0 ] < [ 1 ]"
    new 100
    log "i = 0 x = 0 y = 1 w = F v = 98"
    clauses 2 3 -1 -100 | 2 3 1 100 | 2 -3 100 | -2 3 -100 | -2 -3 -1 -100 | -2 -3 1 100
    log "1; BV:Word clausifier - 2; BV:Word clausifier - 3; )"
      R"(BV:Word clausifier - 4; BV:Word clausifier - 5; )"
      R"(BV:Word clausifier - 6; BV:Word clausifier - i = 0 x = 0 y = 1 w = F v = 98"
  )");
  EXPECT_EQ(trace.pending(), "");
}

TEST_F(ComparatorsTest, UltMarksEachClauseBeforeItIsGiven) {
  logger.set_verbosity(4);
  std::string markers;
  for (int n = 0; n < 6; ++n) {
    markers += std::string(trace_prefix) + std::to_string(n + 1) + "; ";
    sink.clauses_left = n;
    EXPECT_THROW(ult({2}, {3}), Interrupted);
    EXPECT_EQ(trace.pending(), markers);
    logger << loglevel(4) << endlog;
    EXPECT_EQ(sink.clauses.size(), static_cast<std::size_t>(n * (n + 1) / 2));
  }
}

TEST_F(ComparatorsTest, UltTracesAFoldedStageOnce) {
  EXPECT_TRACE_LEVELS(
      [](WordClausifier& w, RecordingSink& s) {
        BvLitList x{F, -4};
        BvLitList y{3, F};
        w.release(w.word_ult(&s, &x, &y, 0));
      },
      R"(
        3 "wordt ult "
        4 "[ ~2, F ] < [ F, 1 ]"
        3 "bit ite "
        4 "i = 0 x = F y = 1 w = F v = 1"
        3 "bit ite "
        4 "i = 1 x = ~2 y = F w = 1 v = 98"
      )");
}

TEST_F(ComparatorsTest, UltTracesFromWhereTheSinkRaisesTheVerbosity) {
  struct RaisingSink : RecordingSink {
    RaisingSink(Events& events, Logger& logger) : RecordingSink(events), logger(logger) {}
    Logger& logger;
    int calls = 0;
    BvLit new_lit() override {
      logger.set_verbosity(calls++ == 0 ? 4 : 3);
      return RecordingSink::new_lit();
    }
    void add_clause() override {
      RecordingSink::add_clause();
      if (clauses.size() == 8) logger.set_verbosity(4);
    }
  };
  logger.set_verbosity(3);
  RaisingSink raising(events, logger);
  BvLitList x{2, 4};
  BvLitList y{3, 5};
  EXPECT_EQ(take(c.word_ult(&raising, &x, &y, 0)), (BvLitList{101}));
  EXPECT_EVENTS(
      R"(
    log "wordt ult "
    new 100
    log "i = 0 x = 0 y = 1 w = F v = 98"
    clauses 2 3 -1 -100 | 2 3 1 100 | 2 -3 100 | -2 3 -100 | -2 -3 -1 -100 | -2 -3 1 100
    log "1; BV:Word clausifier - 2; BV:Word clausifier - 3; )"
      R"(BV:Word clausifier - 4; BV:Word clausifier - 5; )"
      R"(BV:Word clausifier - 6; BV:Word clausifier - i = 0 x = 0 y = 1 w = F v = 98"
    new 101
    clauses 4 5 100 -101 | 4 5 -100 101 | 4 -5 101 | -4 5 -101 | -4 -5 100 -101 | -4 -5 -100 101
    log "3; BV:Word clausifier - 4; BV:Word clausifier - 5; )"
      R"(BV:Word clausifier - 6; BV:Word clausifier - i = 1 x = 2 y = 3 w = 98 v = 99"
  )");
}

TEST_F(ComparatorsTest, SignOfTheSecondOperandStandsWhereTheFirstOneHasIts) {
  for (SymbolTag::tag const tag : {SymbolTag::bv_slt, SymbolTag::bv_sle}) {
    Term_ const* t =
        raw_term(tag, tm.bool_type, {bv_var("x", BvLitList{T, 4}), bv_var("y", BvLitList{T, 5, 6, 7})});
    sink.next = 100;
    c.bit_blast(t, &sink);
    std::vector<BvLitList> const& all = sink.clauses;
    ASSERT_GE(all.size(), 6u);
    EXPECT_EQ(all[all.size() - 2], (BvLitList{-4, 5, bits(t)[0]}));
    EXPECT_EQ(all[all.size() - 1], (BvLitList{4, -5, -bits(t)[0]}));
  }
}

TEST_F(ComparatorsTest, UltMarkersAreOfLevelFour) {
  logger.set_verbosity(3);
  ult({2}, {3});
  EXPECT_EQ(trace.pending(), "");
  EXPECT_EVENTS(R"(
    log "wordt ult "
    new 100
    clauses 2 3 -1 -100 | 2 3 1 100 | 2 -3 100 | -2 3 -100 | -2 -3 -1 -100 | -2 -3 1 100
  )");
}

TEST_F(ComparatorsTest, UltStopsTracingWhereTheSinkLowersTheVerbosity) {
  struct QuietingSink : RecordingSink {
    QuietingSink(Events& events, Logger& logger) : RecordingSink(events), logger(logger) {}
    Logger& logger;
    void add_clause() override {
      RecordingSink::add_clause();
      logger.set_verbosity(3);
    }
  };
  logger.set_verbosity(4);
  QuietingSink quieting(events, logger);
  BvLitList x{2};
  BvLitList y{3};
  EXPECT_EQ(take(c.word_ult(&quieting, &x, &y, 0)), (BvLitList{100}));
  EXPECT_EQ(trace.pending(), "BV:Word clausifier - 1; ");
  EXPECT_EVENTS(R"(
    log "wordt ult "
    log "[ 0 ] < [ 1 ]"
    new 100
    log "i = 0 x = 0 y = 1 w = F v = 98"
    clauses 2 3 -1 -100 | 2 3 1 100 | 2 -3 100 | -2 3 -100 | -2 -3 -1 -100 | -2 -3 1 100
  )");
}

// ---- both ----

TEST_F(ComparatorsTest, EmptyWords) {
  EXPECT_EQ(ule({}, {}), T);
  EXPECT_EQ(ult({}, {}), F);
  EXPECT_EQ(ule({}, {}, 50), T);
  EXPECT_EQ(ult({}, {}, 50), F);
  EXPECT_NO_EVENTS();
  logger.set_verbosity(6);
  ule({}, {});
  ult({}, {});
  EXPECT_EVENTS(R"(
    log "word_ule "
    log "[ ] <=u [ ]"
    log "wordt ult "
    log "[ ] < [ ]"
  )");
}

TEST_F(ComparatorsTest, ConstantsFoldEntirely) {
  for (std::size_t width = 1; width <= 4; ++width)
    for (std::uint64_t x = 0; x < (1u << width); ++x)
      for (std::uint64_t y = 0; y < (1u << width); ++y) {
        EXPECT_EQ(ule(constant(x, width), constant(y, width)), x <= y ? T : F);
        EXPECT_EQ(ult(constant(x, width), constant(y, width)), x < y ? T : F);
      }
  EXPECT_NO_EVENTS();
}

TEST_F(ComparatorsTest, BoundsFold) {
  EXPECT_EQ(ule({2, 3, 4}, {T, T, T}), T);  // x <= 7
  EXPECT_EQ(ule({F, F, F}, {2, 3, 4}), T);  // 0 <= x
  EXPECT_EQ(ult({2, 3, 4}, {F, F, F}), F);  // x < 0
  EXPECT_EQ(ult({T, T, T}, {2, 3, 4}), F);  // 7 < x
  EXPECT_NO_EVENTS();
}

TEST_F(ComparatorsTest, AWordAgainstItselfIsNotDetected) {
  EXPECT_EQ(ule({2, 3}, {2, 3}), 101);
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 -2 -1 100 | -2 -2 1 -100 | -2 2 -100 | 2 -2 100 | 2 2 -1 100 | 2 2 1 -100
    new 101
    clauses -3 -3 -100 101 | -3 -3 100 -101 | -3 3 -101 | 3 -3 101 | 3 3 -100 101 | 3 3 100 -101
  )");
  ult({2, 3}, {-2, 3});
  EXPECT_EQ(sink.clauses.size(), 24u);
}

TEST_F(ComparatorsTest, AGivenLiteralServesTheLastStageOnly) {
  EXPECT_EQ(ule({2, 4}, {3, 5}, 50), 50);
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 -3 -1 100 | -2 -3 1 -100 | -2 3 -100 | 2 -3 100 | 2 3 -1 100 | 2 3 1 -100
    clauses -4 -5 -100 50 | -4 -5 100 -50 | -4 5 -50 | 4 -5 50 | 4 5 -100 50 | 4 5 100 -50
  )");
  EXPECT_EQ(ult({2}, {3}, -50), -50);
  EXPECT_EVENTS("clauses 2 3 -1 50 | 2 3 1 -50 | 2 -3 -50 | -2 3 50 | -2 -3 -1 50 | -2 -3 1 -50");
}

TEST_F(ComparatorsTest, AGivenLiteralIsLeftUnusedByAFoldedLastStage) {
  EXPECT_EQ(ule({2, F}, {3, F}, 50), 100);
  EXPECT_EQ(ult({2, F}, {3, F}, 50), 101);
  EXPECT_EQ(ule({2, 4}, {3, F}, 50), 103);  // a gate's own literal
}

TEST_F(ComparatorsTest, LengthIsThatOfTheFirstWord) {
  EXPECT_EQ(ule({F}, {F, 9, 9}), T);
  EXPECT_EQ(ult({F}, {T, 9, 9}), T);
  EXPECT_NO_EVENTS();
}

TEST_F(ComparatorsTest, ResultIsOneListOfThePool) {
  BvLitList x{2, 3};
  BvLitList* a = c.word_ule(&sink, &x, &x, 0);
  BvLitList* b = c.word_ult(&sink, &x, &x, 0);
  EXPECT_EQ(lists_in_use(), 2u);
  c.release(a);
  c.release(b);
  EXPECT_EQ(lists_in_use(), 0u);
}

// ---- unsigned handlers ----

class ComparatorHandlersTest : public ComparatorsTest {
 protected:
  struct Order {
    SymbolTag::tag tag;
    Handler handler;
    char const* text;
  };
  static constexpr Order ult_order{SymbolTag::bv_ult, &WordClausifier::word_ult, "(bvult x y)"};
  static constexpr Order ule_order{SymbolTag::bv_ule, &WordClausifier::word_ule, "(bvule x y)"};
  static constexpr Order slt_order{SymbolTag::bv_slt, &WordClausifier::word_slt, "(bvslt x y)"};
  static constexpr Order sle_order{SymbolTag::bv_sle, &WordClausifier::word_sle, "(bvsle x y)"};

  // The atom over two new variables of the given bits; events before the handler are forgotten.
  Term_ const* atom(Order const& order, BvLitList const& x, BvLitList const& y) {
    Term_ const* t = tm.mk_app(order.tag, {bv_var("x", x), bv_var("y", y)});
    events.clear();
    return t;
  }
  void handle(Order const& order, Term_ const* t) { (c.*order.handler)(&sink, t); }
};

TEST_F(ComparatorHandlersTest, AtomsWithoutALiteral) {
  Term_ const* t = atom(ult_order, {2}, {3});
  handle(ult_order, t);
  EXPECT_EVENTS(R"(
    atom (bvult x y) none
    new 100
    clauses 2 3 -1 -100 | 2 3 1 100 | 2 -3 100 | -2 3 -100 | -2 -3 -1 -100 | -2 -3 1 100
  )");
  EXPECT_EQ(bits(t), (BvLitList{100}));

  Term_ const* u = atom(ule_order, {2}, {3});
  handle(ule_order, u);
  EXPECT_EVENTS(R"(
    atom (bvule x y) none
    new 101
    clauses -2 -3 -1 101 | -2 -3 1 -101 | -2 3 -101 | 2 -3 101 | 2 3 -1 101 | 2 3 1 -101
  )");
  EXPECT_EQ(bits(u), (BvLitList{101}));
  EXPECT_EQ(trail(), "x y (bvult x y) x y (bvule x y)");
}

TEST_F(ComparatorHandlersTest, AtomsWithALiteralAreEncodedOntoIt) {
  for (Order const& order : {ult_order, ule_order}) {
    Term_ const* t = atom(order, {2}, {3});
    sink.atoms[t] = -50;
    handle(order, t);
    EXPECT_EQ(bits(t), (BvLitList{-50}));
    EXPECT_EQ(events.size(), 7u);  // the question and six clauses
    EXPECT_EQ(events[0], std::string("atom ") + order.text + " -50");
    events.clear();
  }
}

TEST_F(ComparatorHandlersTest, AFoldedAtomIsTiedToItsLiteral) {
  for (Order const& order : {ult_order, ule_order}) {
    Term_ const* t = atom(order, {F}, {T});
    sink.atoms[t] = 50;
    handle(order, t);
    EXPECT_EVENTS(std::string("atom ") + order.text + " 50\n clauses -1 50 | -50 1");
    EXPECT_EQ(bits(t), (BvLitList{50}));

    Term_ const* u = atom(order, {T}, {F});
    sink.atoms[u] = -50;
    handle(order, u);
    EXPECT_EVENTS(std::string("atom ") + order.text + " -50\n clauses 1 -50 | 50 -1");
    EXPECT_EQ(bits(u), (BvLitList{-50}));
  }
}

TEST_F(ComparatorHandlersTest, AnAtomFoldedToAGateIsTiedToItsLiteral) {
  Term_ const* t = atom(ule_order, {2, T}, {3, 4});
  sink.atoms[t] = 50;
  handle(ule_order, t);
  EXPECT_EVENTS(R"(
    atom (bvule x y) 50
    new 100
    clauses -2 -3 -1 100 | -2 -3 1 -100 | -2 3 -100 | 2 -3 100 | 2 3 -1 100 | 2 3 1 -100
    new 101
    clauses -4 -100 101 | 4 -101 | 100 -101
    clauses -101 50 | -50 101
  )");
  EXPECT_EQ(bits(t), (BvLitList{50}));
}

TEST_F(ComparatorHandlersTest, AnAtomFoldedToItsOwnLiteralNeedsNoTie) {
  Term_ const* t = atom(ule_order, {T}, {50});
  sink.atoms[t] = 50;
  handle(ule_order, t);
  EXPECT_EVENTS("atom (bvule x y) 50");
  EXPECT_EQ(bits(t), (BvLitList{50}));
}

TEST_F(ComparatorHandlersTest, LiteralZeroOfTheSinkCountsAsNone) {
  for (Order const& order : {ult_order, ule_order}) {
    Term_ const* t = atom(order, {F}, {T});
    sink.atoms[t] = 0;
    handle(order, t);
    EXPECT_EVENTS(std::string("atom ") + order.text + " 0");
    EXPECT_EQ(bits(t), (BvLitList{T}));
  }
  Term_ const* t = atom(slt_order, {2}, {3});
  sink.atoms[t] = 0;
  handle(slt_order, t);
  EXPECT_EQ(bits(t), (BvLitList{101}));
}

// A sink that answers false and leaves rubbish in the literal.
TEST_F(ComparatorHandlersTest, AnAnswerOfFalseMakesTheLiteralMeaningless) {
  struct RubbishSink : RecordingSink {
    using RecordingSink::RecordingSink;
    BvLit seen = 77;
    bool atom_lit(Term_ const*, BvLit& out) override {
      seen = out;
      out = 66;
      return false;
    }
  };
  for (Order const& order : {ult_order, ule_order, slt_order, sle_order}) {
    RubbishSink rubbish(events);
    Term_ const* t = atom(order, {2}, {3});
    (c.*order.handler)(&rubbish, t);
    EXPECT_EQ(rubbish.seen, 0);  // preset
    EXPECT_GE(bits(t)[0], 100);
  }
}

TEST_F(ComparatorHandlersTest, UnsignedHandlerTraces) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* y = bv_var("y", 1);
  Term_ const* lt = tm.mk_app(SymbolTag::bv_ult, {x, y});
  Term_ const* le = tm.mk_app(SymbolTag::bv_ule, {x, y});
  EXPECT_TRACE_LEVELS(
      [&](WordClausifier& w, RecordingSink& s) {
        w.set_bits(x, &s, {F});
        w.set_bits(y, &s, {T});
        w.word_ult(&s, lt);
        w.word_ule(&s, le);
      },
      R"-(
        3 "word ult (bvult x y)"
        3 "wordt ult "
        4 "[ F ] < [ T ]"
        3 "bit ite "
        4 "i = 0 x = F y = T w = F v = T"
        3 "word_ule B..(bvule x y)"
        4 "(bvule x y)"
        3 "word_ule "
        4 "[ F ] <=u [ T ]"
        3 "bit_or "
      )-");
}

TEST_F(ComparatorHandlersTest, UnsignedHandlersTraceBeforeTheyAsk) {
  for (Order const& order : {ult_order, ule_order}) {
    Term_ const* t = atom(order, {F}, {T});
    logger.set_verbosity(4);
    handle(order, t);
    logger.set_verbosity(0);
    ASSERT_GE(events.size(), 3u);
    std::size_t const asked = order.tag == SymbolTag::bv_ult ? 1 : 2;
    EXPECT_EQ(events[asked], std::string("atom ") + order.text + " none") << join_lines(events);
  }
}

// ---- signed handlers ----

TEST_F(ComparatorHandlersTest, SignedAtomsCorrectTheUnsignedOneByTheSigns) {
  Term_ const* t = atom(slt_order, {2, 4}, {3, 5});
  handle(slt_order, t);
  EXPECT_EVENTS(R"(
    new 100
    clauses 2 3 -1 -100 | 2 3 1 100 | 2 -3 100 | -2 3 -100 | -2 -3 -1 -100 | -2 -3 1 100
    new 101
    clauses 4 5 100 -101 | 4 5 -100 101 | 4 -5 101 | -4 5 -101 | -4 -5 100 -101 | -4 -5 -100 101
    atom (bvslt x y) none
    new 102
    clauses -4 -5 -101 102 | -4 -5 101 -102 | 4 5 -101 102 | 4 5 101 -102 | -4 5 102 | 4 -5 -102
  )");
  EXPECT_EQ(bits(t), (BvLitList{102}));
  EXPECT_EQ(trail(), "x y (bvslt x y)");

  Term_ const* u = atom(sle_order, {2}, {3});
  handle(sle_order, u);
  EXPECT_EVENTS(R"(
    new 103
    clauses -2 -3 -1 103 | -2 -3 1 -103 | -2 3 -103 | 2 -3 103 | 2 3 -1 103 | 2 3 1 -103
    atom (bvsle x y) none
    new 104
    clauses -2 -3 -103 104 | -2 -3 103 -104 | 2 3 -103 104 | 2 3 103 -104 | -2 3 104 | 2 -3 -104
  )");
  EXPECT_EQ(bits(u), (BvLitList{104}));
}

TEST_F(ComparatorHandlersTest, SignedAtomsUseTheSinksLiteralInTheCorrectionOnly) {
  for (Order const& order : {slt_order, sle_order}) {
    Term_ const* t = atom(order, {2}, {3});
    sink.next = 100;
    sink.atoms[t] = -50;
    handle(order, t);
    ASSERT_EQ(events.size(), 14u);
    EXPECT_EQ(events[0], "new 100");
    EXPECT_EQ(events[7], std::string("atom ") + order.text + " -50");
    events.erase(events.begin(), events.begin() + 8);
    EXPECT_EVENTS("clauses -2 -3 -100 -50 | -2 -3 100 50 | 2 3 -100 -50 | 2 3 100 50 | -2 3 -50 | 2 -3 50");
    EXPECT_EQ(bits(t), (BvLitList{-50}));
  }
}

TEST_F(ComparatorHandlersTest, SignClausesAreGivenAlsoForConstantSigns) {
  Term_ const* t = atom(slt_order, {F, T}, {T, F});  // -2 < 1
  handle(slt_order, t);
  EXPECT_EVENTS(R"(
    atom (bvslt x y) none
    new 100
    clauses -1 1 1 100 | -1 1 -1 -100 | 1 -1 1 100 | 1 -1 -1 -100 | -1 -1 100 | 1 1 -100
  )");
  Term_ const* u = atom(sle_order, {F, F}, {T, F});  // 0 <= 1
  handle(sle_order, u);
  EXPECT_EVENTS(R"(
    atom (bvsle x y) none
    new 101
    clauses 1 1 -1 101 | 1 1 1 -101 | -1 -1 -1 101 | -1 -1 1 -101 | 1 -1 101 | -1 1 -101
  )");
}

TEST_F(ComparatorHandlersTest, SignedHandlerTraces) {
  Term_ const* x = bv_var("x", 2);
  Term_ const* y = bv_var("y", 2);
  Term_ const* lt = tm.mk_app(SymbolTag::bv_slt, {x, y});
  Term_ const* le = tm.mk_app(SymbolTag::bv_sle, {x, y});
  EXPECT_TRACE_LEVELS(
      [&](WordClausifier& w, RecordingSink& s) {
        w.set_bits(x, &s, {F, 2});
        w.set_bits(y, &s, {T, T});
        w.word_slt(&s, lt);
        w.word_sle(&s, le);
      },
      R"-(
        3 "word_slt (bvslt x y)(bvslt x y)"
        4 "(bvslt x y)"
        4 "[ 0, F ] <s [ T, T ]"
        3 "wordt ult "
        4 "[ 0, F ] < [ T, T ]"
        3 "bit ite "
        4 "i = 0 x = F y = T w = F v = T"
        3 "bit ite "
        4 "i = 1 x = 0 y = T w = T v = T"
        3 "word_sle (bvsle x y)"
        3 "word_ule "
        4 "[ 0, F ] <=u [ T, T ]"
        3 "bit_or "
        3 "bit_or "
      )-");
}

TEST_F(ComparatorHandlersTest, AQuestionOrClauseThatThrowsCachesNothing) {
  for (Order const& order : {ult_order, ule_order, slt_order, sle_order}) {
    Term_ const* t = atom(order, {2, 4}, {3, 5});
    std::string const before = trail();
    std::uint64_t const lists = lists_in_use();
    sink.atoms_left = 0;
    EXPECT_THROW(handle(order, t), Interrupted);
    sink.atoms_left = -1;
    for (int clauses : {0, 5, 7, 11}) {
      sink.clauses_left = clauses;
      EXPECT_THROW(handle(order, t), Interrupted);
    }
    sink.clauses_left = -1;
    sink.new_lits_left = 1;
    EXPECT_THROW(handle(order, t), Interrupted);
    sink.new_lits_left = -1;
    EXPECT_FALSE(c.is_cached(t));
    EXPECT_EQ(trail(), before);
    EXPECT_EQ(lists_in_use(), lists);
  }
}

}  // namespace
}  // namespace vell::test

// Bit gates: folding in its order, clause and literal orders, traces.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/clausifiertest.h"
#include "tests/support/slots.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::ClauseSink;
using bv::WordClausifier;
using BinaryGate = BvLit (WordClausifier::*)(ClauseSink*, BvLit, BvLit);

constexpr BvLit T = bv::l_true;
constexpr BvLit F = bv::l_false;
constexpr BvLit gate = 100;  // the first fresh literal: the gate does not fold

class GatesTest : public ClausifierTest {
 protected:
  // The gate's result; `clauses` as in expectations, empty where it folds.
  void expect_gate(BinaryGate g, BvLit a, BvLit b, BvLit result, std::string const& clauses) {
    SCOPED_TRACE(std::to_string(a) + ", " + std::to_string(b));
    sink.next = gate;
    EXPECT_EQ((c.*g)(&sink, a, b), result);
    EXPECT_EVENTS(clauses.empty() ? "" : "new 100\nclauses " + clauses);
  }

  // Results over {T, F, 2, -2, 3, -3}, first input down, second across; `gate` for no folding.
  void expect_matrix(BinaryGate g, BvLit const (&expected)[6][6]) {
    constexpr BvLit inputs[] = {T, F, 2, -2, 3, -3};
    for (int i = 0; i < 6; ++i)
      for (int j = 0; j < 6; ++j) {
        SCOPED_TRACE(std::to_string(inputs[i]) + ", " + std::to_string(inputs[j]));
        sink.next = gate;
        EXPECT_EQ((c.*g)(&sink, inputs[i], inputs[j]), expected[i][j]);
        EXPECT_EQ(events.empty(), expected[i][j] != gate);
        events.clear();
      }
  }
};

// ---- not ----

TEST_F(GatesTest, NotIsNegation) {
  for (BvLit a : {T, F, 0, 2, -2, 77, -77}) EXPECT_EQ(c.bit_not(a), -a);
  EXPECT_NO_EVENTS();
}

// ---- and ----

TEST_F(GatesTest, AndFolds) {
  expect_matrix(&WordClausifier::bit_and, {
                                              //  T   F     2     -2     3     -3
                                              {T, F, 2, -2, 3, -3},        // T
                                              {F, F, F, F, F, F},          // F
                                              {2, F, 2, F, gate, gate},    // 2
                                              {-2, F, F, -2, gate, gate},  // -2
                                              {3, F, gate, gate, 3, F},    // 3
                                              {-3, F, gate, gate, F, -3},  // -3
                                          });
}

TEST_F(GatesTest, AndClauses) {
  expect_gate(&WordClausifier::bit_and, 2, 3, 100, "-2 -3 100 | 2 -100 | 3 -100");
  expect_gate(&WordClausifier::bit_and, 3, 2, 100, "-3 -2 100 | 3 -100 | 2 -100");
  expect_gate(&WordClausifier::bit_and, -2, 3, 100, "2 -3 100 | -2 -100 | 3 -100");
  expect_gate(&WordClausifier::bit_and, 2, -3, 100, "-2 3 100 | 2 -100 | -3 -100");
}

TEST_F(GatesTest, AndTestsEqualInputsBeforeComplementaryOnes) {
  EXPECT_EQ(c.bit_and(&sink, 0, 0), 0);  // no literal is its own negation
  EXPECT_NO_EVENTS();
}

TEST_F(GatesTest, AndPassesNoLiteralOn) {
  expect_gate(&WordClausifier::bit_and, 0, 3, 100, "0 -3 100 | 0 -100 | 3 -100");
}

// ---- or ----

TEST_F(GatesTest, OrFolds) {
  expect_matrix(&WordClausifier::bit_or, {
                                             //  T   F     2     -2     3     -3
                                             {T, T, T, T, T, T},          // T
                                             {T, F, 2, -2, 3, -3},        // F
                                             {T, 2, 2, T, gate, gate},    // 2
                                             {T, -2, T, -2, gate, gate},  // -2
                                             {T, 3, gate, gate, 3, T},    // 3
                                             {T, -3, gate, gate, T, -3},  // -3
                                         });
}

TEST_F(GatesTest, OrClauses) {
  expect_gate(&WordClausifier::bit_or, 2, 3, 100, "-2 100 | -3 100 | 2 3 -100");
  expect_gate(&WordClausifier::bit_or, 3, 2, 100, "-3 100 | -2 100 | 3 2 -100");
  expect_gate(&WordClausifier::bit_or, -2, 3, 100, "2 100 | -3 100 | -2 3 -100");
  expect_gate(&WordClausifier::bit_or, 2, -3, 100, "-2 100 | 3 100 | 2 -3 -100");
}

TEST_F(GatesTest, OrTestsEqualInputsBeforeComplementaryOnes) {
  EXPECT_EQ(c.bit_or(&sink, 0, 0), 0);
  EXPECT_NO_EVENTS();
}

// ---- xor ----

TEST_F(GatesTest, XorFolds) {
  expect_matrix(&WordClausifier::bit_xor, {
                                              //  T   F     2     -2     3     -3
                                              {F, T, -2, 2, -3, 3},       // T
                                              {T, F, 2, -2, 3, -3},       // F
                                              {-2, 2, F, T, gate, gate},  // 2
                                              {2, -2, T, F, gate, gate},  // -2
                                              {-3, 3, gate, gate, F, T},  // 3
                                              {3, -3, gate, gate, T, F},  // -3
                                          });
}

TEST_F(GatesTest, XorClauses) {
  expect_gate(&WordClausifier::bit_xor, 2, 3, 100, "-2 -3 -100 | 2 3 -100 | -2 3 100 | 2 -3 100");
  expect_gate(&WordClausifier::bit_xor, 3, 2, 100, "-3 -2 -100 | 3 2 -100 | -3 2 100 | 3 -2 100");
  expect_gate(&WordClausifier::bit_xor, -2, 3, 100, "2 -3 -100 | -2 3 -100 | 2 3 100 | -2 -3 100");
}

TEST_F(GatesTest, XorTestsEqualInputsBeforeComplementaryOnes) {
  EXPECT_EQ(c.bit_xor(&sink, 0, 0), F);
  EXPECT_NO_EVENTS();
}

// ---- if-then-else ----

TEST_F(GatesTest, IteFoldsByFiveRulesAndNoOther) {
  constexpr BvLit inputs[] = {T, F, 2, -2, 3, -3, 4, -4};
  for (BvLit condition : inputs)
    for (BvLit t : inputs)
      for (BvLit e : inputs) {
        SCOPED_TRACE(std::to_string(condition) + " ? " + std::to_string(t) + " : " + std::to_string(e));
        BvLit const folded = condition == F       ? e
                             : condition == T     ? t
                             : e == t             ? e
                             : (t == T && e == F) ? condition
                             : (t == F && e == T) ? -condition
                                                  : gate;
        sink.next = gate;
        EXPECT_EQ(c.bit_ite(&sink, condition, t, e), folded);
        EXPECT_EQ(events.size(), folded == gate ? 5u : 0u);
        events.clear();
      }
}

TEST_F(GatesTest, IteClauses) {
  EXPECT_EQ(c.bit_ite(&sink, 2, 3, 4), 100);
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 -3 100 | -2 3 -100 | 2 -4 100 | 2 4 -100
  )");
  EXPECT_EQ(c.bit_ite(&sink, -2, 3, -4), 101);
  EXPECT_EVENTS(R"(
    new 101
    clauses 2 -3 101 | 2 3 -101 | -2 4 101 | -2 -4 -101
  )");
}

TEST_F(GatesTest, IteKeepsASingleConstantBranch) {
  EXPECT_EQ(c.bit_ite(&sink, 2, T, 4), 100);
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 -1 100 | -2 1 -100 | 2 -4 100 | 2 4 -100
  )");
  EXPECT_EQ(c.bit_ite(&sink, 2, 3, F), 101);
  EXPECT_EVENTS(R"(
    new 101
    clauses -2 -3 101 | -2 3 -101 | 2 1 101 | 2 -1 -101
  )");
}

TEST_F(GatesTest, IteKeepsBranchesRelatedToTheConditionOrEachOther) {
  EXPECT_EQ(c.bit_ite(&sink, 2, 2, 3), 100);
  EXPECT_EVENTS("new 100\n clauses -2 -2 100 | -2 2 -100 | 2 -3 100 | 2 3 -100");
  EXPECT_EQ(c.bit_ite(&sink, 2, 3, -3), 101);
  EXPECT_EVENTS("new 101\n clauses -2 -3 101 | -2 3 -101 | 2 3 101 | 2 -3 -101");
}

// ---- all gates ----

TEST_F(GatesTest, NothingIsShared) {
  EXPECT_EQ(c.bit_and(&sink, 2, 3), 100);
  EXPECT_EQ(c.bit_and(&sink, 2, 3), 101);
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 -3 100 | 2 -100 | 3 -100
    new 101
    clauses -2 -3 101 | 2 -101 | 3 -101
  )");
}

TEST_F(GatesTest, TheBufferIsEmptiedBeforeEveryClause) {
  sink.lits = {7, 8, 9};
  c.bit_and(&sink, 2, 3);
  EXPECT_EVENTS("new 100\n clauses -2 -3 100 | 2 -100 | 3 -100");
  EXPECT_EQ(sink.lits, (BvLitList{3, -100}));  // emptied by the next emission only
  c.bit_and(&sink, 2, 2);
  EXPECT_EQ(sink.lits, (BvLitList{3, -100}));
}

TEST_F(GatesTest, TheBufferKeepsItsCapacity) {
  sink.lits.reserve(1000);
  c.bit_xor(&sink, 2, 3);
  EXPECT_GE(sink.lits.capacity(), 1000u);
}

TEST_F(GatesTest, LabelsComeFirstAlsoWhereTheGateFolds) {
  logger.set_verbosity(3);
  c.bit_not(2);
  EXPECT_EVENTS(R"(log "bit_not ")");
  c.bit_and(&sink, 2, 3);
  EXPECT_EVENTS("log \"bit_and \"\n new 100\n clauses -2 -3 100 | 2 -100 | 3 -100");
  c.bit_and(&sink, 2, 2);
  EXPECT_EVENTS(R"(log "bit_and ")");
  c.bit_or(&sink, 2, 3);
  EXPECT_EVENTS("log \"bit_or \"\n new 101\n clauses -2 101 | -3 101 | 2 3 -101");
  c.bit_or(&sink, T, 3);
  EXPECT_EVENTS(R"(log "bit_or ")");
  c.bit_xor(&sink, 2, 3);
  EXPECT_EVENTS("log \"bit xor \"\n new 102\n clauses -2 -3 -102 | 2 3 -102 | -2 3 102 | 2 -3 102");
  c.bit_xor(&sink, F, 3);
  EXPECT_EVENTS(R"(log "bit xor ")");
  c.bit_ite(&sink, 2, 3, 4);
  EXPECT_EVENTS("log \"bit ite \"\n new 103\n clauses -2 -3 103 | -2 3 -103 | 2 -4 103 | 2 4 -103");
  c.bit_ite(&sink, T, 3, 4);
  EXPECT_EVENTS(R"(log "bit ite ")");
}

TEST_F(GatesTest, LabelsAreOfLevelThree) {
  EXPECT_TRACE_LEVELS(
      [](WordClausifier& w, RecordingSink& s) {
        w.bit_not(2);
        w.bit_and(&s, 2, 3);
        w.bit_or(&s, 2, 3);
        w.bit_xor(&s, 2, 3);
        w.bit_ite(&s, 2, 3, 4);
      },
      R"(
        3 "bit_not "
        3 "bit_and "
        3 "bit_or "
        3 "bit xor "
        3 "bit ite "
      )");
}

TEST_F(GatesTest, ModuleOfTheTraceIsBv) {
  logger("other");
  logger.set_verbosity(3);
  c.bit_not(2);
  EXPECT_STREQ(logger.module(), "BV");
}

TEST_F(GatesTest, ATraceThatIsOffLeavesTheLoggerAsItWas) {
  logger("other") << loglevel(1);
  logger.set_verbosity(2);
  c.bit_not(2);
  EXPECT_STREQ(logger.module(), "other");
  EXPECT_EQ(logger.level(), 1);
}

TEST_F(GatesTest, GatesAreNotVirtual) {
  EXPECT_EQ(virtual_slot(&WordClausifier::bit_not), -1);
  EXPECT_EQ(virtual_slot(&WordClausifier::bit_and), -1);
  EXPECT_EQ(virtual_slot(&WordClausifier::bit_or), -1);
  EXPECT_EQ(virtual_slot(&WordClausifier::bit_xor), -1);
  EXPECT_EQ(virtual_slot(&WordClausifier::bit_ite), -1);
}

TEST_F(GatesTest, FoldingGatesAllocateNothingWhileTracingIsOff) {
  std::uint64_t const before = allocation_count();
  for (int i = 0; i < 100; ++i) {
    c.bit_not(2);
    c.bit_and(&sink, 2, T);
    c.bit_or(&sink, 2, T);
    c.bit_xor(&sink, 2, T);
    c.bit_ite(&sink, T, 2, 3);
  }
  EXPECT_EQ(allocation_count(), before);
}

TEST_F(GatesTest, ASinkThatThrowsStopsTheGateWhereItStands) {
  struct Case {
    BinaryGate g;
    char const* clauses[4];
  };
  Case const cases[] = {
      {&WordClausifier::bit_and, {"-2 -3 100", "2 -100", "3 -100"}},
      {&WordClausifier::bit_or, {"-2 100", "-3 100", "2 3 -100"}},
      {&WordClausifier::bit_xor, {"-2 -3 -100", "2 3 -100", "-2 3 100", "2 -3 100"}},
  };
  for (Case const& k : cases) {
    sink.new_lits_left = 0;
    EXPECT_THROW((c.*k.g)(&sink, 2, 3), Interrupted);
    EXPECT_NO_EVENTS();
    sink.new_lits_left = -1;
    for (int n = 0; n < 4 && k.clauses[n] != nullptr; ++n) {
      sink.next = 100;
      sink.clauses_left = n;
      EXPECT_THROW((c.*k.g)(&sink, 2, 3), Interrupted);
      std::string expected = "new 100\n";
      for (int i = 0; i < n; ++i) expected += std::string("clause ") + k.clauses[i] + "\n";
      EXPECT_EVENTS(expected);
      EXPECT_EQ(to_string(sink.lits), k.clauses[n]);  // handed over when it threw
    }
    sink.clauses_left = -1;
  }
}

// ---- words ----

TEST_F(GatesTest, WordAndGoesUpFromBitZero) {
  BvLitList a{2, 3, T, 4};
  BvLitList b{5, 6, 7, 4};
  BvLitList result(4, 0);
  c.word_and(&sink, result, &a, &b);
  EXPECT_EQ(result, (BvLitList{100, 101, 7, 4}));
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 -5 100 | 2 -100 | 5 -100
    new 101
    clauses -3 -6 101 | 3 -101 | 6 -101
  )");
  EXPECT_EQ(a, (BvLitList{2, 3, T, 4}));
  EXPECT_EQ(b, (BvLitList{5, 6, 7, 4}));
}

TEST_F(GatesTest, WordAndTakesItsLengthFromTheFirstOperand) {
  BvLitList a{2};
  BvLitList b{3, 4, 5};
  BvLitList result{9, 8, 7};
  c.word_and(&sink, result, &a, &b);
  EXPECT_EQ(result, (BvLitList{100, 8, 7}));  // assigned, not appended
  EXPECT_EVENTS("new 100\n clauses -2 -3 100 | 2 -100 | 3 -100");
}

TEST_F(GatesTest, WordAndTraces) {
  EXPECT_TRACE_LEVELS(
      [](WordClausifier& w, RecordingSink& s) {
        BvLitList a{2, T};
        BvLitList b{3, 4};
        BvLitList result(2, 0);
        w.word_and(&s, result, &a, &b);
      },
      R"(
        3 "word_and "
        3 "bit_and "
        3 "bit_and "
        4 "[ T, 0 ] & [ 2, 1 ] = [ 2, 98 ]"
      )");
}

TEST_F(GatesTest, WordAndOfEmptyWordsTracesTwoLines) {
  logger.set_verbosity(5);
  BvLitList a;
  BvLitList b;
  BvLitList result;
  c.word_and(&sink, result, &a, &b);
  EXPECT_TRUE(result.empty());
  EXPECT_EVENTS(R"(
    log "word_and "
    log "[ ] & [ ] = [ ]"
  )");
}

}  // namespace
}  // namespace vell::test

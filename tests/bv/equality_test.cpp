// The equality chain, its handlers and the equality of two terms as a given literal.

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

constexpr BvLit T = bv::l_true;
constexpr BvLit F = bv::l_false;

class EqualityTest : public ClausifierTest {
 protected:
  BvLit equal(BvLitList x, BvLitList y, BvLit out = 0) { return c.word_equal(&sink, &x, &y, out); }

  // An equality of two new variables of the given bits.
  Term_ const* atom(BvLitList const& x, BvLitList const& y, SymbolTag::tag tag = SymbolTag::equal) {
    Term_ const* t = tm.mk_app(tag, {bv_var("x", x), bv_var("y", y)});
    events.clear();
    return t;
  }
  std::uint64_t lists_in_use() const {
    return inspect.list_pool().chunk_count() * 1024 - inspect.list_pool().free_count();
  }
};

// ---- circuit ----

TEST_F(EqualityTest, OneVariableBit) {
  EXPECT_EQ(equal({2}, {3}), 100);
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 3 -100 | 2 -3 -100 | -2 -3 100 | 2 3 100
  )");
}

TEST_F(EqualityTest, LaterBitsConjoinTheChain) {
  EXPECT_EQ(equal({2, 4}, {3, 5}), 101);
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 3 -100 | 2 -3 -100 | -2 -3 100 | 2 3 100
    new 101
    clauses -4 5 -101 | 4 -5 -101 | 100 -101 | -4 -5 -100 101 | 4 5 -100 101
  )");
}

TEST_F(EqualityTest, ABitAboveFoldedOnesKeepsTheConstantChain) {
  EXPECT_EQ(equal({2, 4}, {2, 5}), 100);  // the chain is true
  EXPECT_EVENTS("new 100\n clauses -4 5 -100 | 4 -5 -100 | 1 -100 | -4 -5 -1 100 | 4 5 -1 100");
  EXPECT_EQ(equal({2, 4}, {-2, 5}), 101);  // the chain is false
  EXPECT_EVENTS("new 101\n clauses -4 5 -101 | 4 -5 -101 | -1 -101 | -4 -5 1 101 | 4 5 1 101");
}

TEST_F(EqualityTest, ConstantBitsAreGatesOverTheOtherBitAndTheChain) {
  struct Case {
    BvLit a, b, result;
    char const* clauses;
  };
  for (Case const& k : std::vector<Case>{{T, 5, 101, "-5 -100 101 | 5 -101 | 100 -101"},
                                         {F, 5, 101, "5 -100 101 | -5 -101 | 100 -101"},
                                         {5, T, 101, "-5 -100 101 | 5 -101 | 100 -101"},
                                         {5, F, 101, "5 -100 101 | -5 -101 | 100 -101"},
                                         {T, T, 100, ""},
                                         {F, F, 100, ""},
                                         {T, F, F, ""},
                                         {F, T, F, ""}}) {
    SCOPED_TRACE(to_string({k.a, k.b}));
    sink.next = 100;
    logger.set_verbosity(3);
    EXPECT_EQ(equal({2, k.a}, {3, k.b}), k.result);
    std::string expected = R"(
      log "word equal "
      new 100
      clauses -2 3 -100 | 2 -3 -100 | -2 -3 100 | 2 3 100
      log "bit_and "
    )";  // a gate also where both are constant
    if (*k.clauses != '\0') expected += std::string("new 101\nclauses ") + k.clauses;
    EXPECT_EVENTS(expected);
  }
}

TEST_F(EqualityTest, EqualWordsNeedNothing) {
  EXPECT_EQ(equal({2, -3, 4}, {2, -3, 4}), T);
  EXPECT_EQ(equal({T, F, 2}, {T, F, 2}), T);
  EXPECT_NO_EVENTS();
}

TEST_F(EqualityTest, AnEqualBitKeepsTheChain) {
  EXPECT_EQ(equal({2, 4}, {3, 4}), 100);
  EXPECT_EVENTS("new 100\n clauses -2 3 -100 | 2 -3 -100 | -2 -3 100 | 2 3 100");
}

TEST_F(EqualityTest, AComplementaryBitMakesItFalse) {
  EXPECT_EQ(equal({2, 4}, {2, -4}), F);
  EXPECT_NO_EVENTS();
  EXPECT_EQ(equal({2, 4}, {3, -4}), F);
  EXPECT_EVENTS("new 100\n clauses -2 3 -100 | 2 -3 -100 | -2 -3 100 | 2 3 100");
}

TEST_F(EqualityTest, TheChainGoesOnBehindAComplementaryBit) {
  logger.set_verbosity(3);
  EXPECT_EQ(equal({4, T, 2, 6}, {-4, 5, 3, 6}), 100);
  EXPECT_EVENTS(R"(
    log "word equal "
    log "bit_and "
    new 100
    clauses -2 3 -100 | 2 -3 -100 | -1 -100 | -2 -3 1 100 | 2 3 1 100
  )");
}

TEST_F(EqualityTest, EmptyWordsAreEqual) {
  EXPECT_EQ(equal({}, {}), T);
  EXPECT_EQ(equal({}, {}, 50), T);
  EXPECT_NO_EVENTS();
}

TEST_F(EqualityTest, ConstantsFoldEntirely) {
  for (BvLit a0 : {T, F})
    for (BvLit a1 : {T, F})
      for (BvLit b0 : {T, F})
        for (BvLit b1 : {T, F}) EXPECT_EQ(equal({a0, a1}, {b0, b1}), a0 == b0 && a1 == b1 ? T : F);
  EXPECT_NO_EVENTS();
}

TEST_F(EqualityTest, AGivenLiteralServesTheLastBitOnly) {
  EXPECT_EQ(equal({2, 4}, {3, 5}, -50), -50);
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 3 -100 | 2 -3 -100 | -2 -3 100 | 2 3 100
    clauses -4 5 50 | 4 -5 50 | 100 50 | -4 -5 -100 -50 | 4 5 -100 -50
  )");
  EXPECT_EQ(equal({2}, {3}, 50), 50);
  EXPECT_EVENTS("clauses -2 3 -50 | 2 -3 -50 | -2 -3 50 | 2 3 50");
  EXPECT_EQ(equal({2, 4}, {3, 4}, 50), 101);
  EXPECT_EQ(equal({2, T}, {3, 5}, 50), 103);
}

TEST_F(EqualityTest, LengthIsThatOfTheFirstWord) {
  EXPECT_EQ(equal({2}, {2, 9}), T);
  EXPECT_NO_EVENTS();
}

TEST_F(EqualityTest, CircuitTraces) {
  EXPECT_TRACE_LEVELS(
      [](WordClausifier& w, RecordingSink& s) {
        BvLitList x{2, T};
        BvLitList y{3, 4};
        w.word_equal(&s, &x, &y, 0);
      },
      R"(
        3 "word equal "
        3 "bit_and "
      )");
}

// ---- handlers ----

TEST_F(EqualityTest, HandlerAsksTheSink) {
  Term_ const* t = atom({2}, {3});
  c.word_equal(&sink, t);
  EXPECT_EVENTS(R"(
    atom (= x y) none
    new 100
    clauses -2 3 -100 | 2 -3 -100 | -2 -3 100 | 2 3 100
  )");
  EXPECT_EQ(bits(t), (BvLitList{100}));
  EXPECT_EQ(trail(), "x y (= x y)");
  EXPECT_EQ(lists_in_use(), 3u);
}

TEST_F(EqualityTest, HandlerUsesTheSinksLiteral) {
  Term_ const* t = atom({2}, {3});
  sink.atoms[t] = 50;
  c.word_equal(&sink, t);
  EXPECT_EVENTS(R"(
    atom (= x y) 50
    clauses -2 3 -50 | 2 -3 -50 | -2 -3 50 | 2 3 50
  )");
  EXPECT_EQ(bits(t), (BvLitList{50}));
}

TEST_F(EqualityTest, HandlerTiesAFoldedResultToTheSinksLiteral) {
  Term_ const* t = atom({2}, {2});
  sink.atoms[t] = 50;
  c.word_equal(&sink, t);
  EXPECT_EVENTS("atom (= x y) 50\n clauses -1 50 | -50 1");
  EXPECT_EQ(bits(t), (BvLitList{50}));

  Term_ const* u = atom({2}, {-2});
  sink.atoms[u] = -50;
  c.word_equal(&sink, u);
  EXPECT_EVENTS("atom (= x y) -50\n clauses 1 -50 | 50 -1");
  EXPECT_EQ(bits(u), (BvLitList{-50}));
}

TEST_F(EqualityTest, HandlerTiesAnInnerLiteralToTheSinksLiteral) {
  Term_ const* t = atom({2, 4}, {3, 4});
  sink.atoms[t] = 50;
  c.word_equal(&sink, t);
  EXPECT_EVENTS(R"(
    atom (= x y) 50
    new 100
    clauses -2 3 -100 | 2 -3 -100 | -2 -3 100 | 2 3 100
    clauses -100 50 | -50 100
  )");
}

TEST_F(EqualityTest, AResultThatIsTheSinksLiteralNeedsNoTie) {
  Term_ const* t = atom({T}, {50});
  sink.atoms[t] = 50;
  c.word_equal(&sink, t);
  EXPECT_EVENTS("atom (= x y) 50");
  EXPECT_EQ(bits(t), (BvLitList{50}));
}

TEST_F(EqualityTest, LiteralZeroOfTheSinkCountsAsNone) {
  Term_ const* t = atom({2}, {2});
  sink.atoms[t] = 0;
  c.word_equal(&sink, t);
  EXPECT_EVENTS("atom (= x y) 0");
  EXPECT_EQ(bits(t), (BvLitList{T}));
}

TEST_F(EqualityTest, NoproxyNeverAsks) {
  Term_ const* t = atom({2}, {3}, SymbolTag::equal_noproxy);
  sink.atoms[t] = 50;
  c.word_equal_noproxy(&sink, t);
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 3 -100 | 2 -3 -100 | -2 -3 100 | 2 3 100
  )");
  EXPECT_EQ(bits(t), (BvLitList{100}));
}

TEST_F(EqualityTest, ProxyIsChosenByTheCaller) {
  Term_ const* t = atom({2}, {2});
  sink.atoms[t] = 50;
  c.word_equal(&sink, t, false);
  EXPECT_NO_EVENTS();
  EXPECT_EQ(bits(t), (BvLitList{T}));
  Term_ const* u = atom({2}, {2});
  sink.atoms[u] = 50;
  c.word_equal(&sink, u, true);
  EXPECT_EVENTS("atom (= x y) 50\n clauses -1 50 | -50 1");
}

TEST_F(EqualityTest, HandlerTraces) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* y = bv_var("y", 1);
  Term_ const* e = tm.mk_app(SymbolTag::equal, {x, y});
  Term_ const* n = raw_term(SymbolTag::equal_noproxy, tm.bool_type, {x, y}, "e2");
  EXPECT_TRACE_LEVELS(
      [&](WordClausifier& w, RecordingSink& s) {
        w.set_bits(x, &s, {F});
        w.set_bits(y, &s, {T});
        w.word_equal(&s, e);
        w.word_equal_noproxy(&s, n);
      },
      R"-(
        3 "word equal B..(= x y)"
        3 "word equal "
        3 "bit_and "
        3 "word equal B..e2"
        3 "word equal "
        3 "bit_and "
      )-");
}

TEST_F(EqualityTest, HandlerTracesBeforeItAsks) {
  Term_ const* t = atom({2}, {2});
  logger.set_verbosity(3);
  c.word_equal(&sink, t);
  EXPECT_EVENTS(R"-(
    log "word equal B..(= x y)"
    atom (= x y) none
    log "word equal "
  )-");
}

TEST_F(EqualityTest, AHandlerThatThrowsCachesNothing) {
  Term_ const* t = atom({2, 4}, {3, 5});
  std::uint64_t const lists = lists_in_use();
  sink.atoms_left = 0;
  EXPECT_THROW(c.word_equal(&sink, t), Interrupted);
  sink.atoms_left = -1;
  for (int clauses : {0, 3, 4, 8}) {
    sink.clauses_left = clauses;
    EXPECT_THROW(c.word_equal(&sink, t), Interrupted);
  }
  EXPECT_FALSE(c.is_cached(t));
  EXPECT_EQ(trail(), "x y");
  EXPECT_EQ(lists_in_use(), lists);
}

// ---- equality of two terms as a literal ----

TEST_F(EqualityTest, TheoryEqualityTiesTheLiteral) {
  Term_ const* x = bv_var("x", BvLitList{2, 4});
  Term_ const* y = bv_var("y", BvLitList{3, 4});
  EXPECT_TRUE(c.bit_blast_theory_eq(50, x, y, &sink));
  EXPECT_EVENTS(R"(
    new 100
    clauses -2 3 -100 | 2 -3 -100 | -2 -3 100 | 2 3 100
    clauses 100 -50 | -100 50
  )");
  EXPECT_EQ(trail(), "x y");
}

TEST_F(EqualityTest, TheoryEqualityOfEqualTerms) {
  Term_ const* x = bv_var("x", BvLitList{2, T});
  EXPECT_TRUE(c.bit_blast_theory_eq(-50, x, x, &sink));
  EXPECT_EVENTS("clauses 1 50 | -1 -50");
  EXPECT_TRUE(c.bit_blast_theory_eq(T, x, x, &sink));
  EXPECT_EVENTS("clauses 1 -1 | -1 1");
}

TEST_F(EqualityTest, TheoryEqualityNeverAsksTheSink) {
  Term_ const* t = atom({2}, {3});
  sink.atoms[t] = 60;
  c.bit_blast_theory_eq(50, t->children[0], t->children[1], &sink);
  EXPECT_EVENTS("new 100\n clauses -2 3 -100 | 2 -3 -100 | -2 -3 100 | 2 3 100\n clauses 100 -50 | -100 50");
}

TEST_F(EqualityTest, ComplementaryBitsRefuteTheTheoryEqualityAtOnce) {
  Term_ const* x = bv_var("x", BvLitList{2, 4, 6});
  for (BvLitList const& y : {BvLitList{3, 4, -6}, BvLitList{-2, 4, 6}, BvLitList{3, -4, 7}}) {
    EXPECT_FALSE(c.bit_blast_theory_eq(50, x, bv_var("y", y), &sink));
    EXPECT_NO_EVENTS();
  }
  EXPECT_FALSE(c.bit_blast_theory_eq(50, bv_var("t", BvLitList{T}), bv_var("f", BvLitList{F}), &sink));
  // No literal twice sums up to no literal.
  EXPECT_FALSE(c.bit_blast_theory_eq(50, bv_var("u", BvLitList{0}), bv_var("v", BvLitList{0}), &sink));
  EXPECT_NO_EVENTS();
  logger.set_verbosity(6);
  EXPECT_FALSE(c.bit_blast_theory_eq(50, x, bv_var("z", BvLitList{-2, 4, 6}), &sink));
  EXPECT_NO_EVENTS();
}

TEST_F(EqualityTest, TheoryEqualityTranslatesTheFirstTermThenTheSecond) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* y = bv_var("y", 1);
  EXPECT_TRUE(c.bit_blast_theory_eq(50, x, y, &sink));
  EXPECT_EVENTS(R"(
    new 100
    new 101
    new 102
    clauses -100 101 -102 | 100 -101 -102 | -100 -101 102 | 100 101 102
    clauses 102 -50 | -102 50
  )");
  EXPECT_EQ(trail(), "x y");
}

TEST_F(EqualityTest, TheoryEqualityTranslatesOnlyWhatIsMissing) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* y = bv_var("y", BvLitList{3});
  EXPECT_TRUE(c.bit_blast_theory_eq(50, x, y, &sink));
  EXPECT_EQ(trail(), "y x");
  Term_ const* z = bv_var("z", 1);
  EXPECT_TRUE(c.bit_blast_theory_eq(50, y, z, &sink));
  EXPECT_EQ(trail(), "y x z");
}

TEST_F(EqualityTest, ASecondTermCachedByTheFirstIsStillHandedOn) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* n = tm.mk_app(SymbolTag::bv_neg, {x});  // one bit: the same literal
  logger.set_verbosity(4);
  EXPECT_TRUE(c.bit_blast_theory_eq(50, n, x, &sink));
  EXPECT_EQ(trail(), "(bvneg x) x x");
  std::size_t considered = 0;
  for (std::string const& e : events) considered += e == log_event("considering x s:1");
  EXPECT_EQ(considered, 1u);
}

TEST_F(EqualityTest, AnUnknownTermAgainstItself) {
  Term_ const* x = bv_var("x", 1);
  EXPECT_TRUE(c.bit_blast_theory_eq(50, x, x, &sink));
  EXPECT_EVENTS("new 100\n clauses 1 -50 | -1 50");
  EXPECT_EQ(trail(), "x x");
}

TEST_F(EqualityTest, TheoryEqualityGoesThroughTheVirtualTable) {
  struct Derived : WordClausifier {
    using WordClausifier::WordClausifier;
    std::vector<Term_ const*> blasted;
    BvLit bit_blast(Term_ const* t, ClauseSink* s) override {
      blasted.push_back(t);
      set_bits(t, s, {7});
      return 7;
    }
  };
  Derived d(&tm, &config);
  d.set_logger(&logger);
  Term_ const* x = bv_var("x", 1);
  Term_ const* y = bv_var("y", 1);
  EXPECT_TRUE(d.bit_blast_theory_eq(50, x, y, &sink));
  EXPECT_EQ(d.blasted, (std::vector<Term_ const*>{x, y}));
  EXPECT_EVENTS("clauses 1 -50 | -1 50");
}

TEST_F(EqualityTest, TheoryEqualityKeepsWhatItTranslatedBeforeAThrow) {
  Term_ const* x = bv_var("x", 2);
  Term_ const* y = bv_var("y", 2);
  sink.new_lits_left = 3;
  EXPECT_THROW(c.bit_blast_theory_eq(50, x, y, &sink), Interrupted);
  EXPECT_TRUE(c.is_cached(x));
  EXPECT_FALSE(c.is_cached(y));
  EXPECT_EQ(trail(), "x y");  // the entry of the root that was begun
}

}  // namespace
}  // namespace vell::test

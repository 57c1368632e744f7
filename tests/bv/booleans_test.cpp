// Boolean connectives and if-then-else: literals, order of arguments, traces, and whose list is whose.

#include "tests/support/clausifiertest.h"
#include "tests/support/meaning.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::WordClausifier;

constexpr BvLit T = bv::l_true;
constexpr BvLit F = bv::l_false;

class BooleansTest : public ClausifierTest {
 protected:
  Term_ const* apply(SymbolTag::tag tag, std::initializer_list<BvLit> literals) {
    std::vector<Term_ const*> children;
    for (BvLit const l : literals) children.push_back(bool_var("b", l));
    return raw_term(tag, tm.bool_type, children, "t");
  }
};

// ---- not ----

TEST_F(BooleansTest, NotFlipsTheSignWithoutAGate) {
  for (auto const& [child, expected] :
       {std::pair{7, -7}, std::pair{-7, 7}, std::pair{T, F}, std::pair{F, T}}) {
    Term_ const* t = apply(SymbolTag::bool_not, {child});
    c.bool_not(&sink, t);
    EXPECT_EQ(bits(t), (BvLitList{expected}));
  }
  EXPECT_NO_EVENTS();
}

TEST_F(BooleansTest, NotLeavesTheChildAlone) {
  Term_ const* b = bool_var("b", 7);
  Term_ const* t = tm.mk_app(SymbolTag::bool_not, {b});
  c.bool_not(&sink, t);
  EXPECT_EQ(bits(b), (BvLitList{7}));
  EXPECT_NE(c.lookup(b), c.lookup(t));
  EXPECT_EQ(trail(), "b (not b)");
}

// ---- and, or, iff ----

TEST_F(BooleansTest, AndOfTwoLiterals) {
  Term_ const* t = apply(SymbolTag::bool_and, {2, 3});
  c.bool_and(&sink, t);
  EXPECT_EVENTS("new 100 \n clauses -2 -3 100 | 2 -100 | 3 -100");
  EXPECT_EQ(bits(t), (BvLitList{100}));
}

TEST_F(BooleansTest, OrOfTwoLiterals) {
  Term_ const* t = apply(SymbolTag::bool_or, {2, 3});
  c.bool_or(&sink, t);
  EXPECT_EVENTS("new 100 \n clauses -2 100 | -3 100 | 2 3 -100");
  EXPECT_EQ(bits(t), (BvLitList{100}));
}

TEST_F(BooleansTest, IffIsTheNegatedExclusiveOr) {
  Term_ const* t = apply(SymbolTag::bool_iff, {2, 3});
  c.bool_iff(&sink, t);
  EXPECT_EVENTS("new 100 \n clauses -2 -3 -100 | 2 3 -100 | -2 3 100 | 2 -3 100");
  EXPECT_EQ(bits(t), (BvLitList{-100}));
}

TEST_F(BooleansTest, ConnectivesFold) {
  struct Case {
    SymbolTag::tag tag;
    BvLit a, b, expected;
  };
  for (Case const& k : {Case{SymbolTag::bool_and, 2, 2, 2}, Case{SymbolTag::bool_and, 2, T, 2},
                        Case{SymbolTag::bool_and, T, 2, 2}, Case{SymbolTag::bool_and, 2, F, F},
                        Case{SymbolTag::bool_and, 2, -2, F}, Case{SymbolTag::bool_or, 2, 2, 2},
                        Case{SymbolTag::bool_or, F, 2, 2}, Case{SymbolTag::bool_or, 2, T, T},
                        Case{SymbolTag::bool_or, 2, -2, T}, Case{SymbolTag::bool_iff, T, T, T},
                        Case{SymbolTag::bool_iff, T, F, F}, Case{SymbolTag::bool_iff, F, F, T},
                        Case{SymbolTag::bool_iff, 2, T, 2}, Case{SymbolTag::bool_iff, F, 2, -2},
                        Case{SymbolTag::bool_iff, 2, 2, T}, Case{SymbolTag::bool_iff, 2, -2, F}}) {
    Term_ const* t = apply(k.tag, {k.a, k.b});
    if (k.tag == SymbolTag::bool_and) c.bool_and(&sink, t);
    if (k.tag == SymbolTag::bool_or) c.bool_or(&sink, t);
    if (k.tag == SymbolTag::bool_iff) c.bool_iff(&sink, t);
    EXPECT_EQ(bits(t), (BvLitList{k.expected})) << k.tag << " of " << k.a << " and " << k.b;
  }
  EXPECT_NO_EVENTS();
}

TEST_F(BooleansTest, FurtherArgumentsAreIgnored) {
  Term_ const* a = apply(SymbolTag::bool_and, {2, T, F});
  c.bool_and(&sink, a);
  EXPECT_EQ(bits(a), (BvLitList{2}));
  Term_ const* o = apply(SymbolTag::bool_or, {2, F, T});
  c.bool_or(&sink, o);
  EXPECT_EQ(bits(o), (BvLitList{2}));
  EXPECT_NO_EVENTS();
}

TEST_F(BooleansTest, OnlyBitZeroOfAChildIsRead) {
  Term_ const* yes = bv_var("x", BvLitList{T, F});
  Term_ const* no = bv_var("y", BvLitList{F, T});
  Term_ const* b = bool_var("b", 5);
  auto const literal = [&](WordClausifier::Handler handler, std::vector<Term_ const*> const& children) {
    Term_ const* t =
        raw_term(SymbolTag::none, tm.bool_type, children, "t" + std::to_string(inspect.trail().size()));
    (c.*handler)(&sink, t);
    return bits(t);
  };
  EXPECT_EQ(literal(&WordClausifier::bool_not, {yes}), (BvLitList{F}));
  EXPECT_EQ(literal(&WordClausifier::bool_and, {yes, b}), (BvLitList{5}));
  EXPECT_EQ(literal(&WordClausifier::bool_and, {b, yes}), (BvLitList{5}));
  EXPECT_EQ(literal(&WordClausifier::bool_or, {no, b}), (BvLitList{5}));
  EXPECT_EQ(literal(&WordClausifier::bool_or, {b, no}), (BvLitList{5}));
  EXPECT_EQ(literal(&WordClausifier::bool_iff, {yes, b}), (BvLitList{5}));
  EXPECT_EQ(literal(&WordClausifier::bool_iff, {b, yes}), (BvLitList{5}));
  EXPECT_EQ(literal(&WordClausifier::bool_ite, {yes, b, no}), (BvLitList{5}));
  EXPECT_EQ(literal(&WordClausifier::bool_ite, {b, yes, no}), (BvLitList{5}));
  EXPECT_EQ(literal(&WordClausifier::bool_ite, {b, no, yes}), (BvLitList{-5}));
  EXPECT_NO_EVENTS();
}

// The connectives are reached through the hook table, the if-then-elses and the atom are not.
TEST_F(BooleansTest, HookTable) {
  auto const& hooks = inspect.hooks();
  EXPECT_EQ(hooks[SymbolTag::bool_not], static_cast<WordClausifier::Handler>(&WordClausifier::bool_not));
  EXPECT_EQ(hooks[SymbolTag::bool_and], static_cast<WordClausifier::Handler>(&WordClausifier::bool_and));
  EXPECT_EQ(hooks[SymbolTag::bool_or], static_cast<WordClausifier::Handler>(&WordClausifier::bool_or));
  EXPECT_EQ(hooks[SymbolTag::bool_iff], static_cast<WordClausifier::Handler>(&WordClausifier::bool_iff));
  for (WordClausifier::Handler const h : hooks) {
    EXPECT_NE(h, static_cast<WordClausifier::Handler>(&WordClausifier::word_atom));
    EXPECT_NE(h, static_cast<WordClausifier::Handler>(&WordClausifier::bool_ite));
    EXPECT_NE(h, static_cast<WordClausifier::Handler>(&WordClausifier::word_ite));
    EXPECT_NE(h, static_cast<WordClausifier::Handler>(&WordClausifier::generic_ite));
  }
}

TEST_F(BooleansTest, TracesOfConnectives) {
  Term_ const* a = bool_var("a");
  Term_ const* b = bool_var("b");
  auto const action = [&](WordClausifier& fresh, RecordingSink& out) {
    fresh.set_bits(a, &out, {2});
    fresh.set_bits(b, &out, {3});
    fresh.bool_not(&out, tm.mk_app(SymbolTag::bool_not, {a}));
    fresh.bool_and(&out, tm.mk_app(SymbolTag::bool_and, {a, b}));
    fresh.bool_or(&out, tm.mk_app(SymbolTag::bool_or, {a, b}));
    fresh.bool_iff(&out, tm.mk_app(SymbolTag::bool_iff, {a, b}));
  };
  EXPECT_TRACE_LEVELS(action, R"x(
    3 "bool not (not a)"
    3 "bool and  (and a b)(and a b)"
    3 "bit_and "
    3 "bool or (or a b)"
    3 "bit_or "
    3 "bit xor "
  )x");
}

// ---- atom ----

TEST_F(BooleansTest, AtomCopiesTheWholeVector) {
  Term_ const* x = bv_var("x", BvLitList{2, -3, T});
  Term_ const* t = raw_term(SymbolTag::none, tm.bool_type, {x}, "atom");
  c.word_atom(&sink, t);
  EXPECT_EQ(bits(t), (BvLitList{2, -3, T}));
  EXPECT_NE(c.lookup(t), c.lookup(x));
  EXPECT_NO_EVENTS();
}

TEST_F(BooleansTest, AtomOutlivesItsChild) {
  Term_ const* x = bv_var("x", BvLitList{2, 3});
  Term_ const* t = raw_term(SymbolTag::none, tm.bool_type, {x}, "atom");
  c.word_atom(&sink, t);
  c.bit_blast(x, &sink);  // one more trail entry of x, after the atom
  EXPECT_EQ(trail(), "x atom x");
  c.retract_upto(x);
  EXPECT_FALSE(c.is_cached(x));
  bv_var("y", BvLitList{8, 9});  // takes x's place in the pool
  EXPECT_EQ(bits(t), (BvLitList{2, 3}));
}

// ---- if-then-else ----

TEST_F(BooleansTest, IteOfBooleans) {
  Term_ const* t = apply(SymbolTag::bool_ite, {2, 3, 4});
  c.bool_ite(&sink, t);
  EXPECT_EVENTS("new 100 \n clauses -2 -3 100 | -2 3 -100 | 2 -4 100 | 2 4 -100");
  EXPECT_EQ(bits(t), (BvLitList{100}));
  Term_ const* folded = apply(SymbolTag::bool_ite, {F, 3, 4});
  c.bool_ite(&sink, folded);
  EXPECT_EQ(bits(folded), (BvLitList{4}));
  EXPECT_NO_EVENTS();
}

TEST_F(BooleansTest, IteOfWordsIsBuiltFromBitZeroUp) {
  Term_ const* condition = bool_var("b", 2);
  Term_ const* x = bv_var("x", BvLitList{3, 4, T});
  Term_ const* y = bv_var("y", BvLitList{5, 6, 7});
  Term_ const* t = tm.mk_app(SymbolTag::term_ite, {condition, x, y});
  Term_ const* through_generic = tm.mk_app(SymbolTag::term_ite, {condition, y, x});
  logger.set_verbosity(5);
  c.word_ite(&sink, t);
  EXPECT_EQ(bits(t), (BvLitList{100, 101, 102}));
  EXPECT_EVENTS(R"x(
    log "wordt ite (ite b x y)(ite b x y)"
    log "bit ite "
    new 100
    clauses -2 -3 100 | -2 3 -100 | 2 -5 100 | 2 5 -100
    log "bit ite "
    new 101
    clauses -2 -4 101 | -2 4 -101 | 2 -6 101 | 2 6 -101
    log "bit ite "
    new 102
    clauses -2 -1 102 | -2 1 -102 | 2 -7 102 | 2 7 -102
  )x");
  c.generic_ite(&sink, through_generic);
  EXPECT_EQ(bits(through_generic), (BvLitList{103, 104, 105}));
  EXPECT_EVENTS(R"x(
    log "generic ite (ite b y x)"
    log "wordt ite (ite b y x)(ite b y x)"
    log "bit ite "
    new 103
    clauses -2 -5 103 | -2 5 -103 | 2 -3 103 | 2 3 -103
    log "bit ite "
    new 104
    clauses -2 -6 104 | -2 6 -104 | 2 -4 104 | 2 4 -104
    log "bit ite "
    new 105
    clauses -2 -7 105 | -2 7 -105 | 2 -1 105 | 2 1 -105
  )x");
  EXPECT_EQ(stray_lists(c), 0);
}

TEST_F(BooleansTest, IteOfWordsUnderAConstantCondition) {
  Term_ const* x = bv_var("x", BvLitList{2, 3});
  Term_ const* y = bv_var("y", BvLitList{4, 5});
  Term_ const* t = tm.mk_app(SymbolTag::term_ite, {bool_var("b", T), x, y});
  c.word_ite(&sink, t);
  EXPECT_EQ(bits(t), (BvLitList{2, 3}));
  t = tm.mk_app(SymbolTag::term_ite, {bool_var("b", F), x, y});
  c.word_ite(&sink, t);
  EXPECT_EQ(bits(t), (BvLitList{4, 5}));
  EXPECT_NO_EVENTS();
}

// The width is that of the term's type, whatever the lengths of the branches; no word type has width 0.
TEST_F(BooleansTest, IteOfWordsTakesTheWidthOfTheTerm) {
  Term_ const* b = bool_var("b", 2);
  Term_ const* x = bv_var("x", BvLitList{3, 4, 5});
  Term_ const* y = bv_var("y", BvLitList{6, 7, 8});
  Term_ const* boolean = raw_term(SymbolTag::term_ite, tm.bool_type, {b, x, y}, "t");
  logger.set_verbosity(5);
  c.word_ite(&sink, boolean);
  EXPECT_EVENTS(R"(log "wordt ite tt")");
  EXPECT_EQ(bits(boolean), BvLitList{});
  logger.set_verbosity(0);
  Term_ const* narrow = raw_term(SymbolTag::term_ite, tm.bv_type(1), {b, x, y}, "t");
  c.word_ite(&sink, narrow);
  EXPECT_EQ(bits(narrow), (BvLitList{100}));
}

TEST_F(BooleansTest, GenericIteOfAnotherSymbolDoesNothing) {
  Term_ const* t = apply(SymbolTag::bool_ite, {2, 3, 4});
  auto const size = inspect.trail().size();
  logger.set_verbosity(5);
  c.generic_ite(&sink, t);
  EXPECT_EVENTS(R"(log "generic ite t")");
  EXPECT_FALSE(c.is_cached(t));
  EXPECT_EQ(inspect.trail().size(), size);
}

TEST_F(BooleansTest, TracesOfIteAndAtom) {
  Term_ const* b = bool_var("b");
  Term_ const* p = bool_var("p");
  Term_ const* q = bool_var("q");
  Term_ const* t = tm.mk_app(SymbolTag::bool_ite, {b, p, q});
  Term_ const* x = bv_var("x", 1);
  Term_ const* words = tm.mk_app(SymbolTag::term_ite, {b, x, x});
  Term_ const* atom = raw_term(SymbolTag::none, tm.bool_type, {b}, "atom");
  auto const action = [&](WordClausifier& fresh, RecordingSink& out) {
    fresh.set_bits(b, &out, {2});
    fresh.set_bits(p, &out, {3});
    fresh.set_bits(q, &out, {4});
    fresh.set_bits(x, &out, {5});
    fresh.word_atom(&out, atom);
    fresh.bool_ite(&out, t);
    fresh.generic_ite(&out, words);
  };
  EXPECT_TRACE_LEVELS(action, R"x(
    3 "word atom atom"
    3 "bool ite (ite b p q)"
    3 "bit ite "
    3 "generic ite (ite b x x)"
    3 "wordt ite (ite b x x)(ite b x x)"
    3 "bit ite "
  )x");
}

// ---- errors and the table ----

// Children are read by an insertion, which grows a table that is loaded enough, found or not.
TEST_F(BooleansTest, ReadingTheChildrenGrowsALoadedTable) {
  Term_ const* b = bool_var("b");
  Term_ const* p = bool_var("p");
  Term_ const* x = bv_var("x", 2);
  Term_ const* y = bv_var("y", 2);
  struct Case {
    WordClausifier::Handler handler;
    Term_ const* term;
  };
  Case const cases[] = {{&WordClausifier::bool_and, tm.mk_app(SymbolTag::bool_and, {b, p})},
                        {&WordClausifier::bool_or, tm.mk_app(SymbolTag::bool_or, {b, p})},
                        {&WordClausifier::bool_iff, tm.mk_app(SymbolTag::bool_iff, {b, p})},
                        {&WordClausifier::bool_ite, tm.mk_app(SymbolTag::bool_ite, {b, p, b})},
                        {&WordClausifier::word_ite, tm.mk_app(SymbolTag::term_ite, {b, x, y})}};
  for (Case const& k : cases) {
    QuietClausifier d(&tm, nullptr);
    bv::WordClausifierInspector const look(d);
    d.set_bits(b, &sink, {2});
    d.set_bits(p, &sink, {3});
    d.set_bits(x, &sink, {4, 5});
    d.set_bits(y, &sink, {6, 7});
    for (int i = 0; i < 18; ++i) d.set_bits(bool_var("z"), &sink, {8});
    ASSERT_EQ(look.bits_cache().bucket_count(), 31u);
    sink.new_lits_left = 0;
    EXPECT_THROW((d.*k.handler)(&sink, k.term), Interrupted) << k.term->to_shallow_str();
    EXPECT_EQ(look.bits_cache().bucket_count(), 73u) << k.term->to_shallow_str();
    EXPECT_EQ(look.bits_cache().size(), 22u);
    EXPECT_FALSE(d.is_cached(k.term));
    EXPECT_EQ(look.trail().size(), 22u);
    EXPECT_EQ(stray_lists(d), 0);
  }
}

TEST_F(BooleansTest, EachHandlerLeavesOneList) {
  Term_ const* a = bool_var("a", 2);
  Term_ const* b = bool_var("b", 3);
  c.bool_not(&sink, tm.mk_app(SymbolTag::bool_not, {a}));
  c.bool_and(&sink, tm.mk_app(SymbolTag::bool_and, {a, b}));
  c.bool_or(&sink, tm.mk_app(SymbolTag::bool_or, {a, b}));
  c.bool_iff(&sink, tm.mk_app(SymbolTag::bool_iff, {a, b}));
  c.bool_ite(&sink, tm.mk_app(SymbolTag::bool_ite, {a, b, a}));
  c.word_atom(&sink, raw_term(SymbolTag::none, tm.bool_type, {a}, "atom"));
  EXPECT_EQ(inspect.bits_cache().size(), 8u);
  EXPECT_EQ(stray_lists(c), 0);
  EXPECT_EQ(trail(), "a b (not a) (and a b) (or a b) (= a b) (ite a b a) atom");
}

}  // namespace
}  // namespace vell::test

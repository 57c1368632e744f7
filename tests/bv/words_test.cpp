// Bitwise and structural operators of words: which literal goes where, in which order, and from which width.

#include <stdexcept>

#include "tests/support/clausifiertest.h"
#include "tests/support/meaning.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::WordClausifier;

constexpr BvLit T = bv::l_true;
constexpr BvLit F = bv::l_false;

class WordsTest : public ClausifierTest {
 protected:
  using Handler = WordClausifier::Handler;
  // Runs a handler that makes no literal and no clause.
  BvLitList structural(Handler handler, Term_ const* t) {
    (c.*handler)(&sink, t);
    EXPECT_NO_EVENTS();
    EXPECT_EQ(stray_lists(c), 0);
    EXPECT_EQ(inspect.trail().back(), t);
    return bits(t);
  }
};

constexpr WordClausifier::Handler word_not = &WordClausifier::word_not;
constexpr WordClausifier::Handler word_and = &WordClausifier::word_and;
constexpr WordClausifier::Handler word_or = &WordClausifier::word_or;
constexpr WordClausifier::Handler word_xor = &WordClausifier::word_xor;
constexpr WordClausifier::Handler word_sel = &WordClausifier::word_sel;
constexpr WordClausifier::Handler word_concat = &WordClausifier::word_concat;
constexpr WordClausifier::Handler word_zext = &WordClausifier::word_zext;
constexpr WordClausifier::Handler word_sext = &WordClausifier::word_sext;

TEST_F(WordsTest, HookTable) {
  auto const& hooks = inspect.hooks();
  EXPECT_EQ(hooks[17], word_not);
  EXPECT_EQ(hooks[18], word_and);
  EXPECT_EQ(hooks[19], word_or);
  EXPECT_EQ(hooks[20], word_xor);
  EXPECT_EQ(hooks[16], word_sel);
  EXPECT_EQ(hooks[15], word_concat);
  EXPECT_EQ(hooks[39], word_zext);
  EXPECT_EQ(hooks[40], word_sext);
}

TEST_F(WordsTest, AnExtensionThatIsNoWordHasTheWidthOfItsOperand) {
  for (WordClausifier::Handler const handler : {word_zext, word_sext}) {
    // Three literals for an operand of type bv5.
    Term_ const* x = with_bits(bv_var("x", std::uint64_t{5}), {2, 3, 4});
    Term_ const* t = raw_term(SymbolTag::bv_zero_extend, tm.bool_type, {x}, "t");
    BvLit const fill = handler == word_zext ? F : 4;
    EXPECT_EQ(structural(handler, t), (BvLitList{2, 3, 4, fill, fill}));
    Term_ const* n = raw_term(SymbolTag::bv_zero_extend, tm.int_type, {bool_var("b", 7)}, "n");
    EXPECT_EQ(structural(handler, n), (BvLitList{7}));  // no word either: width 0
  }
}

// ---- bitwise ----

TEST_F(WordsTest, BitwiseOperatorsGateByGateFromBitZeroUp) {
  Term_ const* x = bv_var("x", BvLitList{2, 3});
  Term_ const* y = bv_var("y", BvLitList{4, 5});
  Term_ const* negated = tm.mk_app(SymbolTag::bv_not, {x});
  Term_ const* both = tm.mk_app(SymbolTag::bv_and, {x, y});
  Term_ const* either = tm.mk_app(SymbolTag::bv_or, {x, y});
  Term_ const* odd = tm.mk_app(SymbolTag::bv_xor, {x, y});
  auto const action = [&](WordClausifier& fresh, RecordingSink& out) {
    fresh.set_bits(x, &out, {2, 3});
    fresh.set_bits(y, &out, {4, 5});
    (fresh.*word_not)(&out, negated);
    (fresh.*word_and)(&out, both);
    (fresh.*word_or)(&out, either);
    (fresh.*word_xor)(&out, odd);
  };
  logger.set_verbosity(3);
  (c.*word_not)(&sink, negated);
  EXPECT_EQ(bits(negated), (BvLitList{-2, -3}));
  EXPECT_EVENTS(R"x(
    log "word_not (bvnot x)"
    log "bit_not "
    log "bit_not "
  )x");
  (c.*word_and)(&sink, both);
  EXPECT_EQ(bits(both), (BvLitList{100, 101}));
  EXPECT_EVENTS(R"x(
    log "word_and B..(bvand x y)"
    log "word_and "
    log "bit_and "
    new 100
    clauses -2 -4 100 | 2 -100 | 4 -100
    log "bit_and "
    new 101
    clauses -3 -5 101 | 3 -101 | 5 -101
  )x");
  (c.*word_or)(&sink, either);
  EXPECT_EQ(bits(either), (BvLitList{102, 103}));
  EXPECT_EVENTS(R"x(
    log "word_or (bvor x y)"
    log "bit_or "
    new 102
    clauses -2 102 | -4 102 | 2 4 -102
    log "bit_or "
    new 103
    clauses -3 103 | -5 103 | 3 5 -103
  )x");
  (c.*word_xor)(&sink, odd);
  EXPECT_EQ(bits(odd), (BvLitList{104, 105}));
  EXPECT_EVENTS(R"x(
    log "word_xor (bvxor x y)"
    log "bit xor "
    new 104
    clauses -2 -4 -104 | 2 4 -104 | -2 4 104 | 2 -4 104
    log "bit xor "
    new 105
    clauses -3 -5 -105 | 3 5 -105 | -3 5 105 | 3 -5 105
  )x");
  EXPECT_EQ(stray_lists(c), 0);
  EXPECT_TRACE_LEVELS(action, R"x(
    3 "word_not (bvnot x)"
    3 "bit_not "
    3 "bit_not "
    3 "word_and B..(bvand x y)"
    3 "word_and "
    3 "bit_and "
    3 "bit_and "
    4 "[ 1, 0 ] & [ 3, 2 ] = [ 99, 98 ]"
    3 "word_or (bvor x y)"
    3 "bit_or "
    3 "bit_or "
    3 "word_xor (bvxor x y)"
    3 "bit xor "
    3 "bit xor "
  )x");
}

TEST_F(WordsTest, NotOfConstantsAndVariables) {
  Term_ const* t = tm.mk_app(SymbolTag::bv_not, {bv_var("x", BvLitList{T, F, 5, -6})});
  EXPECT_EQ(structural(word_not, t), (BvLitList{F, T, -5, 6}));
}

// or, xor and not run over the width of child 0's type, and over as many bits of longer vectors.
TEST_F(WordsTest, BitwiseWidthIsThatOfTheFirstChildsType) {
  Term_ const* x = with_bits(bv_var("x", 2), {T, F, T, F});
  Term_ const* y = with_bits(bv_var("y", 3), {2, 3, 4});
  EXPECT_EQ(structural(word_not, tm.mk_app(SymbolTag::bv_not, {x})), (BvLitList{F, T}));
  EXPECT_EQ(structural(word_or, raw_term(SymbolTag::bv_or, tm.bv_type(3), {x, y})), (BvLitList{T, 3}));
  EXPECT_EQ(structural(word_xor, raw_term(SymbolTag::bv_xor, tm.bv_type(3), {x, y})), (BvLitList{-2, 3}));
}

// and runs over the length of child 0's vector.
TEST_F(WordsTest, WidthOfAndIsTheLengthOfTheFirstChildsVector) {
  Term_ const* x = with_bits(bv_var("x", 2), {T, F, T});
  Term_ const* y = with_bits(bv_var("y", 2), {2, 3, 4, 5});
  EXPECT_EQ(structural(word_and, raw_term(SymbolTag::bv_and, tm.bv_type(2), {x, y})), (BvLitList{2, F, 4}));
}

TEST_F(WordsTest, OnlyTwoChildrenAreRead) {
  Term_ const* x = bv_var("x", BvLitList{2});
  Term_ const* y = bv_var("y", BvLitList{T});
  Term_ const* z = bv_var("z", BvLitList{F});
  EXPECT_EQ(structural(word_and, raw_term(SymbolTag::bv_and, tm.bv_type(1), {x, y, z})), (BvLitList{2}));
  EXPECT_EQ(structural(word_or, raw_term(SymbolTag::bv_or, tm.bv_type(1), {x, z, y})), (BvLitList{2}));
  EXPECT_EQ(structural(word_xor, raw_term(SymbolTag::bv_xor, tm.bv_type(1), {x, z, y})), (BvLitList{2}));
}

TEST_F(WordsTest, BitwiseOperatorsLeaveNothingWhenTheSinkThrows) {
  Term_ const* x = bv_var("x", BvLitList{2, 3, 4});
  Term_ const* y = bv_var("y", BvLitList{5, 6, 7});
  for (int left = 0; left < 3; ++left) {
    struct Case {
      SymbolTag::tag tag;
      Handler handler;
    };
    for (Case const& k : {Case{SymbolTag::bv_and, word_and}, Case{SymbolTag::bv_or, word_or},
                          Case{SymbolTag::bv_xor, word_xor}}) {
      Term_ const* t = tm.mk_app(k.tag, {x, y});
      sink.new_lits_left = left;
      EXPECT_THROW((c.*k.handler)(&sink, t), Interrupted);
      EXPECT_FALSE(c.is_cached(t));
      EXPECT_EQ(trail(), "x y");
      EXPECT_EQ(stray_lists(c), 0);
    }
  }
}

// ---- extraction ----

TEST_F(WordsTest, Extraction) {
  Term_ const* x = bv_var("x", BvLitList{10, 11, 12, 13, T});
  EXPECT_EQ(structural(word_sel, tm.mk_app(SymbolTag::bv_extract, {x}, 3, 1)), (BvLitList{11, 12, 13}));
  EXPECT_EQ(structural(word_sel, tm.mk_app(SymbolTag::bv_extract, {x}, 2, 2)), (BvLitList{12}));
  EXPECT_EQ(structural(word_sel, tm.mk_app(SymbolTag::bv_extract, {x}, 4, 0)), bits(x));
  EXPECT_EQ(structural(word_sel, tm.mk_app(SymbolTag::bv_extract, {x}, 4, 4)), (BvLitList{T}));
  EXPECT_EQ(structural(word_sel, tm.mk_app(SymbolTag::bv_extract, {x}, 0, 0)), (BvLitList{10}));
}

// A handler may be registered for other tags: a symbol that names no positions selects bit 0.
TEST_F(WordsTest, ExtractionWithoutPositions) {
  Term_ const* x = bv_var("x", BvLitList{10, 11, 12});
  EXPECT_EQ(structural(word_sel, raw_term(SymbolTag::bv_not, tm.bv_type(3), {x})), (BvLitList{10}));
}

// ---- concatenation ----

TEST_F(WordsTest, ConcatenationPutsTheFirstArgumentOnTop) {
  Term_ const* high = bv_var("h", BvLitList{11, 12, 13});
  Term_ const* low = bv_var("l", BvLitList{14, 15});
  EXPECT_EQ(structural(word_concat, tm.mk_app(SymbolTag::bv_concat, {high, low})),
            (BvLitList{14, 15, 11, 12, 13}));
  EXPECT_EQ(structural(word_concat, tm.mk_app(SymbolTag::bv_concat, {low, high})),
            (BvLitList{11, 12, 13, 14, 15}));
  EXPECT_EQ(structural(word_concat, tm.mk_app(SymbolTag::bv_concat, {low, low})),
            (BvLitList{14, 15, 14, 15}));
}

// The result is as long as the children's types say, filled from what is cached; the term's own width is not
// used.
TEST_F(WordsTest, ConcatenationTakesTheWidthsOfTheChildrensTypes) {
  Term_ const* high = with_bits(bv_var("h", 2), {11});
  Term_ const* low = with_bits(bv_var("l", 3), {14, 15});
  EXPECT_EQ(structural(word_concat, raw_term(SymbolTag::bv_concat, tm.bv_type(9), {high, low})),
            (BvLitList{14, 15, 11, 0, 0}));
}

// ---- extensions ----

TEST_F(WordsTest, Extensions) {
  Term_ const* x = bv_var("x", BvLitList{10, 11, 12, -13});
  EXPECT_EQ(structural(word_zext, tm.mk_app(SymbolTag::bv_zero_extend, {x}, 4)),
            (BvLitList{10, 11, 12, -13, F, F, F, F}));
  EXPECT_EQ(structural(word_sext, tm.mk_app(SymbolTag::bv_sign_extend, {x}, 4)),
            (BvLitList{10, 11, 12, -13, -13, -13, -13, -13}));
  EXPECT_EQ(bits(x), (BvLitList{10, 11, 12, -13}));
}

TEST_F(WordsTest, ExtensionsByNothing) {
  Term_ const* x = bv_var("x", BvLitList{10, 11});
  for (SymbolTag::tag const tag : {SymbolTag::bv_zero_extend, SymbolTag::bv_sign_extend}) {
    Term_ const* t = tm.mk_app(tag, {x}, 0);
    EXPECT_EQ(structural(tag == SymbolTag::bv_zero_extend ? word_zext : word_sext, t), (BvLitList{10, 11}));
    EXPECT_NE(c.lookup(t), c.lookup(x));
  }
}

// The width comes from the term's type; the amount that the symbol carries is not read. A child that is long
// enough is copied as it is.
// Without a top bit there is nothing to repeat: the literals are undefined.
TEST_F(WordsTest, SignExtensionOfAnEmptyWord) {
  Term_ const* x = with_bits(bv_var("x", 1), {});
  EXPECT_EQ(structural(word_sext, raw_term(SymbolTag::bv_sign_extend, tm.bv_type(2), {x})),
            (BvLitList{0, 0}));
}

TEST_F(WordsTest, ExtensionsReachTheWidthOfTheTerm) {
  Term_ const* x = with_bits(bv_var("x", 3), {10, 11});
  EXPECT_EQ(structural(word_zext, raw_term(SymbolTag::bv_zero_extend, tm.bv_type(4), {x})),
            (BvLitList{10, 11, F, F}));
  EXPECT_EQ(structural(word_sext, raw_term(SymbolTag::bv_sign_extend, tm.bv_type(4), {x})),
            (BvLitList{10, 11, 11, 11}));
  EXPECT_EQ(structural(word_zext, raw_term(SymbolTag::bv_zero_extend, tm.bv_type(1), {x})),
            (BvLitList{10, 11}));
  EXPECT_EQ(structural(word_sext, raw_term(SymbolTag::bv_sign_extend, tm.bv_type(1), {x})),
            (BvLitList{10, 11}));
}

TEST_F(WordsTest, ExtensionTooWideForAVector) {
  Term_ const* x = bv_var("x", BvLitList{10, 11});
  for (Handler const handler : {word_zext, word_sext}) {
    Term_ const* t = raw_term(SymbolTag::bv_zero_extend, tm.bv_type(1ull << 62), {x});
    try {
      (c.*handler)(&sink, t);
      ADD_FAILURE() << "nothing thrown";
    } catch (std::length_error const& e) {
      EXPECT_STREQ(e.what(), "vector::reserve");
    }
    EXPECT_FALSE(c.is_cached(t));
    EXPECT_EQ(stray_lists(c), 0);
  }
  EXPECT_EQ(trail(), "x");
}

TEST_F(WordsTest, ConcatenationTooWideForAVector) {
  Term_ const* x = with_bits(bv_var("x", 1ull << 62), {10, 11});
  Term_ const* concat = raw_term(SymbolTag::bv_concat, tm.bv_type(2), {x, x});
  EXPECT_THROW((c.*word_concat)(&sink, concat), std::length_error);
  EXPECT_EQ(trail(), "x");
  EXPECT_EQ(stray_lists(c), 0);
}

// ---- traces ----

TEST_F(WordsTest, TracesOfStructuralOperators) {
  Term_ const* x = bv_var("x", 2);
  Term_ const* sel = tm.mk_app(SymbolTag::bv_extract, {x}, 1, 0);
  Term_ const* concat = tm.mk_app(SymbolTag::bv_concat, {x, x});
  Term_ const* zext = tm.mk_app(SymbolTag::bv_zero_extend, {x}, 1);
  Term_ const* sext = tm.mk_app(SymbolTag::bv_sign_extend, {x}, 1);
  auto const action = [&](WordClausifier& fresh, RecordingSink& out) {
    fresh.set_bits(x, &out, {2, 3});
    fresh.word_sel(&out, sel);
    fresh.word_concat(&out, concat);
    fresh.word_zext(&out, zext);
    fresh.word_sext(&out, sext);
  };
  EXPECT_TRACE_LEVELS(action, "3 \"word_sel " + sel->to_shallow_str() + "\"\n3 \"word_concat " +
                                  concat->to_shallow_str() + "\"\n3 \"word_zext " + zext->to_shallow_str() +
                                  "\"\n3 \"word_sext " + sext->to_shallow_str() + "\"");
}

// ---- the table ----

// The children are read by an insertion, which grows a table that is loaded enough, found or not. Where no
// gate can fail, the result's length does.
TEST_F(WordsTest, ReadingTheChildrenGrowsALoadedTable) {
  Term_ const* x = bv_var("x", 1ull << 62);
  Term_ const* y = bv_var("y", 1ull << 62);
  Type const* huge = tm.bv_type(1ull << 62);
  struct Case {
    Handler handler;
    Term_ const* term;
  };
  Case const cases[] = {{word_not, raw_term(SymbolTag::bv_not, huge, {x}, "not")},
                        {word_or, raw_term(SymbolTag::bv_or, huge, {x, y}, "or")},
                        {word_xor, raw_term(SymbolTag::bv_xor, huge, {x, y}, "xor")},
                        {word_concat, raw_term(SymbolTag::bv_concat, huge, {x, y}, "concat")},
                        {word_zext, raw_term(SymbolTag::bv_zero_extend, huge, {x}, "zext")},
                        {word_sext, raw_term(SymbolTag::bv_sign_extend, huge, {x}, "sext")}};
  for (Case const& k : cases) {
    QuietClausifier d(&tm, nullptr);
    bv::WordClausifierInspector const look(d);
    d.set_bits(x, &sink, {2, 3});
    d.set_bits(y, &sink, {4, 5});
    for (int i = 0; i < 20; ++i) d.set_bits(bool_var("z"), &sink, {8});
    ASSERT_EQ(look.bits_cache().bucket_count(), 31u);
    EXPECT_THROW((d.*k.handler)(&sink, k.term), std::length_error) << k.term->to_shallow_str();
    EXPECT_EQ(look.bits_cache().bucket_count(), 73u) << k.term->to_shallow_str();
    EXPECT_EQ(look.bits_cache().size(), 22u);
    EXPECT_EQ(look.trail().size(), 22u);
    EXPECT_EQ(stray_lists(d), 0);
  }
  QuietClausifier d(&tm, nullptr);
  bv::WordClausifierInspector const look(d);
  d.set_bits(x, &sink, {2, 3});
  d.set_bits(y, &sink, {4, 5});
  for (int i = 0; i < 20; ++i) d.set_bits(bool_var("z"), &sink, {8});
  sink.new_lits_left = 0;
  EXPECT_THROW((d.*word_and)(&sink, raw_term(SymbolTag::bv_and, huge, {x, y}, "and")), Interrupted);
  EXPECT_EQ(look.bits_cache().bucket_count(), 73u);
}

}  // namespace
}  // namespace vell::test

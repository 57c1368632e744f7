// Barrel shifters stage by stage; shifts by numerals and rotations literal by literal.

#include "tests/support/clausifiertest.h"
#include "tests/support/meaning.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::WordClausifier;

constexpr BvLit T = bv::l_true;
constexpr BvLit F = bv::l_false;

class ShiftsTest : public ClausifierTest {
 protected:
  // A shift term over a value with the given bits and an amount that is a variable or a numeral.
  Term_ const* shift(SymbolTag::tag tag, BvLitList const& x, Term_ const* amount) {
    return tm.mk_app(tag, {bv_var("x", x), amount});
  }
  Term_ const* numeral(std::uint64_t value, std::uint64_t width, bool big = false) {
    return tm.mk_number(QNumber::from_digits(std::to_string(value), 10, big), tm.bv_type(width));
  }
  BvLitList rotated(SymbolTag::tag tag, BvLitList const& x, std::uint64_t amount) {
    Term_ const* t = tm.mk_app(tag, {bv_var("x", x)}, amount);
    if (tag == SymbolTag::bv_rotate_left) {
      c.word_rol(&sink, t);
    } else {
      c.word_ror(&sink, t);
    }
    EXPECT_NO_EVENTS();
    return bits(t);
  }
  // The result of the handler of a shift by a numeral in both forms.
  BvLitList by_numeral(SymbolTag::tag tag, BvLitList const& x, std::uint64_t amount) {
    BvLitList results[2];
    for (bool const big : {false, true}) {
      Term_ const* k = numeral(amount, x.size(), big);
      Term_ const* t = shift(tag, x, k);
      switch (tag) {
        case SymbolTag::bv_shl: c.word_lsl(&sink, t); break;
        case SymbolTag::bv_lshr: c.word_lsr(&sink, t); break;
        default: c.word_asr(&sink, t); break;
      }
      EXPECT_NO_EVENTS();
      EXPECT_EQ(c.lookup(k), nullptr);
      results[big ? 1 : 0] = bits(t);
    }
    EXPECT_EQ(results[0], results[1]);
    return results[0];
  }
};

// ---- circuits ----

TEST_F(ShiftsTest, OneStageOfWidthTwoByHand) {
  BvLitList x = {2, 3};
  BvLitList s = {4, 5};
  EXPECT_EQ(take(c.word_sr(&sink, &x, &s, false)), (BvLitList{102, 103}));
  EXPECT_EVENTS(R"(
    new 100
    clauses -4 -3 100 | -4 3 -100 | 4 -2 100 | 4 2 -100
    new 101
    clauses -4 1 101 | -4 -1 -101 | 4 -3 101 | 4 3 -101
    new 102
    clauses -5 1 102 | -5 -1 -102 | 5 -100 102 | 5 100 -102
    new 103
    clauses -5 1 103 | -5 -1 -103 | 5 -101 103 | 5 101 -103
  )");
  EXPECT_EQ(take(c.word_sl(&sink, &x, &s)), (BvLitList{107, 106}));
  EXPECT_EVENTS(R"(
    new 104
    clauses -4 -2 104 | -4 2 -104 | 4 -3 104 | 4 3 -104
    new 105
    clauses -4 1 105 | -4 -1 -105 | 4 -2 105 | 4 2 -105
    new 106
    clauses -5 1 106 | -5 -1 -106 | 5 -104 106 | 5 104 -106
    new 107
    clauses -5 1 107 | -5 -1 -107 | 5 -105 107 | 5 105 -107
  )");
}

// A stage whose weight reaches the width replaces the word, and so does every stage from 31 on, where the
// weight is negative in 32 bits or wraps to 1.
TEST_F(ShiftsTest, EveryAmountBitHasItsOwnStage) {
  for (std::size_t const n : {1u, 2u, 3u, 8u, 31u, 32u, 33u, 34u, 64u, 65u}) {
    BvLitList x;
    for (std::size_t i = 0; i < n; ++i) x.push_back(static_cast<BvLit>(2 + i));
    for (std::size_t k = 0; k < n; ++k) {
      BvLitList s(n, F);
      s[k] = T;
      std::size_t const d = k < 31 && (std::size_t{1} << k) < n ? std::size_t{1} << k : n;
      BvLitList right;
      BvLitList arithmetic;
      BvLitList left;
      for (std::size_t i = 0; i < n; ++i) {
        right.push_back(i + d < n ? x[i + d] : F);
        arithmetic.push_back(i + d < n ? x[i + d] : x.back());
        left.push_back(i >= d ? x[i - d] : F);
      }
      EXPECT_EQ(take(c.word_sr(&sink, &x, &s, false)), right) << n << ", bit " << k;
      EXPECT_EQ(take(c.word_sr(&sink, &x, &s, true)), arithmetic) << n << ", bit " << k;
      EXPECT_EQ(take(c.word_sl(&sink, &x, &s)), left) << n << ", bit " << k;
      EXPECT_NO_EVENTS();
    }
  }
}

TEST_F(ShiftsTest, EmptyWordsCallNoGate) {
  logger.set_verbosity(5);
  BvLitList x;
  BvLitList s;
  EXPECT_EQ(take(c.word_sr(&sink, &x, &s, false)), BvLitList{});
  EXPECT_EQ(take(c.word_sr(&sink, &x, &s, true)), BvLitList{});
  EXPECT_EQ(take(c.word_sl(&sink, &x, &s)), BvLitList{});
  EXPECT_NO_EVENTS();
}

TEST_F(ShiftsTest, CircuitsReleaseTheirListWhenTheSinkThrows) {
  BvLitList x = {2, 3, 4};
  BvLitList s = {5, 6, 7};
  // Nine gates each; an arithmetic shift folds one per stage, where the fill replaces itself.
  for (int left = 0; left < 9; ++left) {
    sink.new_lits_left = left;
    EXPECT_THROW(c.word_sr(&sink, &x, &s, false), Interrupted);
    sink.new_lits_left = left;
    EXPECT_THROW(c.word_sl(&sink, &x, &s), Interrupted);
    sink.new_lits_left = left * 2 / 3;
    EXPECT_THROW(c.word_sr(&sink, &x, &s, true), Interrupted);
    EXPECT_EQ(stray_lists(c), 0);
  }
}

// ---- handlers, variable amount ----

TEST_F(ShiftsTest, HandlersRunTheCircuitOfTheirChildren) {
  Term_ const* x = bv_var("x", BvLitList{2, 3});
  Term_ const* s = bv_var("s", BvLitList{4, F});
  Term_ const* left = tm.mk_app(SymbolTag::bv_shl, {x, s});
  Term_ const* right = tm.mk_app(SymbolTag::bv_lshr, {x, s});
  Term_ const* arithmetic = tm.mk_app(SymbolTag::bv_ashr, {x, s});
  auto const action = [&](WordClausifier& fresh, RecordingSink& out) {
    fresh.set_bits(x, &out, {2, 3});
    fresh.set_bits(s, &out, {4, F});
    fresh.word_lsl(&out, left);
    fresh.word_lsr(&out, right);
    fresh.word_asr(&out, arithmetic);
  };
  logger.set_verbosity(5);
  c.word_lsl(&sink, left);
  EXPECT_EQ(bits(left), (BvLitList{101, 100}));
  EXPECT_EVENTS(R"x(
    log "word_lsl(bvshl x s)"
    log "bit ite "
    new 100
    clauses -4 -2 100 | -4 2 -100 | 4 -3 100 | 4 3 -100
    log "bit ite "
    new 101
    clauses -4 1 101 | -4 -1 -101 | 4 -2 101 | 4 2 -101
    log "bit ite "
    log "bit ite "
  )x");
  c.word_lsr(&sink, right);
  EXPECT_EQ(bits(right), (BvLitList{102, 103}));
  EXPECT_EVENTS(R"x(
    log "word_lsr..(bvlshr x s)"
    log "word_sr (bvlshr x s)"
    log "bit ite "
    new 102
    clauses -4 -3 102 | -4 3 -102 | 4 -2 102 | 4 2 -102
    log "bit ite "
    new 103
    clauses -4 1 103 | -4 -1 -103 | 4 -3 103 | 4 3 -103
    log "bit ite "
    log "bit ite "
  )x");
  c.word_asr(&sink, arithmetic);
  EXPECT_EQ(bits(arithmetic), (BvLitList{104, 3}));
  EXPECT_EVENTS(R"x(
    log "word_asr (bvashr x s)"
    log "word_sr (bvashr x s)"
    log "bit ite "
    new 104
    clauses -4 -3 104 | -4 3 -104 | 4 -2 104 | 4 2 -104
    log "bit ite "
    log "bit ite "
    log "bit ite "
  )x");
  EXPECT_EQ(stray_lists(c), 0);
  EXPECT_EQ(trail(), "x s (bvshl x s) (bvlshr x s) (bvashr x s)");
  EXPECT_TRACE_LEVELS(action, R"x(
    3 "word_lsl(bvshl x s)"
    3 "bit ite "
    3 "bit ite "
    3 "bit ite "
    3 "bit ite "
    3 "word_lsr..(bvlshr x s)"
    3 "word_sr (bvlshr x s)"
    3 "bit ite "
    3 "bit ite "
    3 "bit ite "
    3 "bit ite "
    3 "word_asr (bvashr x s)"
    3 "word_sr (bvashr x s)"
    3 "bit ite "
    3 "bit ite "
    3 "bit ite "
    3 "bit ite "
  )x");
}

TEST_F(ShiftsTest, TheRightShiftOfATermIsNotCached) {
  Term_ const* x = bv_var("x", BvLitList{2, 3});
  Term_ const* t = tm.mk_app(SymbolTag::bv_ashr, {x, numeral(1, 2)});
  EXPECT_EQ(take(c.word_sr(&sink, t, true)), (BvLitList{3, 3}));
  EXPECT_EQ(take(c.word_sr(&sink, t, false)), (BvLitList{3, F}));
  EXPECT_EQ(c.lookup(t), nullptr);
  EXPECT_EQ(trail(), "x");
}

// The children are read by an insertion, which grows a table that is loaded enough, found or not.
TEST_F(ShiftsTest, ReadingTheChildrenGrowsALoadedTable) {
  for (SymbolTag::tag const tag : {SymbolTag::bv_shl, SymbolTag::bv_lshr, SymbolTag::bv_ashr}) {
    QuietClausifier k(&tm, nullptr);
    bv::WordClausifierInspector const look(k);
    Term_ const* x = bv_var("x", 2);
    Term_ const* s = bv_var("s", 2);
    k.set_bits(x, &sink, {2, 3});
    k.set_bits(s, &sink, {4, 5});
    for (int i = 0; i < 20; ++i) k.set_bits(bv_var("y", 1), &sink, {6});
    ASSERT_EQ(look.bits_cache().bucket_count(), 31u);
    Term_ const* t = tm.mk_app(tag, {x, s});
    sink.new_lits_left = 0;
    EXPECT_THROW(tag == SymbolTag::bv_shl    ? k.word_lsl(&sink, t)
                 : tag == SymbolTag::bv_lshr ? k.word_lsr(&sink, t)
                                             : k.word_asr(&sink, t),
                 Interrupted);
    EXPECT_EQ(look.bits_cache().bucket_count(), 73u);
    EXPECT_EQ(look.bits_cache().size(), 22u);
    EXPECT_FALSE(k.is_cached(t));
    EXPECT_EQ(stray_lists(k), 0);
  }
}

// ---- handlers, numerals ----

TEST_F(ShiftsTest, ByTheNumeralThree) {
  BvLitList const x = {10, 11, 12, 13, 14, 15, 16, 17};
  EXPECT_EQ(by_numeral(SymbolTag::bv_lshr, x, 3), (BvLitList{13, 14, 15, 16, 17, F, F, F}));
  EXPECT_EQ(by_numeral(SymbolTag::bv_ashr, x, 3), (BvLitList{13, 14, 15, 16, 17, 17, 17, 17}));
  EXPECT_EQ(by_numeral(SymbolTag::bv_shl, x, 3), (BvLitList{F, F, F, 10, 11, 12, 13, 14}));
}

TEST_F(ShiftsTest, ByTheNumeralZero) {
  BvLitList const x = {10, 11, 12};
  for (SymbolTag::tag const tag : {SymbolTag::bv_shl, SymbolTag::bv_lshr, SymbolTag::bv_ashr})
    EXPECT_EQ(by_numeral(tag, x, 0), x);
}

TEST_F(ShiftsTest, ByNumeralsAtAndAboveTheWidth) {
  BvLitList const x = {10, 11, 12, 13};
  EXPECT_EQ(by_numeral(SymbolTag::bv_ashr, x, 3), BvLitList(4, 13));
  for (std::uint64_t const amount : {4u, 5u, 15u}) {
    EXPECT_EQ(by_numeral(SymbolTag::bv_shl, x, amount), BvLitList(4, F)) << amount;
    EXPECT_EQ(by_numeral(SymbolTag::bv_lshr, x, amount), BvLitList(4, F)) << amount;
    EXPECT_EQ(by_numeral(SymbolTag::bv_ashr, x, amount), BvLitList(4, 13)) << amount;
  }
  EXPECT_EQ(by_numeral(SymbolTag::bv_shl, x, 3), (BvLitList{F, F, F, 10}));
}

TEST_F(ShiftsTest, ByANumeralThatNoMachineWordHolds) {
  BvLitList x;
  for (BvLit i = 0; i < 70; ++i) x.push_back(10 + i);
  Term_ const* k = tm.mk_number(QNumber::from_digits("20000000000000003", 16), tm.bv_type(70));
  Term_ const* t = shift(SymbolTag::bv_lshr, x, k);
  c.word_lsr(&sink, t);
  EXPECT_EQ(bits(t), BvLitList(70, F));
  t = shift(SymbolTag::bv_ashr, x, k);
  c.word_asr(&sink, t);
  EXPECT_EQ(bits(t), BvLitList(70, 79));
  t = shift(SymbolTag::bv_shl, x, k);
  c.word_lsl(&sink, t);
  EXPECT_EQ(bits(t), BvLitList(70, F));
  EXPECT_NO_EVENTS();
}

// The result is as long as the value's bits, the shift as wide as the term: what lies above stays undefined.
TEST_F(ShiftsTest, ByANumeralWhereTheBitsAreLongerThanTheTerm) {
  Term_ const* x = with_bits(bv_var("x", 3), {10, 11, 12, 13, 14});
  Term_ const* t = tm.mk_app(SymbolTag::bv_ashr, {x, numeral(1, 3)});
  c.word_asr(&sink, t);
  EXPECT_EQ(bits(t), (BvLitList{11, 12, 14, 0, 0}));
  t = tm.mk_app(SymbolTag::bv_ashr, {x, numeral(3, 3)});
  c.word_asr(&sink, t);
  EXPECT_EQ(bits(t), (BvLitList{14, 14, 14, 0, 0}));
  t = tm.mk_app(SymbolTag::bv_shl, {x, numeral(1, 3)});
  c.word_lsl(&sink, t);
  EXPECT_EQ(bits(t), (BvLitList{F, 10, 11, 0, 0}));
  t = tm.mk_app(SymbolTag::bv_shl, {x, numeral(4, 3)});
  c.word_lsl(&sink, t);
  EXPECT_EQ(bits(t), (BvLitList{F, F, F, 0, 0}));
}

TEST_F(ShiftsTest, TracesOfShiftsByNumerals) {
  Term_ const* x = bv_var("x", 2);
  Term_ const* k = numeral(1, 2);
  auto action = [&](SymbolTag::tag tag) {
    return [this, x, k, tag](WordClausifier& fresh, RecordingSink& out) {
      fresh.set_bits(x, &out, {2, 3});
      Term_ const* t = tm.mk_app(tag, {x, k});
      if (tag == SymbolTag::bv_shl) fresh.word_lsl(&out, t);
      if (tag == SymbolTag::bv_lshr) fresh.word_lsr(&out, t);
      if (tag == SymbolTag::bv_ashr) fresh.word_asr(&out, t);
    };
  };
  std::string const operands = " x " + k->to_shallow_str() + ")\"\n";
  EXPECT_TRACE_LEVELS(action(SymbolTag::bv_shl), "3 \"word_lsl(bvshl" + operands);
  EXPECT_TRACE_LEVELS(action(SymbolTag::bv_lshr),
                      "3 \"word_lsr..(bvlshr" + operands + "3 \"word_sr (bvlshr" + operands);
  EXPECT_TRACE_LEVELS(action(SymbolTag::bv_ashr),
                      "3 \"word_asr (bvashr" + operands + "3 \"word_sr (bvashr" + operands);
}

// ---- rotations ----

TEST_F(ShiftsTest, RotationsByThree) {
  BvLitList const x = {10, 11, 12, 13, 14, 15, 16, 17};
  EXPECT_EQ(rotated(SymbolTag::bv_rotate_left, x, 3), (BvLitList{15, 16, 17, 10, 11, 12, 13, 14}));
  EXPECT_EQ(rotated(SymbolTag::bv_rotate_right, x, 3), (BvLitList{13, 14, 15, 16, 17, 10, 11, 12}));
}

TEST_F(ShiftsTest, RotationsByNothingAndByTheWidth) {
  BvLitList const x = {10, 11, 12};
  for (std::uint64_t const amount : {0u, 3u}) {
    EXPECT_EQ(rotated(SymbolTag::bv_rotate_left, x, amount), x);
    EXPECT_EQ(rotated(SymbolTag::bv_rotate_right, x, amount), x);
  }
  EXPECT_EQ(rotated(SymbolTag::bv_rotate_left, x, 1), (BvLitList{12, 10, 11}));
  EXPECT_EQ(rotated(SymbolTag::bv_rotate_right, x, 1), (BvLitList{11, 12, 10}));
}

// A handler may be registered for other tags: a symbol that names no amount rotates by nothing.
TEST_F(ShiftsTest, RotationsWithoutAnAmount) {
  Term_ const* x = bv_var("x", BvLitList{10, 11, 12});
  Term_ const* left = raw_term(SymbolTag::bv_not, tm.bv_type(3), {x}, "left");
  c.word_rol(&sink, left);
  EXPECT_EQ(bits(left), bits(x));
  Term_ const* right = raw_term(SymbolTag::bv_not, tm.bv_type(3), {x}, "right");
  c.word_ror(&sink, right);
  EXPECT_EQ(bits(right), bits(x));
}

TEST_F(ShiftsTest, RotationsShareLiteralsAndNotTheList) {
  Term_ const* x = bv_var("x", BvLitList{10, 11});
  Term_ const* t = tm.mk_app(SymbolTag::bv_rotate_left, {x}, 2);
  c.word_rol(&sink, t);
  EXPECT_NE(c.lookup(t), c.lookup(x));
  EXPECT_EQ(bits(x), (BvLitList{10, 11}));
  EXPECT_EQ(trail(), "x " + t->to_shallow_str());
}

TEST_F(ShiftsTest, TracesOfRotations) {
  Term_ const* x = bv_var("x", 2);
  Term_ const* left = tm.mk_app(SymbolTag::bv_rotate_left, {x}, 1);
  Term_ const* right = tm.mk_app(SymbolTag::bv_rotate_right, {x}, 1);
  auto const action = [&](WordClausifier& fresh, RecordingSink& out) {
    fresh.set_bits(x, &out, {2, 3});
    fresh.word_rol(&out, left);
    fresh.word_ror(&out, right);
  };
  EXPECT_TRACE_LEVELS(action, "3 \"word_rol..:" + left->to_shallow_str() + "\"\n3 \"word_ror " +
                                  right->to_shallow_str() + "\"");
}

}  // namespace
}  // namespace vell::test

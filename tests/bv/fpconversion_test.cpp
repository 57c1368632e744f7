// Conversion of floating-point values: every step of the circuit in its order, under every mode and under a
// variable, and the three handlers. What the circuit computes is in meaning_conversion_test.cpp.

#include <numeric>

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

constexpr int variable_mode = -1;

struct Format {
  unsigned e;
  unsigned s;
};

class FpConversionTest : public ClausifierTest {
 protected:
  enum class Kind { circuit, to_sbv, to_ubv };

  Term_ const* mode_term(int mode) {
    return mode == variable_mode ? tm.mk_variable("m", tm.rounding_mode_type) : rounding_mode_term(tm, mode);
  }

  // Compares one conversion with the second description. A mode that is a constant has no bits: they are not
  // read.
  bool same_conversion(Kind kind, Format f, BvLitList const& value, int mode, BvLitList const& mode_bits,
                       unsigned width) {
    Term_ const* x = tm.mk_variable("x", tm.fp_type(f.e, f.s));
    Term_ const* m = mode_term(mode);
    SymbolTag::tag const tag = kind == Kind::to_ubv ? SymbolTag::fp_to_ubv : SymbolTag::fp_to_sbv;
    Term_ const* t = stream_term(tm, tag, tm.bv_type(width), {m, x}, "t");
    StreamCase test;
    test.compare_pool = false;  // the circuit's own order of giving back is free
    test.prepare = [&](WordClausifier& k) {
      k.set_bits(x, nullptr, value);
      if (mode == variable_mode) k.set_bits(m, nullptr, mode_bits);
    };
    test.act = [&](WordClausifier& k, bv::ClauseSink* out) {
      BvLitList result;
      if (kind == Kind::circuit) {
        result = vell::test::take(k, k.fp_to_bv(out, t, width));
        EXPECT_FALSE(k.is_cached(t));
      } else {
        if (kind == Kind::to_sbv) k.fp_to_sbv(out, t);
        if (kind == Kind::to_ubv) k.fp_to_ubv(out, t);
        result = *k.lookup(t);
        EXPECT_EQ(bv::WordClausifierInspector(k).trail().back(), t);
      }
      EXPECT_EQ(result.size(), width);
      EXPECT_EQ(*k.lookup(x), value);
      return std::vector<BvLitList>{result};
    };
    test.model = [&](CircuitModel& model) {
      BvLitList result =
          model.fp_to_bv(f.e, f.s, value, mode, mode_bits, kind == Kind::to_ubv ? width + 1 : width);
      if (kind == Kind::to_ubv) result.pop_back();
      return std::vector<BvLitList>{result};
    };
    return expect_same_stream(tm, test,
                              "(" + std::to_string(f.e) + "," + std::to_string(f.s) + ") mode " +
                                  std::to_string(mode) + " width " + std::to_string(width));
  }

  static BvLitList variables(std::size_t n, BvLit first = 1000) {
    BvLitList bits(n);
    std::iota(bits.begin(), bits.end(), first);
    return bits;
  }
};

// ---- the circuit ----

TEST_F(FpConversionTest, EveryStepUnderEveryModeAndWidth) {
  for (Format const f : {Format{2, 3}, Format{3, 3}, Format{3, 4}, Format{4, 3}, Format{5, 2}})
    for (int mode = variable_mode; mode < 4; ++mode)
      for (unsigned const width : {0u, 1u, 2u, 4u, 5u, 8u})
        ASSERT_TRUE(same_conversion(Kind::circuit, f, variables(f.e + f.s + 1), mode, {20, 21}, width));
}

// Where s needs more bits than the exponent has, the exponent is lengthened after the comparison with zero.
TEST_F(FpConversionTest, LongConstantVectors) {
  for (Format const f : {Format{1, 1}, Format{1, 2}, Format{2, 4}, Format{2, 5}, Format{2, 9}, Format{3, 8},
                         Format{1, 0}, Format{3, 0}})
    for (int mode = variable_mode; mode < 4; ++mode)
      for (unsigned width : {0u, 1u, 3u, 6u, 11u})
        ASSERT_TRUE(same_conversion(Kind::circuit, f, variables(f.e + f.s + 1), mode, {20, 21}, width));
}

TEST_F(FpConversionTest, WithConstantAndEqualBits) {
  std::mt19937 random(11);
  for (int round = 0; round < 150; ++round) {
    Format const f{2 + static_cast<unsigned>(random() % 3), 1 + static_cast<unsigned>(random() % 5)};
    int const mode = static_cast<int>(random() % 5) - 1;
    unsigned const width = static_cast<unsigned>(random() % 8);
    BvLitList const value = random_word(random, f.e + f.s + 1, round % 4 * 0.25);
    ASSERT_TRUE(
        same_conversion(Kind::circuit, f, value, mode, random_word(random, 2, round % 3 * 0.5), width));
  }
}

TEST_F(FpConversionTest, HalfAndSingle) {
  ASSERT_TRUE(same_conversion(Kind::to_sbv, {5, 10}, variables(16), variable_mode, {20, 21}, 16));
  ASSERT_TRUE(same_conversion(Kind::to_ubv, {5, 10}, variables(16), 0, {}, 8));
  ASSERT_TRUE(same_conversion(Kind::to_sbv, {8, 23}, variables(32), 0, {}, 8));
  ASSERT_TRUE(same_conversion(Kind::to_sbv, {8, 23}, variables(32), 2, {}, 32));
}

// ---- handlers ----

TEST_F(FpConversionTest, HookTable) {
  auto const& hooks = inspect.hooks();
  EXPECT_EQ(hooks[60], static_cast<WordClausifier::Handler>(&WordClausifier::fp_to_sbv));
  EXPECT_EQ(hooks[61], static_cast<WordClausifier::Handler>(&WordClausifier::fp_to_ubv));
  EXPECT_EQ(hooks[62], static_cast<WordClausifier::Handler>(&WordClausifier::fp_as_ieeebv));
}

// The unsigned conversion is the signed one of one bit more without its top bit; neither handler has a trace
// of its own, so the streams are those of the circuit.
TEST_F(FpConversionTest, HandlersRunTheCircuit) {
  for (Format const f : {Format{2, 3}, Format{3, 3}, Format{4, 3}})
    for (int mode = variable_mode; mode < 4; ++mode)
      for (unsigned const width : {0u, 1u, 4u, 7u, 8u})
        for (Kind const kind : {Kind::to_sbv, Kind::to_ubv})
          ASSERT_TRUE(same_conversion(kind, f, variables(f.e + f.s + 1), mode, {20, 21}, width));
}

// The signed conversion has width 0 then; the unsigned one has width 1 and loses that bit.
TEST_F(FpConversionTest, OutputThatIsNoWord) {
  for (Type const* type : {tm.bool_type, tm.fp_type(2, 3), tm.int_type})
    for (SymbolTag::tag const tag : {SymbolTag::fp_to_sbv, SymbolTag::fp_to_ubv}) {
      Term_ const* x = tm.mk_variable("x", tm.fp_type(2, 3));
      Term_ const* t = stream_term(tm, tag, type, {rounding_mode_term(tm, 2), x}, "t");
      BvLitList const value = variables(6);
      StreamCase test;
      test.compare_pool = false;
      test.prepare = [&](WordClausifier& k) { k.set_bits(x, nullptr, value); };
      test.act = [&](WordClausifier& k, bv::ClauseSink* out) {
        if (tag == SymbolTag::fp_to_sbv) k.fp_to_sbv(out, t);
        if (tag == SymbolTag::fp_to_ubv) k.fp_to_ubv(out, t);
        return std::vector<BvLitList>{*k.lookup(t)};
      };
      test.model = [&](CircuitModel& model) {
        model.fp_to_bv(2, 3, value, 2, {}, tag == SymbolTag::fp_to_sbv ? 0 : 1);
        return std::vector<BvLitList>{{}};
      };
      ASSERT_TRUE(expect_same_stream(tm, test, "output of another type"));
    }
}

TEST_F(FpConversionTest, BitPatternSharesTheLiteralsAndNotTheList) {
  Term_ const* x = tm.mk_variable("x", tm.fp_type(2, 3));
  c.bit_blast(x, &sink);
  events.clear();
  Term_ const* t = tm.mk_app(SymbolTag::fp_as_ieeebv, {x});
  logger.set_verbosity(5);
  c.fp_as_ieeebv(&sink, t);
  EXPECT_NO_EVENTS();
  EXPECT_EQ(bits(t), bits(x));
  EXPECT_NE(c.lookup(t), c.lookup(x));
  EXPECT_EQ(inspect.trail().back(), t);
  EXPECT_EQ(stray_lists(c), 0);
}

TEST_F(FpConversionTest, BitPatternOfAnotherTypeIsACopyAsWell) {
  Term_ const* x = bv_var("x", BvLitList{2, T, -3});
  Term_ const* t = raw_term(SymbolTag::fp_as_ieeebv, tm.bv_type(3), {x}, "t");
  c.fp_as_ieeebv(&sink, t);
  EXPECT_EQ(bits(t), (BvLitList{2, T, -3}));
  EXPECT_NO_EVENTS();
}

TEST_F(FpConversionTest, ThroughTheDriver) {
  Term_ const* x = tm.mk_variable("x", tm.fp_type(2, 3));
  Term_ const* m = tm.mk_variable("m", tm.rounding_mode_type);
  Term_ const* t = tm.mk_app(SymbolTag::fp_to_ubv, {m, x}, 8);
  // The value first, the mode after it.
  c.bit_blast(t, &sink);
  EXPECT_EQ(bits(x), (BvLitList{100, 101, 102, 103, 104, 105}));
  EXPECT_EQ(bits(m), (BvLitList{106, 107}));
  EXPECT_EQ(bits(t).size(), 8u);
  std::vector<Term_ const*> listed;
  EXPECT_TRUE(c.get_new_fp_terms(listed));
  EXPECT_EQ(listed, (std::vector<Term_ const*>{x}));
}

// A value that is a numeral: everything folds, nothing reaches the sink. 2.5 under every mode, and -2.5.
TEST_F(FpConversionTest, NumeralsFoldCompletely) {
  auto convert = [&](std::uint64_t pattern, int mode) {
    Term_ const* x = tm.mk_number(QNumber(static_cast<std::int64_t>(pattern)), tm.fp_type(5, 10));
    Term_ const* t =
        stream_term(tm, SymbolTag::fp_to_sbv, tm.bv_type(8), {rounding_mode_term(tm, mode), x}, "t");
    c.bit_blast(t, &sink);
    EXPECT_NO_EVENTS();
    int value = 0;
    BvLitList const b = bits(t);
    EXPECT_EQ(b.size(), 8u);
    for (std::size_t i = 0; i < b.size(); ++i) value |= (b[i] == T ? 1 : 0) << i;
    return static_cast<int>(static_cast<std::int8_t>(value));
  };
  std::uint64_t const two_and_a_half = 0b0'10000'0100000000;
  std::uint64_t const sign = 1u << 15;
  EXPECT_EQ(convert(two_and_a_half, 0), 2);
  EXPECT_EQ(convert(two_and_a_half, 1), 2);
  EXPECT_EQ(convert(two_and_a_half, 2), 3);
  EXPECT_EQ(convert(two_and_a_half, 3), 2);
  EXPECT_EQ(convert(two_and_a_half | sign, 0), -2);
  EXPECT_EQ(convert(two_and_a_half | sign, 1), -2);
  EXPECT_EQ(convert(two_and_a_half | sign, 2), -2);
  EXPECT_EQ(convert(two_and_a_half | sign, 3), -3);
}

// ---- errors and the table ----

TEST_F(FpConversionTest, AThrowingSinkLeavesNothing) {
  for (int mode = variable_mode; mode < 4; ++mode) {
    Term_ const* x = with_bits(tm.mk_variable("x", tm.fp_type(3, 2)), {2, 3, 4, 5, 6, 7});
    Term_ const* m = mode_term(mode);
    if (mode == variable_mode) with_bits(m, {8, 9});
    for (SymbolTag::tag const tag : {SymbolTag::fp_to_sbv, SymbolTag::fp_to_ubv}) {
      Term_ const* t = stream_term(tm, tag, tm.bv_type(4), {m, x}, "t");
      std::size_t const trail_size = inspect.trail().size();
      bool thrown = true;
      int calls = 0;
      for (; thrown; ++calls) {
        sink.new_lits_left = calls;
        try {
          if (tag == SymbolTag::fp_to_sbv) c.fp_to_sbv(&sink, t);
          if (tag == SymbolTag::fp_to_ubv) c.fp_to_ubv(&sink, t);
          thrown = false;
        } catch (Interrupted const&) {
          ASSERT_FALSE(c.is_cached(t));
          ASSERT_EQ(inspect.trail().size(), trail_size);
          ASSERT_EQ(stray_lists(c), 0) << "after " << calls << " literals";
        }
      }
      EXPECT_GT(calls, 50);
      EXPECT_TRUE(c.is_cached(t));
      EXPECT_EQ(stray_lists(c), 0);
    }
    sink.new_lits_left = -1;
  }
}

// Arguments are read by a plain look-up: the table does not grow before the result is stored.
TEST_F(FpConversionTest, ReadingTheArgumentsDoesNotGrowTheTable) {
  for (SymbolTag::tag const tag : {SymbolTag::fp_to_sbv, SymbolTag::fp_to_ubv}) {
    QuietClausifier d(&tm, nullptr);
    bv::WordClausifierInspector const look(d);
    Term_ const* x = tm.mk_variable("x", tm.fp_type(2, 1));
    Term_ const* m = tm.mk_variable("m", tm.rounding_mode_type);
    d.set_bits(x, &sink, {2, 3, 4, 5});
    d.set_bits(m, &sink, {6, 7});
    for (int i = 0; i < 20; ++i) d.set_bits(bool_var("z"), &sink, {8});
    Term_ const* t = stream_term(tm, tag, tm.bv_type(2), {m, x}, "t");
    // Late enough that the mode's bits have been read.
    for (int const left : {0, 20, 80}) {
      sink.new_lits_left = left;
      try {
        if (tag == SymbolTag::fp_to_sbv) d.fp_to_sbv(&sink, t);
        if (tag == SymbolTag::fp_to_ubv) d.fp_to_ubv(&sink, t);
        break;
      } catch (Interrupted const&) {
        EXPECT_EQ(look.bits_cache().bucket_count(), 31u);
        EXPECT_EQ(look.bits_cache().size(), 22u);
      }
    }
  }
}

}  // namespace
}  // namespace vell::test

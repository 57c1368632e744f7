// Conversion of floating-point values: the circuit where formats and modes differ, and the three handlers.
// What the circuit computes is in meaning_conversion_test.cpp.

#include <numeric>

#include "tests/support/clausifiertest.h"
#include "tests/support/meaning.h"

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
  Term_ const* mode_term(int mode) {
    return mode == variable_mode ? tm.mk_variable("m", tm.rounding_mode_type) : rounding_mode_term(mode);
  }

  // The result and the events of the circuit at a width, on a clausifier of its own.
  struct Run {
    BvLitList bits;
    Events events;
  };
  Run circuit(Term_ const* x, BvLitList const& value, Term_ const* m, unsigned width) {
    return run(x, value, m, [&](WordClausifier& k, RecordingSink& out) {
      Term_ const* t = raw_term(SymbolTag::fp_to_sbv, tm.bv_type(width), {m, x}, "t");
      BvLitList* list = k.fp_to_bv(&out, t, width);
      BvLitList result = *list;
      k.release(list);
      EXPECT_FALSE(k.is_cached(t));
      return result;
    });
  }
  // The same of a handler on a term of the type.
  Run handler(SymbolTag::tag tag, Type const* type, Term_ const* x, BvLitList const& value, Term_ const* m) {
    return run(x, value, m, [&](WordClausifier& k, RecordingSink& out) {
      Term_ const* t = raw_term(tag, type, {m, x}, "t");
      if (tag == SymbolTag::fp_to_sbv) k.fp_to_sbv(&out, t);
      if (tag == SymbolTag::fp_to_ubv) k.fp_to_ubv(&out, t);
      EXPECT_EQ(bv::WordClausifierInspector(k).trail().back(), t);
      EXPECT_EQ(*k.lookup(x), value);
      return *k.lookup(t);
    });
  }
  template <typename Action>
  Run run(Term_ const* x, BvLitList const& value, Term_ const* m, Action action) {
    Recorder r;
    WordClausifier k(&tm, &config);
    k.set_logger(&r.logger);
    k.set_bits(x, &r.sink, value);
    if (m->symbol->role() == Symbol::Role::uninterpreted) k.set_bits(m, &r.sink, {20, 21});
    r.events.clear();
    r.logger.set_verbosity(5);
    BvLitList bits = action(k, r.sink);
    EXPECT_EQ(stray_lists(k), 0);
    return {bits, r.events};
  }

  static BvLitList variables(std::size_t n, BvLit first = 1000) {
    BvLitList bits(n);
    std::iota(bits.begin(), bits.end(), first);
    return bits;
  }
};

// ---- the circuit ----

// The value is 1 or 1.5, by its fraction bit 3, with the sign 2: what is rounded up is the conjunction of the
// two.
TEST_F(FpConversionTest, DirectedModesLookAtTheRestFirst) {
  struct Case {
    int mode;
    char const* events;
  };
  for (Case const& k : {Case{2, "new 100\n clauses -3 2 100 | 3 -100 | -2 -100"},
                        Case{3, "new 100\n clauses -3 -2 100 | 3 -100 | 2 -100"}}) {
    Term_ const* x = with_bits(tm.mk_variable("x", tm.fp_type(2, 1)), {3, T, F, 2});
    Term_ const* t = raw_term(SymbolTag::fp_to_sbv, tm.bv_type(2), {rounding_mode_term(k.mode), x}, "t");
    sink.next = 100;
    c.fp_to_sbv(&sink, t);
    ASSERT_GE(events.size(), 4u);
    events.resize(4);
    EXPECT_EVENTS(k.events);
  }
}

// ---- handlers ----

TEST_F(FpConversionTest, HookTable) {
  auto const& hooks = inspect.hooks();
  EXPECT_EQ(hooks[60], static_cast<WordClausifier::Handler>(&WordClausifier::fp_to_sbv));
  EXPECT_EQ(hooks[61], static_cast<WordClausifier::Handler>(&WordClausifier::fp_to_ubv));
  EXPECT_EQ(hooks[62], static_cast<WordClausifier::Handler>(&WordClausifier::fp_as_ieeebv));
}

// The unsigned conversion is the signed one of one bit more without its top bit; neither handler has a trace
// of its own, so the events are those of the circuit.
TEST_F(FpConversionTest, HandlersRunTheCircuit) {
  for (Format const f : {Format{2, 3}, Format{4, 3}}) {
    Term_ const* x = tm.mk_variable("x", tm.fp_type(f.e, f.s));
    BvLitList const value = variables(f.e + f.s + 1);
    for (int mode = variable_mode; mode < 4; ++mode)
      for (unsigned const width : {0u, 1u, 4u, 8u}) {
        Term_ const* m = mode_term(mode);
        Run const expected = circuit(x, value, m, width);
        EXPECT_EQ(expected.bits.size(), width);
        Run const to_sbv = handler(SymbolTag::fp_to_sbv, tm.bv_type(width), x, value, m);
        EXPECT_EQ(to_sbv.bits, expected.bits);
        EXPECT_EQ(to_sbv.events, expected.events);
        Run longer = circuit(x, value, m, width + 1);
        longer.bits.pop_back();
        Run const to_ubv = handler(SymbolTag::fp_to_ubv, tm.bv_type(width), x, value, m);
        EXPECT_EQ(to_ubv.bits, longer.bits);
        EXPECT_EQ(to_ubv.events, longer.events);
      }
  }
}

// The signed conversion has width 0 then; the unsigned one has width 1 and loses that bit.
TEST_F(FpConversionTest, OutputThatIsNoWord) {
  Term_ const* x = tm.mk_variable("x", tm.fp_type(2, 3));
  Term_ const* m = rounding_mode_term(2);
  BvLitList const value = variables(6);
  for (Type const* type : {tm.bool_type, tm.fp_type(2, 3), tm.int_type})
    for (SymbolTag::tag const tag : {SymbolTag::fp_to_sbv, SymbolTag::fp_to_ubv}) {
      Run const actual = handler(tag, type, x, value, m);
      EXPECT_EQ(actual.bits, BvLitList{});
      EXPECT_EQ(actual.events, circuit(x, value, m, tag == SymbolTag::fp_to_sbv ? 0 : 1).events);
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
    Term_ const* t = raw_term(SymbolTag::fp_to_sbv, tm.bv_type(8), {rounding_mode_term(mode), x}, "t");
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
      Term_ const* t = raw_term(tag, tm.bv_type(4), {m, x}, "t");
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
    Term_ const* t = raw_term(tag, tm.bv_type(2), {m, x}, "t");
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

// Floating-point and rounding-mode variables and constants, with and without a floating-point layer.

#include "tests/support/clausifiertest.h"
#include "tests/support/slots.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::WordClausifier;

constexpr BvLit T = bv::l_true;
constexpr BvLit F = bv::l_false;

class FloatingPointTest : public ClausifierTest {
 protected:
  using Terms = std::vector<Term_ const*>;
  Term_ const* fp_var(std::string_view name, std::uint64_t e = 2, std::uint64_t s = 3) {
    return tm.mk_variable(name, tm.fp_type(e, s));
  }
};

// ---- the interface of the layer ----

TEST_F(FloatingPointTest, ALayerNeedsTheTwoOperationsThatAreCalled) {
  struct Layer : FpBvCombination {
    void encode_term(Term_ const* t) override { encoded = t; }
    void get_term_bits(Term_ const*, BvLitList* out) override { *out = {2, 3, 4}; }
    Term_ const* encoded = nullptr;
  } layer;
  c.set_fp_combination(&layer);
  Term_ const* f = fp_var("f", 1, 1);
  c.bit_blast(f, &sink);
  EXPECT_EQ(layer.encoded, f);
  EXPECT_EQ(bits(f), (BvLitList{2, 3, 4}));
  EXPECT_FALSE(layer.is_encoded(f));
}

TEST_F(FloatingPointTest, OperationsOfTheLayerInTheirSlots) {
  // Behind the two entries of the destructor.
  EXPECT_EQ(virtual_slot(&FpBvCombination::encode_term), 2);
  EXPECT_EQ(virtual_slot(&FpBvCombination::is_encoded), 3);
  EXPECT_EQ(virtual_slot(&FpBvCombination::get_term_bits), 4);
}

// ---- rounding modes ----

TEST_F(FloatingPointTest, BitsOfTheModes) {
  EXPECT_EQ(c.fp_rounding(IEEEFloat::even), (BvLitList{F, F}));
  EXPECT_EQ(c.fp_rounding(IEEEFloat::zero), (BvLitList{T, F}));
  EXPECT_EQ(c.fp_rounding(IEEEFloat::plus_inf), (BvLitList{F, T}));
  EXPECT_EQ(c.fp_rounding(IEEEFloat::minus_inf), (BvLitList{T, T}));
  for (std::uint32_t const no_mode : {4u, 7u, 0xffffffffu})
    EXPECT_EQ(c.fp_rounding(static_cast<IEEEFloat::rounding_mode>(no_mode)), (BvLitList{0, 0}));
  EXPECT_NO_EVENTS();
}

TEST_F(FloatingPointTest, ModeConstantsTakeNoLiteral) {
  for (int mode = 0; mode < 4; ++mode) {
    Term_ const* m = rounding_mode_term(mode);
    c.bit_blast(m, &sink);
    EXPECT_EQ(bits(m), (BvLitList{(mode & 1) != 0 ? T : F, (mode & 2) != 0 ? T : F}));
    EXPECT_EQ(inspect.trail().back(), m);
  }
  EXPECT_NO_EVENTS();
  EXPECT_EQ(stray_lists(c), 0);
}

TEST_F(FloatingPointTest, ModeVariableTakesTwoLiterals) {
  Term_ const* m = tm.mk_variable("m", tm.rounding_mode_type);
  c.fp_rounding_variable(&sink, m);
  EXPECT_EVENTS("new 100 \n new 101");
  EXPECT_EQ(bits(m), (BvLitList{100, 101}));
  Terms out;
  EXPECT_FALSE(c.get_new_fp_terms(out));
  EXPECT_TRUE(sink.clauses.empty());
  EXPECT_EQ(trail(), "m");
}

TEST_F(FloatingPointTest, AThrowingSinkLeavesNothing) {
  Term_ const* m = tm.mk_variable("m", tm.rounding_mode_type);
  Term_ const* f = fp_var("f");
  for (int left = 0; left < 6; ++left) {
    sink.new_lits_left = left;
    EXPECT_THROW(c.fp_variable(&sink, f), Interrupted);
    if (left < 2) {
      sink.new_lits_left = left;
      EXPECT_THROW(c.fp_rounding_variable(&sink, m), Interrupted);
    }
    EXPECT_EQ(stray_lists(c), 0);
  }
  EXPECT_FALSE(c.is_cached(m));
  EXPECT_FALSE(c.is_cached(f));
  EXPECT_EQ(trail(), "");
  // The term is listed only once it has its literals.
  Terms out;
  EXPECT_FALSE(c.get_new_fp_terms(out));
}

// ---- variables without a layer ----

TEST_F(FloatingPointTest, VariableTakesItsLiteralsFromTheFractionUp) {
  Term_ const* f = fp_var("f");
  c.fp_variable(&sink, f);
  EXPECT_EVENTS("new 100 \n new 101 \n new 102 \n new 103 \n new 104 \n new 105");
  EXPECT_EQ(bits(f), (BvLitList{100, 101, 102, 103, 104, 105}));
  EXPECT_EQ(trail(), "f");
  Term_ const* single = fp_var("s", 8, 23);
  c.fp_variable(&sink, single);
  EXPECT_EQ(bits(single).size(), 32u);
}

// Only the sign is left of a type without widths.
TEST_F(FloatingPointTest, VariableOfAnotherTypeIsOneLiteral) {
  Term_ const* b = bool_var("b");
  c.fp_variable(&sink, b);
  EXPECT_EVENTS("new 100");
  EXPECT_EQ(bits(b), (BvLitList{100}));
}

TEST_F(FloatingPointTest, NewTermsAreHandedOverOnceInOrder) {
  Term_ const* f = fp_var("f");
  Term_ const* g = fp_var("g");
  Term_ const* h = fp_var("h");
  Terms out = {h};
  EXPECT_FALSE(c.get_new_fp_terms(out));
  EXPECT_EQ(out, (Terms{h}));

  c.bit_blast(g, &sink);
  c.bit_blast(f, &sink);
  EXPECT_TRUE(c.get_new_fp_terms(out));
  EXPECT_EQ(out, (Terms{g, f}));

  EXPECT_FALSE(c.get_new_fp_terms(out));
  EXPECT_EQ(out, (Terms{g, f}));

  // What out held before does not come back.
  c.bit_blast(h, &sink);
  EXPECT_TRUE(c.get_new_fp_terms(out));
  EXPECT_EQ(out, (Terms{h}));
  EXPECT_FALSE(c.get_new_fp_terms(out));
}

TEST_F(FloatingPointTest, BacktrackingKeepsTheNewTerms) {
  Term_ const* f = fp_var("f");
  c.push_backtrack_point();
  c.bit_blast(f, &sink);
  c.pop_backtrack_point();
  EXPECT_FALSE(c.is_cached(f));
  c.bit_blast(f, &sink);
  Terms out;
  EXPECT_TRUE(c.get_new_fp_terms(out));
  EXPECT_EQ(out, (Terms{f, f}));
}

// ---- variables with a layer ----

TEST_F(FloatingPointTest, TheLayerGivesTheBits) {
  Term_ const* f = fp_var("f");
  fp_combination.bits[f] = {7, -8, T};
  c.set_fp_combination(&fp_combination);
  c.fp_variable(&sink, f);
  EXPECT_EVENTS(R"(
    fpencode f
    fpbits f
  )");
  EXPECT_EQ(bits(f), (BvLitList{7, -8, T}));
  EXPECT_EQ(trail(), "f");
  EXPECT_EQ(stray_lists(c), 0);
  Terms out;
  EXPECT_FALSE(c.get_new_fp_terms(out));
}

TEST_F(FloatingPointTest, TheLayerGetsAnEmptyList) {
  struct Layer : FpBvCombination {
    void encode_term(Term_ const*) override { ++encoded; }
    bool is_encoded(Term_ const*) const override {
      ADD_FAILURE() << "not to be called";
      return true;
    }
    void get_term_bits(Term_ const*, BvLitList* out) override {
      EXPECT_TRUE(out->empty());
      EXPECT_EQ(encoded, 1);
      out->push_back(5);
    }
    int encoded = 0;
  } layer;
  c.set_fp_combination(&layer);
  Term_ const* f = fp_var("f");
  EXPECT_EQ(c.bit_blast(f, &sink), 5);
  EXPECT_NO_EVENTS();
}

TEST_F(FloatingPointTest, ErrorsOfTheLayerPass) {
  struct Layer : FpBvCombination {
    void encode_term(Term_ const*) override {
      if (!late) throw Interrupted("encode");
    }
    bool is_encoded(Term_ const*) const override { return false; }
    void get_term_bits(Term_ const*, BvLitList* out) override {
      out->assign(100, 2);
      throw Interrupted("bits");
    }
    bool late = false;
  } layer;
  c.set_fp_combination(&layer);
  Term_ const* f = fp_var("f");
  for (bool const late : {false, true}) {
    layer.late = late;
    EXPECT_THROW(c.fp_variable(&sink, f), Interrupted);
    EXPECT_FALSE(c.is_cached(f));
    EXPECT_EQ(trail(), "");
    EXPECT_EQ(stray_lists(c), 0);
  }
}

TEST_F(FloatingPointTest, TheLayerCanBeSetAndWithdrawn) {
  Term_ const* f = fp_var("f");
  Term_ const* g = fp_var("g");
  Term_ const* h = fp_var("h");
  fp_combination.bits[g] = {9, 9, 9, 9, 9, 9};
  c.bit_blast(f, &sink);
  c.set_fp_combination(&fp_combination);
  c.bit_blast(g, &sink);
  c.set_fp_combination(nullptr);
  c.bit_blast(h, &sink);
  EXPECT_EQ(bits(g), BvLitList(6, 9));
  Terms out;
  EXPECT_TRUE(c.get_new_fp_terms(out));
  EXPECT_EQ(out, (Terms{f, h}));
}

// A rounding-mode variable never goes to the layer.
TEST_F(FloatingPointTest, TheLayerIsNotAskedForRoundingModes) {
  c.set_fp_combination(&fp_combination);
  c.fp_rounding_variable(&sink, tm.mk_variable("m", tm.rounding_mode_type));
  EXPECT_EVENTS("new 100 \n new 101");
}

// ---- traces ----

TEST_F(FloatingPointTest, Traces) {
  Term_ const* f = fp_var("f");
  Term_ const* m = tm.mk_variable("m", tm.rounding_mode_type);
  Term_ const* up = rounding_mode_term(2);
  auto const action = [&](WordClausifier& fresh, RecordingSink& out) {
    fresh.fp_variable(&out, f);
    fresh.fp_rounding_variable(&out, m);
    fresh.fp_rounding_variable(&out, up);
    fresh.fp_rounding(IEEEFloat::even);
  };
  EXPECT_TRACE_LEVELS(action, R"(
    3 "fp_variable f"
    3 "fp_rounding_variable m"
    3 "fp_rounding_variable mode2"
  )");
  logger.set_verbosity(5);
  c.set_fp_combination(&fp_combination);
  fp_combination.bits[f] = {4};
  c.fp_variable(&sink, f);
  EXPECT_EVENTS(R"(
    log "fp_variable f"
    fpencode f
    fpbits f
  )");
}

}  // namespace
}  // namespace vell::test

// Operators by the names of SMT-LIB: which terms they become, and what is refused. Their values on all small
// inputs are tested with the reader, which applies the same table.

#include "vell/terms/theory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vell {
namespace {

using Tag = SymbolTag::tag;

class TheoryTest : public testing::Test {
 protected:
  std::string error(std::string_view name, std::vector<Term_ const*> const& arguments,
                    std::initializer_list<std::uint64_t> indices = {}) {
    try {
      mk_app(tm, name, arguments, indices);
    } catch (SortError const& e) {
      return e.what();
    }
    return "no error";
  }
  std::string sort(Term_ const* t) { return sort_text(t->symbol->get_output_type()); }

  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(8));
  Term_ const* y = tm.mk_variable("y", tm.bv_type(8));
  Term_ const* z = tm.mk_variable("z", tm.bv_type(8));
  Term_ const* p = tm.mk_variable("p", tm.bool_type);
  Term_ const* q = tm.mk_variable("q", tm.bool_type);
};

TEST_F(TheoryTest, OperatorsOfTheTermLayerAreTheSameTerms) {
  EXPECT_EQ(mk_app(tm, "bvadd", {x, y}), tm.mk_app(Tag::bv_add, {x, y}));
  EXPECT_EQ(mk_app(tm, "bvslt", {x, y}), tm.mk_app(Tag::bv_slt, {x, y}));
  EXPECT_EQ(mk_app(tm, "=", {p, q}), tm.mk_app(Tag::bool_iff, {p, q}));
  EXPECT_EQ(mk_app(tm, "ite", {p, x, y}), tm.mk_app(Tag::term_ite, {p, x, y}));
  EXPECT_EQ(mk_app(tm, "extract", {x}, {6, 2}), tm.mk_app(Tag::bv_extract, {x}, 6, 2));
  EXPECT_EQ(mk_app(tm, "true", {}), tm.mk_bool(true));
  std::vector<Term_ const*> const both{x, y};
  EXPECT_EQ(mk_app(tm, "bvxor", both), tm.mk_app(Tag::bv_xor, {x, y}));
}

TEST_F(TheoryTest, TurnedComparisons) {
  EXPECT_EQ(mk_app(tm, "bvugt", {x, y}), tm.mk_app(Tag::bv_ult, {y, x}));
  EXPECT_EQ(mk_app(tm, "bvuge", {x, y}), tm.mk_app(Tag::bv_ule, {y, x}));
  EXPECT_EQ(mk_app(tm, "bvsgt", {x, y}), tm.mk_app(Tag::bv_slt, {y, x}));
  EXPECT_EQ(mk_app(tm, "bvsge", {x, y}), tm.mk_app(Tag::bv_sle, {y, x}));
}

TEST_F(TheoryTest, AnyNumberOfArguments) {
  Term_ const* r = tm.mk_variable("r", tm.bool_type);
  EXPECT_EQ(mk_app(tm, "and", {p}), p);
  EXPECT_EQ(mk_app(tm, "or", {p, q, r}), tm.mk_app(Tag::bool_or, {tm.mk_app(Tag::bool_or, {p, q}), r}));
  EXPECT_EQ(mk_app(tm, "bvadd", {x, y, z}), tm.mk_app(Tag::bv_add, {tm.mk_app(Tag::bv_add, {x, y}), z}));
  EXPECT_EQ(mk_app(tm, "bvmul", {x, tm.mk_bv(3, 8)}), tm.mk_app(Tag::bv_mul, {tm.mk_bv(3, 8), x}));
  auto const no = [&](Term_ const* t) { return tm.mk_app(Tag::bool_not, {t}); };
  EXPECT_EQ(mk_app(tm, "=>", {p, q, r}),
            tm.mk_app(Tag::bool_or, {no(p), tm.mk_app(Tag::bool_or, {no(q), r})}));
  auto const differ = [&](Term_ const* a, Term_ const* b) { return no(tm.mk_app(Tag::equal, {a, b})); };
  EXPECT_EQ(mk_app(tm, "distinct", {x, y, z}),
            tm.mk_app(Tag::bool_and, {tm.mk_app(Tag::bool_and, {differ(x, y), differ(x, z)}), differ(y, z)}));
  EXPECT_EQ(mk_app(tm, "xor", {p, q}), no(tm.mk_app(Tag::bool_iff, {p, q})));
}

TEST_F(TheoryTest, EveryOperatorHasItsSort) {
  // A row of arguments that fits for every operator: as many as it takes at least, or one more.
  std::size_t words = 0;
  std::size_t booleans = 0;
  for (theory::Operator const& op : theory::operator_table()) {
    ASSERT_EQ(theory::find_operator(op.name), &op);
    std::vector<Term_ const*> arguments;
    bool const takes_booleans = op.sorts == theory::Sorts::booleans;
    for (std::size_t i = 0; i < op.min_arguments; ++i)
      arguments.push_back(takes_booleans ? p : i % 2 == 0 ? x : y);
    if (op.sorts == theory::Sorts::ite) arguments[0] = p;
    if (op.max_arguments == theory::Operator::any) arguments.push_back(takes_booleans ? q : z);
    std::vector<std::uint64_t> const indices(op.indices, 3);
    Term_ const* t = mk_app(tm, op.name, arguments, indices);
    (t->symbol->get_output_type() == tm.bool_type ? booleans : words) += 1;
  }
  EXPECT_EQ(booleans, 25u);
  EXPECT_EQ(words, 32u);
  EXPECT_EQ(sort(mk_app(tm, "bvcomp", {x, y})), "(_ BitVec 1)");
  EXPECT_EQ(sort(mk_app(tm, "repeat", {x}, {5})), "(_ BitVec 40)");
  EXPECT_EQ(sort(mk_app(tm, "concat", {x, y, z})), "(_ BitVec 24)");
  EXPECT_EQ(sort(mk_app(tm, "bvsmod", {x, y})), "(_ BitVec 8)");
  EXPECT_EQ(sort(mk_app(tm, "bvnand", {x, y})), "(_ BitVec 8)");
}

TEST_F(TheoryTest, OneLineForWhatDoesNotFit) {
  EXPECT_EQ(error("bvfoo", {x}), "no such operator: `bvfoo`");
  EXPECT_EQ(error("bvadd", {x}), "`bvadd` takes at least 2 arguments, not 1");
  EXPECT_EQ(error("bvsmod", {x, y, z}), "`bvsmod` takes 2 arguments, not 3");
  EXPECT_EQ(error("bvuge", {x, p}), "`bvuge` takes bit-vectors; argument 2 has sort Bool");
  EXPECT_EQ(error("bvcomp", {x, tm.mk_bv(1, 4)}),
            "`bvcomp` takes bit-vectors of one width; argument 1 has sort (_ BitVec 8), argument 2 has sort "
            "(_ BitVec 4)");
  EXPECT_EQ(error("repeat", {x}), "`repeat` takes 1 index, not 0");
  EXPECT_EQ(error("bvadd", {x, y}, {1, 2}), "`bvadd` takes 0 indices, not 2");
  EXPECT_EQ(error("repeat", {x}, {0}), "the index of `repeat` is 0; it must be at least 1");
  EXPECT_EQ(error("extract", {x}, {8, 0}), "`extract` takes bit 8 of 8 bits");
  Term_ const* none = tm.mk_variable("none", tm.bv_type(0));
  Term_ const* n = tm.mk_variable("n", tm.int_type);
  EXPECT_EQ(error("rotate_left", {none}, {1}),
            "`rotate_left` takes Booleans and words of at least one bit, not (_ BitVec 0)");
  EXPECT_EQ(error("=", {n, n}), "`=` takes Booleans and words of at least one bit, not Int");
}

// What scripts may write of an operator of the term layer agrees with what mk_app(tag) takes.
TEST(Theory, AgreesWithTheTableOfTheTermLayer) {
  int found = 0;
  for (std::span<OperatorInfo const> const table : {std::span<OperatorInfo const>(operator_table),
                                                    std::span<OperatorInfo const>(floating_operator_table)})
    for (OperatorInfo const& info : table) {
      theory::Operator const* const op = theory::find_operator(info.name);
      ASSERT_NE(nullptr, op) << info.name;
      ++found;
      EXPECT_EQ(info.parameters, op->indices) << info.name;
      EXPECT_LE(op->min_arguments, info.arity) << info.name;
      EXPECT_GE(op->max_arguments, info.arity) << info.name;
    }
  EXPECT_EQ(38 + 27, found);
}

TEST_F(TheoryTest, FloatingPointTermsHaveTheirSorts) {
  Term_ const* const f = tm.mk_variable("f", tm.fp_type(5, 10));
  Term_ const* const m = mk_app(tm, "RNE", {});
  EXPECT_EQ(m, mk_app(tm, "roundNearestTiesToEven", {}));
  EXPECT_EQ(sort(mk_app(tm, "RNA", {})), "RoundingMode");
  EXPECT_NE(mk_app(tm, "RNA", {}), m);
  EXPECT_EQ(sort(mk_app(tm, "fp.add", {m, f, f})), "(_ FloatingPoint 5 11)");
  EXPECT_EQ(sort(mk_app(tm, "to_fp", {m, x}, {8, 24})), "(_ FloatingPoint 8 24)");
  EXPECT_EQ(sort(mk_app(tm, "to_fp", {m, f}, {8, 24})), "(_ FloatingPoint 8 24)");
  EXPECT_EQ(sort(mk_app(tm, "to_fp", {x}, {4, 4})), "(_ FloatingPoint 4 4)");
  EXPECT_EQ(sort(mk_app(tm, "fp", {tm.mk_bv(0, 1), x, y})), "(_ FloatingPoint 8 9)");
  EXPECT_EQ(sort(mk_app(tm, "fp.to_sbv", {m, f}, {7})), "(_ BitVec 7)");
  EXPECT_EQ(sort(mk_app(tm, "fp.lt", {f, f, f})), "Bool");
  EXPECT_EQ(sort(mk_app(tm, "distinct", {f, mk_app(tm, "fp.neg", {f})})), "Bool");
  // A value of a format is one of the format, and patterns of NaN are one value.
  EXPECT_EQ(mk_app(tm, "to_fp", {m, f}, {5, 11}), f);
  EXPECT_EQ(mk_app(tm, "to_fp", {tm.mk_bv(0xff, 8)}, {4, 4}), mk_app(tm, "NaN", {}, {4, 4}));
  EXPECT_EQ(mk_app(tm, "fp", {tm.mk_bv(1, 1), tm.mk_bv(15, 4), tm.mk_bv(0, 3)}),
            mk_app(tm, "-oo", {}, {4, 4}));
}

TEST_F(TheoryTest, OneLineForWhatDoesNotFitAFloat) {
  Term_ const* const f = tm.mk_variable("f", tm.fp_type(5, 10));
  Term_ const* const g = tm.mk_variable("g", tm.fp_type(5, 11));
  Term_ const* const m = mk_app(tm, "RTZ", {});
  EXPECT_EQ(error("fp.add", {m, f, g}),
            "`fp.add` takes a rounding mode and floating-point values of one format; argument 2 has sort (_ "
            "FloatingPoint 5 11), argument 3 has sort (_ FloatingPoint 5 12)");
  EXPECT_EQ(error("fp.add", {f, f, f}),
            "`fp.add` takes a rounding mode and floating-point values of one format; argument 1 has sort (_ "
            "FloatingPoint 5 11)");
  EXPECT_EQ(error("fp.isNaN", {x}),
            "`fp.isNaN` takes a floating-point value; argument 1 has sort (_ BitVec 8)");
  EXPECT_EQ(error("to_fp", {x}, {8, 24}), "`to_fp` takes a bit-vector of 32 bits, not 8");
  EXPECT_EQ(error("to_fp", {m, x}, {1, 24}),
            "the exponent of a floating-point format has 2 to 24 bits, not 1");
  EXPECT_EQ(error("NaN", {}, {8, 1}),
            "the significand of a floating-point format has 2 to 65536 bits, not 1");
  EXPECT_EQ(error("fp.to_ubv", {m, f}, {0}), "`fp.to_ubv` gives a bit-vector of 1 to 4294967295 bits, not 0");
  EXPECT_EQ(error("fp.abs", {tm.mk_variable("odd", tm.fp_type(40, 3))}),
            "the exponent of a floating-point format has 2 to 24 bits, not 40");
}

}  // namespace
}  // namespace vell

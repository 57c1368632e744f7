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
  for (OperatorInfo const& info : operator_table) {
    theory::Operator const* const op = theory::find_operator(info.name);
    if (std::string_view(info.name).starts_with("fp.")) {
      EXPECT_EQ(nullptr, op) << info.name;
      continue;
    }
    ASSERT_NE(nullptr, op) << info.name;
    ++found;
    EXPECT_EQ(info.parameters, op->indices) << info.name;
    EXPECT_LE(op->min_arguments, info.arity) << info.name;
    EXPECT_GE(op->max_arguments, info.arity) << info.name;
  }
  EXPECT_EQ(35, found);
}

}  // namespace
}  // namespace vell

// Names, arities, result sorts and sort errors of mk_app.

#include "vell/terms/operators.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "vell/terms/termmanager.h"

namespace vell {
namespace {

struct Expected {
  SymbolTag::tag tag;
  unsigned number;
  char const* name;
  int arity;
  unsigned parameters;
};

constexpr Expected expected[] = {
    {SymbolTag::bool_true, 1, "true", 0, 0},
    {SymbolTag::bool_false, 2, "false", 0, 0},
    {SymbolTag::bool_and, 3, "and", 2, 0},
    {SymbolTag::bool_or, 4, "or", 2, 0},
    {SymbolTag::bool_not, 5, "not", 1, 0},
    {SymbolTag::bool_iff, 6, "=", 2, 0},
    {SymbolTag::equal, 12, "=", 2, 0},
    {SymbolTag::bv_concat, 15, "concat", 2, 0},
    {SymbolTag::bv_extract, 16, "extract", 1, 2},
    {SymbolTag::bv_not, 17, "bvnot", 1, 0},
    {SymbolTag::bv_and, 18, "bvand", 2, 0},
    {SymbolTag::bv_or, 19, "bvor", 2, 0},
    {SymbolTag::bv_xor, 20, "bvxor", 2, 0},
    {SymbolTag::bv_ult, 21, "bvult", 2, 0},
    {SymbolTag::bv_slt, 22, "bvslt", 2, 0},
    {SymbolTag::bv_ule, 23, "bvule", 2, 0},
    {SymbolTag::bv_sle, 24, "bvsle", 2, 0},
    {SymbolTag::equal_noproxy, 25, "=", 2, 0},
    {SymbolTag::bv_neg, 26, "bvneg", 1, 0},
    {SymbolTag::bv_add, 27, "bvadd", 2, 0},
    {SymbolTag::bv_sub, 28, "bvsub", 2, 0},
    {SymbolTag::bv_mul, 29, "bvmul", 2, 0},
    {SymbolTag::bv_udiv, 30, "bvudiv", 2, 0},
    {SymbolTag::bv_sdiv, 31, "bvsdiv", 2, 0},
    {SymbolTag::bv_urem, 32, "bvurem", 2, 0},
    {SymbolTag::bv_srem, 33, "bvsrem", 2, 0},
    {SymbolTag::bv_shl, 34, "bvshl", 2, 0},
    {SymbolTag::bv_lshr, 35, "bvlshr", 2, 0},
    {SymbolTag::bv_ashr, 36, "bvashr", 2, 0},
    {SymbolTag::bv_rotate_left, 37, "rotate_left", 1, 1},
    {SymbolTag::bv_rotate_right, 38, "rotate_right", 1, 1},
    {SymbolTag::bv_zero_extend, 39, "zero_extend", 1, 1},
    {SymbolTag::bv_sign_extend, 40, "sign_extend", 1, 1},
    {SymbolTag::fp_to_sbv, 60, "fp.to_sbv", 2, 1},
    {SymbolTag::fp_to_ubv, 61, "fp.to_ubv", 2, 1},
    {SymbolTag::fp_as_ieeebv, 62, "fp.to_ieee_bv", 1, 0},
};

class OperatorsTest : public ::testing::Test {
 protected:
  using Terms = std::vector<Term_ const*>;

  // The type of the application, or the message that refuses it.
  std::string build(SymbolTag::tag tag, Terms const& children, std::uint64_t p0 = 0, std::uint64_t p1 = 0) {
    std::uint64_t const count = tm.term_count();
    try {
      Term_ const* t = tm.mk_app(tag, children, p0, p1);
      EXPECT_EQ(Terms(t->children, t->children + t->symbol->arity), children);
      return t->symbol->get_output_type()->to_str();
    } catch (SortError const& e) {
      EXPECT_EQ(tm.term_count(), count);
      EXPECT_EQ(std::strchr(e.what(), '\n'), nullptr);
      return e.what();
    }
  }

  TermManager tm;
  Term_ const* x8 = tm.mk_variable("x8", tm.bv_type(8));
  Term_ const* y8 = tm.mk_variable("y8", tm.bv_type(8));
  Term_ const* x4 = tm.mk_variable("x4", tm.bv_type(4));
  Term_ const* p = tm.mk_variable("p", tm.bool_type);
  Term_ const* q = tm.mk_variable("q", tm.bool_type);
  Term_ const* f = tm.mk_variable("f", tm.fp_type(8, 23));
  Term_ const* rm = tm.mk_variable("rm", tm.rounding_mode_type);
};

TEST_F(OperatorsTest, NumbersNamesAritiesParameters) {
  for (Expected const& e : expected) {
    EXPECT_EQ(e.tag, e.number) << e.name;
    EXPECT_STREQ(operator_name(e.tag), e.name);
    EXPECT_EQ(operator_arity(e.tag), e.arity) << e.name;
    EXPECT_EQ(operator_parameters(e.tag), e.parameters) << e.name;
  }
  for (SymbolTag::tag tag :
       {SymbolTag::none, SymbolTag::function_application, SymbolTag::int_to_bv, SymbolTag::bv_to_int,
        static_cast<SymbolTag::tag>(63), static_cast<SymbolTag::tag>(1000000)}) {
    EXPECT_STREQ(operator_name(tag), "?");
    EXPECT_EQ(operator_arity(tag), -1);
    EXPECT_EQ(operator_parameters(tag), 0u);
  }
  EXPECT_EQ(SymbolTag::function_application, 13u);
  EXPECT_EQ(SymbolTag::int_to_bv, 41u);
  EXPECT_EQ(SymbolTag::bv_to_int, 42u);
}

TEST_F(OperatorsTest, WordOperatorsKeepTheWidth) {
  for (SymbolTag::tag tag :
       {SymbolTag::bv_and, SymbolTag::bv_or, SymbolTag::bv_xor, SymbolTag::bv_add, SymbolTag::bv_sub,
        SymbolTag::bv_mul, SymbolTag::bv_udiv, SymbolTag::bv_sdiv, SymbolTag::bv_urem, SymbolTag::bv_srem,
        SymbolTag::bv_shl, SymbolTag::bv_lshr, SymbolTag::bv_ashr}) {
    std::string const name = operator_name(tag);
    EXPECT_EQ(build(tag, {x8, y8}), "bv8");
    EXPECT_EQ(build(tag, {x8, x4}), name + " takes words of one width, not (_ BitVec 8) and (_ BitVec 4)");
    EXPECT_EQ(build(tag, {p, q}), name + " takes words of one width, not Bool and Bool");
    EXPECT_EQ(build(tag, {x8, p}), name + " takes words of one width, not (_ BitVec 8) and Bool");
    EXPECT_EQ(build(tag, {x8}), name + " takes 2 arguments, not 1");
    EXPECT_EQ(build(tag, {x8, y8, x8}), name + " takes 2 arguments, not 3");
  }
  for (SymbolTag::tag tag : {SymbolTag::bv_not, SymbolTag::bv_neg}) {
    EXPECT_EQ(build(tag, {x8}), "bv8");
    EXPECT_EQ(build(tag, {f}),
              std::string(operator_name(tag)) + " takes words of one width, not (_ FloatingPoint 8 24)");
  }
}

TEST_F(OperatorsTest, ComparisonsAreBoolean) {
  for (SymbolTag::tag tag : {SymbolTag::bv_ult, SymbolTag::bv_slt, SymbolTag::bv_ule, SymbolTag::bv_sle,
                             SymbolTag::equal_noproxy}) {
    EXPECT_EQ(build(tag, {x8, y8}), "bool");
    EXPECT_EQ(build(tag, {x8, x4}), std::string(operator_name(tag)) +
                                        " takes words of one width, not (_ BitVec 8) and (_ BitVec 4)");
  }
}

TEST_F(OperatorsTest, Equality) {
  EXPECT_EQ(build(SymbolTag::equal, {x8, y8}), "bool");
  EXPECT_EQ(tm.get_tag(tm.mk_app(SymbolTag::equal, {x8, y8})->symbol), SymbolTag::equal);
  EXPECT_EQ(tm.get_tag(tm.mk_app(SymbolTag::equal, {p, q})->symbol), SymbolTag::bool_iff);
  EXPECT_EQ(build(SymbolTag::equal, {x8, x4}),
            "= takes two terms of one sort, not (_ BitVec 8) and (_ BitVec 4)");
  EXPECT_EQ(build(SymbolTag::equal, {x8, p}), "= takes two terms of one sort, not (_ BitVec 8) and Bool");
}

TEST_F(OperatorsTest, Booleans) {
  EXPECT_EQ(build(SymbolTag::bool_and, {p, q}), "bool");
  EXPECT_EQ(build(SymbolTag::bool_or, {p, q}), "bool");
  EXPECT_EQ(build(SymbolTag::bool_iff, {p, q}), "bool");
  EXPECT_EQ(build(SymbolTag::bool_not, {p}), "bool");
  EXPECT_EQ(build(SymbolTag::bool_and, {p, x8}), "and takes Booleans, not Bool and (_ BitVec 8)");
  EXPECT_EQ(build(SymbolTag::bool_true, {}), "bool");
  EXPECT_EQ(tm.mk_app(SymbolTag::bool_true, {}), tm.mk_bool(true));
  EXPECT_EQ(tm.mk_app(SymbolTag::bool_false, {}), tm.mk_bool(false));
  EXPECT_EQ(build(SymbolTag::bool_true, {p}), "true takes 0 arguments, not 1");
}

TEST_F(OperatorsTest, IfThenElse) {
  Term_ const* words = tm.mk_app(SymbolTag::term_ite, {p, x8, y8});
  EXPECT_EQ(words->symbol->get_output_type(), tm.bv_type(8));
  EXPECT_EQ(tm.get_tag(words->symbol), SymbolTag::term_ite);
  Term_ const* booleans = tm.mk_app(SymbolTag::term_ite, {p, p, q});
  EXPECT_EQ(tm.get_tag(booleans->symbol), SymbolTag::bool_ite);
  EXPECT_EQ(tm.mk_app(SymbolTag::bool_ite, {p, x8, y8}), words);
  EXPECT_EQ(
      build(SymbolTag::term_ite, {x8, x8, y8}),
      "ite takes a Boolean and two terms of one sort, not (_ BitVec 8) and (_ BitVec 8) and (_ BitVec 8)");
  EXPECT_EQ(build(SymbolTag::term_ite, {p, x8, x4}),
            "ite takes a Boolean and two terms of one sort, not Bool and (_ BitVec 8) and (_ BitVec 4)");
}

TEST_F(OperatorsTest, Structure) {
  EXPECT_EQ(build(SymbolTag::bv_concat, {x8, x4}), "bv12");
  EXPECT_EQ(build(SymbolTag::bv_concat, {x8, p}), "concat takes two words, not (_ BitVec 8) and Bool");
  EXPECT_EQ(build(SymbolTag::bv_concat, {p, x8}), "concat takes two words, not Bool and (_ BitVec 8)");
  EXPECT_EQ(build(SymbolTag::bv_extract, {x8}, 7, 0), "bv8");
  EXPECT_EQ(build(SymbolTag::bv_extract, {x8}, 5, 5), "bv1");
  EXPECT_EQ(build(SymbolTag::bv_extract, {x8}, 5, 2), "bv4");
  EXPECT_EQ(build(SymbolTag::bv_extract, {x8}, 2, 5),
            "extract takes msb >= lsb below the width, not 2 and 5 of width 8");
  EXPECT_EQ(build(SymbolTag::bv_extract, {x8}, 8, 0),
            "extract takes msb >= lsb below the width, not 8 and 0 of width 8");
  EXPECT_EQ(build(SymbolTag::bv_extract, {p}, 0, 0), "extract takes a word, not Bool");
  EXPECT_EQ(build(SymbolTag::bv_rotate_left, {x8}, 8), "bv8");
  EXPECT_EQ(build(SymbolTag::bv_rotate_left, {x8}, 9),
            "rotate_left takes an amount of at most the width, not 9 of width 8");
  EXPECT_EQ(build(SymbolTag::bv_zero_extend, {x8}, 5), "bv13");
  EXPECT_EQ(build(SymbolTag::bv_sign_extend, {x8}, 0), "bv8");
  EXPECT_EQ(build(SymbolTag::bv_sign_extend, {p}, 1), "sign_extend takes a word, not Bool");
}

TEST_F(OperatorsTest, FloatingPoint) {
  EXPECT_EQ(build(SymbolTag::fp_to_sbv, {rm, f}, 16), "bv16");
  EXPECT_EQ(build(SymbolTag::fp_to_ubv, {rm, f}, 7), "bv7");
  EXPECT_EQ(build(SymbolTag::fp_as_ieeebv, {f}), "bv32");
  EXPECT_EQ(build(SymbolTag::fp_to_sbv, {f, rm}, 16),
            "fp.to_sbv takes a rounding mode and a floating-point value, not (_ FloatingPoint 8 24) and "
            "RoundingMode");
  EXPECT_EQ(build(SymbolTag::fp_as_ieeebv, {x8}),
            "fp.to_ieee_bv takes a floating-point value, not (_ BitVec 8)");
}

TEST_F(OperatorsTest, UnknownTags) {
  EXPECT_EQ(build(SymbolTag::none, {}), "no such operator: tag 0");
  EXPECT_EQ(build(static_cast<SymbolTag::tag>(500), {x8}), "no such operator: tag 500");
}

TEST_F(OperatorsTest, SortNames) {
  EXPECT_EQ(sort_text(tm.bool_type), "Bool");
  EXPECT_EQ(sort_text(tm.bv_type(12)), "(_ BitVec 12)");
  EXPECT_EQ(sort_text(tm.fp_type(11, 52)), "(_ FloatingPoint 11 53)");
  EXPECT_EQ(sort_text(tm.rounding_mode_type), "RoundingMode");
  EXPECT_EQ(sort_text(tm.int_type), "Int");
  EXPECT_EQ(sort_text(tm.real_type), "Real");
}

TEST_F(OperatorsTest, SignedLessThanKnowsTheWidthOfItsOperands) {
  Term_ const* a = tm.mk_app(SymbolTag::bv_slt, {x8, y8});
  Term_ const* z4 = tm.mk_variable("z4", tm.bv_type(4));
  Term_ const* b = tm.mk_app(SymbolTag::bv_slt, {x4, z4});
  EXPECT_NE(a->symbol, b->symbol);
  EXPECT_EQ(a->symbol->parameter(0), 8u);
  EXPECT_EQ(b->symbol->parameter(0), 4u);
}

// What the queries of the manager answer from.
TEST(Operators, RoleIsThatOfTheSymbol) {
  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(8));
  EXPECT_EQ(Symbol::Role::extract, operator_role(SymbolTag::bv_extract));
  EXPECT_TRUE(tm.is_bv_extract(tm.mk_app(SymbolTag::bv_extract, {x}, 3, 1)->symbol));
  EXPECT_EQ(Symbol::Role::rotate_left, operator_role(SymbolTag::bv_rotate_left));
  EXPECT_TRUE(tm.is_bv_rotate_left(tm.mk_app(SymbolTag::bv_rotate_left, {x}, 3)->symbol));
  EXPECT_EQ(Symbol::Role::slt, operator_role(SymbolTag::bv_slt));
  EXPECT_EQ(Symbol::Role::plain, operator_role(SymbolTag::bv_sle));
  EXPECT_EQ(Symbol::Role::plain, operator_role(SymbolTag::none));
}

}  // namespace
}  // namespace vell

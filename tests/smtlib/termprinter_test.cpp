#include "vell/smtlib/termprinter.h"

#include <gtest/gtest.h>

namespace vell::smtlib {
namespace {

TEST(TermPrinter, LeavesOperatorsAndParameters) {
  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(8));
  Term_ const* odd = tm.mk_variable("a b", tm.bv_type(8));
  EXPECT_EQ("x", term_text(tm, x));
  EXPECT_EQ("|a b|", term_text(tm, odd));
  EXPECT_EQ("(_ bv5 8)", term_text(tm, tm.mk_bv(5, 8)));
  EXPECT_EQ("true", term_text(tm, tm.mk_bool(true)));
  Term_ const* e = tm.mk_app(SymbolTag::bv_extract, {x}, 5, 2);
  EXPECT_EQ("((_ extract 5 2) x)", term_text(tm, e));
  EXPECT_EQ("((_ zero_extend 3) ((_ extract 5 2) x))",
            term_text(tm, tm.mk_app(SymbolTag::bv_zero_extend, {e}, 3)));
  EXPECT_EQ("(bvslt x |a b|)", term_text(tm, tm.mk_app(SymbolTag::bv_slt, {x, odd})));
}

TEST(TermPrinter, SharedTermsAreNamedOnce) {
  TermManager tm;
  Term_ const* t = tm.mk_variable("x", tm.bv_type(8));
  for (int i = 0; i < 200; ++i) t = tm.mk_app(SymbolTag::bv_mul, {t, t});
  std::string const text = term_text(tm, t, "s");
  EXPECT_LT(text.size(), 200u * 40);
  EXPECT_EQ(0u, text.find("(let ((s2 (bvmul x x))) (let ((s3 (bvmul s2 s2))) "));
  EXPECT_EQ(text.size() - 199 - 17, text.find("(bvmul s200 s200)"));
}

TEST(TermPrinter, OneLevel) {
  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(8));
  Term_ const* odd = tm.mk_variable("a b", tm.bv_type(8));
  Term_ const* sum = tm.mk_app(SymbolTag::bv_add, {x, odd});
  EXPECT_EQ("|a b|", shallow_text(tm, odd));
  EXPECT_EQ("(bvadd x |a b|)", shallow_text(tm, sum));
  EXPECT_EQ("((_ extract 5 2) #" + std::to_string(sum->id) + ")",
            shallow_text(tm, tm.mk_app(SymbolTag::bv_extract, {sum}, 5, 2)));
}

TEST(TermPrinter, DeepTermsNeedNoCallStack) {
  TermManager tm;
  Term_ const* t = tm.mk_variable("x", tm.bv_type(8));
  for (int i = 0; i < 1000000; ++i) t = tm.mk_app(i % 2 == 0 ? SymbolTag::bv_not : SymbolTag::bv_neg, {t});
  // "(bvnot " and ")" for each.
  EXPECT_EQ(1000000u * 8 + 1, term_text(tm, t).size());
}

TEST(TermPrinter, FloatingPointLeaves) {
  TermManager tm;
  Term_ const* half = tm.mk_number(QNumber(0x3800), tm.fp_type(5, 10));
  EXPECT_EQ("(fp #b0 #b01110 #b0000000000)", term_text(tm, half));
}

TEST(TermPrinter, ShortTextHasAsManyLevelsAsFit) {
  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(4));
  Term_ const* sum = tm.mk_app(SymbolTag::bv_add, {x, x});
  Term_ const* product = tm.mk_app(SymbolTag::bv_mul, {sum, x});
  Term_ const* less = tm.mk_app(SymbolTag::bv_ult, {product, sum});
  EXPECT_EQ("(bvult (bvmul (bvadd x x) x) (bvadd x x))", short_text(tm, less, 60));
  EXPECT_EQ("(bvult (bvmul #2 x) (bvadd x x))", short_text(tm, less, 40));
  EXPECT_EQ("(bvult #3 #2)", short_text(tm, less, 20));
  EXPECT_EQ("(bvult...", short_text(tm, less, 9));
  EXPECT_EQ("x", short_text(tm, x, 9));
  Term_ const* accented = tm.mk_variable("\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4", tm.bool_type);
  EXPECT_EQ("|\xc3\xa4...", short_text(tm, accented, 7));
  // A deep term.
  for (int i = 0; i < 1000000; ++i) x = tm.mk_app(SymbolTag::bv_not, {x});
  std::string const below = std::to_string(x->id - 6);
  EXPECT_EQ("(bvnot (bvnot (bvnot (bvnot (bvnot (bvnot #" + below + "))))))", short_text(tm, x, 80));
}

TEST(TermPrinter, NamedTermsArePrintedAsTheirName) {
  TermManager tm;
  Term_ const* x = tm.mk_variable("x", tm.bv_type(4));
  Term_ const* y = tm.mk_variable("y", tm.bv_type(4));
  Term_ const* sum = tm.mk_app(SymbolTag::bv_add, {x, y});
  Term_ const* product = tm.mk_app(SymbolTag::bv_mul, {sum, x});
  Term_ const* both = tm.mk_app(SymbolTag::bv_and, {product, sum});
  EXPECT_EQ("(bvand (bvmul s |a b|) s)", term_text(tm, both, "_t", {{sum, "s"}, {x, "|a b|"}}));
  EXPECT_EQ("s", term_text(tm, sum, "_t", {{sum, "s"}}));
}

}  // namespace
}  // namespace vell::smtlib

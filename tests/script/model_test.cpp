#include "vell/script/model.h"

#include <gtest/gtest.h>

#include "vell/terms/exception.h"

namespace vell::script {
namespace {

TEST(Model, EvaluatesTerms) {
  TermManager terms;
  Term_ const* x = terms.mk_variable("x", terms.bv_type(8));
  Term_ const* y = terms.mk_variable("y", terms.bv_type(8));
  Model model(terms);
  model.set(x, 200);
  Term_ const* sum = terms.mk_app(SymbolTag::bv_add, {x, terms.mk_bv(100, 8)});
  EXPECT_EQ((std::vector<std::uint64_t>{44}), model.words(sum));
  EXPECT_EQ("#b00101100", model.text(sum));
  EXPECT_EQ("#x2c", model.text(sum, WordFormat::hexadecimal));
  EXPECT_EQ("(_ bv44 8)", model.text(sum, WordFormat::decimal));
  EXPECT_EQ((std::vector<std::uint64_t>{0}), model.words(y));  // it was given none
  EXPECT_TRUE(model.is_true(terms.mk_app(SymbolTag::bv_ult, {y, x})));
  model.set(y, 201);
  EXPECT_FALSE(model.is_true(terms.mk_app(SymbolTag::bv_ult, {y, x})));
}

TEST(Model, TakesWordsOfAnyWidth) {
  TermManager terms;
  Term_ const* x = terms.mk_variable("x", terms.bv_type(70));
  Model model(terms);
  std::uint64_t const words[] = {1, ~std::uint64_t{0}, 5};
  model.set(x, words);
  EXPECT_EQ((std::vector<std::uint64_t>{1, 63}), model.words(x));
  model.set(x, 7);
  EXPECT_EQ((std::vector<std::uint64_t>{7, 0}), model.words(x));
}

TEST(Model, DividesByZeroAsItWasTold) {
  TermManager terms;
  Term_ const* x = terms.mk_variable("x", terms.bv_type(4));
  Term_ const* quotient = terms.mk_app(SymbolTag::bv_udiv, {x, terms.mk_bv(0, 4)});
  Model smtlib(terms);
  EXPECT_EQ((std::vector<std::uint64_t>{15}), smtlib.words(quotient));
  Model open(terms, true);
  open.set(quotient, 3);
  EXPECT_EQ((std::vector<std::uint64_t>{3}), open.words(quotient));
}

TEST(Model, RefusesWhatHasNoBits) {
  TermManager terms;
  Model model(terms);
  EXPECT_THROW(model.words(terms.mk_variable("n", terms.int_type)), Exception);
  EXPECT_EQ(0U, value_width(terms, terms.int_type));
  EXPECT_EQ(1U, value_width(terms, terms.bool_type));
  EXPECT_EQ(16U, value_width(terms, terms.fp_type(5, 10)));
}

}  // namespace
}  // namespace vell::script

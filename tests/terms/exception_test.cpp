#include "vell/terms/exception.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "vell/bv/wordclausifierinterface.h"
#include "vell/terms/ieeefloat.h"

namespace vell {
namespace {

TEST(ExceptionTest, TextGrowsByPieces) {
  Exception e("not supported: ");
  EXPECT_STREQ(e.what(), "not supported: ");
  e << "x" << 5 << std::string(" y");
  EXPECT_STREQ(e.what(), "not supported: x5 y");
}

TEST(ExceptionTest, StartsEmpty) {
  Exception e;
  EXPECT_STREQ(e.what(), "");
  e << "a";
  EXPECT_STREQ(e.what(), "a");
}

TEST(ExceptionTest, CopiesAreApart) {
  Exception e("a");
  Exception copy = e;
  copy << "b";
  EXPECT_STREQ(e.what(), "a");
  EXPECT_STREQ(copy.what(), "ab");
  e = copy;
  e << "c";
  EXPECT_STREQ(e.what(), "abc");
  EXPECT_STREQ(copy.what(), "ab");
}

TEST(ExceptionTest, IsCaughtAsAStandardException) {
  try {
    Exception e("text");
    e << "!";
    throw e;
  } catch (std::exception const& e) {
    EXPECT_STREQ(e.what(), "text!");
  }
}

TEST(ExceptionTest, WhatStaysValidUntilTheNextChange) {
  Exception e("some text that is longer than any small buffer");
  char const* text = e.what();
  EXPECT_EQ(std::string(text), "some text that is longer than any small buffer");
}

TEST(ExceptionTest, ErrorOfTheClausifierIsOne) {
  bv::WordClausifierInterface::error e("a");
  Exception& base = e;
  base << "b";
  try {
    throw base;  // slices
  } catch (bv::WordClausifierInterface::error const&) {
    FAIL() << "the copy has the static type";
  } catch (Exception const& caught) {
    EXPECT_STREQ(caught.what(), "ab");
  }
}

TEST(IEEEFloatTest, Bias) {
  EXPECT_EQ(IEEEFloat::format(8, 23).bias().to_str(), "127");
  EXPECT_EQ(IEEEFloat::format(11, 52).bias().to_str(), "1023");
  EXPECT_EQ(IEEEFloat::format(5, 10).bias().to_str(), "15");
  EXPECT_EQ(IEEEFloat::format(1, 1).bias().to_str(), "0");
  EXPECT_EQ(IEEEFloat::format(70, 1).bias().to_str(), "590295810358705651711");  // 2^69 - 1
  EXPECT_EQ(IEEEFloat::format(8, 23).exponent_width(), 8u);
  EXPECT_EQ(IEEEFloat::format(8, 23).fraction_width(), 23u);
}

TEST(IEEEFloatTest, RoundingModesAreNumbered) {
  EXPECT_EQ(IEEEFloat::even, 0u);
  EXPECT_EQ(IEEEFloat::zero, 1u);
  EXPECT_EQ(IEEEFloat::plus_inf, 2u);
  EXPECT_EQ(IEEEFloat::minus_inf, 3u);
}

}  // namespace
}  // namespace vell

#include "vell/report/texttable.h"

#include <gtest/gtest.h>

namespace vell::report {
namespace {

TEST(TextTable, AlignsColumns) {
  TextTable table({"name", "n", "text"});
  EXPECT_TRUE(table.empty());
  table.add({"a", "1,000", "x"});
  table.add({"\xc3\xa4\xc3\xb6", "7", ""});
  EXPECT_FALSE(table.empty());
  EXPECT_EQ(
      "name      n  text\n"
      "a     1,000  x\n"
      "\xc3\xa4\xc3\xb6        7\n",
      table.text());
}

TEST(TextTable, Numbers) {
  EXPECT_EQ("0", with_commas(0));
  EXPECT_EQ("999", with_commas(999));
  EXPECT_EQ("1,000", with_commas(1000));
  EXPECT_EQ("18,446,744,073,709,551,615", with_commas(UINT64_MAX));
  EXPECT_EQ("12.5 %", percent(1, 8));
  EXPECT_EQ("", percent(0, 0));
  EXPECT_EQ("a b c", printable("a\nb\x1b"
                               "c"));
}

}  // namespace
}  // namespace vell::report

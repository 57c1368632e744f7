// The evaluator that holds the formulas of the documentation to measurements.

#include "tests/support/formula.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace vell::test {
namespace {

TEST(Formula, Values) {
  Variables const variables = {{"n", 7}, {"z", 2}};
  std::pair<char const*, std::int64_t> const cases[] = {{"14*n - 7", 91},
                                                        {"n*(n+1)/2", 28},
                                                        {"30*n^2 - 24*n + 10", 1312},
                                                        {"2^3^2", 512},
                                                        {"-2^2", -4},
                                                        {"10 - 3 - 2", 5},
                                                        {"24/4/2", 3},
                                                        {"7*max(0, n - 1 - z)", 28},
                                                        {"min(n, 3) * 2", 6},
                                                        {"2 + 3 * 4", 14},
                                                        {"(2 + 3) * 4", 20},
                                                        {"- - 5", 5},
                                                        {"3 - -2", 5},
                                                        {"(-1)^9000000000000000001", -1},
                                                        {"0^0", 1},
                                                        {"9223372036854775807", INT64_MAX},
                                                        {"2 * -3", -6},
                                                        {"(-9223372036854775807) / -1", INT64_MAX}};
  for (auto const& [text, value] : cases) {
    FormulaResult const result = evaluate(text, variables);
    EXPECT_EQ(result.error, "") << text;
    EXPECT_EQ(result.value, value) << text;
  }
}

TEST(Formula, BadInputIsAnErrorAndNoCrash) {
  Variables const variables = {{"n", 7}, {"least", INT64_MIN}};
  std::vector<std::string> const cases = {"",
                                          "n +",
                                          "(n",
                                          "n)",
                                          "n n",
                                          "1/0",
                                          "7/2",
                                          "2^-1",
                                          "min(n)",
                                          "max n",
                                          "min(1, 2",
                                          "m",
                                          "*2",
                                          "1 $ 2",
                                          "2^64",
                                          "9223372036854775808",
                                          "n(2)",
                                          "()",
                                          "3^9999999",
                                          "least - 1",
                                          "least / -1",
                                          "-least",
                                          std::string(100000, '('),
                                          std::string(100000, '-'),
                                          std::string(1, '\0'),
                                          "least * least"};
  for (std::string const& text : cases) {
    FormulaResult const result = evaluate(text, variables);
    EXPECT_NE(result.error, "") << text.substr(0, 20);
    EXPECT_EQ(result.value, 0) << text.substr(0, 20);
  }
}

}  // namespace
}  // namespace vell::test

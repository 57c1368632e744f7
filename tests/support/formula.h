#pragma once

// Formulas of the documentation's tables: integers, variables, + - * / ^, min(a, b), max(a, b), parentheses.

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace vell::test {

using Variables = std::map<std::string, std::int64_t, std::less<>>;

// value is meaningful where error is empty.
struct FormulaResult {
  std::int64_t value = 0;
  std::string error;
};

// ^ binds strongest and to the right, then the sign, then * and /, then + and -. A division that leaves a
// remainder is an error, and so are an unknown name, a negative exponent and a value beyond 64 bits.
FormulaResult evaluate(std::string_view formula, Variables const& variables);

}  // namespace vell::test

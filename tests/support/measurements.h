#pragma once

// Everything whose size docs/encodings.md states, by the name that it has there.

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/support/formula.h"
#include "tests/support/lab.h"

namespace vell::test {

struct Measurement {
  using Free = std::function<void(Lab&, std::int64_t n)>;
  using WithConstant = std::function<void(Lab&, std::int64_t n, std::uint64_t constant)>;

  std::vector<std::int64_t> widths;
  Free free;                   // one of the two
  WithConstant with_constant;  // is called for several constants of each width
};

using Measurements = std::map<std::string, Measurement>;

Measurements const& measurements();

// Numbers of a constant that formulas may use, beside n: z trailing zeros, t trailing ones, p set bits, q the
// sum of the positions of the set bits except the lowest.
Variables properties(std::uint64_t constant, std::int64_t n);
// Constants of n bits to measure with: all of them for small n, otherwise special and random ones.
std::vector<std::uint64_t> constants_of(std::int64_t n);

// The standard formats of conversions.
struct Format {
  char const* name;
  std::uint64_t e, s;
};
inline constexpr Format formats[] = {{"Float16", 5, 10}, {"Float32", 8, 23}, {"Float64", 11, 52}};
// The last one is no mode but a variable.
inline constexpr char const* mode_names[] = {"RNE", "RTZ", "RTP", "RTN", "variable mode"};

// The term that converts a floating-point variable by the mode, an index of mode_names.
Term_ const* conversion(Lab& l, SymbolTag::tag tag, Format const& f, int mode, std::int64_t width);

}  // namespace vell::test

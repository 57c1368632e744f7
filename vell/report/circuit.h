#pragma once

// The circuit of one operator: what the clausifier builds for it over free or constant bits.
//
// Tested by tests/report/circuit_test.cpp.

#include <cstdint>
#include <string>
#include <vector>

#include "vell/report/cells.h"

namespace vell::report {

struct CircuitOptions {
  std::string name;  // of the operator, as operator_names() lists it, or with its numbers: (_ extract 5 2)
  std::uint64_t width = 4;  // of words; the result's for the conversions
  // For each argument its bits, the most significant first: 0, 1 or ? for a free one; #b0101, #x5; "?" alone
  // for a free argument. A rounding mode: RNE, RTZ, RTP or RTN.
  std::vector<std::string> constants;
  // Of a floating-point argument: bits of the exponent, and of the fraction with the hidden bit.
  std::uint64_t exponent = 3;
  std::uint64_t significand = 4;
  bool free_division = false;
  std::size_t most = 500;  // cells; a larger circuit is refused
};

struct Circuit {
  // A word, element 0 its least significant bit.
  struct Port {
    std::string name;
    bv::BvLitList bits;
  };
  std::string title;  // the term: "(bvadd x y)"
  std::uint64_t width = 0;
  std::vector<Port> inputs;
  Port result;
  std::vector<Cell> cells;
  bv::BvLit last = 1;  // the largest literal
};

// Throws Exception with one line for an operator, a width or constants that make no circuit.
Circuit make_circuit(CircuitOptions const& options);

// The operators that can be drawn: those with a handler.
std::vector<std::string> operator_names();

// Values by variable, from the bits of the inputs; element 0 of each the least significant one.
std::vector<bool> circuit_values(Circuit const& circuit, std::vector<std::vector<bool>> const& inputs);

}  // namespace vell::report

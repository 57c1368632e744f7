#pragma once

// Pictures: the terms of a check, and the circuit of one operator.
//
// Tested by tests/script/drawing_test.cpp.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vell/script/control.h"
#include "vell/script/options.h"
#include "vell/utils/export.h"

namespace vell::script {

// What write_drawing() draws.
struct DrawingOptions : Options {
  std::uint64_t query = 0;  // which check, from 1; 0: the first, or the script's end where it has none
  std::uint64_t depth = 0;  // levels of terms below the assertions; 0: all
  std::string only = {};    // the name of an assertion, a constant or a defined term; "": everything
  double least = 0;         // percent of all clauses that a term must have, with what is below it
  std::size_t most = 150;   // terms that are drawn: those with the most clauses, own and below
  std::string model = {};   // a file with values to show, as decode() prints them; "": none
};

// Draws the terms of a check of the script, as write_cnf() translates them, into a file whose name ends in
// .svg, .png (both by Graphviz) or .dot. The file appears whole or not at all. Returns whether `most` left
// terms out. Throws as write_cnf() does, and Exception where Graphviz is needed and not installed.
VELL_API bool write_drawing(std::string const& script, std::string const& output,
                            DrawingOptions const& options = {}, Control* control = nullptr);

// What write_circuit() draws.
struct CircuitDrawingOptions {
  std::string name = {};    // of the operator, as SMT-LIB writes it: "bvadd", "(_ extract 5 2)"
  std::uint64_t width = 4;  // of its words; of the result of a conversion
  // For each argument its bits, the most significant first: 0, 1 or ? for a free one; #b0101, #x5; "?" alone
  // for a free argument. A rounding mode: RNE, RTZ, RTP or RTN.
  std::vector<std::string> constants = {};
  std::uint64_t exponent = 3;     // bits of a floating-point argument
  std::uint64_t significand = 4;  // with the hidden bit
  bool free_division = false;     // a quotient by zero is open
  std::string model = {};         // a file with values of x, y and z, as decode() prints them; "": none
};

// Draws the circuit of an operator, as write_drawing() does; a name that ends in .html gives a page where
// values run through the circuit. Throws Exception for an operator, a width or constants that make no
// circuit, and for one of more than 500 cells.
VELL_API void write_circuit(std::string const& output, CircuitDrawingOptions const& options,
                            Control* control = nullptr);

}  // namespace vell::script

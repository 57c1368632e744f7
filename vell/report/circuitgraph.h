#pragma once

// A circuit as a drawing: boxes for cells, lines with literals between them.
//
// Tested by tests/report/circuitgraph_test.cpp.

#include <string>
#include <vector>

#include "vell/report/circuit.h"

namespace vell::report {

// DOT. values: by variable, as circuit_values() gives them, to print and mark what is true; empty for none.
// Every element of the picture has an id: cell0, ..., in_0_1 for bit 1 of input 0, out_3; lines have the
// class l17 for variable 17.
std::string circuit_dot(Circuit const& circuit, std::vector<bool> const& values = {});

// A page that shows the picture, an SVG of circuit_dot() without values, with the clauses of each cell, and
// values that run through from input bits that are clicked. values: of the inputs at first.
std::string circuit_page(Circuit const& circuit, std::string const& svg, std::vector<bool> const& values);

}  // namespace vell::report

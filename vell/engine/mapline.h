#pragma once

// The comment of a CNF file that says where a constant's bits went:
//
//   c map x (_ BitVec 4) 1 2 -3 T
//
// Element 0, the least significant bit, comes first. A bit is a DIMACS literal, T or F where it is constant, or ? where
// no clause depends on it, so that any value will do. In a quoted symbol a line break is written \n, a carriage return
// \r (a backslash cannot occur there). A floating-point constant has its fraction, exponent and sign in this order, a
// rounding mode two bits: 0 to even, 1 toward zero, 2 toward positive, 3 toward negative.
//
// Tested by tests/engine/mapline_test.cpp.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vell/sinks/dimacssink.h"
#include "vell/terms/literal.h"
#include "vell/terms/termmanager.h"

namespace vell::engine {

struct MapLine {
  std::string symbol;           // as it must be printed
  std::string sort;             // as SMT-LIB writes it
  std::vector<std::string> bits;
};

// The line of a constant of `width` bits, without "c " and newline. bits: as the clausifier holds them, null where it
// has none; they become DIMACS variables as the form says.
std::string map_line(Term_ const* constant, bv::BvLitList const* bits, std::uint64_t width,
                     sinks::DimacsSink::Form form);

// The parts of a comment line (with its "c "); nothing when it is no map line. Throws Exception for a map line that is
// broken.
std::optional<MapLine> parse_map_line(std::string_view line);

}  // namespace vell::engine

#pragma once

// The comments of a CNF file that say where the bits of a constant, or of a term with a name, went, and which
// value a constant has that the clauses do not have (docs/cnf.md):
//
//   c map x (_ BitVec 4) 1 2 -3 T
//   c def y (_ BitVec 4) (bvadd x #b0001)
//   c aux map free!0 (_ BitVec 4) 5 6 7 8
//
// Element 0, the least significant bit, comes first. A bit is a DIMACS literal, T or F where it is constant,
// or ? where no clause depends on it, so that any value will do. In a quoted symbol a line break is written
// \n, a carriage return \r (a backslash cannot occur there). A floating-point constant has its fraction,
// exponent and sign in this order, and every pattern of NaN is the one NaN; a rounding mode has three bits: 0
// to even, 1 toward zero, 2 toward positive, 3 toward negative, 4 and above to nearest, ties away from zero.
// "aux" marks constants that are not among those of the script that have lines of their own.
//
// Tested by tests/cnf/mapline_test.cpp.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vell/sinks/dimacssink.h"
#include "vell/terms/literal.h"
#include "vell/terms/termmanager.h"

namespace vell::cnf {

struct MapLine {
  std::string symbol;  // as it must be printed
  std::string sort;    // as SMT-LIB writes it
  std::vector<std::string> bits;
};

struct DefLine {
  std::string symbol;  // as it must be printed
  std::string sort;    // as SMT-LIB writes it
  std::string term;    // over constants of map lines, and of def lines further up
};

// In front of "map" and "def" in lines of constants that are no part of a model.
inline constexpr std::string_view auxiliary = "aux ";

// In front of the lines of terms that the script gave a name, without "c ": they are no constants of a model.
inline constexpr char names_heading[] = "names";

// `width` bits, a blank in front of each. bits: as the clausifier holds them, null where it has none; they
// become DIMACS variables as the form says.
std::string bits_text(bv::BvLitList const* bits, std::uint64_t width, sinks::DimacsSink::Form form);

// The line of a term of that width, without "c " and newline. symbol: as a script must write it. bits: see
// bits_text().
std::string map_line(std::string const& symbol, Term_ const* term, bv::BvLitList const* bits,
                     std::uint64_t width, sinks::DimacsSink::Form form);

// Likewise: symbol and text of the term's value as a script must write them.
std::string def_line(std::string const& symbol, Term_ const* term, std::string const& value);

// The parts of a comment line (with its "c ", without "aux "); nothing when it is no map line. Throws
// Exception for a map line that is broken.
std::optional<MapLine> parse_map_line(std::string_view line);
// The same for a def line.
std::optional<DefLine> parse_def_line(std::string_view line);

}  // namespace vell::cnf

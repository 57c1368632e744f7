#pragma once

// The cells of a circuit, from the clauses that its encoding gives.
//
// A circuit draws each literal just before the clauses that define it, and emits them in a fixed order. So
// the clauses between two fresh literals are those of one cell, and their pattern says which.
//
// Tested by tests/report/cells_test.cpp.

#include <string>
#include <vector>

#include "vell/sinks/recordingsink.h"

namespace vell::report {

struct Cell {
  struct Pin {
    std::string role;  // as in docs/encodings.md: a, b, c, r, t, e; sum, carry
    bv::BvLit literal;
  };
  std::string kind;                    // see kinds()
  std::vector<Pin> inputs;             // any literal, constants included
  std::vector<Pin> outputs;            // the literals drawn, positive
  std::vector<bv::BvLitList> clauses;  // in the order of emission
};

// The cells of the events between two translations, in their order. A literal without clauses is a cell of
// the kind "free". A cell of an unknown pattern is a "gate", with the literals of its clauses for inputs.
// for_equality: a first stage of an equality has the pattern of an exclusive or; whether it is called the
// former.
std::vector<Cell> cells_of(std::vector<sinks::RecordingSink::Event> const& events, bool for_equality);

// Whether the literal of an output of the cell is true, given those of the inputs: values by variable, and
// the other outputs before it. A free literal is false.
bool cell_value(Cell const& cell, std::size_t output, std::vector<bool> const& values);

}  // namespace vell::report

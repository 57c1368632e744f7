#pragma once

// The terms of a query as a drawing: boxes sized by their own clauses, shaded by their share.
//
// Tested by tests/report/termgraph_test.cpp.

#include <cstdint>
#include <optional>
#include <string>

#include "vell/report/model.h"
#include "vell/report/profile.h"
#include "vell/run/limits.h"

namespace vell::report {

struct TermGraphOptions {
  std::uint64_t depth = 0;  // levels of terms below assertions; 0 for all
  std::string only;         // the name of an assertion, a constant or a defined term; "" for everything
  double least = 0;         // percent of all clauses that a term must have, with what is below it
  std::size_t most = 150;   // terms that are drawn: those with the most clauses, own and below
  bool free_division = false;
  Model const* model = nullptr;  // values to print and mark
};

struct TermGraph {
  std::string dot;
  std::size_t drawn = 0;    // terms
  std::size_t skipped = 0;  // terms that `most` left out, and no other option
};

// Translates the query of the profile again, for the literals of the terms drawn. Throws Exception for a name
// that is not there, run::Stopped.
TermGraph term_graph(Profile const& profile, TermGraphOptions const& options, run::Limits const& limits);

// The DIMACS literals of a term's bits, element 0 first: "5 6 7 8 T" as "5..8 T", "F F F" as "3*F"; at most
// so many pieces.
std::string bits_summary(bv::BvLitList const& bits, std::size_t most = 8);

}  // namespace vell::report

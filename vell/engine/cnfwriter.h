#pragma once

// One query of a script as a DIMACS file.
//
// Tested by tests/engine/cnfwriter_test.cpp.

#include <cstdint>
#include <string>

#include "vell/engine/limits.h"
#include "vell/engine/statistics.h"
#include "vell/terms/logger.h"

namespace vell::engine {

struct CnfOptions {
  std::string input = {};      // path, "-" for standard input
  std::string output = {};     // path, "-" for standard output; see OutputFile
  std::uint64_t query = 0;     // which check-sat, from 1; 0: the first, or the script's end where it has none
  std::string symbols = "*";   // glob pattern: constants with a map line
  bool annotate = false;       // a comment before each term's first clause
  bool raw = false;            // see DimacsSink
  bool free_division = false;
  Logger* logger = nullptr;    // of the clausifier; null for none
};

// Throws smtlib::Error for a broken script, Exception for a query that is not there or a file that cannot be written,
// Stopped when the limits say so; then no file is left.
void write_cnf(CnfOptions const& options, Limits const& limits, Statistics& statistics);

}  // namespace vell::engine

#pragma once

// One query of a script as a DIMACS file.
//
// Tested by tests/cnf/writer_test.cpp.

#include <cstdint>
#include <string>

#include "vell/run/limits.h"
#include "vell/run/statistics.h"
#include "vell/run/tunables.h"
#include "vell/terms/logger.h"
#include "vell/words/passes.h"

namespace vell::cnf {

struct CnfOptions {
  std::string input = {};     // path, "-" for standard input
  std::string output = {};    // path, "-" for standard output; see OutputFile
  std::uint64_t query = 0;    // which check-sat, from 1; 0: the first, or the script's end where it has none
  std::string symbols = "*";  // glob pattern: constants with a map line
  bool annotate = false;      // a comment before each term's first clause
  bool raw = false;           // see DimacsSink
  bool free_division = false;
  run::Tunables tunables = {};
  words::Passes passes = words::Passes::all;  // until the script sets :words
  Logger* logger = nullptr;                   // of the clausifier; null for none
};

// Throws smtlib::Error for a broken script, Exception for a query that is not there or a file that cannot be
// written, Stopped when the limits say so; then no file is left.
void write_cnf(CnfOptions const& options, run::Limits const& limits, run::Statistics& statistics);

}  // namespace vell::cnf

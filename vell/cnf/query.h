#pragma once

// The formulas of one check-sat of a script, as they become clauses.
//
// Tested by tests/cnf/writer_test.cpp.

#include <string>
#include <vector>

#include "vell/cnf/writer.h"
#include "vell/io/error.h"
#include "vell/smtlib/reader.h"
#include "vell/terms/termmanager.h"
#include "vell/words/definition.h"
#include "vell/words/simplifier.h"

namespace vell::cnf {

struct Query {
  std::vector<Term_ const*> formulas;    // assertions and assumptions, in this order
  std::vector<io::Position> positions;   // of each formula's assertion or check in the script
  std::vector<std::string> labels;       // of each formula: the name that :named gave its assertion, or ""
  std::vector<Term_ const*> constants;   // those with a map line
  std::vector<smtlib::NamedTerm> names;  // other terms with a map line
  std::vector<Term_ const*> name_terms;  // of each name: its term as the formulas have it
  // Of the constants that formulas no longer hold: their bits are those of the values.
  std::vector<words::Definition> definitions;
  words::Passes passes = words::Passes::all;  // what the formulas went through
};

// Reads the script up to options.query and simplifies its formulas. observer: of the passes, or null. Throws
// as write_cnf() does.
Query read_query(CnfOptions const& options, TermManager& tm, run::Limits const& limits,
                 run::Statistics& statistics, words::StepObserver* observer = nullptr);

}  // namespace vell::cnf

#pragma once

// The formulas of one check-sat of a script, as they become clauses.
//
// Tested by tests/cnf/writer_test.cpp.

#include <string>
#include <vector>

#include "vell/cnf/writer.h"
#include "vell/engine/state.h"
#include "vell/io/error.h"
#include "vell/smtlib/reader.h"
#include "vell/smtlib/termprinter.h"
#include "vell/terms/termmanager.h"
#include "vell/words/definition.h"
#include "vell/words/simplifier.h"

namespace vell::cnf {

// What a query of a script asserts, as it stands there.
struct Assertions {
  std::string file;                     // the script's name
  engine::ScriptState state;            // at the query
  std::vector<Term_ const*> formulas;   // assertions and assumptions, in this order
  std::vector<io::Position> positions;  // of each formula's assertion or check in the script
  std::vector<std::string> labels;      // of each formula: the name that :named gave its assertion, or ""
  std::size_t permanent = 0;            // so many formulas are of the first level
  std::size_t retractable = 0;          // so many after them are of the levels above; assumptions follow
  words::Passes passes = words::Passes::all;  // that the script sets
};

// query, initial: as CnfOptions has them. Throws as write_cnf() does.
Assertions read_assertions(std::string const& input, std::uint64_t query, words::Passes initial,
                           TermManager& tm, run::Limits const& limits, run::Statistics& statistics);

struct Query {
  std::vector<Term_ const*> formulas;    // assertions and assumptions, in this order
  std::vector<io::Position> positions;   // of each formula's assertion or check in the script
  std::vector<std::string> labels;       // of each formula: the name that :named gave its assertion, or ""
  std::vector<Term_ const*> constants;   // those with a map line
  std::vector<smtlib::NamedTerm> names;  // other terms with a map line
  std::vector<Term_ const*> name_terms;  // of each name: its term as the formulas have it
  // Of constants that the formulas no longer hold, and that have the bits of their values; and of names and
  // open-valued terms, which have their own.
  words::Definitions definitions;
  // Of the other constants, which have a line with the value. It is made of constants with bits, and of
  // earlier ones.
  words::Definitions recorded;
  // What these lines need besides, and has bits: new variables, constants that have no map line, and terms
  // whose operands leave their value open. The names are also of variables that are no constants asked for
  // and that one of the lists above defines.
  std::vector<Term_ const*> auxiliary;
  smtlib::TermNames auxiliary_names;
  std::string let_prefix = "_t";              // no constant's symbol begins with it
  words::Passes passes = words::Passes::all;  // what the formulas went through
};

// Reads the script up to options.query and simplifies its formulas. observer: of the passes, or null. Throws
// as write_cnf() does.
Query read_query(CnfOptions const& options, TermManager& tm, run::Limits const& limits,
                 run::Statistics& statistics, words::StepObserver* observer = nullptr);

}  // namespace vell::cnf

#pragma once

// Where the clauses of a query come from: the cost of each term, counted while the clausifier translates it.
//
// Tested by tests/report/profile_test.cpp.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "vell/cnf/query.h"
#include "vell/cnf/writer.h"
#include "vell/report/cost.h"
#include "vell/run/limits.h"
#include "vell/run/statistics.h"

namespace vell::report {

// A term that was translated, in the order of translation.
struct TermCost {
  Term_ const* term = nullptr;
  Cost own;                // of its handler alone
  std::uint32_t root = 0;  // the first root that it belongs to
  std::uint32_t parent =
      0;  // the first term in the order that has it as an argument: its index + 1; 0 for none
  std::uint32_t uses = 0;  // terms that have it as an argument, and roots
};

// A formula, or the value of an eliminated variable (cnf::Translation).
struct RootCost {
  Term_ const* term = nullptr;
  std::uint64_t line = 0;  // of its assertion or check; 0 for the value of a variable
  std::string name;        // that of its assertion, or of the variable in the file; "" without
  bool is_definition = false;
  std::uint64_t terms = 0;  // that it was the first to need
  Cost cost;                // of these, and of its unit clause
  Cost cumulative;          // of all that it needs, whoever needed it first
};

struct OperatorCost {
  std::string name;         // as SMT-LIB writes it, "variable" or "numeral"
  std::uint64_t width = 0;  // of the result; of the operands where the result is Boolean
  std::uint64_t terms = 0;
  Cost cost;
};

// The formulas of the batch before or after a pass on words.
struct FormulasSize {
  std::uint64_t formulas = 0;
  std::uint64_t terms = 0;
  // Of the CNF, were it written now; nothing where a term is not supported.
  std::optional<std::uint64_t> clauses;
};

// One run of a pass that replaced something.
struct Step {
  std::string pass;
  std::uint64_t replaced = 0;
  double seconds = 0;
  FormulasSize before;
  FormulasSize after;
};

struct Profile {
  // Owns the terms; the query is made of them.
  std::unique_ptr<TermManager> tm;
  cnf::Query query;

  std::string input;         // the script's name without its folder
  std::uint64_t number = 0;  // of the query, as asked for
  std::string words;         // words::passes_text()
  Cost total;                // variables, clauses and literals of the CNF file
  Cost units;                // of that, the unit clauses of formulas
  std::vector<TermCost> terms;
  std::vector<RootCost> roots;
  std::vector<OperatorCost> operators;  // the most clauses first
  FormulasSize given;                   // the formulas as they were read
  std::vector<Step> steps;

  // The place of a translated term in `terms`; npos for another one.
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);
  std::size_t index_of(Term_ const* term) const {
    return term->id < places_.size() && places_[term->id] != 0 ? places_[term->id] - 1 : npos;
  }

  std::vector<std::uint32_t> places_;  // by id: the place in `terms` plus 1
};

// Reads the script, simplifies and translates the query into a sink that counts. Throws as cnf::write_cnf()
// does. options.output is not used.
Profile measure(cnf::CnfOptions const& options, run::Limits const& limits, run::Statistics& statistics);

// For a name of OperatorCost, and its width.
std::string operator_name_of(TermManager const& tm, Term_ const* term);
std::uint64_t operator_width_of(TermManager const& tm, Term_ const* term);

// Places in `terms`, those with the most clauses of their own first, at most so many.
std::vector<std::size_t> most_expensive(Profile const& profile, std::size_t count);

}  // namespace vell::report

#pragma once

// A query as clauses: in which order, and which unit clauses.
//
// Tested by tests/cnf/translation_test.cpp.

#include <string>
#include <vector>

#include "vell/bv/schedule.h"
#include "vell/cnf/observation.h"
#include "vell/cnf/query.h"

namespace vell::cnf {

// Every run into a sink gives the same clauses.
class Translation {
 public:
  // The query must outlive this. input: the script's path, for messages.
  Translation(Query const& query, TermManager& tm, std::string const& input);

  // The formulas, then the values of the definitions.
  std::vector<Term_ const*> const& roots() const { return roots_; }
  // In the order of their translation.
  std::span<Term_ const* const> terms() const { return schedule_.order(); }

  // Each formula's clauses and the unit clause of its literal, then the clauses of the values of constants
  // that the formulas no longer hold. clausifier: one that has translated nothing yet. traced: by the
  // clausifier's own traversal, which its trace tells of. observer: that of the clausifier, or null. Throws
  // io::Error with the formula's place for a term that is not supported.
  void run(bv::WordClausifier& clausifier, bv::ClauseSink& sink, TranslationObserver* observer = nullptr,
           bool traced = false) const;

 private:
  static std::vector<Term_ const*> roots_of(Query const& query);
  static bv::Schedule schedule_of(Query const& query, TermManager& tm,
                                  std::vector<Term_ const*> const& roots);

  Query const& query_;
  std::string file_;
  std::vector<Term_ const*> roots_;
  bv::Schedule schedule_;
};

}  // namespace vell::cnf

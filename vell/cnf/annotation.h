#pragma once

// Comments in a CNF file that say which clauses come from which term.
//
// Each translated term has a line in front of its clauses, also where it has none:
//
//   c term #12 line 7 (bvadd x #9) = 5 6 7 -8
//
// The line is that of the assertion, or of the check with assumptions, that brought the term; #9 is a term
// with a line of its own, further up; the bits are written as in map lines. A formula that has to hold has a
// heading in front of its unit clause:
//
//   c root line 7 (= #12 y) = 21
//
// Tested by tests/cnf/writer_test.cpp.

#include <string>
#include <vector>

#include "vell/cnf/observation.h"
#include "vell/cnf/query.h"
#include "vell/sinks/dimacssink.h"

namespace vell::cnf {

// The text with blanks for line breaks.
std::string one_line(std::string text);

// Keeps the clauses of one term back until its comment is written.
class AnnotatingSink : public sinks::DimacsSink {
 public:
  AnnotatingSink(ByteOutput& out, Form form) : DimacsSink(out, form), form_(form) {}
  Form form() const { return form_; }
  void hold() { holding_ = true; }
  // Writes the comment and the clauses held back.
  void release(std::string const& line);
  // There is nothing to hold back.
  void release() { holding_ = false; }
  void add_clause() override;

 private:
  Form form_;
  bool holding_ = false;
  std::vector<bv::BvLit> held_;  // clauses, each ended by 0
};

class Annotator : public TranslationObserver {
 public:
  // The references must outlive this.
  Annotator(TermManager& tm, Query const& query, AnnotatingSink& sink)
      : tm_(tm), query_(query), sink_(sink) {}

  void begin_root(std::size_t i) override;
  void before(Term_ const* term) override;
  void after(Term_ const* term, bv::BvLitList const& bits, bool is_leaf) override;
  void end_root(std::size_t i, bv::BvLit literal) override;

 private:
  TermManager& tm_;
  Query const& query_;
  AnnotatingSink& sink_;
  std::uint64_t line_ = 0;  // where the formula that is translated stands in the script
};

}  // namespace vell::cnf

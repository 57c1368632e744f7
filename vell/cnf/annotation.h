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

#include <vector>

#include "vell/sat/clausifier.h"
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
  void add_clause() override;

 private:
  Form form_;
  bool holding_ = false;
  std::vector<bv::BvLit> held_;  // clauses, each ended by 0
};

class AnnotatingClausifier : public sat::ScriptClausifier {
 public:
  // sink, which every term is translated into, must outlive this.
  AnnotatingClausifier(TermManager* tm, Configuration::Theory::Bv* config, AnnotatingSink& sink);

  // Where the formula that is translated next stands in the script.
  void set_line(std::uint64_t line) { line_ = line; }
  // The heading of a formula that was translated to the literal.
  void announce_root(Term_ const* formula, bv::BvLit literal);

 private:
  void announced(bv::ClauseSink* sink, Term_ const* term);

  TermManager& tm_;
  AnnotatingSink& sink_;
  std::vector<Handler> handlers_;
  std::uint64_t line_ = 0;
};

}  // namespace vell::cnf

#pragma once

// Who watches a translation, term by term.
//
// Tested by tests/cnf/observation_test.cpp.

#include <cstddef>
#include <vector>

#include "vell/sat/clausifier.h"

namespace vell::cnf {

// A clause or fresh literal that comes between before() and after() belongs to that term; the rest are the
// unit clauses of formulas.
class TranslationObserver {
 public:
  virtual ~TranslationObserver() = default;
  // Root number i is translated next. See Translation for the numbers.
  virtual void begin_root(std::size_t i) = 0;
  virtual void before(Term_ const* term) = 0;
  // bits: of the term, valid during the call. is_leaf: a variable or a numeral, which has no handler.
  virtual void after(Term_ const* term, bv::BvLitList const& bits, bool is_leaf) = 0;
  // The literal of root number i. The unit clause of a formula follows.
  virtual void end_root(std::size_t i, bv::BvLit literal) = 0;
};

// Calls an observer around each handler. The clauses are those of the clausifier that it is derived from.
class ObservedClausifier : public sat::ScriptClausifier {
 public:
  // The observer must outlive this.
  ObservedClausifier(TermManager* tm, Configuration::Theory::Bv* config, TranslationObserver& observer);

 private:
  void observed(bv::ClauseSink* sink, Term_ const* term);
  void observed_leaf(bv::ClauseSink* sink, Term_ const* term);

  TermManager& tm_;
  TranslationObserver& observer_;
  std::vector<Handler> handlers_;  // by tag, as they were
};

}  // namespace vell::cnf

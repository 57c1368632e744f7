#pragma once

// The formulas of one check, as the passes on words see them.

#include <cstddef>
#include <vector>

#include "vell/terms/termmanager.h"
#include "vell/words/definition.h"

namespace vell::words {

struct Formula {
  Term_ const* term;
  // What the caller knows the formula by, such as the index of an assertion. A formula that a pass makes of
  // several has the origin of the first one.
  std::size_t origin;
};

// One batch: what was asserted or assumed since the batch before.
struct Formulas {
  std::vector<Formula> permanent;    // hold for good; a pass may add, drop and combine them
  std::vector<Formula> retractable;  // hold until a level is popped; replaced one by one, in their order
  std::vector<Formula> assumed;      // hold for one check; replaced one by one, in their order
  // No formula of an earlier batch still stands. Only then may a pass drop what later formulas could need.
  bool first = false;
  // Whether variables may go only if their values follow from what is left, so that no new variable is
  // needed.
  bool substitute_only = false;
  // How often the repeated passes ran over this batch before.
  unsigned round = 0;
  // Of the variables that were eliminated from this batch.
  Definitions definitions;
  // Terms that the caller would like to find again in what is left. Passes put equal ones in their place
  // where that takes no more than to look them up, and leave formulas as if they were not there.
  std::vector<Term_ const*> watched;

  // Calls f with every formula: those that hold for good first.
  template <typename F>
  void each(F f) {
    for (std::vector<Formula>* part : {&permanent, &retractable, &assumed})
      for (Formula& formula : *part) f(formula);
  }
  // Puts f(t) in the place of every term t beside the formulas: values of definitions, and terms that are
  // watched.
  template <typename F>
  void replace_values(F f) {
    for (Definition& d : definitions) d.value = f(d.value);
    for (Term_ const*& t : watched) t = f(t);
  }
};

// The terms of a list of formulas.
inline std::vector<Term_ const*> terms_of(std::vector<Formula> const& formulas) {
  std::vector<Term_ const*> out;
  out.reserve(formulas.size());
  for (Formula const& f : formulas) out.push_back(f.term);
  return out;
}

}  // namespace vell::words

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
  // Whether variables may be eliminated; if not, every pass keeps `permanent` equivalent.
  bool may_define = false;
  // Of the variables that were eliminated from this batch.
  Definitions definitions;

  // Calls f with every formula: those that hold for good first.
  template <typename F>
  void each(F f) {
    for (std::vector<Formula>* part : {&permanent, &retractable, &assumed})
      for (Formula& formula : *part) f(formula);
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

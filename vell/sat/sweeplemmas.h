#pragma once

// Equal signals of the formulas that a solver was given, as clauses for it.
//
// Tested by tests/sat/sweeplemmas_test.cpp.

#include <cstddef>
#include <vector>

#include "vell/bv/wordclausifier.h"
#include "vell/run/limits.h"
#include "vell/run/tunables.h"
#include "vell/sat/longsearch.h"
#include "vell/terms/termmanager.h"

namespace vell::sat {

// They follow from the terms alone, but a solver would take long to find them.
class SweepLemmas : public LemmaSource {
 public:
  // clausifier: has the literals of the formulas; divisions by zero have SMT-LIB's values in it. The
  // references must outlive this.
  SweepLemmas(TermManager& tm, bv::WordClausifier& clausifier, run::Limits const& limits,
              run::Tunables const& tunables)
      : tm_(tm), clausifier_(clausifier), limits_(limits), tunables_(tunables) {}

  // A formula that has been clausified.
  void add(Term_ const* formula) { formulas_.push_back(formula); }

  // Sweeps the formulas, unless fewer than half of them are new since the last sweep. Two clauses for each
  // pair of equal signals; none where there are too few pairs to stop a search for, and none of them
  // products.
  std::vector<bv::BvLitList> lemmas() override;

 private:
  TermManager& tm_;
  bv::WordClausifier& clausifier_;
  run::Limits const& limits_;
  run::Tunables const& tunables_;
  std::vector<Term_ const*> formulas_;
  std::size_t swept_ = 0;  // number of formulas at the last sweep
};

}  // namespace vell::sat

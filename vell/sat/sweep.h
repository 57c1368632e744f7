#pragma once

// SAT sweeping: finds signals of a formula that are equal, or opposite, under every assignment.
//
// Two different circuits for the same function are hard for a SAT solver. If equal inner signals are found
// from the inputs upward, each is easy to prove, and with their equalities the outputs are easy too
// (Kuehlmann, "Dynamic transition relation simplification for bounded property checking", 2004).
//
// Tested by tests/sat/sweep_test.cpp.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "vell/run/limits.h"
#include "vell/run/tunables.h"
#include "vell/terms/termmanager.h"

namespace vell::sat {

// Bit `bit` of a term, 0 the least significant one; the only bit of a Boolean.
struct Signal {
  Term_ const* term;
  std::uint64_t bit;
};

struct EqualSignals {
  Signal a;
  Signal b;
  bool opposite;  // a is the negation of b
};

struct Sweep {
  std::vector<EqualSignals> equal;
  std::size_t signals = 0;   // how many were looked at, among them one of each pair
  std::size_t unproved = 0;  // comparisons of two that agree on the random values but were not proved equal
  // The number of pairs less that of the comparisons without a proof, at least zero.
  std::size_t gain() const { return equal.size() - std::min(equal.size(), unproved); }
};

// Finds such pairs in the formulas, among the signals that agree under random assignments. Each pair is
// proved, by a SAT solver with a low limit or by comparing two products as polynomials. Divisions by zero
// have SMT-LIB's values. Formulas with too many signals are not swept. When a limit is reached, the pairs
// found so far are returned.
Sweep sweep(TermManager& tm, std::span<Term_ const* const> formulas, run::Limits const& limits,
            run::Tunables const& tunables = run::Tunables());

}  // namespace vell::sat

#pragma once

// Signals of a formula that are equal, or opposite, whatever the values of the variables.
//
// Two circuits for one function are hard on a SAT solver that sees only their outputs; with the signals in
// between told to be equal, one after the other from the inputs up, they fall together (Kuehlmann, "Dynamic
// transition relation simplification for bounded property checking", 2004, calls it SAT sweeping).
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

// Finds such pairs below the formulas, among the signals that agree on random values. Each is proved: by a
// SAT solver that gives up early, or as a product that is the same polynomial. Divisions by zero have
// SMT-LIB's values. Formulas with too many signals are left alone. Ends early, with what was found, when the
// limits say so.
Sweep sweep(TermManager& tm, std::span<Term_ const* const> formulas, run::Limits const& limits,
            run::Tunables const& tunables = run::Tunables());

}  // namespace vell::sat

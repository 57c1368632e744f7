#pragma once

// Whether two terms have the same value whatever the values of their variables: by trying all of them, by a
// SAT solver, and by trying random ones. None of the three uses anything of vell/words.
//
// Tested by tests/words/equivalence_test.cpp.

#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "vell/terms/termmanager.h"

namespace vell::test {

using TermPair = std::pair<Term_ const*, Term_ const*>;

// Whether the variables below the pair have at most 16 bits together, and no word there more than 16.
bool tabulable(TermManager const& tm, TermPair const& pair);

// Tries every assignment; the pair must be tabulable. Empty where the values agree, else an assignment under
// which they do not.
std::string tabulated_difference(TermManager const& tm, TermPair const& pair);

// Asks the embedded solver, with no simplification before it, for an assignment under which the terms of any
// pair differ. Empty where there is none, else the pair that differs.
std::string solved_difference(TermManager& tm, std::span<TermPair const> pairs);

// Tries `count` random assignments, among them many with corner values. As tabulated_difference.
std::string random_difference(TermManager const& tm, TermPair const& pair, std::uint64_t count,
                              std::uint64_t seed);

}  // namespace vell::test

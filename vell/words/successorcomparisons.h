#pragma once

// Comparisons with the number after, or before, another one.
//
// y < x + 1 says y <= x, unless x is the largest number and x + 1 wraps. Beside x < y a SAT solver sees this
// only through the adder's chain of carries, and is long about it when the words are wide.
//
// Tested by tests/words/successorcomparisons_test.cpp.

#include "vell/terms/termmanager.h"

namespace vell::words {

// Whether replace_successor_comparison() has another formula for t. Looks at the operands of t, no further
// down.
bool is_successor_comparison(TermManager const& tm, Term_ const* t);

// A comparison y < x + 1, x + 1 <= y, y - 1 < x or x <= y - 1, unsigned or signed, as an equivalent formula
// over
// (< x y) and an equality; null for any other term.
Term_ const* replace_successor_comparison(TermManager& tm, Term_ const* t);

}  // namespace vell::words

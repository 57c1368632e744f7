#pragma once

// Literals and the vectors of literals that stand for words.

#include <cstdint>
#include <vector>

#include "vell/utils/export.h"

namespace vell::bv {

// A propositional literal: 1 true, -1 false, 0 none; v >= 2 a variable, -v its negation.
// The negation of a literal is its arithmetic negation.
using BvLit = std::int32_t;

// The constants, and no literal.
inline constexpr BvLit l_true = 1;
inline constexpr BvLit l_false = -1;
inline constexpr BvLit l_undef = 0;

// Whether a is l_true or l_false.
constexpr bool is_constant(BvLit a) { return a == l_true || a == l_false; }

// The bits of a term, element 0 the least significant. A Boolean term has one element.
using BvLitList = std::vector<BvLit>;

}  // namespace vell::bv

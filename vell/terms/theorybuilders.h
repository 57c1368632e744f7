#pragma once

// Builders of the operators; see theory.h. All of them build from left to right what the script wrote.

#include "vell/terms/theory.h"

namespace vell::theory::build {

using Build = Term_ const*(Application const&);

// ---- one operator of the term layer ----
Build constant;   // true, false
Build direct;     // op.tag over the arguments, indices as its parameters
Build fold_left;  // op.tag, ((a b) c) d
Build swapped;    // op.tag over the two arguments in reverse order
Build product;    // the same as fold_left; a constant that stands second in a product of two goes first

// ---- core ----
Build implies;
Build exclusive_or;
Build equal;
Build distinct;

// ---- words ----
Build complemented;  // the complement of op.tag over two words
Build xnor;
Build compare;
Build smod;
Build extract;
Build rotate;
Build rotate_by_word;
Build repeat;
Build extend;
Build reduce_or;
Build reduce_and;

// ---- overflow ----
Build negation_overflows;
Build signed_sum_overflows;  // op.tag: sum or difference
Build unsigned_sum_overflows;
Build unsigned_product_overflows;
Build signed_product_overflows;
Build signed_quotient_overflows;

}  // namespace vell::theory::build

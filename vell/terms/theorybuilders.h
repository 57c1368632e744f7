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

// ---- floating point: fptheory.cpp ----
Build rounding_mode;
Build special_value;
Build float_of_parts;
Build float_conversion;
Build float_operation;  // op.tag over the arguments, indices as its parameters
Build float_order;      // op.tag over each two neighbours
Build float_order_swapped;

}  // namespace vell::theory::build

namespace vell::theory {

// Whether argument i has the sort that one of the floating-point cases of Sorts asks for there.
bool floating_sort_fits(TermManager& terms, Sorts sorts, std::span<Term_ const* const> arguments,
                        std::size_t i);
// What such a case asks for, of that many arguments: "floating-point values of one format".
char const* floating_sorts_text(Sorts sorts, std::size_t count);

}  // namespace vell::theory

#pragma once

// The rules that the rewriter applies, one file per family of operators.
//
// A rule looks at the root of a term whose operands are in normal form already and gives an equivalent term,
// or null where it does not apply. It may leave new terms below the root that are not in normal form: the
// rewriter takes them up again. A rule never makes a circuit larger as long as its operands are used nowhere
// else, and leaves operands that others may use as they are.
//
// Tested by tests/words/rules_test.cpp: every rule there is proved on instances of its own.

#include <span>

#include "vell/words/builder.h"
#include "vell/words/tags.h"

namespace vell::words {

struct Rule {
  char const* name;
  Tags roots;            // the operators of the terms that it applies to
  char const* equation;  // what it does, in short
  Term_ const* (*apply)(Builder const& b, Term_ const* t);
};

namespace rules {

// In the order in which they are tried.
std::span<Rule const> booleans();
std::span<Rule const> conditionals();
std::span<Rule const> equalities();
std::span<Rule const> comparisons();
std::span<Rule const> bitwise();
std::span<Rule const> sums();
std::span<Rule const> products();
std::span<Rule const> divisions();
std::span<Rule const> shifts();
std::span<Rule const> slices();

// What is built in the end; not a part of the normal form.
std::span<Rule const> circuits();

}  // namespace rules

// Those of the normal form, family after family.
std::span<Rule const> normal_rules();
// All of them.
std::span<Rule const> all_rules();

}  // namespace vell::words

#pragma once

// Cumulative costs: of a term and everything below it, each term counted once.
//
// Terms share arguments, so a sum over arguments would count twice. The costs of 64 terms are added up in one
// walk over all terms, from the last in the order of translation to the first: a word holds, for each term,
// which of the 64 lie above it.
//
// Tested by tests/report/cones_test.cpp.

#include <span>
#include <vector>

#include "vell/report/profile.h"
#include "vell/run/limits.h"

namespace vell::report {

// The cumulative costs of terms, given by their places in profile.terms. Throws run::Stopped.
std::vector<Cost> cumulative(Profile const& profile, std::span<std::size_t const> places,
                             run::Limits const& limits);

// By place in profile.terms: the clauses, own and below, that are counted here where each term is counted
// below its `parent` alone. The sum over the terms without a parent is that over all terms. One walk.
std::vector<std::uint64_t> tree_clauses(Profile const& profile);

}  // namespace vell::report

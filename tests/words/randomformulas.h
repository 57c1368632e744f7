#pragma once

// Small random formulas in the shapes that the passes on words look for.
//
// Tested by tests/words/simplification_test.cpp.

#include <cstdint>

#include "tests/words/case.h"

namespace vell::test {

// The case of a seed, always the same in a new manager. Terms of up to 12 bits that share subterms through a
// pool.
Case random_case(TermManager& tm, std::uint64_t seed);

}  // namespace vell::test

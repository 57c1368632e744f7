#pragma once

// Clauses and cubes in memory.
//
// Tested by tests/cubes/cubewriter_test.cpp and tests/cubes/splitter_test.cpp.

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "vell/cnf/mapline.h"

namespace vell::cubes {

// DIMACS literals that hold together.
using Cube = std::vector<std::int32_t>;

struct Formula {
  std::int32_t variables = 0;
  std::vector<std::int32_t> clauses;  // 0 after each
  std::vector<cnf::MapLine> map;      // of the constants

  // f(clause) for each clause, a span of literals.
  template <typename F>
  void each(F f) const {
    for (auto clause = clauses.begin(); clause != clauses.end();) {
      auto const end = std::find(clause, clauses.end(), 0);
      f(std::span<std::int32_t const>(clause, end));
      clause = end + 1;
    }
  }
};

// Reads a CNF file. Throws Exception as cnf::DimacsReader does.
Formula read_formula(std::string const& path);

// The literals and a 0, a blank before each.
std::string literals_text(std::span<std::int32_t const> literals);

}  // namespace vell::cubes

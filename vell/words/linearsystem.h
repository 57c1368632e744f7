#pragma once

// Systems of linear equations over words.
//
// Tested by tests/words/linearsystem_test.cpp.

#include <gmpxx.h>

#include <cstdint>
#include <vector>

#include "vell/run/limits.h"

namespace vell::words {

// Rows c[0]*x[0] + ... + c[n-1]*x[n-1] = right modulo 2^width, over unknowns of `width` bits.
class LinearSystem {
 public:
  struct Row {
    std::vector<mpz_class> c;  // n coefficients in [0, 2^width)
    mpz_class right;           // in [0, 2^width)
  };

  LinearSystem(std::uint64_t width, std::size_t unknowns) : width_(width), unknowns_(unknowns) {}

  // Adds an equation; its numbers are taken modulo 2^width.
  void add(Row row);
  std::vector<Row> const& rows() const { return rows_; }

  // What a row of the echelon form leads with: 2^valuation times the unknown.
  struct Pivot {
    std::size_t unknown;
    std::uint64_t valuation;
  };

  // Brings the rows into an echelon form with the same solutions: row i has the coefficient
  // 2^pivots[i].valuation at its pivot and multiples of it elsewhere, and a pivot of valuation 0 stands in no
  // other row. Empty rows go. False when there is no solution. Costs rows^2 * unknowns operations. Throws
  // Stopped when the limits say so.
  bool reduce(std::vector<Pivot>& pivots, run::Limits const& limits = run::no_limits());

 private:
  std::uint64_t width_;
  std::size_t unknowns_;
  std::vector<Row> rows_;
};

}  // namespace vell::words

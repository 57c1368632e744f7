#pragma once

// A formula that takes a SAT solver long.

#include <cstddef>
#include <vector>

#include "vell/sinks/solversink.h"

namespace vell::test {

// Every one of n pigeons in one of n - 1 holes, no two in the same. Pigeon p in hole h is element
// p * (n - 1) + h of the literals.
inline std::vector<bv::BvLit> put_pigeons(sinks::SolverSink& sink, std::ptrdiff_t n) {
  std::ptrdiff_t const holes = n - 1;
  std::vector<bv::BvLit> in(static_cast<std::size_t>(n * holes));
  for (bv::BvLit& l : in) l = sink.new_lit();
  for (std::ptrdiff_t p = 0; p < n; ++p) {
    sink.lits.assign(in.begin() + p * holes, in.begin() + (p + 1) * holes);
    sink.add_clause();
  }
  for (std::ptrdiff_t h = 0; h < holes; ++h)
    for (std::ptrdiff_t p = 0; p < n; ++p)
      for (std::ptrdiff_t q = 0; q < p; ++q)
        sink.add_clause(
            {-in[static_cast<std::size_t>(p * holes + h)], -in[static_cast<std::size_t>(q * holes + h)]});
  return in;
}

}  // namespace vell::test

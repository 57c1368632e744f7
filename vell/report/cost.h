#pragma once

// What clauses cost, as a CNF file has them: without clauses that a constant satisfies, and without false
// constants.
//
// Tested by tests/report/cost_test.cpp.

#include <array>
#include <cstddef>
#include <cstdint>

#include "vell/terms/clausesink.h"

namespace vell::report {

struct Cost {
  // Clauses of length 0, 1, ... ; the last place counts all longer ones.
  static constexpr std::size_t lengths = 6;

  std::uint64_t fresh = 0;  // literals drawn
  std::uint64_t clauses = 0;
  std::uint64_t literals = 0;  // sum of the clauses' lengths
  std::array<std::uint64_t, lengths> by_length = {};

  bool operator==(Cost const&) const = default;
  Cost& operator+=(Cost const& c) {
    fresh += c.fresh;
    clauses += c.clauses;
    literals += c.literals;
    for (std::size_t i = 0; i < lengths; ++i) by_length[i] += c.by_length[i];
    return *this;
  }
  Cost& operator-=(Cost const& c) {
    fresh -= c.fresh;
    clauses -= c.clauses;
    literals -= c.literals;
    for (std::size_t i = 0; i < lengths; ++i) by_length[i] -= c.by_length[i];
    return *this;
  }
};

// A sink that adds up. No atom has a literal here.
class CostSink : public bv::ClauseSink {
 public:
  bv::BvLit new_lit() override { return static_cast<bv::BvLit>(2 + total_.fresh++); }
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override {
    std::size_t length = 0;
    for (bv::BvLit const l : lits) {
      if (l == bv::l_true) return;
      length += l == bv::l_false ? 0 : 1;
    }
    ++total_.clauses;
    total_.literals += length;
    ++total_.by_length[length < Cost::lengths ? length : Cost::lengths - 1];
  }

  Cost const& total() const { return total_; }

 private:
  Cost total_;
};

}  // namespace vell::report

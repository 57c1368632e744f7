#pragma once

// The constants that bound the effort of simplification and search, with their reasons: the table that
// --options prints.
//
// Tested by tests/run/tunables_test.cpp.

#include <cstdint>
#include <string>
#include <string_view>

namespace vell::run {

// row(name, default, least, most, reason)
// clang-format off
#define VELL_TUNABLES(row)                                                                                  \
  row(equation_factors, 3, 1, 1000,                                                                         \
      "factors that are no powers of two, for an equation to enter a linear system")                        \
  row(equation_visits, 5'000'000, 0, 1'000'000'000'000,                                                     \
      "terms visited in search of linear equations")                                                        \
  row(equation_work, 3'000'000'000, 0, 1'000'000'000'000,                                                   \
      "rows^2 * unknowns * 64-bit words of a system to be solved")                                          \
  row(identity_definitions, 400, 0, 1'000'000,                                                              \
      "definitions that identities unfold; checking for cycles is costly")                                  \
  row(identity_unfolded, 2'000, 0, 1'000'000'000,                                                           \
      "terms visited in one check for a cycle of definitions")                                              \
  row(long_search, 30'000, 0, 1'000'000'000'000,                                                            \
      "conflicts after which a search is swept for equal signals, and a second one joins it")               \
  row(polynomial_terms, 600, 1, 1'000'000,                                                                  \
      "monomials of a polynomial; a larger one is an atom")                                                 \
  row(polynomial_degree, 24, 1, 1'000,                                                                      \
      "degree of a polynomial; a higher one is an atom")                                                    \
  row(portfolio_conflicts, 50'000, 1, 1'000'000'000,                                                        \
      "conflicts of each attempt of a second search; twice as many in each later round")                    \
  row(portfolio_literals, 16'000'000, 0, 1'000'000'000'000,                                                 \
      "literals of the clauses; a larger formula, which takes a gigabyte, is not searched twice")           \
  row(product_group, 64, 1, 1'000'000,                                                                      \
      "products of the same roots that are compared with each other")                                       \
  row(rounds, 12, 0, 1'000'000,                                                                             \
      "rounds of rewriting, facts and definitions over one batch of formulas")                              \
  row(sweep_circuits, 1'000'000, 0, 1'000'000'000'000,                                                      \
      "squared widths of products and quotients; more is not swept")                                        \
  row(sweep_clauses, 1'000'000, 0, 1'000'000'000,                                                           \
      "clauses after which a sweep ends")                                                                   \
  row(sweep_conflicts, 100'000, 0, 1'000'000'000,                                                           \
      "conflicts after which a sweep ends")                                                                 \
  row(sweep_proof_conflicts, 300, 0, 2'000'000'000,                                                         \
      "conflicts to prove two signals equal")                                                               \
  row(sweep_proof_decisions, 5'000, 0, 2'000'000'000,                                                       \
      "decisions to prove two signals equal: a proof needs few, a model of a large formula many")           \
  row(sweep_rivals, 3, 1, 1'000,                                                                            \
      "signals of one signature that a new one is compared with")                                           \
  row(sweep_share, 10, 1, 1'000'000,                                                                        \
      "one signal in this many must be equal to another for the search to stop and learn it")               \
  row(sweep_signals, 400'000, 0, 1'000'000'000,                                                             \
      "signals; more are not swept")                                                                        \
  row(sweep_work, 300'000'000, 0, 1'000'000'000'000,                                                        \
      "literals visited by all proofs of a sweep")                                                          \
  row(sweep_work_first, 8'000'000, 0, 1'000'000'000'000,                                                    \
      "literals visited before the first equal signals are found")                                          \
  row(sweep_work_per_signal, 50'000, 0, 1'000'000'000,                                                      \
      "literals visited for each pair of equal signals found")
// clang-format on

struct Tunables {
#define VELL_TUNABLE_FIELD(name, standard, least, most, reason) std::uint64_t name = standard;
  VELL_TUNABLES(VELL_TUNABLE_FIELD)
#undef VELL_TUNABLE_FIELD

  // Sets a value from "NAME=VALUE". Throws Exception with one line for an unknown name or a value out of its
  // range.
  void set(std::string_view assignment);
  // One line per tunable: name, default, range and reason.
  static std::string table();
};

}  // namespace vell::run

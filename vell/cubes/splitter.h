#pragma once

// Splits a formula into cubes.
//
// The cubes are the leaves of a tree. Each inner node has a variable; one child takes it as true, the other
// as false. So every assignment satisfies exactly one cube.
//
// Tested by tests/cubes/splitter_test.cpp.

#include <cstdint>
#include <vector>

#include "vell/cubes/formula.h"
#include "vell/run/limits.h"

namespace vell::cubes {

// How a variable is chosen for a node. words: the bit, of the constants that weigh most in the script, whose
// two values propagate most. lookahead: what CaDiCaL's generate_cubes chooses, among all variables.
enum class Split : std::uint8_t { words, lookahead };

// About `count` cubes, 1 or more: fewer where no variable is left to choose from. candidates: the variables
// to choose from, the best first.
//
// Starts with the given cubes, the leaves of a tree, and splits the leaf where propagation leaves most
// variables open, again and again (Heule, Kullmann, Wieringa and Biere, "Cube and conquer", 2011: the product
// of what propagates on both sides is the measure of a variable). A leaf that propagation refutes stays as it
// is. Throws run::Stopped.
std::vector<Cube> split_by_propagation(Formula const& formula, std::vector<Cube> cubes,
                                       std::vector<std::int32_t> const& candidates, std::size_t count,
                                       run::Limits const& limits);

// At most as many cubes as the smallest power of two from `count` on. CaDiCaL's look-ahead visits every
// variable of the formula at each node: its effort is bounded by `steps` calls back, which are the same on
// every machine; 0 for no bound. Where they are used up the cubes found so far are returned. Throws
// run::Stopped.
std::vector<Cube> split_by_lookahead(Formula const& formula, std::size_t count, std::uint64_t steps,
                                     run::Limits const& limits);

// The leaves that are missing in a tree of which some leaves are given: a look-ahead drops those that it has
// refuted. All leaves, in the order of the tree. Throws Exception where the cubes are not leaves of a tree.
std::vector<Cube> all_leaves(std::vector<Cube> const& leaves);

}  // namespace vell::cubes

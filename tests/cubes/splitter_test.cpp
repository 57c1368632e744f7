#include "vell/cubes/splitter.h"

#include <gtest/gtest.h>

#include <numeric>
#include <random>

#include "vell/cubes/cover.h"
#include "vell/terms/exception.h"

namespace vell::cubes {
namespace {

Formula random_formula(unsigned seed, std::int32_t variables, int clauses) {
  std::mt19937 random(seed);
  Formula out;
  out.variables = variables;
  for (int c = 0; c < clauses; ++c) {
    for (int n = 0; n < 3; ++n) {
      auto const v = static_cast<std::int32_t>(1 + random() % static_cast<unsigned>(variables));
      out.clauses.push_back(random() % 2 == 0 ? v : -v);
    }
    out.clauses.push_back(0);
  }
  return out;
}

std::vector<std::int32_t> all_variables(Formula const& f) {
  std::vector<std::int32_t> out(static_cast<std::size_t>(f.variables));
  std::iota(out.begin(), out.end(), 1);
  return out;
}

// How many cubes an assignment satisfies, by the bits of a number.
int satisfied(std::vector<Cube> const& cubes, std::uint32_t assignment) {
  int out = 0;
  for (Cube const& cube : cubes)
    out += std::all_of(cube.begin(), cube.end(), [&](std::int32_t l) {
      return (assignment >> (std::abs(l) - 1) & 1) == (l > 0 ? 1U : 0U);
    });
  return out;
}

TEST(Splitter, EveryAssignmentIsInOneCube) {
  for (unsigned seed = 0; seed < 20; ++seed) {
    Formula const f = random_formula(seed, 10, 20);
    for (std::size_t const count : {1, 2, 7, 16}) {
      std::vector<Cube> const words =
          split_by_propagation(f, {Cube{}}, all_variables(f), count, run::no_limits());
      EXPECT_EQ(count, words.size());
      std::vector<Cube> const look = split_by_lookahead(f, count, 0, run::no_limits());
      for (std::vector<Cube> const& cubes : {words, look}) {
        for (std::uint32_t a = 0; a < 1024; ++a) ASSERT_EQ(1, satisfied(cubes, a)) << seed << " " << count;
        EXPECT_TRUE(cover_everything(cubes, run::no_limits()));
      }
    }
  }
}

TEST(Splitter, CandidatesAlone) {
  Formula const f = random_formula(1, 10, 12);
  std::vector<Cube> const cubes = split_by_propagation(f, {Cube{}}, {3, 7}, 100, run::no_limits());
  EXPECT_LE(cubes.size(), 4U);
  EXPECT_GT(cubes.size(), 1U);
  for (Cube const& cube : cubes)
    for (std::int32_t l : cube) EXPECT_TRUE(std::abs(l) == 3 || std::abs(l) == 7);
  EXPECT_EQ(1U, split_by_propagation(f, {Cube{}}, {}, 100, run::no_limits()).size());
}

// The variable that propagates most on both sides is taken, not one that propagates much on one side.
TEST(Splitter, EvenHalves) {
  Formula f;
  f.variables = 9;
  f.clauses = {-1, 3, 0, -1, 4, 0, -1, 5, 0, -1, 6, 0, -2, 7, 0, -2, 8, 0, 2, 9, 0, 2, 3, 0};
  EXPECT_EQ((std::vector<Cube>{{2}, {-2}}), split_by_propagation(f, {Cube{}}, {1, 2}, 2, run::no_limits()));
}

// A refuted formula is one cube: its solver says so.
TEST(Splitter, RefutedFormulas) {
  Formula f;
  f.variables = 2;
  f.clauses = {1, 2, 0, -1, 2, 0, 1, -2, 0, -1, -2, 0};
  EXPECT_EQ(1U, split_by_lookahead(f, 8, 0, run::no_limits()).size());
  f.clauses = {1, 0, -1, 0};
  EXPECT_EQ(1U, split_by_propagation(f, {Cube{}}, {1, 2}, 8, run::no_limits()).size());
}

TEST(Splitter, MissingLeaves) {
  EXPECT_EQ((std::vector<Cube>{{1, 2}, {1, -2}, {-1}}), all_leaves({{1, -2}}));
  EXPECT_EQ((std::vector<Cube>{{}}), all_leaves({{}}));
  EXPECT_THROW(all_leaves({{1}, {2}}), Exception);
  EXPECT_THROW(all_leaves({{1}, {1, 2}}), Exception);
}

TEST(Splitter, Limits) {
  run::Limits limits;
  limits.stop(run::StopReason::timeout);
  Formula const f = random_formula(1, 10, 12);
  EXPECT_THROW(split_by_propagation(f, {Cube{}}, {3, 7}, 4, limits), run::Stopped);
  EXPECT_THROW(split_by_lookahead(f, 4, 0, limits), run::Stopped);
}

// The bound on the look-ahead ends it the same way each time, with cubes that cover everything.
TEST(Splitter, BoundedLookahead) {
  Formula const f = random_formula(3, 200, 800);
  std::vector<Cube> const cubes = split_by_lookahead(f, 64, 50, run::no_limits());
  EXPECT_LT(cubes.size(), 64U);
  EXPECT_EQ(cubes, split_by_lookahead(f, 64, 50, run::no_limits()));
  EXPECT_TRUE(cover_everything(cubes, run::no_limits()));
}

}  // namespace
}  // namespace vell::cubes

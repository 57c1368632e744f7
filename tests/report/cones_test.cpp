#include "vell/report/cones.h"

#include <gtest/gtest.h>

#include <numeric>
#include <set>

#include "tests/report/measured.h"

namespace vell::report {
namespace {

using test::measured;

// A chain of additions, each the sum of the two before it: every term below is shared.
std::string chain(unsigned length) {
  std::string out = "(declare-const a0 (_ BitVec 4))(declare-const a1 (_ BitVec 4))";
  for (unsigned i = 2; i < length; ++i)
    out += "(define-fun a" + std::to_string(i) + " () (_ BitVec 4) (bvadd a" + std::to_string(i - 1) + " a" +
           std::to_string(i - 2) + "))";
  return out + "(assert (= a" + std::to_string(length - 1) + " #x0))(check-sat)";
}

// By a walk of its own.
std::uint64_t clauses_below(Profile const& p, std::size_t place) {
  std::set<std::size_t> seen;
  std::vector<std::size_t> stack{place};
  std::uint64_t out = 0;
  while (!stack.empty()) {
    std::size_t const k = stack.back();
    stack.pop_back();
    if (!seen.insert(k).second) continue;
    out += p.terms[k].own.clauses;
    for (std::uint64_t i = 0; i < p.terms[k].term->symbol->arity; ++i)
      stack.push_back(p.index_of(p.terms[k].term->children[i]));
  }
  return out;
}

TEST(Cones, CountEachTermOnce) {
  Profile const p = measured(chain(150));
  ASSERT_GT(p.terms.size(), 140u);
  std::vector<std::size_t> places(p.terms.size());
  std::iota(places.begin(), places.end(), 0);
  std::vector<Cost> const costs = cumulative(p, places, run::Limits());
  for (std::size_t k : places) ASSERT_EQ(clauses_below(p, k), costs[k].clauses) << k;
}

TEST(Cones, InTheTreeTheRootsAddUpToAll) {
  Profile const p = measured(chain(50) + "(assert (bvult a48 a3))(check-sat)", "none", 2);
  std::vector<std::uint64_t> const tree = tree_clauses(p);
  std::uint64_t sum = p.units.clauses;
  std::uint64_t of_first = 0;
  for (std::size_t k = 0; k < tree.size(); ++k) {
    if (p.terms[k].parent == 0) sum += tree[k];
    if (p.terms[k].parent == 0 && p.terms[k].root == 0) of_first += tree[k];
    if (p.terms[k].parent != 0) {
      EXPECT_EQ(p.terms[k].root, p.terms[p.terms[k].parent - 1].root);
    }
  }
  EXPECT_EQ(p.total.clauses, sum);
  EXPECT_EQ(p.roots[0].cost.clauses - 1, of_first);
}

}  // namespace
}  // namespace vell::report

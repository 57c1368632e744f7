#include "vell/cubes/splitter.h"

#include <cassert>
#include <cstdlib>
#include <queue>
#include <utility>

#include "vell/cubes/propagation.h"
#include "vell/terms/exception.h"

namespace vell::cubes {

namespace {

// A leaf of the growing tree.
struct Leaf {
  Cube cube;
  std::size_t open;   // variables that propagation leaves open
  std::size_t order;  // of its making
  // The leaf to split next comes last: most open variables, then made first.
  bool operator<(Leaf const& other) const {
    return open != other.open ? open < other.open : order > other.order;
  }
};

// How many candidates are tried at a node. Those that propagation has assigned are not counted.
constexpr std::size_t most_tried = 64;

class Splitter {
 public:
  Splitter(Formula const& formula, std::vector<std::int32_t> const& candidates, run::Limits const& limits)
      : propagation_(formula),
        variables_(static_cast<std::size_t>(formula.variables)),
        candidates_(candidates),
        limits_(limits) {}

  std::vector<Cube> split(std::vector<Cube> cubes, std::size_t count) {
    if (!propagation_.consistent()) return cubes;
    for (Cube& c : cubes) add(std::move(c));
    while (!leaves_.empty() && leaves_.size() + done_.size() < count) {
      limits_.check();
      Leaf leaf = leaves_.top();
      leaves_.pop();
      std::int32_t const best = choose(leaf.cube);
      if (best == 0) {
        done_.push_back(std::move(leaf.cube));
        continue;
      }
      for (std::int32_t const l : {best, -best}) {
        Cube child = leaf.cube;
        child.push_back(l);
        add(std::move(child));
      }
    }
    for (; !leaves_.empty(); leaves_.pop()) done_.push_back(leaves_.top().cube);
    return std::move(done_);
  }

 private:
  void add(Cube cube) {
    std::size_t const start = propagation_.assigned();
    if (propagation_.assume(cube))
      leaves_.push({std::move(cube), variables_ - propagation_.assigned(), made_++});
    else
      done_.push_back(std::move(cube));
    propagation_.withdraw(start);
  }

  // How many literals follow from l; 0 where it is refuted.
  std::uint64_t reach(std::int32_t l) {
    std::size_t const start = propagation_.assigned();
    bool const holds = propagation_.assume({&l, 1});
    std::uint64_t const out = holds ? propagation_.assigned() - start : 0;
    propagation_.withdraw(start);
    return out;
  }

  // The variable to split on below the cube; 0 for none.
  std::int32_t choose(Cube const& cube) {
    std::size_t const start = propagation_.assigned();
    [[maybe_unused]] bool const holds = propagation_.assume(cube);
    assert(holds);
    std::int32_t best = 0;
    std::uint64_t best_product = 0;
    std::size_t tried = 0;
    for (std::int32_t v : candidates_) {
      if (propagation_.value(v) != 0) continue;
      if (tried++ == most_tried) break;
      limits_.check();
      // A variable with a refuted value splits nothing: the solver finds the other value at once.
      std::uint64_t const product = reach(v) * reach(-v);
      if (product > best_product) {
        best = v;
        best_product = product;
      }
    }
    propagation_.withdraw(start);
    return best;
  }

  Propagation propagation_;
  std::size_t const variables_;
  std::vector<std::int32_t> const& candidates_;
  run::Limits const& limits_;
  std::priority_queue<Leaf> leaves_;
  std::vector<Cube> done_;  // leaves that are not split any more
  std::size_t made_ = 0;
};

}  // namespace

std::vector<Cube> split_by_propagation(Formula const& formula, std::vector<Cube> cubes,
                                       std::vector<std::int32_t> const& candidates, std::size_t count,
                                       run::Limits const& limits) {
  return all_leaves(Splitter(formula, candidates, limits).split(std::move(cubes), count));
}

std::vector<Cube> all_leaves(std::vector<Cube> const& leaves) {
  // A node's children by the literal; both are 0 at a leaf.
  struct Node {
    std::int32_t variable = 0;
    std::size_t child[2] = {0, 0};  // where it is true, false; 0 for none
    bool leaf = false;
  };
  std::vector<Node> nodes(1);
  auto const refuse = [] { throw Exception("internal error: the cubes are not the leaves of a tree"); };
  for (Cube const& cube : leaves) {
    std::size_t at = 0;
    for (std::int32_t l : cube) {
      if (nodes[at].leaf || (nodes[at].variable != 0 && nodes[at].variable != std::abs(l))) refuse();
      nodes[at].variable = std::abs(l);
      std::size_t const side = l > 0 ? 0 : 1;
      if (nodes[at].child[side] == 0) {
        nodes[at].child[side] = nodes.size();
        nodes.emplace_back();
      }
      at = nodes[at].child[side];
    }
    if (nodes[at].leaf || nodes[at].variable != 0) refuse();
    nodes[at].leaf = true;
  }
  std::vector<Cube> out;
  std::vector<std::pair<std::size_t, Cube>> stack{{0, {}}};  // 0 below the root: a leaf that was missing
  for (bool root = true; !stack.empty(); root = false) {
    auto [at, cube] = std::move(stack.back());
    stack.pop_back();
    if ((at == 0 && !root) || nodes[at].variable == 0) {
      out.push_back(std::move(cube));
      continue;
    }
    for (std::size_t const side : {1, 0}) {
      stack.emplace_back(nodes[at].child[side], cube);
      stack.back().second.push_back(side == 0 ? nodes[at].variable : -nodes[at].variable);
    }
  }
  return out;
}

}  // namespace vell::cubes

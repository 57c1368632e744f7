// The graph has no cycles, so the users of a term can all be dealt with before the term itself. Its immediate
// dominator is then the nearest common ancestor of its users in the tree of dominators, as far as it is
// grown.

#include "vell/words/analysis/dominators.h"

namespace vell::words {

Dominators::Dominators(std::vector<Term_ const*> const& terms, std::span<Term_ const* const> roots,
                       run::Limits const& limits)
    : nodes_(terms.size()) {
  place_.resize(terms.empty() ? 0 : terms.back()->id + 1, none);
  for (std::size_t i = 0; i < terms.size(); ++i) place_[terms[i]->id] = static_cast<Place>(i);
  for (Term_ const* root : roots) {
    Node& node = nodes_[place(root)];
    ++node.uses;
    node.outside = true;
  }
  for (std::size_t i = terms.size(); i-- > 0;) {
    limits.check();
    Place const user = static_cast<Place>(i);
    enter_tree(user);
    Term_ const* const t = terms[i];
    for (std::uint32_t k = 0; k < t->symbol->arity; ++k) {
      Node& node = nodes_[place(t->children[k])];
      bool const first = node.uses++ == 0;
      if (first) {
        node.user = user;
        node.operand = k;
        node.dominator = user;
      } else if (!node.outside) {
        node.dominator = common(node.dominator, user);
        node.outside = node.dominator == none;
      }
      if (node.outside) node.dominator = none;
    }
  }
}

// The ancestor farther up is the parent, or where two steps of equal length end there, where they lead.
void Dominators::enter_tree(Place t) {
  Node& node = nodes_[t];
  Place const parent = node.dominator;
  node.depth = depth(parent) + 1;
  if (parent == none) return;
  Node const& p = nodes_[parent];
  bool const equal_steps =
      p.jump != none && p.depth - depth(p.jump) == depth(p.jump) - depth(nodes_[p.jump].jump);
  node.jump = equal_steps ? nodes_[p.jump].jump : parent;
}

Dominators::Place Dominators::common(Place a, Place b) const {
  if (depth(a) < depth(b)) std::swap(a, b);
  while (depth(a) > depth(b)) {
    Node const& node = nodes_[a];
    a = depth(node.jump) >= depth(b) && node.jump != none ? node.jump : node.dominator;
  }
  // Of one depth, both have ancestors at the same depths.
  while (a != b) {
    Node const& x = nodes_[a];
    Node const& y = nodes_[b];
    bool const far = x.jump != y.jump;
    a = far ? x.jump : x.dominator;
    b = far ? y.jump : y.dominator;
  }
  return a;
}

}  // namespace vell::words

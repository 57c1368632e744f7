// A dry run of the clausifier's traversal, once, with a bit for each term instead of a hash table.
//
// A CNF file takes two translations, and each would walk the DAG, ask the cache about every edge and keep the
// bits of every term to its end. With the order at hand a translation is a walk over a vector; and walked
// backwards, the order tells which reading of a term is its last, so that its bits can be dropped there. The
// cache then holds the frontier of the DAG instead of all of it: it stays in the processor's caches, and
// memory does not grow with the circuit.
//
// The order must be that of WordClausifier::bit_blast, since it decides the numbers of the literals: a stack,
// children pushed from the first to the last, hence translated from the last to the first; and no look below
// a term that has no handler.

#include "vell/bv/schedule.h"

#include <algorithm>

namespace vell::bv {

namespace {

constexpr std::uint64_t tracked_children = 8;

}  // namespace

Schedule::Schedule(std::vector<bv::WordClausifier::Handler> const& handlers, std::uint64_t terms,
                   std::span<Term_ const* const> roots, std::span<Term_ const* const> kept)
    : roots_(roots.begin(), roots.end()), last_root_(roots.size(), false) {
  auto const looked_into = [&](Term_ const* t) {
    SymbolTag::tag const tag = t->symbol->tag();
    return t->symbol->arity != 0 && tag < handlers.size() && handlers[tag] != nullptr;
  };

  std::vector<bool> done(terms + 1, false);
  std::vector<Term_ const*, HugePageAllocator<Term_ const*>> stack;
  ends_.reserve(roots.size());
  order_.reserve(terms);  // memory that is not written costs nothing
  for (Term_ const* root : roots) {
    stack.push_back(root);
    while (!stack.empty()) {
      Term_ const* t = stack.back();
      if (done[t->id]) {
        stack.pop_back();
        continue;
      }
      if (looked_into(t)) {
        std::size_t const waiting = stack.size();
        for (std::uint64_t i = 0; i < t->symbol->arity; ++i)
          if (!done[t->children[i]->id]) stack.push_back(t->children[i]);
        if (stack.size() != waiting) continue;
      }
      stack.pop_back();
      done[t->id] = true;
      order_.push_back(t);
    }
    ends_.push_back(order_.size());
  }

  // Backwards: whoever reads a term first reads it last.
  std::vector<bool> read(terms + 1, false);
  for (Term_ const* t : kept) read[t->id] = true;
  last_uses_.resize(order_.size(), 0);
  std::size_t k = order_.size();
  for (std::size_t r = roots.size(); r-- > 0;) {
    last_root_[r] = !read[roots[r]->id];
    read[roots[r]->id] = true;
    for (std::size_t const begin = r == 0 ? 0 : ends_[r - 1]; k > begin;) {
      Term_ const* t = order_[--k];
      if (!looked_into(t)) continue;
      std::uint64_t const arity = t->symbol->arity;
      for (std::uint64_t i = 0; i < arity; ++i) {
        Term_ const* c = t->children[i];
        if (read[c->id]) continue;
        read[c->id] = true;
        if (i < tracked_children) last_uses_[k] |= static_cast<std::uint8_t>(1u << i);
      }
    }
  }
}

bv::BvLit Schedule::translate(std::size_t i, bv::WordClausifier& clausifier, bv::ClauseSink* sink) const {
  for (std::size_t k = i == 0 ? 0 : ends_[i - 1]; k < ends_[i]; ++k) {
    Term_ const* t = order_[k];
    clausifier.call_hook(sink, t, t->symbol->tag());
    for (std::uint32_t uses = last_uses_[k], c = 0; uses != 0; uses >>= 1, ++c)
      if ((uses & 1) != 0) clausifier.forget(t->children[c]);
    if (k % 1024 == 0) clausifier.drop_trail();
  }
  bv::BvLit const literal = clausifier.lookup(roots_[i])->front();
  if (last_root_[i]) clausifier.forget(roots_[i]);
  return literal;
}

}  // namespace vell::bv

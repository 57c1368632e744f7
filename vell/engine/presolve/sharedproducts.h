#pragma once

// One circuit for products that differ in width alone.
//
// Whoever asks whether x * y overflows has the product twice: at the width of x and y, and at a greater one, of x and y
// extended. The narrow one is the low bits of the wide one. As two circuits they leave it to the SAT solver to prove
// the bits equal, one after the other.
//
// Tested by tests/engine/presolve/sharedproducts_test.cpp.

#include <cstdint>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vell/terms/termmanager.h"

namespace vell::engine {

class SharedProducts {
 public:
  // Terms are made in tm, which must outlive this.
  explicit SharedProducts(TermManager& tm) : tm_(tm) {}

  // Replaces each formula by an equivalent one, in which products are slices of wider products, and products of the
  // same operands one product; formulas without such a product stay as they are. To be called with what is clausified
  // next: a term of an earlier call keeps what stands for it, and its product can stand for a later one.
  void share(std::vector<Term_ const*>& formulas);

  // Products replaced so far.
  std::uint64_t shared() const { return wider_.size(); }

 private:
  // What two operands have in common that agree modulo a power of two: the term below their extensions and slices.
  using Roots = std::pair<Term_ const*, Term_ const*>;

  void collect(Term_ const* formula);
  void find_wider();
  Term_ const* rebuild(Term_ const* root);
  bool is_fresh(Term_ const* t) const { return seen_[t->id] == 2 * call_; }
  Term_ const* now(Term_ const* t) const {
    auto const found = replaced_.find(t);
    return found == replaced_.end() ? t : found->second;
  }

  TermManager& tm_;
  std::uint32_t call_ = 0;
  std::vector<std::uint32_t> seen_;       // by term id: 2 * call of the first sight, one more once rebuilt
  std::vector<Term_ const*> products_;    // of this call
  std::map<Roots, std::vector<Term_ const*>> groups_;
  std::unordered_map<Term_ const*, Term_ const*> wider_;     // products, by the one whose low bits they are
  std::unordered_map<Term_ const*, Term_ const*> replaced_;  // terms that changed
};

}  // namespace vell::engine

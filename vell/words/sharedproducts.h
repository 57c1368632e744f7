#pragma once

// One circuit for products that differ in width alone.
//
// Whoever asks whether x * y overflows has the product twice: at the width of x and y, and at a greater one,
// of x and y extended. The narrow one is the low bits of the wide one. As two circuits they leave it to the
// SAT solver to prove the bits equal, one after the other.
//
// Tested by tests/words/sharedproducts_test.cpp.

#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vell/run/limits.h"
#include "vell/terms/termmanager.h"
#include "vell/words/pass.h"

namespace vell::words {

class SharedProducts {
 public:
  // Terms are made in tm, which must outlive this, as limits must. free_division: a quotient or remainder by
  // zero has a value of its own for each term, so such terms stay as they are.
  explicit SharedProducts(TermManager& tm, bool free_division = false,
                          run::Limits const& limits = run::no_limits(),
                          run::Tunables const& tunables = run::Tunables())
      : tm_(tm), free_division_(free_division), limits_(limits), tunables_(tunables) {}

  // Replaces each formula by an equivalent one, in which products are slices of wider products, and products
  // of the same operands one product; formulas without such a product stay as they are. To be called with
  // what is clausified next: a term of an earlier call keeps what stands for it, and its product can stand
  // for a later one. Throws Stopped when the limits say so.
  void share(std::vector<Term_ const*>& formulas);

  // Products replaced so far.
  std::uint64_t shared() const { return wider_.size(); }

 private:
  // What two operands have in common that agree modulo a power of two: the term below their extensions and
  // slices.
  using Roots = std::pair<Term_ const*, Term_ const*>;

  void collect(Term_ const* formula);
  void find_wider();
  std::size_t nesting(Term_ const* product);
  Term_ const* rebuild(Term_ const* root);
  bool is_fresh(Term_ const* t) const { return seen_[t->id] == 2 * call_; }
  Term_ const* now(Term_ const* t) const {
    auto const found = replaced_.find(t);
    return found == replaced_.end() ? t : found->second;
  }

  TermManager& tm_;
  bool free_division_;
  run::Limits const& limits_;
  run::Tunables const tunables_;
  std::uint32_t call_ = 0;
  std::vector<std::uint32_t> seen_;     // by term id: 2 * call of the first sight, one more once rebuilt
  std::vector<Term_ const*> products_;  // of this call
  std::map<Roots, std::vector<Term_ const*>> groups_;
  std::unordered_map<Term_ const*, std::size_t> nesting_;    // of terms that were asked for
  std::unordered_map<Term_ const*, Term_ const*> wider_;     // products, by the one whose low bits they are
  std::unordered_map<Term_ const*, Term_ const*> replaced_;  // terms that changed
};

// The pass "products".
std::unique_ptr<Pass> make_shared_products(PassContext const& context);

}  // namespace vell::words

#pragma once

// The order in which terms are translated, and where each is needed last.
//
// Tested by tests/bv/schedule_test.cpp.

#include <cstdint>
#include <span>
#include <vector>

#include "vell/bv/wordclausifier.h"
#include "vell/terms/term.h"
#include "vell/utils/export.h"
#include "vell/utils/hugepages.h"

namespace vell::bv {

// For translating the same formulas more often than once, and in little memory.
class VELL_API Schedule {
 public:
  // For the roots, Boolean terms, one after the other, by a clausifier with these handlers that has cached
  // nothing yet. The bits of terms in `kept` stay for whoever asks for them afterwards. terms: the largest id
  // of a term. An arity above 8 throws nothing and frees nothing: such a term's children keep their bits.
  Schedule(std::vector<bv::WordClausifier::Handler> const& handlers, std::uint64_t terms,
           std::span<Term_ const* const> roots, std::span<Term_ const* const> kept);

  // Translates the terms that root number i adds to those of the roots before it, with the calls of
  // clausifier.bit_blast(root, sink), and returns the root's literal. Roots must be taken in order, from 0
  // on. Bits that no later translation reads are forgotten on the way, and the trail is dropped.
  bv::BvLit translate(std::size_t i, bv::WordClausifier& clausifier, bv::ClauseSink* sink) const;

  // Terms in the order of their translation.
  std::span<Term_ const* const> order() const { return order_; }

 private:
  std::vector<Term_ const*, HugePageAllocator<Term_ const*>> order_;
  std::vector<std::uint8_t> last_uses_;  // of order_[k]: bit i set: its child i is not read after it
  std::vector<Term_ const*> roots_;
  std::vector<std::size_t> ends_;  // of root i: where its terms end in order_
  std::vector<bool> last_root_;    // root i is not read after its turn
};

}  // namespace vell::bv

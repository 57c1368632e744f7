#pragma once

// Read access to the state of a clausifier: for tests, for the replay of call scripts, for statistics.

#include <cstdint>
#include <vector>

#include "vell/bv/wordclausifier.h"
#include "vell/utils/export.h"

namespace vell::bv {

// Looks, never touches. Everything it returns is valid until the clausifier changes.
class WordClausifierInspector {
 public:
  // c must outlive the inspector.
  explicit WordClausifierInspector(WordClausifier const& c) : c_(c) {}

  // Terms in caching order, oldest first; null marks a backtrack point.
  std::vector<Term_ const*> const& trail() const { return c_.trail; }
  // Handlers by SymbolTag::tag, null where there is none; as long as the largest registered tag asks for.
  std::vector<WordClausifier::Handler> const& hooks() const { return c_.hooks; }
  // The lists of all terms that have bits.
  WordClausifier::BitsCache const& bits_cache() const { return c_.bits_cache; }
  // Where the lists come from.
  ObjectPool<BvLitList, false> const& list_pool() const { return c_.bvlist_pool; }
  // Where traces go, and whether the clausifier made that logger itself.
  Logger const* logger() const { return c_.logger; }
  bool owns_logger() const { return c_.owns_logger; }

 private:
  WordClausifier const& c_;
};

}  // namespace vell::bv

#pragma once

// Read access to the state of a clausifier: for tests, for the replay of call scripts, for statistics.

#include <cstdint>
#include <vector>

#include "vell/bv/wordclausifier.h"

namespace vell::bv {

class WordClausifierInspector {
 public:
  explicit WordClausifierInspector(WordClausifier const& c) : c_(c) {}

  // Terms in caching order, oldest first; null marks a backtrack point.
  std::vector<Term_ const*> const& trail() const { return c_.trail; }
  std::vector<WordClausifier::Handler> const& hooks() const { return c_.hooks; }
  WordClausifier::BitsCache const& bits_cache() const { return c_.bits_cache; }
  ObjectPool<BvLitList, false> const& list_pool() const { return c_.bvlist_pool; }
  Logger const* logger() const { return c_.logger; }
  bool owns_logger() const { return c_.owns_logger; }

 private:
  WordClausifier const& c_;
};

}  // namespace vell::bv

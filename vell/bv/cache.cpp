#include "vell/bv/wordclausifier.h"

// Cached bits, trail, backtracking.
//
// Every translated term has one list, owned by the cache. The trail holds the terms in caching order, with
// null for backtrack points; retracting pops it. A term may stand on the trail more often than once (a root
// that was cached before, a term whose bits were replaced), and it may have been forgotten alone: the first
// of its entries that is popped forgets the term, the others then find nothing. Literals of forgotten terms
// are not used again, so clauses that mention them stay true.
//
// Tested by tests/bv/cache_test.cpp.

#include <algorithm>
#include <cassert>

namespace vell::bv {

// The logger stays: one given by set_logger belongs to the caller, and the default one is freed by set_logger
// alone.
WordClausifier::~WordClausifier() {
  for (std::uint64_t b = 0; b < bits_cache.bucket_count(); ++b)
    for (BitsCache::Node const* n = bits_cache.chain(b); n != nullptr; n = n->next)
      if (n->value != nullptr) bvlist_pool.release(n->value);
  bits_cache.clear();
}

bool WordClausifier::is_cached(Term_ const* t) { return bits_cache.find(t) != nullptr; }

void WordClausifier::add_to_cache(Term_ const* t, BvLitList* bits) {
  bits_cache.do_insert(t, nullptr).first->value = bits;
  trail.push_back(t);
}

void WordClausifier::cache_literal(Term_ const* t, BvLit literal) {
  BvLitList* list = bvlist_pool.alloc_one();
  list->front() = literal;
  add_to_cache(t, list);
}

void WordClausifier::push_backtrack_point() { trail.push_back(nullptr); }

void WordClausifier::pop_backtrack_point() { retract_upto(nullptr); }

void WordClausifier::forget(Term_ const* t) {
  BvLitList* bits = bits_cache.remove(t).first;
  if (bits != nullptr) bvlist_pool.release(bits);
}

void WordClausifier::retract_upto(Term_ const* t) {
  assert(std::find(trail.rbegin(), trail.rend(), t) != trail.rend());
  Term_ const* last;
  do {
    last = trail.back();
    trail.pop_back();
    if (last == nullptr) continue;
    forget(last);
  } while (last != t);
}

}  // namespace vell::bv

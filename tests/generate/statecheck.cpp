// What each command makes of trail, cache and pools.

#include <algorithm>

#include "tests/generate/checks.h"
#include "vell/bv/inspector.h"

namespace vell::generate {

namespace {

constexpr char const check[] = "state";

// Elements of the pool that are handed out: all of its chunks without its free list. first, growth, max: its
// rule.
template <typename Pool>
std::uint64_t live(Pool const& pool, std::uint64_t first, std::uint64_t growth, std::uint64_t max) {
  std::uint64_t elements = 0;
  std::uint64_t size = first;
  for (std::uint64_t chunks = pool.chunk_count(); chunks > 0; --chunks) {
    elements += size;
    size = std::min(size * growth, max);
  }
  return elements - pool.free_count();
}

std::vector<std::pair<std::uint64_t, Term_ const*>> chains(bv::WordClausifier::BitsCache const& cache) {
  std::vector<std::pair<std::uint64_t, Term_ const*>> order;
  for (std::uint64_t b = 0; b < cache.bucket_count(); ++b)
    for (auto const* n = cache.chain(b); n != nullptr; n = n->next) order.emplace_back(b, n->key);
  return order;
}

}  // namespace

// What retracting does to the trail and the cache.
void StateCheck::forget_upto(Term_ const* t) {
  Term_ const* last;
  do {
    last = trail_.back();
    trail_.pop_back();
    if (last != nullptr) cache_.erase(last);
  } while (last != t);
}

// A command that translates or imposes only appends to the trail, and only terms that it cached or was asked
// for.
void StateCheck::take_new_entries(Step const& step, std::vector<Term_ const*> const& trail) {
  step.require(trail.size() >= trail_.size() && std::equal(trail_.begin(), trail_.end(), trail.begin()),
               check, "the trail lost entries");
  std::vector<Term_ const*> const added(trail.begin() + static_cast<std::ptrdiff_t>(trail_.size()),
                                        trail.end());
  trail_ = trail;
  std::string const& command = step.tokens[0];
  for (std::size_t i = 0; i < added.size(); ++i) {
    Term_ const* t = added[i];
    step.require(t != nullptr, check, "a marker that nobody set");
    bv::BvLitList* list = step.replay.clausifier()->lookup(t);
    auto const known = cache_.find(t);
    if (known == cache_.end()) {
      // The root of a translation that failed stands on the trail alone.
      if (list == nullptr) {
        bool const root = command == "blast" || command == "notify" || command == "eq";
        step.require(root && step.failed(), check, "an entry of a term that is not cached");
        continue;
      }
      cache_.emplace(t, Entry{list, *list});
    } else if (list != known->second.list) {
      // Replaced: only a handler called directly does that, once.
      step.require(command == "call" && added.size() == 1 && list != nullptr, check,
                   "the bits of a cached term changed");
      ++replaced_;
      known->second = {list, *list};
    }
  }
  if (command == "blast" || command == "notify") {
    Term_ const* root = step.replay.find_term(step.tokens[1]);
    if (!added.empty()) step.require(added.front() == root, check, "the root is not the first entry");
    if (!step.failed()) step.require(cache_.count(root) != 0, check, "the root is not cached");
    step.require(std::count(added.begin(), added.end(), root) <= 1, check, "the root has two entries");
    if (command == "blast") step.require(!added.empty(), check, "the root has no entry");
  }
}

void StateCheck::compare(Step const& step) const {
  bv::WordClausifierInspector const inspector(*step.replay.clausifier());
  auto const& cache = inspector.bits_cache();
  step.require(inspector.trail() == trail_, check, "the trail is not what it should be");
  step.require(cache.size() == cache_.size(), check, "the number of cached terms is not what it should be");
  for (auto const& [t, entry] : cache_) {
    bv::BvLitList const* list = step.replay.clausifier()->lookup(t);
    if (list != entry.list || *list != entry.bits)
      step.fail(check, "the bits of " + t->to_shallow_str() + " changed");
  }
  step.require(live(cache.node_pool(), 16, 2, 8192) == cache_.size(), check, "nodes are lost, or used twice");
  step.require(live(inspector.list_pool(), 1024, 1, 1024) == cache_.size() + replaced_, check,
               "lists are lost, or used twice");
}

void StateCheck::after(Step const& step) {
  if (step.replay.clausifier() == nullptr) return;
  bv::WordClausifierInspector const inspector(*step.replay.clausifier());
  std::string const& command = step.tokens[0];
  if (command == "push") {
    trail_.push_back(nullptr);
  } else if (command == "pop") {
    bool const marked = std::count(trail_.begin(), trail_.end(), nullptr) != 0;
    step.require(marked != step.failed(), check, "pop");
    if (marked) forget_upto(nullptr);
  } else if (command == "retract") {
    Term_ const* t = step.replay.find_term(step.tokens[1]);
    bool const there = std::count(trail_.begin(), trail_.end(), t) != 0;
    step.require(there != step.failed(), check, "retract");
    if (there) forget_upto(t);
  } else if (command == "blast" || command == "notify" || command == "eq" || command == "setbits" ||
             command == "call") {
    take_new_entries(step, inspector.trail());
  }
  compare(step);

  // Chains keep their order while the table keeps its size: removal leaves it alone, insertion is at the
  // front.
  auto const& cache = inspector.bits_cache();
  auto order = chains(cache);
  if (cache.bucket_count() == buckets_) {
    std::vector<std::pair<std::uint64_t, Term_ const*>> before;
    std::vector<std::pair<std::uint64_t, Term_ const*>> now;
    std::set<std::pair<std::uint64_t, Term_ const*>> const old(order_.begin(), order_.end());
    std::set<std::pair<std::uint64_t, Term_ const*>> const present(order.begin(), order.end());
    for (auto const& node : order_)
      if (present.count(node) != 0) before.push_back(node);
    std::set<std::uint64_t> past_new;  // buckets in which an old node was met
    for (auto const& node : order) {
      if (old.count(node) != 0) {
        now.push_back(node);
        past_new.insert(node.first);
      } else {
        step.require(past_new.count(node.first) == 0, check, "a new node behind an old one");
      }
    }
    step.require(before == now, check, "the order of a chain changed");
  } else {
    step.require(cache.bucket_count() > buckets_, check, "the table shrank");
  }
  buckets_ = cache.bucket_count();
  order_ = std::move(order);
}

}  // namespace vell::generate

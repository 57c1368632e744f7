#pragma once

// Chained hash table with prime bucket counts and pooled nodes.
//
// The table behind the bits cache. Chains rather than open addressing, because entries are removed in bursts
// by backtracking and node addresses must survive growth; nodes of 24 bytes from a pool, so that neither
// insertion nor removal reaches the system allocator. The load limit of 0.7 is tested before every insertion,
// also one that finds its key, so that the bucket count is a function of the calls made and of nothing else.
//
// Tested by tests/utils/hashtable_test.cpp.

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "vell/utils/export.h"
#include "vell/utils/memorypool.h"
#include "vell/utils/primes.h"

namespace vell::hsh {

// Key, Value: one word each, trivially copyable. Hash: Key -> uint64. Keys are compared with ==.
template <typename Key, typename Value, typename Hash>
class Hashtable {
 public:
  // An entry. It stays where it is until its key is removed, also when the table grows.
  struct Node {
    Node* next;  // in the chain of the bucket, or null
    Key key;
    Value value;  // may be changed in place
  };
  static_assert(sizeof(Node) == 24);

  // Node chunks of 16, 32, ... 8192, 8192, ... nodes; 31 empty buckets.
  Hashtable() : nodes_(16, 2.0f, 8192), buckets_(primes[0], nullptr) { buckets_changed(); }
  Hashtable(Hashtable const&) = delete;
  Hashtable& operator=(Hashtable const&) = delete;

  // The node of key, or null. No allocation; nothing is hashed while the table is empty.
  Node* find(Key key) const {
    if (size_ == 0) return nullptr;
    for (Node* n = buckets_[index(key)]; n != nullptr; n = n->next)
      if (n->key == key) return n;
    return nullptr;
  }

  // The node of key, made with the given value where there was none; true iff it was made.
  // Grows the bucket array first when the load exceeds 0.7, also when the key is present.
  std::pair<Node*, bool> do_insert(Key key, Value value) {
    if (size_ > limit_) grow();
    Node*& head = buckets_[index(key)];
    for (Node* n = head; n != nullptr; n = n->next)
      if (n->key == key) return {n, false};
    Node* n = ::new (nodes_.alloc()) Node{head, key, value};
    head = n;
    ++size_;
    return {n, true};
  }

  // Removes key; returns its value and true, or a default value and false.
  std::pair<Value, bool> remove(Key key) {
    if (size_ == 0) return {Value{}, false};
    for (Node** link = &buckets_[index(key)]; *link != nullptr; link = &(*link)->next) {
      Node* n = *link;
      if (n->key != key) continue;
      Value value = n->value;
      *link = n->next;
      --size_;
      nodes_.release(n);
      return {value, true};
    }
    return {Value{}, false};
  }

  // Returns all nodes to the pool; the bucket count stays.
  void clear() {
    if (size_ == 0) return;
    for (Node*& head : buckets_)
      while (head != nullptr) {
        Node* next = head->next;
        nodes_.release(head);
        head = next;
      }
    size_ = 0;
  }

  // Number of entries.
  std::uint64_t size() const { return size_; }
  // Number of chains, one of `primes`.
  std::uint64_t bucket_count() const { return buckets_.size(); }
  // First node of bucket b; follow next for the rest of the chain.
  Node const* chain(std::uint64_t b) const { return buckets_[b]; }
  // Where the nodes come from.
  MemoryPool<24, false> const& node_pool() const { return nodes_; }

 private:
  // The hash modulo the number of buckets. Where both fit 32 bits the remainder comes from two
  // multiplications by the reciprocal in 64 bits, exact there (Lemire, Kaser, Kurz, "Faster remainder by
  // direct computation", 2019).
  std::size_t index(Key key) const {
    std::uint64_t const hash = Hash{}(key);
    if (hash >> 32 != 0 || reciprocal_ == 0) return hash % buckets_.size();
    __extension__ using Product = unsigned __int128;
    return static_cast<std::size_t>((Product{reciprocal_ * hash} * buckets_.size()) >> 64);
  }

  static bool overloaded(std::uint64_t size, std::size_t buckets) {
    return static_cast<double>(static_cast<float>(size) / static_cast<float>(buckets)) > 0.7;
  }

  // Sets what follows from the number of buckets: the reciprocal, and the largest size that is no overload.
  // The table does not grow beyond the last of the primes.
  void buckets_changed() {
    std::size_t const n = buckets_.size();
    reciprocal_ = n >> 32 == 0 ? UINT64_MAX / n + 1 : 0;
    limit_ = n / 10 * 7;
    while (limit_ > 0 && overloaded(limit_, n)) --limit_;
    while (!overloaded(limit_ + 1, n)) ++limit_;
    if (n == std::numeric_limits<std::size_t>::max()) limit_ = std::numeric_limits<std::uint64_t>::max();
  }

  void grow() {
    std::uint64_t const wanted = buckets_.size() + 1;
    std::uint64_t const* p = std::lower_bound(std::begin(primes), std::end(primes), wanted);
    std::uint64_t const count = p == std::end(primes) ? primes[std::size(primes) - 1] : *p;
    std::vector<Node*> old(count, nullptr);
    old.swap(buckets_);
    buckets_changed();
    for (Node* n : old)
      while (n != nullptr) {
        Node* next = n->next;
        Node*& head = buckets_[index(n->key)];
        n->next = head;
        head = n;
        n = next;
      }
  }

  MemoryPool<24, false> nodes_;
  std::vector<Node*> buckets_;
  std::uint64_t size_ = 0;
  std::uint64_t limit_ = 0;       // the table grows before an insertion that finds more entries
  std::uint64_t reciprocal_ = 0;  // of the number of buckets, in units of 2^-64; 0 where that exceeds 32 bits
};

}  // namespace vell::hsh

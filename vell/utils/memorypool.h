#pragma once

// Fixed-size elements carved out of malloc'ed chunks and recycled through an intrusive free list.
//
// A clausifier makes one small node and one list header per term, millions of them, and gives them back in
// bursts when it backtracks. Chunks grow by a fixed rule so that small instances stay small; elements return
// to the front of the free list, so the most recently touched memory is used again first. Chunks go back to
// the system only when the pool dies.
//
// Tested by tests/utils/memorypool_test.cpp.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "vell/utils/export.h"

namespace vell {

// Pool of elements of ElementSize bytes, aligned for pointers. No construction or destruction takes place.
// ThreadSafe = false is the only form: an instance belongs to one thread at a time.
template <std::size_t ElementSize, bool ThreadSafe>
class MemoryPool {
  static_assert(!ThreadSafe, "only the single-threaded pool exists");
  static_assert(ElementSize >= sizeof(void*) && ElementSize % alignof(void*) == 0);

 public:
  // first_chunk: elements in the first chunk. growth: factor applied to the chunk size after each chunk.
  // max_chunk: upper bound of the chunk size in elements, 0 for none. No memory is taken before the first
  // alloc().
  MemoryPool(std::uint64_t first_chunk, float growth, std::uint64_t max_chunk)
      : chunk_size_(first_chunk), growth_(growth), max_chunk_(max_chunk) {}
  MemoryPool(MemoryPool const&) = delete;
  MemoryPool& operator=(MemoryPool const&) = delete;
  ~MemoryPool() { release_chunks(); }

  // Returns uninitialised memory of ElementSize bytes. Throws std::bad_alloc, leaving the pool as it was.
  void* alloc() {
    if (free_ == nullptr) grow_pool();
    Link* e = free_;
    free_ = e->next;
    return e;
  }

  // Takes back an element of this pool; it is the next one handed out.
  void release(void* element) { free_ = ::new (element) Link{free_}; }

  // Returns every chunk to the system. All elements become invalid; the pool can be used again.
  void release_chunks() {
    while (chunks_ != nullptr) {
      Link* next = chunks_->next;
      std::free(chunks_);
      chunks_ = next;
    }
    free_ = nullptr;
  }

  // Elements in the chunk that would be allocated next.
  std::uint64_t next_chunk_size() const { return chunk_size_; }
  // Number of chunks allocated so far. Walks the chunk list.
  std::uint64_t chunk_count() const { return length(chunks_); }
  // Number of elements that wait on the free list. Walks the list.
  std::uint64_t free_count() const { return length(free_); }

 private:
  struct Link {
    Link* next;
  };

  static std::uint64_t length(Link const* list) {
    std::uint64_t n = 0;
    for (; list != nullptr; list = list->next) ++n;
    return n;
  }

  void grow_pool() {
    std::size_t bytes = chunk_size_ * ElementSize + sizeof(Link);
    void* memory = std::malloc(bytes == 0 ? 1 : bytes);
    if (memory == nullptr) throw std::bad_alloc();
    std::uint64_t const elements = chunk_size_;
    chunks_ = ::new (memory) Link{chunks_};
    // Single precision on purpose: the chunk sequence is part of the pool's contract.
    chunk_size_ = static_cast<std::uint64_t>(static_cast<float>(chunk_size_) * growth_);
    if (max_chunk_ != 0 && chunk_size_ > max_chunk_) chunk_size_ = max_chunk_;
    char* base = static_cast<char*>(memory) + sizeof(Link);
    Link* list = nullptr;
    for (std::uint64_t i = elements; i-- > 0;) list = ::new (base + i * ElementSize) Link{list};
    free_ = list;
  }

  std::uint64_t chunk_size_;
  float growth_;
  std::uint64_t max_chunk_;
  Link* chunks_ = nullptr;
  Link* free_ = nullptr;
};

}  // namespace vell

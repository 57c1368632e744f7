#pragma once

// Pool of vector objects: the headers are recycled, the element storage is the vectors' own.
//
// Tested by tests/utils/objectpool_test.cpp.

#include <cstring>
#include <new>

#include "vell/utils/export.h"
#include "vell/utils/memorypool.h"

namespace vell {

// List is a std::vector-like type of three words, constructible from a length (elements zero).
template <typename List, bool ThreadSafe>
class ObjectPool {
 public:
  // As for MemoryPool, in lists.
  ObjectPool(std::uint64_t first_chunk, float growth, std::uint64_t max_chunk)
      : pool_(first_chunk, growth, max_chunk) {}

  // A list of n zero elements, owned by the caller until release(). n = 0 takes no element storage.
  // Throws std::bad_alloc or std::length_error; the slot is not lost then.
  List* alloc(std::size_t n) {
    void* slot = pool_.alloc();
    std::memset(slot, 0, sizeof(List));
    try {
      return ::new (slot) List(n);
    } catch (...) {
      pool_.release(slot);
      throw;
    }
  }

  // The one-bit case: a list of one zero element.
  List* alloc_one() { return alloc(1); }

  // A list with src's length and elements, owned by the caller until release().
  List* alloc_copy(List const& src) {
    void* slot = pool_.alloc();
    try {
      return ::new (slot) List(src);
    } catch (...) {
      pool_.release(slot);
      throw;
    }
  }

  // Frees the element storage; the header is the next one handed out.
  void release(List* list) {
    list->~List();
    pool_.release(list);
  }

  // Returns the chunks to the system. Lists that were not released leak their element storage.
  void release_chunks() { pool_.release_chunks(); }

  // Those of the pool of headers.
  std::uint64_t next_chunk_size() const { return pool_.next_chunk_size(); }
  std::uint64_t chunk_count() const { return pool_.chunk_count(); }
  std::uint64_t free_count() const { return pool_.free_count(); }

 private:
  MemoryPool<sizeof(List), ThreadSafe> pool_;
};

}  // namespace vell

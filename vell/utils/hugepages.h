#pragma once

// Memory for large tables that are read at random.
//
// A probe of a table of many megabytes misses the processor's page cache as well as its data caches, and the walk for
// the page takes longer than the fetch. Pages of two megabytes, where the system has them, make that walk rare.
//
// Tested by tests/utils/hugepages_test.cpp.

#include <cstddef>
#include <cstdlib>
#include <new>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace vell {

// For a container that keeps its elements in one piece. Arrays of two megabytes and more are aligned to as much and the
// system is asked to back them by huge pages; it may not.
template <typename T>
struct HugePageAllocator {
  using value_type = T;

  HugePageAllocator() = default;
  template <typename U>
  HugePageAllocator(HugePageAllocator<U> const&) {}

  // Throws std::bad_alloc.
  T* allocate(std::size_t n) {
    if (n > static_cast<std::size_t>(-1) / 2 / sizeof(T)) throw std::bad_alloc();
    std::size_t bytes = n * sizeof(T);
    if (bytes < page_bytes) return static_cast<T*>(checked(std::malloc(bytes == 0 ? 1 : bytes)));
    bytes = (bytes + page_bytes - 1) / page_bytes * page_bytes;
    void* memory = checked(std::aligned_alloc(page_bytes, bytes));
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    ::madvise(memory, bytes, MADV_HUGEPAGE);
#endif
    return static_cast<T*>(memory);
  }
  void deallocate(T* p, std::size_t) { std::free(p); }

  friend bool operator==(HugePageAllocator, HugePageAllocator) { return true; }

 private:
  static constexpr std::size_t page_bytes = std::size_t{1} << 21;
  static void* checked(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
  }
};

}  // namespace vell

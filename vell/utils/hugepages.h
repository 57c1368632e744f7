#pragma once

// Memory for large tables that are read at random.
//
// A probe of a table of many megabytes misses the processor's page cache as well as its data caches, and the
// walk for the page takes longer than the fetch. Pages of two megabytes, where the system has them, make that
// walk rare, and filling a table for the first time takes one fault for each of them instead of 512.
//
// Tested by tests/utils/hugepages_test.cpp.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <type_traits>
#include <utility>

#ifdef __linux__
#include <sys/mman.h>

#include "vell/utils/export.h"
#endif

namespace vell {

// Size of a huge page in bytes.
inline constexpr std::size_t huge_page_bytes = std::size_t{1} << 21;

// For a container that keeps its elements in one piece. Arrays of two megabytes and more are aligned to as
// much and the system is asked to back them by huge pages; it may not.
template <typename T>
struct HugePageAllocator {
  // What is allocated.
  using value_type = T;

  HugePageAllocator() = default;
  // The allocator for elements of another type.
  template <typename U>
  HugePageAllocator(HugePageAllocator<U> const&) {}

  // Throws std::bad_alloc.
  T* allocate(std::size_t n) {
    if (n > static_cast<std::size_t>(-1) / 2 / sizeof(T)) throw std::bad_alloc();
    std::size_t bytes = n * sizeof(T);
    if (bytes < huge_page_bytes) return static_cast<T*>(checked(std::malloc(bytes == 0 ? 1 : bytes)));
    bytes = (bytes + huge_page_bytes - 1) / huge_page_bytes * huge_page_bytes;
    void* memory = checked(std::aligned_alloc(huge_page_bytes, bytes));
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    ::madvise(memory, bytes, MADV_HUGEPAGE);
#endif
    return static_cast<T*>(memory);
  }
  // Frees what allocate gave.
  void deallocate(T* p, std::size_t) { std::free(p); }

  // Whether one frees what the other gave: always.
  friend bool operator==(HugePageAllocator, HugePageAllocator) { return true; }

 private:
  static void* checked(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
  }
};

// An array of zero bytes. A large one takes memory only where it is written.
template <typename T>
class ZeroedArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  // Throws std::bad_alloc.
  explicit ZeroedArray(std::size_t n) : size_(n) {
    if (n > static_cast<std::size_t>(-1) / 2 / sizeof(T)) throw std::bad_alloc();
#ifdef __linux__
    if (n * sizeof(T) >= huge_page_bytes) {
      data_ = static_cast<T*>(map(n * sizeof(T)));
      return;
    }
#endif
    data_ = static_cast<T*>(std::calloc(std::max<std::size_t>(n, 1), sizeof(T)));
    if (data_ == nullptr) throw std::bad_alloc();
  }
  ~ZeroedArray() {
#ifdef __linux__
    if (size_ * sizeof(T) >= huge_page_bytes) {
      ::munmap(data_, rounded(size_ * sizeof(T)));
      return;
    }
#endif
    std::free(data_);
  }
  ZeroedArray(ZeroedArray const&) = delete;
  ZeroedArray& operator=(ZeroedArray const&) = delete;

  // Number of elements.
  std::size_t size() const { return size_; }
  // Element i, below size().
  T& operator[](std::size_t i) { return data_[i]; }
  // Element i, below size().
  T const& operator[](std::size_t i) const { return data_[i]; }
  // Where the elements begin.
  T const* begin() const { return data_; }
  // Behind the last element.
  T const* end() const { return data_ + size_; }
  // Exchanges the elements.
  void swap(ZeroedArray& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
  }

 private:
#ifdef __linux__
  static std::size_t rounded(std::size_t bytes) {
    return (bytes + huge_page_bytes - 1) / huge_page_bytes * huge_page_bytes;
  }

  // Asks for one huge page more and gives back what stands out on either side.
  static void* map(std::size_t wanted) {
    std::size_t const bytes = rounded(wanted);
    int const flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
    void* const memory = ::mmap(nullptr, bytes + huge_page_bytes, PROT_READ | PROT_WRITE, flags, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    char* const begin = static_cast<char*>(memory);
    std::size_t const over = reinterpret_cast<std::uintptr_t>(begin) % huge_page_bytes;
    std::size_t const front = over == 0 ? 0 : huge_page_bytes - over;
    if (front != 0) ::munmap(begin, front);
    ::munmap(begin + front + bytes, huge_page_bytes - front);
#ifdef MADV_HUGEPAGE
    ::madvise(begin + front, bytes, MADV_HUGEPAGE);
#endif
    return begin + front;
  }
#endif

  T* data_ = nullptr;
  std::size_t size_;
};

}  // namespace vell

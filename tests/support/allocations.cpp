#include "tests/support/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::uint64_t> count{0};
}

namespace vell::test {
std::uint64_t allocation_count() { return count.load(); }
}  // namespace vell::test

void* operator new(std::size_t n) {
  ++count;
  if (void* p = std::malloc(n == 0 ? 1 : n)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

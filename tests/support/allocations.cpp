#include "tests/support/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::uint64_t> count{0};
std::atomic<std::uint64_t> freed{0};

void give_back(void* p) {
  if (p != nullptr) ++freed;
  std::free(p);
}
}  // namespace

namespace vell::test {
std::uint64_t allocation_count() { return count.load(); }
std::uint64_t live_allocations() { return count.load() - freed.load(); }
}  // namespace vell::test

void* operator new(std::size_t n) {
  ++count;
  if (void* p = std::malloc(n == 0 ? 1 : n)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { give_back(p); }
void operator delete(void* p, std::size_t) noexcept { give_back(p); }

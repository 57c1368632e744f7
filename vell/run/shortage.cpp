// GMP is written in C. An exception passes through its functions as through any code with unwind tables, and
// leaks what they would have freed. One case needs care: some functions (mpz_mul) free a result's limbs, then
// allocate more, and set the pointer last. An exception in between would leave the result with a pointer to
// freed memory, which its destructor frees again. Therefore the block that was freed last is kept until the
// next one is freed. When an allocation fails, that block is abandoned: either the result still owns it, or
// it is leaked.

#include "vell/run/shortage.h"

#include <gmp.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "vell/terms/qnumber.h"

namespace vell::run {

namespace {

std::atomic<void*> reserve{nullptr};
// Small enough to lie in the heap, where many small blocks can replace it. A separate mapping would be
// returned to the system, which allocates memory in larger steps than what is left.
constexpr std::size_t reserve_bytes = 120'000;

[[noreturn]] void fail() {
  std::free(reserve.exchange(nullptr));
  std::set_new_handler(nullptr);
  throw std::bad_alloc();
}

// The C library ends the process if it has no memory to register the destructor of a thread-local object. The
// scratch numbers of this comparison are such an object, so they are created before main().
[[maybe_unused]] bool const early = QNumber(1) < QNumber::power_of_two_minus_one(70);

thread_local void* freed_last = nullptr;

void* checked(void* memory) {
  if (memory != nullptr) return memory;
  freed_last = nullptr;
  if (reserve.load() != nullptr) fail();
  throw std::bad_alloc();
}

void* allocate(std::size_t bytes) { return checked(std::malloc(bytes)); }
void* reallocate(void* old, std::size_t, std::size_t bytes) { return checked(std::realloc(old, bytes)); }
void release(void* memory, std::size_t) {
  std::free(freed_last);
  freed_last = memory;
}

}  // namespace

void prepare_for_shortage() {
  reserve = std::malloc(reserve_bytes);
  std::set_new_handler(fail);
  mp_set_memory_functions(allocate, reallocate, release);
}

}  // namespace vell::run

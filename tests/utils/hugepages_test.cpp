#include "vell/utils/hugepages.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <new>
#include <numeric>
#include <vector>

namespace vell {
namespace {

TEST(HugePageAllocator, HoldsWhatIsWrittenAtEverySize) {
  for (std::size_t n : {0u, 1u, 1000u, (1u << 18) - 1, 1u << 18, (1u << 18) + 1, 3000000u}) {
    std::vector<std::uint64_t, HugePageAllocator<std::uint64_t>> v(n);
    std::iota(v.begin(), v.end(), 7);
    v.push_back(42);
    for (std::size_t i = 0; i < n; ++i) ASSERT_EQ(i + 7, v[i]);
    EXPECT_EQ(42u, v.back());
  }
}

TEST(HugePageAllocator, LargeArraysStartAtAHugePage) {
  HugePageAllocator<char> a;
  char* p = a.allocate((1u << 21) + 1);
  EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(p) % (1u << 21));
  a.deallocate(p, (1u << 21) + 1);
}

TEST(ZeroedArray, IsZeroAndHoldsWhatIsWrittenAtEverySize) {
  for (std::size_t n : {std::size_t{0}, std::size_t{1}, std::size_t{1000}, huge_page_bytes / 4 - 1,
                        huge_page_bytes / 4, huge_page_bytes / 4 + 1, 3 * huge_page_bytes / 4 + 5}) {
    ZeroedArray<std::uint32_t> a(n);
    ASSERT_EQ(n, a.size());
    for (std::uint32_t x : a) ASSERT_EQ(0u, x);
    for (std::size_t i = 0; i < n; ++i) a[i] = static_cast<std::uint32_t>(i + 1);
    ZeroedArray<std::uint32_t> b(3);
    b.swap(a);
    ASSERT_EQ(3u, a.size());
    for (std::size_t i = 0; i < n; ++i) ASSERT_EQ(i + 1, b[i]);
  }
}

TEST(ZeroedArray, TakesMemoryOnlyWhereItIsWritten) {
  ZeroedArray<char> a(std::size_t{1} << 34);
  a[std::size_t{1} << 33] = 7;
  EXPECT_EQ(7, a[std::size_t{1} << 33]);
}

TEST(ZeroedArray, RefusesWhatDoesNotFit) {
  std::size_t volatile n = std::numeric_limits<std::size_t>::max() / 8;
  EXPECT_THROW(ZeroedArray<std::uint64_t>{n}, std::bad_alloc);
}

TEST(HugePageAllocator, RefusesWhatDoesNotFit) {
  HugePageAllocator<std::uint64_t> a;
  // Volatile: the compiler would complain about the size.
  std::size_t volatile n = std::numeric_limits<std::size_t>::max() / 8;
  EXPECT_THROW(a.allocate(n), std::bad_alloc);
}

}  // namespace
}  // namespace vell

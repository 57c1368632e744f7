// Chunk sizes, free-list order and failure of MemoryPool.

#include "vell/utils/memorypool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <set>
#include <vector>

// AddressSanitizer ends the program by default where malloc is to return null.
extern "C" char const* __asan_default_options();
extern "C" char const* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace vell {
namespace {

using Pool = MemoryPool<24, false>;

char* take(Pool& pool) { return static_cast<char*>(pool.alloc()); }

// Takes the elements of exactly one chunk and returns how many there were.
std::uint64_t drain_chunk(Pool& pool) {
  std::uint64_t const chunks = pool.chunk_count();
  pool.alloc();
  EXPECT_EQ(pool.chunk_count(), chunks + 1);
  std::uint64_t const rest = pool.free_count();
  for (std::uint64_t i = 0; i < rest; ++i) pool.alloc();
  EXPECT_EQ(pool.free_count(), 0u);
  return rest + 1;
}

std::vector<std::uint64_t> chunk_sizes(Pool& pool, int chunks) {
  std::vector<std::uint64_t> sizes;
  for (int i = 0; i < chunks; ++i) {
    std::uint64_t const announced = pool.next_chunk_size();
    sizes.push_back(drain_chunk(pool));
    EXPECT_EQ(sizes.back(), announced);
  }
  return sizes;
}

TEST(MemoryPoolTest, TakesNothingBeforeTheFirstElement) {
  Pool pool(16, 2.0f, 8192);
  EXPECT_EQ(pool.chunk_count(), 0u);
  EXPECT_EQ(pool.free_count(), 0u);
  EXPECT_EQ(pool.next_chunk_size(), 16u);
}

TEST(MemoryPoolTest, NodeChunksDoubleUpTo8192) {
  Pool pool(16, 2.0f, 8192);
  EXPECT_EQ(chunk_sizes(pool, 12),
            (std::vector<std::uint64_t>{16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 8192, 8192, 8192}));
}

TEST(MemoryPoolTest, FactorOneKeepsTheSize) {
  Pool pool(1024, 1.0f, 0);
  EXPECT_EQ(chunk_sizes(pool, 4), (std::vector<std::uint64_t>{1024, 1024, 1024, 1024}));
}

TEST(MemoryPoolTest, GrowthIsTruncatedAndBounded) {
  Pool fractional(3, 1.5f, 0);  // 3, 4.5, 6, 9, 13.5
  EXPECT_EQ(chunk_sizes(fractional, 5), (std::vector<std::uint64_t>{3, 4, 6, 9, 13}));
  Pool bounded(10, 3.0f, 50);
  EXPECT_EQ(chunk_sizes(bounded, 4), (std::vector<std::uint64_t>{10, 30, 50, 50}));
  Pool exact(10, 5.0f, 50);  // the bound itself is no excess
  EXPECT_EQ(chunk_sizes(exact, 3), (std::vector<std::uint64_t>{10, 50, 50}));
}

TEST(MemoryPoolTest, MaximumZeroIsNoBound) {
  Pool pool(1, 100.0f, 0);
  EXPECT_EQ(chunk_sizes(pool, 4), (std::vector<std::uint64_t>{1, 100, 10000, 1000000}));
}

TEST(MemoryPoolTest, GrowthIsInSinglePrecision) {
  // 2^24 + 1 has no single-precision form, so even a factor of 1 changes it.
  MemoryPool<8, false> pool(16777217, 1.0f, 0);
  pool.alloc();
  EXPECT_EQ(pool.next_chunk_size(), 16777216u);
  // 0.7f lies below 0.7; 10 times it rounds to 7 in single precision and stays below 7 in double precision.
  Pool shrinking(10, 0.7f, 0);
  shrinking.alloc();
  EXPECT_EQ(shrinking.next_chunk_size(), 7u);
}

TEST(MemoryPoolTest, FirstChunkIsHandedOutInAddressOrder) {
  Pool pool(16, 2.0f, 8192);
  char* const first = take(pool);
  EXPECT_EQ(pool.free_count(), 15u);
  for (int i = 1; i < 16; ++i) EXPECT_EQ(take(pool), first + 24 * i);
  char* const second_chunk = take(pool);
  for (int i = 1; i < 32; ++i) EXPECT_EQ(take(pool), second_chunk + 24 * i);
}

TEST(MemoryPoolTest, ReleasedElementsComeBackLastInFirstOut) {
  Pool pool(16, 2.0f, 8192);
  char* const a = take(pool);
  char* const b = take(pool);
  char* const c = take(pool);
  pool.release(a);
  pool.release(c);
  pool.release(b);
  EXPECT_EQ(take(pool), b);
  EXPECT_EQ(take(pool), c);
  EXPECT_EQ(take(pool), a);
  EXPECT_EQ(take(pool), c + 24);  // then on with the chunk
}

TEST(MemoryPoolTest, ReleasedElementsAreUsedBeforeAChunkIsMade) {
  Pool pool(16, 2.0f, 8192);
  std::vector<char*> all;
  for (int i = 0; i < 16; ++i) all.push_back(take(pool));
  pool.release(all[5]);
  EXPECT_EQ(take(pool), all[5]);
  EXPECT_EQ(pool.chunk_count(), 1u);
  take(pool);
  EXPECT_EQ(pool.chunk_count(), 2u);
}

TEST(MemoryPoolTest, FirstWordOfAFreeElementLinksToTheNext) {
  Pool pool(16, 2.0f, 8192);
  char* const a = take(pool);
  char* const b = take(pool);
  pool.release(a);
  pool.release(b);
  EXPECT_EQ(*reinterpret_cast<char**>(b), a);
}

TEST(MemoryPoolTest, ElementsDoNotOverlap) {
  Pool pool(16, 2.0f, 8192);
  std::set<std::uintptr_t> starts;
  for (int i = 0; i < 5000; ++i) starts.insert(reinterpret_cast<std::uintptr_t>(pool.alloc()));
  ASSERT_EQ(starts.size(), 5000u);
  std::uintptr_t previous = 0;
  for (std::uintptr_t s : starts) {
    EXPECT_GE(s - previous, 24u);
    EXPECT_EQ(s % alignof(void*), 0u);
    previous = s;
  }
}

TEST(MemoryPoolTest, FailureLeavesThePoolUnchanged) {
  std::uint64_t const huge = std::uint64_t{1} << 50;  // more than any address space holds
  Pool pool(4, static_cast<float>(huge), 0);
  char* const a = take(pool);
  take(pool), take(pool), take(pool);
  std::uint64_t const next = pool.next_chunk_size();
  for (int attempt = 0; attempt < 3; ++attempt) {
    EXPECT_THROW(pool.alloc(), std::bad_alloc);
    EXPECT_EQ(pool.next_chunk_size(), next);
    EXPECT_EQ(pool.chunk_count(), 1u);
    EXPECT_EQ(pool.free_count(), 0u);
  }
  pool.release(a);
  EXPECT_EQ(take(pool), a);
}

TEST(MemoryPoolTest, ReleaseOfChunksLeavesAUsablePool) {
  Pool pool(16, 2.0f, 8192);
  for (int i = 0; i < 20; ++i) pool.alloc();
  pool.release_chunks();
  EXPECT_EQ(pool.chunk_count(), 0u);
  EXPECT_EQ(pool.free_count(), 0u);
  EXPECT_NE(pool.alloc(), nullptr);
  EXPECT_EQ(pool.chunk_count(), 1u);
}

}  // namespace
}  // namespace vell

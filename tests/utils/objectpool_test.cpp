// Lists from a pool: headers recycled, elements their own.

#include "vell/utils/objectpool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

#include "tests/support/allocations.h"

namespace vell {
namespace {

using List = std::vector<std::int32_t>;
using Pool = ObjectPool<List, false>;

TEST(ObjectPoolTest, HeadersHave24Bytes) { EXPECT_EQ(sizeof(List), 24u); }

TEST(ObjectPoolTest, NewListIsZeroFilled) {
  Pool pool(1024, 1.0f, 0);
  List* l = pool.alloc(5);
  EXPECT_EQ(*l, (List{0, 0, 0, 0, 0}));
  *l = {7, 7, 7, 7, 7};
  pool.release(l);
  List* again = pool.alloc(5);
  EXPECT_EQ(again, l);
  EXPECT_EQ(*again, (List{0, 0, 0, 0, 0}));
  pool.release(again);
}

TEST(ObjectPoolTest, EmptyListTakesNoStorage) {
  Pool pool(1024, 1.0f, 0);
  pool.release(pool.alloc(1));  // the chunk
  std::uint64_t const before = test::allocation_count();
  List* l = pool.alloc(0);
  EXPECT_EQ(test::allocation_count(), before);
  EXPECT_TRUE(l->empty());
  EXPECT_EQ(l->capacity(), 0u);
  pool.release(l);
}

TEST(ObjectPoolTest, OneElementForm) {
  Pool pool(1024, 1.0f, 0);
  List* l = pool.alloc_one();
  EXPECT_EQ(*l, List{0});
  pool.release(l);
}

TEST(ObjectPoolTest, CopyHasTheSameElementsAndItsOwnStorage) {
  Pool pool(1024, 1.0f, 0);
  List const source{2, -3, 1};
  List* l = pool.alloc_copy(source);
  EXPECT_EQ(*l, source);
  (*l)[0] = 9;
  EXPECT_EQ(source[0], 2);
  pool.release(l);
  List* empty = pool.alloc_copy({});
  EXPECT_TRUE(empty->empty());
  pool.release(empty);
}

TEST(ObjectPoolTest, EveryChunkHolds1024Lists) {
  Pool pool(1024, 1.0f, 0);
  EXPECT_EQ(pool.chunk_count(), 0u);
  for (int i = 0; i < 3 * 1024; ++i) {
    if (i % 1024 == 0) {
      EXPECT_EQ(pool.free_count(), 0u);
    }
    pool.alloc(0);
    EXPECT_EQ(pool.chunk_count(), static_cast<std::uint64_t>(i / 1024 + 1));
    EXPECT_EQ(pool.next_chunk_size(), 1024u);
  }
}

TEST(ObjectPoolTest, ReleaseFreesTheElementsAndPutsTheHeaderFirst) {
  Pool pool(1024, 1.0f, 0);
  List* a = pool.alloc(3);
  List* b = pool.alloc(3);
  List* c = pool.alloc(3);
  pool.release(b);
  pool.release(a);
  EXPECT_EQ(pool.free_count(), 1024u - 1);
  EXPECT_EQ(pool.alloc(0), a);
  EXPECT_EQ(pool.alloc(0), b);
  pool.release(c);
}

TEST(ObjectPoolTest, FailingConstructionLosesNoHeader) {
  Pool pool(1024, 1.0f, 0);
  pool.release(pool.alloc(0));
  std::uint64_t const free = pool.free_count();
  EXPECT_THROW(pool.alloc(List().max_size() + 1), std::length_error);
  EXPECT_EQ(pool.free_count(), free);
}

}  // namespace
}  // namespace vell

// Bucket counts, chain orders, removal: all a function of the calls made.

#include "vell/utils/hashtable.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <unordered_map>
#include <vector>

namespace vell::hsh {
namespace {

struct Item {
  std::uint64_t id;
};

// Hashes by id and counts how often it is asked.
struct ItemHash {
  static inline std::uint64_t calls = 0;
  std::uint64_t operator()(Item const* i) const {
    ++calls;
    return i->id;
  }
};

using Table = Hashtable<Item const*, std::int64_t, ItemHash>;

// Items with ids 0, 1, ... n - 1.
std::vector<Item> items(std::size_t n) {
  std::vector<Item> v(n);
  for (std::size_t i = 0; i < n; ++i) v[i].id = i;
  return v;
}

std::vector<std::uint64_t> chain(Table const& t, std::uint64_t bucket) {
  std::vector<std::uint64_t> ids;
  for (Table::Node const* n = t.chain(bucket); n != nullptr; n = n->next) ids.push_back(n->key->id);
  return ids;
}

using Ids = std::vector<std::uint64_t>;

TEST(HashtableTest, NodeHas24BytesNextKeyValue) {
  EXPECT_EQ(sizeof(Table::Node), 24u);
  EXPECT_EQ(offsetof(Table::Node, next), 0u);
  EXPECT_EQ(offsetof(Table::Node, key), 8u);
  EXPECT_EQ(offsetof(Table::Node, value), 16u);
}

TEST(HashtableTest, PrimesAreThe28BucketCounts) {
  std::vector<std::uint64_t> const expected = {
      31,       73,        151,       313,       643,        1291,       2593,
      5233,     10501,     21013,     42073,     84181,      168451,     337219,
      674701,   1349473,   2699299,   5398891,   10798093,   21596719,   43193641,
      86387383, 172775299, 345550609, 691101253, 1382202559, 2764405229, 4294867387};
  EXPECT_EQ(std::vector<std::uint64_t>(std::begin(primes), std::end(primes)), expected);
}

TEST(HashtableTest, FreshTableHas31EmptyBuckets) {
  Table t;
  EXPECT_EQ(t.bucket_count(), 31u);
  EXPECT_EQ(t.size(), 0u);
  for (std::uint64_t b = 0; b < 31; ++b) EXPECT_EQ(t.chain(b), nullptr);
  EXPECT_EQ(t.node_pool().chunk_count(), 0u);
  EXPECT_EQ(t.node_pool().next_chunk_size(), 16u);
}

TEST(HashtableTest, EmptyTableAnswersWithoutHashing) {
  Table t;
  Item const i{3};
  ItemHash::calls = 0;
  EXPECT_EQ(t.find(&i), nullptr);
  EXPECT_FALSE(t.remove(&i).second);
  EXPECT_EQ(ItemHash::calls, 0u);
  t.do_insert(&i, 1);
  t.remove(&i);
  ItemHash::calls = 0;
  EXPECT_EQ(t.find(&i), nullptr);  // empty again
  EXPECT_EQ(ItemHash::calls, 0u);
}

TEST(HashtableTest, LookUpIsOneHashAndNoAllocation) {
  Table t;
  auto const v = items(40);
  for (Item const& i : v) t.do_insert(&i, 1);
  ItemHash::calls = 0;
  std::uint64_t const free = t.node_pool().free_count();
  EXPECT_NE(t.find(&v[7]), nullptr);
  EXPECT_EQ(ItemHash::calls, 1u);
  EXPECT_EQ(t.node_pool().free_count(), free);
}

TEST(HashtableTest, InsertionMakesANodeOnce) {
  Table t;
  Item const i{5};
  auto const [node, made] = t.do_insert(&i, 42);
  EXPECT_TRUE(made);
  EXPECT_EQ(node->key, &i);
  EXPECT_EQ(node->value, 42);
  EXPECT_EQ(t.size(), 1u);
  auto const [again, made_again] = t.do_insert(&i, 43);
  EXPECT_FALSE(made_again);
  EXPECT_EQ(again, node);
  EXPECT_EQ(again->value, 42);
  EXPECT_EQ(t.size(), 1u);
  EXPECT_EQ(t.find(&i), node);
}

TEST(HashtableTest, KeysAreComparedByPointer) {
  Table t;
  Item const a{5};
  Item const b{5};
  t.do_insert(&a, 1);
  EXPECT_EQ(t.find(&b), nullptr);
  EXPECT_TRUE(t.do_insert(&b, 2).second);
  EXPECT_EQ(t.size(), 2u);
}

TEST(HashtableTest, BucketIsIdModuloBucketCountNewNodesFirst) {
  Table t;
  std::vector<Item> const v = {{4}, {35}, {66}, {5}, {1000000007}};
  for (Item const& i : v) t.do_insert(&i, 0);
  EXPECT_EQ(chain(t, 4), (Ids{66, 35, 4}));
  EXPECT_EQ(chain(t, 5), (Ids{5}));
  EXPECT_EQ(chain(t, 1000000007 % 31), (Ids{1000000007}));
}

TEST(HashtableTest, TwentySecondInsertionKeepsTwentyThirdGrows) {
  Table t;
  auto const v = items(23);
  for (int i = 0; i < 21; ++i) t.do_insert(&v[i], 0);
  EXPECT_EQ(t.bucket_count(), 31u);
  t.do_insert(&v[21], 0);
  EXPECT_EQ(t.bucket_count(), 31u);
  EXPECT_EQ(t.size(), 22u);
  t.do_insert(&v[22], 0);
  EXPECT_EQ(t.bucket_count(), 73u);
  EXPECT_EQ(t.size(), 23u);
}

TEST(HashtableTest, LoadIsTestedAlsoWhereTheKeyIsPresent) {
  Table t;
  auto const v = items(22);
  for (Item const& i : v) t.do_insert(&i, 0);
  EXPECT_EQ(t.bucket_count(), 31u);
  EXPECT_FALSE(t.do_insert(&v[0], 0).second);
  EXPECT_EQ(t.bucket_count(), 73u);
  EXPECT_EQ(t.size(), 22u);
}

TEST(HashtableTest, GrowthStepsThroughThePrimes) {
  Table t;
  auto const v = items(50000);
  std::vector<std::uint64_t> counts;
  std::vector<std::uint64_t> sizes;  // before the insertion that grew
  for (Item const& i : v) {
    std::uint64_t const before = t.bucket_count();
    std::uint64_t const size = t.size();
    t.do_insert(&i, 0);
    if (t.bucket_count() == before) continue;
    counts.push_back(t.bucket_count());
    sizes.push_back(size);
  }
  EXPECT_EQ(counts, (Ids{73, 151, 313, 643, 1291, 2593, 5233, 10501, 21013, 42073, 84181}));
  // The smallest sizes above 0.7 of the bucket count.
  EXPECT_EQ(sizes, (Ids{22, 52, 106, 220, 451, 904, 1816, 3664, 7351, 14710, 29452}));
}

TEST(HashtableTest, RehashWalksBucketsInOrderAndPushesToTheFront) {
  Table t;
  // 22 items; in 31 buckets 2 holds 2 + 31*k, which go to buckets (2 + 31*k) % 73 afterwards. Those with ids
  // equal modulo 73 meet again: they come from different old buckets, lower old bucket first, and so stand
  // behind.
  std::vector<Item> v;
  for (std::uint64_t k = 0; k < 3; ++k) v.push_back({10 + 31 * 73 * k});  // same bucket before and after
  v.push_back({10 + 73});                                                 // old bucket 21
  v.push_back({10 + 73 * 2});                                             // old bucket 1
  while (v.size() < 22) v.push_back({100000 + 31 * 73 * v.size()});       // all in one bucket elsewhere
  for (Item const& i : v) t.do_insert(&i, 0);
  EXPECT_EQ(t.bucket_count(), 31u);
  EXPECT_EQ(chain(t, 10), (Ids{10 + 2 * 31 * 73, 10 + 31 * 73, 10}));
  t.do_insert(&v[0], 0);
  EXPECT_EQ(t.bucket_count(), 73u);
  // Old bucket 1 first, then 10 (its chain from the head, which turns it round), then 21; each to the front.
  EXPECT_EQ(chain(t, 10), (Ids{10 + 73, 10, 10 + 31 * 73, 10 + 2 * 31 * 73, 10 + 73 * 2}));
}

TEST(HashtableTest, NewNodeGoesBeforeRehashedOnes) {
  Table t;
  std::vector<Item> v;
  for (std::uint64_t k = 0; k < 23; ++k) v.push_back({3 + 73 * k});
  for (Item const& i : v) t.do_insert(&i, 0);
  EXPECT_EQ(t.bucket_count(), 73u);
  Ids const ids = chain(t, 3);
  ASSERT_EQ(ids.size(), 23u);
  EXPECT_EQ(ids[0], 3 + 73u * 22);
}

TEST(HashtableTest, NodesSurviveGrowth) {
  Table t;
  auto const v = items(100);
  std::vector<Table::Node*> nodes;
  for (Item const& i : v) nodes.push_back(t.do_insert(&i, static_cast<std::int64_t>(i.id)).first);
  for (std::size_t i = 0; i < v.size(); ++i) {
    EXPECT_EQ(t.find(&v[i]), nodes[i]);
    EXPECT_EQ(nodes[i]->value, static_cast<std::int64_t>(i));
  }
}

TEST(HashtableTest, RemoveUnlinksHeadMiddleAndTail) {
  Table t;
  std::vector<Item> const v = {{4}, {35}, {66}, {97}};  // one chain: 97 66 35 4
  for (Item const& i : v) t.do_insert(&i, static_cast<std::int64_t>(i.id));
  auto const [value, removed] = t.remove(&v[1]);
  EXPECT_TRUE(removed);
  EXPECT_EQ(value, 35);
  EXPECT_EQ(chain(t, 4), (Ids{97, 66, 4}));
  EXPECT_TRUE(t.remove(&v[3]).second);
  EXPECT_EQ(chain(t, 4), (Ids{66, 4}));
  EXPECT_TRUE(t.remove(&v[0]).second);
  EXPECT_EQ(chain(t, 4), (Ids{66}));
  EXPECT_EQ(t.size(), 1u);
  EXPECT_FALSE(t.remove(&v[0]).second);
  EXPECT_EQ(t.size(), 1u);
}

TEST(HashtableTest, RemovedNodeIsTheNextOneUsed) {
  Table t;
  auto const v = items(10);
  for (Item const& i : v) t.do_insert(&i, 0);
  Table::Node* const three = t.find(&v[3]);
  Table::Node* const six = t.find(&v[6]);
  t.remove(&v[3]);
  t.remove(&v[6]);
  EXPECT_EQ(t.do_insert(&v[3], 0).first, six);
  EXPECT_EQ(t.do_insert(&v[6], 0).first, three);
}

TEST(HashtableTest, BucketCountNeverShrinks) {
  Table t;
  auto const v = items(100);
  for (Item const& i : v) t.do_insert(&i, 0);
  std::uint64_t const count = t.bucket_count();
  for (Item const& i : v) t.remove(&i);
  EXPECT_EQ(t.size(), 0u);
  EXPECT_EQ(t.bucket_count(), count);
  t.do_insert(&v[0], 0);
  EXPECT_EQ(t.bucket_count(), count);
}

TEST(HashtableTest, ClearReturnsTheNodesAndKeepsTheBuckets) {
  Table t;
  auto const v = items(100);
  for (Item const& i : v) t.do_insert(&i, 0);
  std::uint64_t const count = t.bucket_count();
  std::uint64_t const free = t.node_pool().free_count();
  t.clear();
  EXPECT_EQ(t.size(), 0u);
  EXPECT_EQ(t.bucket_count(), count);
  EXPECT_EQ(t.node_pool().free_count(), free + 100);
  for (std::uint64_t b = 0; b < count; ++b) EXPECT_EQ(t.chain(b), nullptr);
  EXPECT_EQ(t.find(&v[0]), nullptr);
  EXPECT_TRUE(t.do_insert(&v[0], 0).second);
  EXPECT_EQ(t.node_pool().chunk_count(), 3u);  // 16 + 32 + 64 nodes served all of it
  t.clear();
  t.clear();  // of an empty table
  EXPECT_EQ(t.size(), 0u);
}

TEST(HashtableTest, AgreesWithAMap) {
  std::mt19937_64 random(20);
  std::vector<Item> v(3000);
  for (Item& i : v) i.id = random() >> (random() % 60);
  Table t;
  std::unordered_map<Item const*, std::int64_t> model;
  for (int step = 0; step < 100000; ++step) {
    Item const* i = &v[random() % v.size()];
    auto const value = static_cast<std::int64_t>(random());
    switch (random() % 3) {
      case 0: {
        bool const made = model.emplace(i, value).second;
        ASSERT_EQ(t.do_insert(i, value).second, made);
        break;
      }
      case 1: {
        auto const it = model.find(i);
        auto const [old, removed] = t.remove(i);
        ASSERT_EQ(removed, it != model.end());
        if (removed) {
          ASSERT_EQ(old, it->second);
          model.erase(it);
        }
        break;
      }
      default: {
        auto const it = model.find(i);
        Table::Node const* n = t.find(i);
        ASSERT_EQ(n != nullptr, it != model.end());
        if (n != nullptr) {
          ASSERT_EQ(n->value, it->second);
        }
      }
    }
    ASSERT_EQ(t.size(), model.size());
  }
}

}  // namespace
}  // namespace vell::hsh

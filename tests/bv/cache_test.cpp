// The bits cache, the trail and backtracking, seen through the clausifier.

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/clausifiertest.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::ClauseSink;
using bv::WordClausifier;
using bv::WordClausifierInspector;

class CacheTest : public ClausifierTest {
 protected:
  std::uint64_t lists_in_use() const {
    return inspect.list_pool().chunk_count() * 1024 - inspect.list_pool().free_count();
  }
  std::uint64_t size() const { return inspect.bits_cache().size(); }
  std::uint64_t buckets() const { return inspect.bits_cache().bucket_count(); }
  std::vector<Term_ const*> variables(int n, std::uint64_t width = 1) {
    std::vector<Term_ const*> v;
    for (int i = 0; i < n; ++i) v.push_back(bv_var("v" + std::to_string(i), width));
    return v;
  }
  void cache(Term_ const* t, BvLitList const& b) { c.add_to_cache(t, c.new_BvLitList(b)); }
};

// ---- lookup and insertion ----

TEST_F(CacheTest, AFreshClausifierKnowsNothing) {
  for (Term_ const* t : variables(40)) {
    EXPECT_EQ(c.lookup(t), nullptr);
    EXPECT_FALSE(c.is_cached(t));
  }
  EXPECT_EQ(buckets(), 31u);
  EXPECT_EQ(size(), 0u);
}

TEST_F(CacheTest, AddToCacheStoresTheListItselfAndATrailEntry) {
  Term_ const* x = bv_var("x", 2);
  BvLitList* list = c.new_BvLitList({2, 3});
  c.add_to_cache(x, list);
  EXPECT_EQ(c.lookup(x), list);
  EXPECT_TRUE(c.is_cached(x));
  EXPECT_EQ(trail(), "x");
  EXPECT_EQ(size(), 1u);
  EXPECT_EQ(lists_in_use(), 1u);
  EXPECT_NO_EVENTS();
}

TEST_F(CacheTest, NewListIsACopy) {
  BvLitList source{2, -3, 1};
  BvLitList* list = c.new_BvLitList(source);
  source[0] = 9;
  EXPECT_EQ(*list, (BvLitList{2, -3, 1}));
  c.release(list);
  EXPECT_EQ(trail(), "");
}

TEST_F(CacheTest, AnEmptyListIsCachedToo) {
  Term_ const* x = bv_var("x", 0);
  cache(x, {});
  EXPECT_TRUE(c.is_cached(x));
  ASSERT_NE(c.lookup(x), nullptr);
  EXPECT_TRUE(c.lookup(x)->empty());
  c.retract_upto(x);
  EXPECT_FALSE(c.is_cached(x));
}

TEST_F(CacheTest, CachingAgainReplacesTheListAndLeavesTwoEntries) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* y = bv_var("y", 1);
  BvLitList* const first = c.new_BvLitList({2});
  c.add_to_cache(x, first);
  cache(y, {3});
  cache(x, {4});
  EXPECT_EQ(bits(x), (BvLitList{4}));
  EXPECT_EQ(*first, (BvLitList{2}));  // not released
  EXPECT_EQ(size(), 2u);
  EXPECT_EQ(lists_in_use(), 3u);
  EXPECT_EQ(trail(), "x y x");
  c.retract_upto(x);  // the first entry reached forgets it
  EXPECT_EQ(trail(), "x y");
  EXPECT_FALSE(c.is_cached(x));
  EXPECT_TRUE(c.is_cached(y));
  c.retract_upto(x);  // the other one is only removed
  EXPECT_EQ(trail(), "");
  EXPECT_EQ(size(), 0u);
  c.release(first);
  EXPECT_EQ(lists_in_use(), 0u);
}

TEST_F(CacheTest, TwentyThirdTermGrowsTheTable) {
  auto const v = variables(24);
  for (int i = 0; i < 22; ++i) cache(v[i], {2});
  EXPECT_EQ(buckets(), 31u);
  cache(v[22], {2});
  EXPECT_EQ(buckets(), 73u);
  EXPECT_EQ(size(), 23u);
}

TEST_F(CacheTest, CachingAKnownTermMayGrowTheTable) {
  auto const v = variables(22);
  for (Term_ const* t : v) cache(t, {2});
  EXPECT_EQ(buckets(), 31u);
  c.release(c.lookup(v[0]));
  cache(v[0], {3});
  EXPECT_EQ(buckets(), 73u);
  EXPECT_EQ(size(), 22u);
}

TEST_F(CacheTest, ReadingNeverGrowsTheTable) {
  auto const v = variables(30);
  for (int i = 0; i < 22; ++i) cache(v[i], {2});
  BvLitList out;
  for (Term_ const* t : v) {
    c.lookup(t);
    c.is_cached(t);
    c.get_bits(t, out);
  }
  EXPECT_EQ(buckets(), 31u);
  EXPECT_EQ(size(), 22u);
}

TEST_F(CacheTest, HandlersOfArithmeticReadByPlainLookUp) {
  auto const v = variables(22, 2);
  BvLit literal = 2;
  for (Term_ const* t : v) {
    cache(t, {literal, literal + 1});
    literal += 2;
  }
  // The next insertion grows the table, so a child read by one would. Every handler is stopped between its
  // reading and its own insertion.
  for (SymbolTag::tag tag : {SymbolTag::bv_add, SymbolTag::bv_sub, SymbolTag::bv_mul, SymbolTag::bv_ult,
                             SymbolTag::bv_ule, SymbolTag::bv_slt, SymbolTag::bv_sle, SymbolTag::equal,
                             SymbolTag::equal_noproxy, SymbolTag::bv_neg}) {
    Term_ const* t = raw_term(tag, tm.bv_type(2), {v[0], v[1]});
    sink.new_lits_left = 0;
    EXPECT_THROW(c.call_hook(&sink, t, tag), Interrupted) << tag;
    EXPECT_EQ(buckets(), 31u) << tag;
    EXPECT_EQ(size(), 22u) << tag;
  }
}

TEST_F(CacheTest, BucketIsTheIdModuloTheBucketCount) {
  auto const v = variables(64);
  cache(v[0], {2});   // id 1
  cache(v[31], {3});  // id 32
  cache(v[62], {4});  // id 63
  WordClausifier::BitsCache::Node const* n = inspect.bits_cache().chain(1);
  ASSERT_NE(n, nullptr);
  EXPECT_EQ(n->key, v[62]);  // the newest first
  EXPECT_EQ(n->next->key, v[31]);
  EXPECT_EQ(n->next->next->key, v[0]);
  EXPECT_EQ(n->next->next->next, nullptr);
  EXPECT_EQ(n->value, c.lookup(v[62]));
}

TEST_F(CacheTest, LookUpsAllocateNothing) {
  auto const v = variables(100);
  for (Term_ const* t : v) cache(t, {2});
  std::uint64_t const before = allocation_count();
  for (Term_ const* t : v) {
    c.lookup(t);
    c.is_cached(t);
  }
  EXPECT_EQ(allocation_count(), before);
}

TEST_F(CacheTest, PoolChunksAreTakenAtFirstUse) {
  EXPECT_EQ(inspect.list_pool().chunk_count(), 0u);
  EXPECT_EQ(inspect.bits_cache().node_pool().chunk_count(), 0u);
  auto const v = variables(1025);
  cache(v[0], {2});
  EXPECT_EQ(inspect.list_pool().chunk_count(), 1u);
  EXPECT_EQ(inspect.bits_cache().node_pool().chunk_count(), 1u);
  EXPECT_EQ(inspect.bits_cache().node_pool().next_chunk_size(), 32u);
  for (int i = 1; i < 1024; ++i) cache(v[i], {2});
  EXPECT_EQ(inspect.list_pool().chunk_count(), 1u);
  cache(v[1024], {2});
  EXPECT_EQ(inspect.list_pool().chunk_count(), 2u);
  EXPECT_EQ(inspect.list_pool().next_chunk_size(), 1024u);
  EXPECT_EQ(inspect.bits_cache().node_pool().chunk_count(), 7u);  // 16 + ... + 1024 = 2032
}

// ---- retraction ----

TEST_F(CacheTest, RetractForgetsTheTermAndEverythingAfterIt) {
  auto const v = variables(4);
  for (Term_ const* t : v) cache(t, {2});
  c.retract_upto(v[1]);
  EXPECT_EQ(trail(), "v0");
  EXPECT_TRUE(c.is_cached(v[0]));
  for (int i = 1; i < 4; ++i) EXPECT_FALSE(c.is_cached(v[i]));
  EXPECT_EQ(size(), 1u);
  EXPECT_EQ(lists_in_use(), 1u);
  EXPECT_NO_EVENTS();
}

TEST_F(CacheTest, RetractOfABlastedTermForgetsItsSubtermsAndNothingElse) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* y = bv_var("y", 1);
  Term_ const* z = bv_var("z", 1);
  c.bit_blast(x, &sink);
  Term_ const* t = tm.mk_app(SymbolTag::bv_and, {tm.mk_app(SymbolTag::bv_or, {x, y}), z});
  c.bit_blast(t, &sink);
  EXPECT_EQ(size(), 5u);
  c.retract_upto(t);
  EXPECT_EQ(trail(), "x");
  EXPECT_EQ(size(), 1u);
  EXPECT_TRUE(c.is_cached(x));
  EXPECT_FALSE(c.is_cached(y) || c.is_cached(z) || c.is_cached(t));
}

TEST_F(CacheTest, ARetractedVariableGetsNewLiterals) {
  Term_ const* x = bv_var("x", 2);
  EXPECT_EQ(c.bit_blast(x, &sink), 100);
  c.retract_upto(x);
  EXPECT_EQ(c.bit_blast(x, &sink), 102);
  EXPECT_EVENTS("new 100\n new 101\n new 102\n new 103");
}

TEST_F(CacheTest, RetractReturnsListsAndNodesToTheFronts) {
  auto const v = variables(3);
  for (Term_ const* t : v) cache(t, {2});
  BvLitList* const lists[] = {c.lookup(v[0]), c.lookup(v[1]), c.lookup(v[2])};
  void const* const node1 = inspect.bits_cache().find(v[1]);
  void const* const node2 = inspect.bits_cache().find(v[2]);
  c.retract_upto(v[1]);  // v2 goes first, then v1
  cache(v[2], {7});
  cache(v[1], {7});
  EXPECT_EQ(c.lookup(v[2]), lists[1]);
  EXPECT_EQ(c.lookup(v[1]), lists[2]);
  EXPECT_EQ(inspect.bits_cache().find(v[2]), node1);
  EXPECT_EQ(inspect.bits_cache().find(v[1]), node2);
}

TEST_F(CacheTest, TheTableNeverShrinks) {
  auto const v = variables(200);
  for (Term_ const* t : v) cache(t, {2});
  std::uint64_t const count = buckets();
  EXPECT_EQ(count, 313u);
  c.retract_upto(v[0]);
  EXPECT_EQ(size(), 0u);
  EXPECT_EQ(buckets(), count);
  EXPECT_EQ(inspect.bits_cache().node_pool().chunk_count(), 4u);
}

TEST_F(CacheTest, EntriesOfTermsNoLongerCachedAreJustRemoved) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* y = bv_var("y", 1);
  c.bit_blast(x, &sink);
  c.bit_blast(y, &sink);
  c.bit_blast(x, &sink);  // a second entry of x
  c.retract_upto(x);
  EXPECT_EQ(trail(), "x y");
  EXPECT_FALSE(c.is_cached(x));
  c.retract_upto(y);
  EXPECT_EQ(trail(), "x");
  c.retract_upto(x);
  EXPECT_EQ(trail(), "");
}

// ---- backtrack points ----

TEST_F(CacheTest, PopForgetsWhatCameSinceThePush) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* y = bv_var("y", 1);
  Term_ const* z = bv_var("z", 1);
  c.bit_blast(x, &sink);
  std::string const before = trail();
  c.push_backtrack_point();
  EXPECT_EQ(trail(), "x |");
  c.bit_blast(tm.mk_app(SymbolTag::bv_and, {x, y}), &sink);
  c.bit_blast(z, &sink);
  c.pop_backtrack_point();
  EXPECT_EQ(trail(), before);
  EXPECT_EQ(size(), 1u);
  EXPECT_TRUE(c.is_cached(x));
  EXPECT_FALSE(c.is_cached(y) || c.is_cached(z));
}

TEST_F(CacheTest, PointsNest) {
  auto const v = variables(3);
  c.push_backtrack_point();
  cache(v[0], {2});
  c.push_backtrack_point();
  c.push_backtrack_point();
  cache(v[1], {2});
  EXPECT_EQ(trail(), "| v0 | | v1");
  c.pop_backtrack_point();
  EXPECT_EQ(trail(), "| v0 |");
  c.pop_backtrack_point();
  EXPECT_EQ(trail(), "| v0");
  cache(v[2], {2});
  c.retract_upto(nullptr);  // what pop does
  EXPECT_EQ(trail(), "");
  EXPECT_EQ(size(), 0u);
}

TEST_F(CacheTest, RetractAcrossAPointRemovesThePoint) {
  auto const v = variables(3);
  cache(v[0], {2});
  cache(v[1], {2});
  c.push_backtrack_point();
  cache(v[2], {2});
  c.retract_upto(v[1]);
  EXPECT_EQ(trail(), "v0");
  EXPECT_EQ(size(), 1u);
}

TEST_F(CacheTest, PopRetractsThroughTheVirtualTable) {
  struct Derived : WordClausifier {
    using WordClausifier::WordClausifier;
    std::vector<Term_ const*> retracted;
    void retract_upto(Term_ const* t) override {
      retracted.push_back(t);
      WordClausifier::retract_upto(t);
    }
  };
  Derived d(&tm, &config);
  d.set_logger(&logger);
  d.push_backtrack_point();
  d.bit_blast(bv_var("x", 1), &sink);
  d.pop_backtrack_point();
  EXPECT_EQ(d.retracted, (std::vector<Term_ const*>{nullptr}));
  EXPECT_TRUE(WordClausifierInspector(d).trail().empty());
}

TEST_F(CacheTest, BacktrackingNeitherTracesNorAsks) {
  logger.set_verbosity(9);
  Term_ const* x = bv_var("x", BvLitList{2});
  c.push_backtrack_point();
  c.pop_backtrack_point();
  c.retract_upto(x);
  EXPECT_NO_EVENTS();
}

// ---- destruction ----

TEST_F(CacheTest, TheDestructorReleasesEverything) {
  // Nodes and list headers lie in chunks of the pools: under AddressSanitizer a chunk that stayed would be
  // told.
  std::vector<Term_ const*> terms;
  for (int i = 0; i < 3000; ++i)
    terms.push_back(bv_var("x" + std::to_string(i), static_cast<std::uint64_t>(i % 70 + 1)));
  terms.push_back(tm.mk_variable("f", tm.fp_type(8, 23)));  // met by the floating-point layer
  events.reserve(200'000);
  sink.lits.reserve(10);
  auto life = [&](std::vector<Term_ const*> const& cached) {
    auto w = std::make_unique<WordClausifier>(&tm, &config);
    w->set_logger(&logger);
    for (std::size_t i = 0; i < cached.size(); ++i) {
      if (i % 100 == 0) w->push_backtrack_point();
      w->bit_blast(cached[i], &sink);
    }
    w.reset();
    events.clear();
  };
  // So few that the table does not grow, in its first bucket and in its last one.
  std::vector<Term_ const*> ends;
  for (Term_ const* t : terms)
    if (ends.size() < 20 && (t->id % 31 == 0 || t->id % 31 == 30)) ends.push_back(t);
  std::uint64_t const before = live_allocations();
  life(terms);
  EXPECT_EQ(live_allocations(), before);
  life(ends);
  EXPECT_EQ(live_allocations(), before);
}

TEST_F(CacheTest, AnEmptyClausifierCanBeDestroyed) {
  auto w = std::make_unique<WordClausifier>(&tm, nullptr);
  w->set_logger(&logger);
  w.reset();
}

// ---- against a model ----

// Random calls; the model is a list of trail entries and a map of bits.
TEST_F(CacheTest, RandomCallsAgreeWithAModel) {
  std::mt19937 random(4);
  auto const v = variables(60);
  std::vector<Term_ const*> model_trail;
  std::map<Term_ const*, BvLitList> model;
  int points = 0;
  auto model_retract = [&](Term_ const* t) {
    for (;;) {
      Term_ const* e = model_trail.back();
      model_trail.pop_back();
      if (e == nullptr)
        --points;
      else
        model.erase(e);
      if (e == t) return;
    }
  };
  for (int step = 0; step < 20000; ++step) {
    Term_ const* t = v[random() % v.size()];
    switch (random() % 6) {
      case 0:
      case 1:
      case 2:
        if (!model.contains(t)) {
          BvLitList const b(random() % 4, static_cast<BvLit>(step + 2));
          cache(t, b);
          model[t] = b;
          model_trail.push_back(t);
        }
        break;
      case 3:
        c.push_backtrack_point();
        model_trail.push_back(nullptr);
        ++points;
        break;
      case 4:
        if (points > 0) {
          c.pop_backtrack_point();
          model_retract(nullptr);
        }
        break;
      default:
        if (random() % 8 == 0 && model.contains(t)) {
          c.retract_upto(t);
          model_retract(t);
        }
    }
    ASSERT_EQ(inspect.trail(), model_trail);
    ASSERT_EQ(size(), model.size());
    ASSERT_EQ(lists_in_use(), model.size());
    BvLitList out;
    ASSERT_EQ(c.get_bits(t, out), model.contains(t));
    if (model.contains(t)) {
      ASSERT_EQ(out, model[t]);
    }
  }
}

}  // namespace
}  // namespace vell::test

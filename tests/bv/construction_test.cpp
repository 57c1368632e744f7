// Construction, the table of handlers, the logger, register_hook.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/clausifiertest.h"
#include "tests/support/slots.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::ClauseSink;
using bv::WordClausifier;
using bv::WordClausifierInspector;
using bv::WordClausifierInterface;
using Handler = bv::WordClausifier::Handler;

class ConstructionTest : public ClausifierTest {};

// ---- construction ----

struct TableEntry {
  unsigned tag;
  Handler handler;
};

std::vector<TableEntry> handler_table() {
  using W = WordClausifier;
  return {{17, &W::word_not},    {19, &W::word_or},
          {18, &W::word_and},    {20, &W::word_xor},
          {35, &W::word_lsr},    {36, &W::word_asr},
          {34, &W::word_lsl},    {37, &W::word_rol},
          {38, &W::word_ror},    {16, &W::word_sel},
          {15, &W::word_concat}, {39, &W::word_zext},
          {40, &W::word_sext},   {26, &W::word_neg},
          {27, &W::word_add},    {28, &W::word_sub},
          {29, &W::word_mul},    {31, &W::word_sdiv},
          {33, &W::word_srem},   {30, &W::word_udiv},
          {32, &W::word_urem},   {21, &W::word_ult},
          {23, &W::word_ule},    {22, &W::word_slt},
          {24, &W::word_sle},    {25, &W::word_equal_noproxy},
          {12, &W::word_equal},  {5, &W::bool_not},
          {3, &W::bool_and},     {4, &W::bool_or},
          {2, &W::bool_false},   {1, &W::bool_true},
          {6, &W::bool_iff},     {60, &W::fp_to_sbv},
          {61, &W::fp_to_ubv},   {62, &W::fp_as_ieeebv}};
}

TEST_F(ConstructionTest, HookTableHas36HandlersIn63Entries) {
  std::vector<TableEntry> const table = handler_table();
  ASSERT_EQ(table.size(), 36u);
  auto const& hooks = inspect.hooks();
  ASSERT_EQ(hooks.size(), 63u);
  std::vector<Handler> expected(63, nullptr);
  for (TableEntry const& e : table) expected[e.tag] = e.handler;
  for (unsigned tag = 0; tag < 63; ++tag) EXPECT_TRUE(hooks[tag] == expected[tag]) << tag;
}

TEST_F(ConstructionTest, FreshState) {
  WordClausifier w(&tm, nullptr);
  WordClausifierInspector i(w);
  EXPECT_TRUE(i.trail().empty());
  EXPECT_EQ(i.bits_cache().size(), 0u);
  EXPECT_EQ(i.bits_cache().bucket_count(), 31u);
  EXPECT_EQ(i.bits_cache().node_pool().next_chunk_size(), 16u);
  EXPECT_EQ(i.bits_cache().node_pool().chunk_count(), 0u);
  EXPECT_EQ(i.list_pool().next_chunk_size(), 1024u);
  EXPECT_EQ(i.list_pool().chunk_count(), 0u);
  EXPECT_TRUE(i.owns_logger());
  ASSERT_NE(i.logger(), nullptr);
  EXPECT_EQ(i.logger()->verbosity(), 0);
  std::vector<Term_ const*> fp_terms;
  EXPECT_FALSE(w.get_new_fp_terms(fp_terms));
  w.set_logger(&logger);  // frees the one of the constructor
}

TEST_F(ConstructionTest, InterfaceOperationsInTheirSlots) {
  using I = WordClausifierInterface;
  std::ptrdiff_t const slots[] = {virtual_slot(&I::set_logger),
                                  virtual_slot(&I::set_termination_test),
                                  virtual_slot(&I::is_cached),
                                  virtual_slot(&I::get_bits),
                                  virtual_slot(&I::bit_blast),
                                  virtual_slot(&I::set_bits),
                                  virtual_slot(&I::retract_upto),
                                  virtual_slot(&I::bit_blast_theory_eq),
                                  virtual_slot(&I::notify_interface_term),
                                  virtual_slot(&I::is_terminal),
                                  virtual_slot(&I::push_backtrack_point),
                                  virtual_slot(&I::pop_backtrack_point),
                                  virtual_slot(&I::set_fp_combination),
                                  virtual_slot(&I::get_new_fp_terms),
                                  virtual_slot(&I::make_bits)};
  for (std::size_t i = 0; i < std::size(slots); ++i)
    EXPECT_EQ(slots[i], static_cast<std::ptrdiff_t>(i) + 2) << i;  // behind the two entries of the destructor
  EXPECT_TRUE(std::has_virtual_destructor_v<I>);
}

// ---- logger ----

TEST_F(ConstructionTest, OnlySetLoggerFreesTheLoggerOfTheConstructor) {
  auto w = std::make_unique<WordClausifier>(&tm, &config);
  std::unique_ptr<Logger const> own(WordClausifierInspector(*w).logger());
  w.reset();
  EXPECT_EQ(own->verbosity(), 0);  // still alive: under AddressSanitizer a freed one would be told
}

TEST_F(ConstructionTest, GivenLoggersAreNeverOwned) {
  std::ostringstream s;
  Logger second(s, 3);
  EXPECT_EQ(inspect.logger(), &logger);
  EXPECT_FALSE(inspect.owns_logger());
  c.set_logger(&second);
  EXPECT_EQ(inspect.logger(), &second);
  EXPECT_FALSE(inspect.owns_logger());
  c.bit_not(2);
  EXPECT_EQ(s.str(), "BV:Word clausifier - bit_not \n");
  c.set_logger(&logger);
}

TEST_F(ConstructionTest, LogWritesThePrefixWhereTheLevelPasses) {
  logger.set_verbosity(2);
  EXPECT_EQ(&c.log(2), &logger);
  logger << "a" << endlog;
  c.log(3) << "b" << endlog;
  c.log(0) << "c" << endlog;
  c.log(-1) << "d" << endlog;
  EXPECT_EVENTS(R"(
    log "a"
    log "c"
  )");
  EXPECT_STREQ(logger.module(), "BV");
}

// ---- register_hook ----

struct HookedClausifier : WordClausifier {
  using WordClausifier::WordClausifier;
  std::vector<std::string> calls;
  void first(ClauseSink*, Term_ const* t) { handle("first", t); }
  void second(ClauseSink*, Term_ const* t) { handle("second", t); }
  void handle(char const* name, Term_ const* t) {
    calls.push_back(name + (" " + t->to_shallow_str()));
    add_to_cache(t, new_BvLitList({static_cast<BvLit>(50 + calls.size())}));
  }
  void throwing(ClauseSink*, Term_ const*) { throw Interrupted("handler"); }
  static Handler handler(void (HookedClausifier::*h)(ClauseSink*, Term_ const*)) {
    return static_cast<Handler>(h);
  }
};

class HooksTest : public ConstructionTest {
 protected:
  HooksTest() { w.set_logger(&logger); }
  SymbolTag::tag tag(unsigned n) { return static_cast<SymbolTag::tag>(n); }

  Handler const first = HookedClausifier::handler(&HookedClausifier::first);
  Handler const second = HookedClausifier::handler(&HookedClausifier::second);
  HookedClausifier w{&tm, &config};
  WordClausifierInspector hooked{w};
};

TEST_F(HooksTest, TableGrowsToExactlyTheTag) {
  w.register_hook(tag(100), first);
  ASSERT_EQ(hooked.hooks().size(), 101u);
  for (unsigned i = 63; i < 100; ++i) EXPECT_TRUE(hooked.hooks()[i] == nullptr);
  EXPECT_TRUE(hooked.hooks()[100] == first);
  w.register_hook(tag(101), second);
  EXPECT_EQ(hooked.hooks().size(), 102u);
  w.register_hook(tag(50), second);
  EXPECT_EQ(hooked.hooks().size(), 102u);
  EXPECT_TRUE(hooked.hooks()[50] == second);
  EXPECT_TRUE(hooked.hooks()[100] == first);
  w.register_hook(tag(62), first);  // the last entry of the constructor
  EXPECT_EQ(hooked.hooks().size(), 102u);
}

TEST_F(HooksTest, TheLastHandlerOfATagCounts) {
  w.register_hook(tag(27), first);
  w.register_hook(tag(27), second);
  Term_ const* x = bv_var("x", 1);
  EXPECT_EQ(w.bit_blast(tm.mk_app(SymbolTag::bv_add, {x, x}), &sink), 51);
  EXPECT_EQ(w.calls, (std::vector<std::string>{"second (bvadd x x)"}));
  EXPECT_EVENTS("new 100");
}

TEST_F(HooksTest, AHandlerIsCalledForATermWithoutArguments) {
  w.register_hook(tag(70), first);
  Term_ const* t = raw_term(tag(70), tm.int_type, {}, "t");
  EXPECT_EQ(w.bit_blast(t, &sink), 51);
  EXPECT_EQ(w.calls, (std::vector<std::string>{"first t"}));
  EXPECT_EQ(w.bit_blast(tm.mk_bool(false), &sink), -1);
}

TEST_F(HooksTest, TagZeroMayHaveAHandler) {
  w.register_hook(tag(0), first);
  Term_ const* x = bv_var("x", 1);
  EXPECT_EQ(w.bit_blast(x, &sink), 51);
  EXPECT_EQ(w.calls, (std::vector<std::string>{"first x"}));
}

TEST_F(HooksTest, AnEmptiedEntryIsNoHandler) {
  w.register_hook(tag(27), nullptr);
  Term_ const* x = bv_var("x", 1);
  Term_ const* sum = tm.mk_app(SymbolTag::bv_add, {x, x});
  w.bit_blast(sum, &sink);
  EXPECT_FALSE(w.is_cached(x));
  EXPECT_EVENTS("new 100");
}

TEST_F(HooksTest, CallHookGoesByTheTagItIsGiven) {
  w.register_hook(tag(70), first);
  Term_ const* x = bv_var("x", 1);
  w.call_hook(&sink, x, tag(70));
  EXPECT_EQ(w.calls, (std::vector<std::string>{"first x"}));
}

TEST_F(HooksTest, AHandlerThatThrowsPassesThrough) {
  w.register_hook(tag(70), HookedClausifier::handler(&HookedClausifier::throwing));
  Term_ const* x = bv_var("x", 1);
  Term_ const* t = raw_term(tag(70), tm.bool_type, {x}, "t");
  EXPECT_THROW(w.bit_blast(t, &sink), Interrupted);
  EXPECT_TRUE(w.is_cached(x));
  EXPECT_FALSE(w.is_cached(t));
  EXPECT_EQ(hooked.trail(), (std::vector<Term_ const*>{t, x}));
  w.retract_upto(t);
  EXPECT_FALSE(w.is_cached(x));
  EXPECT_TRUE(hooked.trail().empty());
}

}  // namespace
}  // namespace vell::test

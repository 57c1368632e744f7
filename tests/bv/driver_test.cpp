// Construction, hook table, traversal, dispatch, diagnostics, polling.

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/clausifiertest.h"
#include "tests/support/slots.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::ClauseSink;
using bv::WordClausifier;
using bv::WordClausifierInspector;
using bv::WordClausifierInterface;
using Handler = WordClausifier::Handler;

class DriverTest : public ClausifierTest {
 protected:
  // The events that say which terms were translated, in order, as "name name".
  std::string translated() {
    std::string s;
    std::string const prefix = "log \"calling a hook for ";
    for (std::string const& e : events)
      if (e.starts_with(prefix)) s += (s.empty() ? "" : " ") + e.substr(prefix.size(), e.size() - prefix.size() - 1);
    return s;
  }
};

// ---- construction ----

struct TableEntry {
  unsigned tag;
  Handler handler;
};

std::vector<TableEntry> handler_table() {
  using W = WordClausifier;
  return {{17, &W::word_not},       {19, &W::word_or},      {18, &W::word_and},    {20, &W::word_xor},
          {35, &W::word_lsr},       {36, &W::word_asr},     {34, &W::word_lsl},    {37, &W::word_rol},
          {38, &W::word_ror},       {16, &W::word_sel},     {15, &W::word_concat}, {39, &W::word_zext},
          {40, &W::word_sext},      {26, &W::word_neg},     {27, &W::word_add},    {28, &W::word_sub},
          {29, &W::word_mul},       {31, &W::word_sdiv},    {33, &W::word_srem},   {30, &W::word_udiv},
          {32, &W::word_urem},      {21, &W::word_ult},     {23, &W::word_ule},    {22, &W::word_slt},
          {24, &W::word_sle},       {25, &W::word_equal_noproxy}, {12, &W::word_equal}, {5, &W::bool_not},
          {3, &W::bool_and},        {4, &W::bool_or},       {2, &W::bool_false},   {1, &W::bool_true},
          {6, &W::bool_iff},        {60, &W::fp_to_sbv},    {61, &W::fp_to_ubv},   {62, &W::fp_as_ieeebv}};
}

TEST_F(DriverTest, HookTableHas36HandlersIn63Entries) {
  std::vector<TableEntry> const table = handler_table();
  ASSERT_EQ(table.size(), 36u);
  auto const& hooks = inspect.hooks();
  ASSERT_EQ(hooks.size(), 63u);
  std::vector<Handler> expected(63, nullptr);
  for (TableEntry const& e : table) expected[e.tag] = e.handler;
  for (unsigned tag = 0; tag < 63; ++tag) EXPECT_TRUE(hooks[tag] == expected[tag]) << tag;
}

TEST_F(DriverTest, FreshState) {
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

TEST_F(DriverTest, InterfaceOperationsInTheirSlots) {
  using I = WordClausifierInterface;
  std::ptrdiff_t const slots[] = {
      virtual_slot(&I::set_logger),          virtual_slot(&I::set_termination_test),
      virtual_slot(&I::is_cached),           virtual_slot(&I::get_bits),
      virtual_slot(&I::bit_blast),           virtual_slot(&I::set_bits),
      virtual_slot(&I::retract_upto),        virtual_slot(&I::bit_blast_theory_eq),
      virtual_slot(&I::notify_interface_term), virtual_slot(&I::is_terminal),
      virtual_slot(&I::push_backtrack_point), virtual_slot(&I::pop_backtrack_point),
      virtual_slot(&I::set_fp_combination),  virtual_slot(&I::get_new_fp_terms),
      virtual_slot(&I::make_bits)};
  for (std::size_t i = 0; i < std::size(slots); ++i)
    EXPECT_EQ(slots[i], static_cast<std::ptrdiff_t>(i) + 2) << i;  // behind the two entries of the destructor
  EXPECT_TRUE(std::has_virtual_destructor_v<I>);
}

// ---- logger ----

TEST_F(DriverTest, OnlySetLoggerFreesTheLoggerOfTheConstructor) {
  auto w = std::make_unique<WordClausifier>(&tm, &config);
  std::unique_ptr<Logger const> own(WordClausifierInspector(*w).logger());
  w.reset();
  EXPECT_EQ(own->verbosity(), 0);  // still alive: under AddressSanitizer a freed one would be told
}

TEST_F(DriverTest, GivenLoggersAreNeverOwned) {
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

TEST_F(DriverTest, LogWritesThePrefixWhereTheLevelPasses) {
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

class HooksTest : public DriverTest {
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

// ---- traversal ----

TEST_F(DriverTest, ChildrenFirstLastArgumentFirst) {
  Term_ const* x = bv_var("x", 8);
  Term_ const* y = bv_var("y", 8);
  Term_ const* z = bv_var("z", 8);
  Term_ const* sum = tm.mk_app(SymbolTag::bv_add, {y, z});
  Term_ const* t = tm.mk_app(SymbolTag::bv_ult, {x, sum});
  logger.set_verbosity(3);
  BvLit const literal = c.bit_blast(t, &sink);
  EXPECT_EQ(translated(), "z y (bvadd y z) x (bvult x #4)");
  EXPECT_EQ(bits(z), (BvLitList{100, 101, 102, 103, 104, 105, 106, 107}));
  EXPECT_EQ(bits(y)[0], 108);
  EXPECT_EQ(literal, bits(t)[0]);
  EXPECT_EQ(trail(), "(bvult x #4) z y (bvadd y z) x");
}

TEST_F(DriverTest, EveryLookAtATermIsTraced) {
  Term_ const* x = bv_var("x", BvLitList{1});
  Term_ const* p = bool_var("p");
  Term_ const* n = raw_term(SymbolTag::bv_not, tm.bv_type(1), {x}, "n");
  Term_ const* t = raw_term(SymbolTag::bv_mul, tm.bv_type(1), {n, p, n}, "t");
  EXPECT_TRACE_LEVELS(
      [&](WordClausifier& w, RecordingSink& s) {
        w.set_bits(x, &s, {1});
        w.bit_blast(t, &s);
      },
      R"(
        4 "considering t s:0"
        4 "considering n s:0"
        3 "calling a hook for n"
        3 "word_not n"
        3 "bit_not "
        4 "considering p s:0"
        3 "calling a hook for p"
        1 "no hook for p"
        3 "generic variable p"
        3 "bool variable p"
        4 "Variable p: [ 98 ]"
        4 "considering n s:1"
        4 "considering t s:0"
        3 "calling a hook for t"
        3 "word_mul t"
        3 "word mul generic t"
        3 "bit_and "
      )");
}

TEST_F(DriverTest, ACachedTermGivesOnlyItsLiteral) {
  Term_ const* x = bv_var("x", BvLitList{7, 8});
  c.set_termination_test(&termination_test);
  logger.set_verbosity(9);
  EXPECT_EQ(c.bit_blast(x, &sink), 7);
  EXPECT_EVENTS(R"(log "considering x s:1")");
  EXPECT_EQ(trail(), "x x");
}

TEST_F(DriverTest, SharedAndCachedSubtermsAreTranslatedOnce) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* n = tm.mk_app(SymbolTag::bv_not, {x});
  Term_ const* t = tm.mk_app(SymbolTag::bv_and, {n, tm.mk_app(SymbolTag::bv_or, {n, x})});
  logger.set_verbosity(3);
  c.bit_blast(t, &sink);
  EXPECT_EQ(translated(), "x (bvnot x) (bvor #2 x) (bvand #2 #3)");
  events.clear();
  c.bit_blast(tm.mk_app(SymbolTag::bv_xor, {n, x}), &sink);
  EXPECT_EQ(translated(), "(bvxor #2 x)");
}

TEST_F(DriverTest, AChildThatOccursTwiceIsPushedTwice) {
  Term_ const* x = bv_var("x", 1);
  logger.set_verbosity(4);
  c.bit_blast(tm.mk_app(SymbolTag::bv_sub, {x, x}), &sink);
  Events considered;
  for (std::string const& e : events)
    if (e.starts_with("log \"considering")) considered.push_back(e);
  EXPECT_TRUE(match_lines(considered, R"-(
    log "considering (bvsub x x) s:0"
    log "considering x s:0"
    log "considering x s:1"
    log "considering (bvsub x x) s:0"
  )-"));
}

TEST_F(DriverTest, WordsGiveTheirLeastSignificantBit) {
  Term_ const* x = bv_var("x", 3);
  EXPECT_EQ(c.bit_blast(x, &sink), 100);
  EXPECT_EQ(c.bit_blast(tm.mk_app(SymbolTag::bv_not, {x}), &sink), -100);
}

TEST_F(DriverTest, TrailOfTheRootStandsBeforeItsSubterms) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* y = bv_var("y", 1);
  c.bit_blast(x, &sink);
  EXPECT_EQ(trail(), "x");
  c.bit_blast(tm.mk_app(SymbolTag::bv_and, {x, y}), &sink);
  EXPECT_EQ(trail(), "x (bvand x y) y");
  c.bit_blast(x, &sink);
  EXPECT_EQ(trail(), "x (bvand x y) y x");
}

TEST_F(DriverTest, IsCachedIsAskedThroughTheVirtualTable) {
  struct Derived : WordClausifier {
    using WordClausifier::WordClausifier;
    std::string asked;
    bool is_cached(Term_ const* t) override {
      asked += t->to_shallow_str() + " ";
      return WordClausifier::is_cached(t);
    }
  };
  Derived d(&tm, &config);
  d.set_logger(&logger);
  Term_ const* x = bv_var("x", 1);
  Term_ const* y = bv_var("y", 1);
  Term_ const* t = raw_term(SymbolTag::bv_and, tm.bv_type(1), {x, y}, "t");
  d.bit_blast(t, &sink);
  // Twice at the top of the stack, once for each child.
  EXPECT_EQ(d.asked, "t t x y y y x x t t x y ");
  d.asked.clear();
  d.bit_blast(t, &sink);
  EXPECT_EQ(d.asked, "t t ");
}

TEST_F(DriverTest, AnOverriddenIsCachedDecidesWhatIsTranslated) {
  struct Derived : WordClausifier {
    using WordClausifier::WordClausifier;
    Term_ const* pretend = nullptr;
    bool is_cached(Term_ const* t) override { return t == pretend || WordClausifier::is_cached(t); }
  };
  Derived d(&tm, &config);
  d.set_logger(&logger);
  Term_ const* x = bv_var("x", 1);
  d.pretend = x;
  d.set_bits(x, &sink, {7});
  EXPECT_EQ(d.bit_blast(tm.mk_app(SymbolTag::bv_not, {x}), &sink), -7);
}

TEST_F(DriverTest, DeepTermsNeedNoCallStack) {
  struct NullSink : ClauseSink {
    BvLit next = 2;
    BvLit new_lit() override { return next++; }
    bool atom_lit(Term_ const*, BvLit&) override { return false; }
    void add_clause() override {}
  } null_sink;
  // The stack of a thread is 8 MiB at most here; 400,000 levels of recursion would need more.
  BvLit literal = 0;
  std::thread([&] {
    Term_ const* t = bool_var("p");
    for (int i = 0; i < 400'000; ++i) t = raw_term(SymbolTag::bool_not, tm.bool_type, {t});
    literal = c.bit_blast(t, &null_sink);
    c.retract_upto(t);
  }).join();
  EXPECT_EQ(literal, 2);
  EXPECT_EQ(inspect.bits_cache().size(), 0u);
  EXPECT_TRUE(inspect.trail().empty());
}

// ---- dispatch without a handler ----

TEST_F(DriverTest, ANumeralWithoutAHandler) {
  Term_ const* n = tm.mk_bv(5, 4);
  EXPECT_TRACE_LEVELS([&](WordClausifier& w, RecordingSink& s) { w.bit_blast(n, &s); },
                      R"-(
                        4 "considering (_ bv5 4) s:0"
                        3 "calling a hook for (_ bv5 4)"
                        1 "no hook for (_ bv5 4)"
                        3 "word_constant (_ bv5 4)"
                        4 "Constant (_ bv5 4): [ F, T, F, T ]"
                      )-");
  EXPECT_EQ(c.bit_blast(n, &sink), 1);
  EXPECT_EQ(bits(n), (BvLitList{1, -1, 1, -1}));
  EXPECT_NO_EVENTS();
}

TEST_F(DriverTest, ANumeralOfATagBeyondTheTable) {
  QNumber const value(5);
  Term_ const* n = tm.mk_term(tm.make_symbol({.name = "five",
                                              .output_type = tm.bv_type(3),
                                              .tag = static_cast<SymbolTag::tag>(1000),
                                              .role = Symbol::Role::number,
                                              .number = &value}));
  c.bit_blast(n, &sink);
  EXPECT_EQ(bits(n), (BvLitList{1, -1, 1}));
}

TEST_F(DriverTest, ANumeralOfATypeWithoutBitsIsOneBit) {
  Term_ const* n = tm.mk_number(QNumber(3), tm.int_type);
  EXPECT_EQ(c.bit_blast(n, &sink), 1);
  EXPECT_EQ(bits(n), (BvLitList{1}));
}

TEST_F(DriverTest, ArgumentsOfAnApplicationWithoutAHandlerAreNotVisited) {
  Term_ const* x = bv_var("x", 1);
  for (unsigned tag : {0u, 7u, 8u, 9u, 13u, 14u, 41u, 59u, 63u, 64u, 1000u}) {
    Term_ const* t = raw_term(static_cast<SymbolTag::tag>(tag), tm.bv_type(2), {x}, "t");
    sink.next = 100;
    logger.set_verbosity(1);
    EXPECT_EQ(c.bit_blast(t, &sink), 100) << tag;
    EXPECT_EVENTS("log \"no hook for t\"\n new 100\n new 101");
    EXPECT_FALSE(c.is_cached(x));
  }
}

TEST_F(DriverTest, UnsupportedTerms) {
  Term_ const* x = tm.mk_variable("n", tm.int_type);
  Term_ const* argument = bv_var("argument", 1);
  Type const* arguments[] = {tm.bool_type};
  struct Case {
    Term_ const* term;
    char const* line;
  };
  Term_ const* children[] = {argument};
  for (Case const& k : std::vector<Case>{
           {x, "n type:int symbol:n number:0 function:0 bv:0 bool:0"},
           {tm.mk_variable("r", tm.real_type), "r type:real symbol:r number:0 function:0 bv:0 bool:0"},
           {tm.mk_variable("f", tm.function_type(arguments, tm.bool_type)),
            "f type:fun symbol:f number:0 function:1 bv:0 bool:0"},
           {tm.mk_term(tm.make_symbol({.name = "g", .arity = 1, .output_type = tm.int_type, .label = "t"}), children),
            "t type:int symbol:g number:0 function:0 bv:0 bool:0"}}) {
    logger.set_verbosity(1);
    std::string const name = k.term->to_shallow_str();
    try {
      c.bit_blast(k.term, &sink);
      FAIL() << name;
    } catch (WordClausifierInterface::error const&) {
      FAIL() << "the object that travels is of the base type";
    } catch (Exception const& e) {
      EXPECT_EQ(typeid(e), typeid(Exception));
      EXPECT_EQ(e.what(), "not supported: " + name);
    }
    EXPECT_EVENTS("log \"no hook for " + name + "\"\nlog \"Trying to bitblast the unsuported term " + k.line + "\"");
    EXPECT_EQ(trail(), name);
    EXPECT_FALSE(c.is_cached(k.term));
    EXPECT_FALSE(c.is_cached(argument));
    c.retract_upto(k.term);
    EXPECT_EQ(trail(), "");
  }
}

TEST_F(DriverTest, TheDiagnosticIsOfLevelOneAndComesAfterTheFallbacks) {
  Term_ const* n = tm.mk_variable("n", tm.int_type);
  EXPECT_TRACE_LEVELS(
      [&](WordClausifier& w, RecordingSink& s) { EXPECT_THROW(w.bit_blast(n, &s), Exception); },
      R"(
        4 "considering n s:0"
        3 "calling a hook for n"
        1 "no hook for n"
        3 "generic variable n"
        1 "Trying to bitblast the unsuported term n type:int symbol:n number:0 function:0 bv:0 bool:0"
      )");
}

TEST_F(DriverTest, ANullNameIsALogicErrorWhereItIsPrinted) {
  Term_ const* n = tm.mk_term(tm.make_symbol({.name = "n", .output_type = tm.int_type, .label = "n"}));
  const_cast<Symbol*>(n->symbol)->name = nullptr;
  logger.set_verbosity(1);
  EXPECT_THROW(c.bit_blast(n, &sink), std::logic_error);
}

TEST_F(DriverTest, FailThrowsTheShallowForm) {
  Term_ const* x = bv_var("x", 1);
  try {
    c.fail(&sink, tm.mk_app(SymbolTag::bv_not, {x}));
    FAIL();
  } catch (Exception const& e) {
    EXPECT_STREQ(e.what(), "not supported: (bvnot x)");
    EXPECT_EQ(typeid(e), typeid(Exception));
  }
  EXPECT_NO_EVENTS();
}

TEST_F(DriverTest, WhatWasCachedBeforeAnUnsupportedTermStays) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* n = tm.mk_variable("n", tm.int_type);
  Term_ const* t = raw_term(SymbolTag::bv_and, tm.bv_type(1), {n, x}, "t");
  EXPECT_THROW(c.bit_blast(t, &sink), Exception);
  EXPECT_EVENTS("new 100");
  EXPECT_EQ(trail(), "t x");
  EXPECT_TRUE(c.is_cached(x));
  c.retract_upto(t);
  EXPECT_FALSE(c.is_cached(x));
  EXPECT_EQ(trail(), "");
}

// ---- termination test ----

TEST_F(DriverTest, PolledOnceForEachTranslatedTerm) {
  c.set_termination_test(&termination_test);
  Term_ const* x = bv_var("x", 1);
  Term_ const* t = tm.mk_app(SymbolTag::bv_not, {tm.mk_app(SymbolTag::bv_and, {x, tm.mk_bv(1, 1)})});
  logger.set_verbosity(3);
  c.bit_blast(t, &sink);
  Events seen;
  for (std::string const& e : events)
    if (e == "poll" || e.starts_with("log \"calling")) seen.push_back(e);
  EXPECT_TRUE(match_lines(seen, R"-(
    poll
    log "calling a hook for (_ bv1 1)"
    poll
    log "calling a hook for x"
    poll
    log "calling a hook for (bvand x (_ bv1 1))"
    poll
    log "calling a hook for (bvnot #3)"
  )-"));
  events.clear();
  c.bit_blast(t, &sink);  // cached
  EXPECT_NO_EVENTS();
}

TEST_F(DriverTest, PolledBeforeAnUnsupportedTermIsRefused) {
  c.set_termination_test(&termination_test);
  EXPECT_THROW(c.bit_blast(tm.mk_variable("n", tm.int_type), &sink), Exception);
  EXPECT_EVENTS("poll");
}

TEST_F(DriverTest, NullSwitchesPollingOff) {
  Term_ const* x = bv_var("x", 1);
  c.bit_blast(x, &sink);
  c.set_termination_test(&termination_test);
  c.set_termination_test(nullptr);
  c.bit_blast(tm.mk_app(SymbolTag::bv_not, {x}), &sink);
  EXPECT_EVENTS("new 100");
}

TEST_F(DriverTest, WhatTheTerminationTestThrowsPassesThrough) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* y = bv_var("y", 1);
  Term_ const* t = raw_term(SymbolTag::bv_and, tm.bv_type(1), {x, y}, "t");
  c.set_termination_test(&termination_test);
  termination_test.polls_left = 1;
  EXPECT_THROW(c.bit_blast(t, &sink), Interrupted);
  EXPECT_EVENTS("poll\n new 100\n poll");
  EXPECT_EQ(trail(), "t y");
  EXPECT_TRUE(c.is_cached(y));
  EXPECT_FALSE(c.is_cached(x));
  // Going on where it stopped: y is kept, and t's first entry stays below.
  termination_test.polls_left = -1;
  c.bit_blast(t, &sink);
  EXPECT_EQ(bits(y), (BvLitList{100}));
  EXPECT_EQ(trail(), "t y t x");
  c.retract_upto(t);
  EXPECT_EQ(trail(), "t y");
  c.retract_upto(t);
  EXPECT_EQ(inspect.bits_cache().size(), 0u);
}

TEST_F(DriverTest, TheBaseTerminationTestNeverStops) {
  TerminationTest base;
  c.set_termination_test(&base);
  EXPECT_EQ(c.bit_blast(bv_var("x", 1), &sink), 100);
}

// ---- the sink throws ----

TEST_F(DriverTest, ASinkThatThrowsLeavesWhatIsFinished) {
  Term_ const* x = bv_var("x", 2);
  Term_ const* y = bv_var("y", 2);
  Term_ const* t = raw_term(SymbolTag::bv_ult, tm.bool_type, {x, y}, "t");
  struct Case {
    int RecordingSink::*counter;
    int left;
    char const* trail;
  };
  for (Case const& k : std::vector<Case>{{&RecordingSink::new_lits_left, 0, "t"},
                                         {&RecordingSink::new_lits_left, 1, "t"},
                                         {&RecordingSink::new_lits_left, 3, "t y"},
                                         {&RecordingSink::new_lits_left, 4, "t y x"},
                                         {&RecordingSink::atoms_left, 0, "t y x"},
                                         {&RecordingSink::clauses_left, 0, "t y x"},
                                         {&RecordingSink::clauses_left, 11, "t y x"}}) {
    sink.*k.counter = k.left;
    EXPECT_THROW(c.bit_blast(t, &sink), Interrupted);
    sink.*k.counter = -1;
    EXPECT_EQ(trail(), k.trail);
    EXPECT_FALSE(c.is_cached(t));
    c.retract_upto(t);
    EXPECT_EQ(trail(), "");
    EXPECT_EQ(inspect.bits_cache().size(), 0u);
    EXPECT_EQ(inspect.list_pool().free_count(), inspect.list_pool().chunk_count() * 1024);
  }
  EXPECT_NE(c.bit_blast(t, &sink), 0);
}

// ---- tracing off ----

TEST_F(DriverTest, NothingIsRenderedWhileTracingIsOff) {
  // Terms that differ only in the lengths of their names cost the same allocations, since no text is made of them.
  auto cost = [&](std::string const& name) {
    Term_ const* x = tm.mk_variable(name, tm.bv_type(4));
    Term_ const* y = tm.mk_variable(name, tm.bv_type(4));
    Term_ const* sum = tm.mk_app(SymbolTag::bv_add, {x, y});
    Term_ const* t = tm.mk_app(SymbolTag::bool_and, {tm.mk_app(SymbolTag::bv_ult, {sum, x}),
                                                     tm.mk_app(SymbolTag::bv_sle, {x, tm.mk_app(SymbolTag::bv_neg, {y})})});
    Term_ const* e = tm.mk_app(SymbolTag::equal, {tm.mk_app(SymbolTag::bv_mul, {tm.mk_bv(5, 4), x}),
                                                  tm.mk_app(SymbolTag::bv_mul, {x, y})});
    struct QuietSink : ClauseSink {
      BvLit next = 2;
      BvLit new_lit() override { return next++; }
      bool atom_lit(Term_ const*, BvLit&) override { return false; }
      void add_clause() override {}
    } quiet;
    quiet.lits.reserve(10);
    WordClausifier w(&tm, &config);
    w.set_logger(&logger);
    std::uint64_t const before = allocation_count();
    w.bit_blast(t, &quiet);
    w.bit_blast(e, &quiet);
    return allocation_count() - before;
  };
  cost("s");
  std::uint64_t const short_names = cost("s");
  EXPECT_EQ(cost(std::string(500, 'l')), short_names);
  logger.set_verbosity(9);
  logger.set_muted(true);
  EXPECT_EQ(cost(std::string(500, 'l')), short_names);
  EXPECT_NO_EVENTS();
}

}  // namespace
}  // namespace vell::test

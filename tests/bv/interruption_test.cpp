// What stops a translation from outside, and what tracing costs while it is off.

#include <gtest/gtest.h>

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

class InterruptionTest : public ClausifierTest {};

// ---- termination test ----

TEST_F(InterruptionTest, PolledOnceForEachTranslatedTerm) {
  c.set_termination_test(&termination_test);
  Term_ const* x = bv_var("x", 1);
  Term_ const* t = tm.mk_app(SymbolTag::bv_not, {tm.mk_app(SymbolTag::bv_and, {x, tm.mk_bv(1, 1)})});
  logger.set_verbosity(3);
  c.bit_blast(t, &sink);
  Events seen;
  for (std::string const& e : events)
    if (e == "poll" || e.starts_with(log_event("calling"))) seen.push_back(e);
  EXPECT_TRUE(match_events(seen, R"-(
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

TEST_F(InterruptionTest, PolledBeforeAnUnsupportedTermIsRefused) {
  c.set_termination_test(&termination_test);
  EXPECT_THROW(c.bit_blast(tm.mk_variable("n", tm.int_type), &sink), Exception);
  EXPECT_EVENTS("poll");
}

TEST_F(InterruptionTest, NullSwitchesPollingOff) {
  Term_ const* x = bv_var("x", 1);
  c.bit_blast(x, &sink);
  c.set_termination_test(&termination_test);
  c.set_termination_test(nullptr);
  c.bit_blast(tm.mk_app(SymbolTag::bv_not, {x}), &sink);
  EXPECT_EVENTS("new 100");
}

TEST_F(InterruptionTest, WhatTheTerminationTestThrowsPassesThrough) {
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

TEST_F(InterruptionTest, TheBaseTerminationTestNeverStops) {
  TerminationTest base;
  c.set_termination_test(&base);
  EXPECT_EQ(c.bit_blast(bv_var("x", 1), &sink), 100);
}

// ---- the sink throws ----

TEST_F(InterruptionTest, ASinkThatThrowsLeavesWhatIsFinished) {
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

TEST_F(InterruptionTest, NothingIsRenderedWhileTracingIsOff) {
  // Terms that differ only in the lengths of their names cost the same allocations, since no text is made of
  // them.
  auto cost = [&](std::string const& name) {
    Term_ const* x = tm.mk_variable(name, tm.bv_type(4));
    Term_ const* y = tm.mk_variable(name, tm.bv_type(4));
    Term_ const* sum = tm.mk_app(SymbolTag::bv_add, {x, y});
    Term_ const* t = tm.mk_app(SymbolTag::bool_and,
                               {tm.mk_app(SymbolTag::bv_ult, {sum, x}),
                                tm.mk_app(SymbolTag::bv_sle, {x, tm.mk_app(SymbolTag::bv_neg, {y})})});
    Term_ const* e = tm.mk_app(SymbolTag::equal, {tm.mk_app(SymbolTag::bv_mul, {tm.mk_bv(5, 4), x}),
                                                  tm.mk_app(SymbolTag::bv_mul, {x, y})});
    RecordingSink quiet;
    quiet.keep = false;
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

// Bits read from and imposed on terms; leaves.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/clausifiertest.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::ClauseSink;
using bv::WordClausifier;

class InterfaceTest : public ClausifierTest {};

// ---- what the caller promises ----

#ifndef NDEBUG
TEST_F(InterfaceTest, BrokenPromisesAreAsserted) {
  BvLitList out;
  EXPECT_DEATH(c.make_bits(bv_var("x", 3), out, &sink), "old != nullptr");
  EXPECT_DEATH(c.pop_backtrack_point(), "trail");
  c.bit_blast(bv_var("y", 3), &sink);
  EXPECT_DEATH(c.pop_backtrack_point(), "trail");
  EXPECT_DEATH(c.retract_upto(bv_var("z", 3)), "trail");
  c.push_backtrack_point();
  c.pop_backtrack_point();
}
#endif

// ---- get_bits ----

TEST_F(InterfaceTest, GetBitsOfAnUnknownTermLeavesTheOutputAlone) {
  BvLitList out{7, 8};
  EXPECT_FALSE(c.get_bits(bv_var("x", 3), out));
  EXPECT_EQ(out, (BvLitList{7, 8}));
  EXPECT_EQ(trail(), "");
}

TEST_F(InterfaceTest, GetBitsCopies) {
  Term_ const* x = bv_var("x", BvLitList{2, -3, 1});
  BvLitList out{7, 8, 9, 10};
  EXPECT_TRUE(c.get_bits(x, out));
  EXPECT_EQ(out, (BvLitList{2, -3, 1}));
  out[0] = 99;
  EXPECT_EQ(bits(x), (BvLitList{2, -3, 1}));
  EXPECT_TRUE(c.get_bits(bv_var("e", BvLitList{}), out));
  EXPECT_TRUE(out.empty());
  EXPECT_NO_EVENTS();
}

// ---- set_bits ----

TEST_F(InterfaceTest, SetBitsAsksWhetherTheTermIsCached) {
  struct Forgetful : WordClausifier {
    using WordClausifier::WordClausifier;
    bool is_cached(Term_ const* t) override { return t != unknown && WordClausifier::is_cached(t); }
    Term_ const* unknown = nullptr;
  };
  Forgetful w(&tm, &config);
  w.set_logger(&logger);
  Term_ const* x = bv_var("x", 2);
  w.set_bits(x, &sink, {2, 3});
  w.unknown = x;
  BvLitList* const first = w.lookup(x);
  w.set_bits(x, &sink, {4, 5});
  EXPECT_NO_EVENTS();
  BvLitList out;
  EXPECT_TRUE(w.get_bits(x, out));
  EXPECT_EQ(out, (BvLitList{4, 5}));
  w.release(first);
}

TEST_F(InterfaceTest, SetBitsOfAnUnknownTermCachesThem) {
  Term_ const* x = bv_var("x", 3);
  BvLitList given{2, -3, 1};
  c.set_bits(x, &sink, given);
  EXPECT_NO_EVENTS();
  EXPECT_EQ(trail(), "x");
  given[0] = 99;
  BvLitList out;
  EXPECT_TRUE(c.get_bits(x, out));
  EXPECT_EQ(out, (BvLitList{2, -3, 1}));
}

TEST_F(InterfaceTest, SetBitsOfAKnownTermTiesThemBitByBit) {
  Term_ const* x = bv_var("x", BvLitList{2, 3, 4, 5});
  c.set_bits(x, &sink, {6, -7, 8, 9});
  EXPECT_EVENTS("clauses -2 6 | 2 -6 | -3 -7 | 3 7 | -4 8 | 4 -8 | -5 9 | 5 -9");
  EXPECT_EQ(bits(x), (BvLitList{2, 3, 4, 5}));
  EXPECT_EQ(trail(), "x");
}

TEST_F(InterfaceTest, SetBitsFoldsNothing) {
  Term_ const* x = bv_var("x", BvLitList{2, 1, -1});
  c.set_bits(x, &sink, {2, -1, 3});
  EXPECT_EVENTS("clauses -2 2 | 2 -2 | -1 -1 | 1 1 | 1 3 | -1 -3");
}

TEST_F(InterfaceTest, SetBitsGoesByTheLengthOfTheGivenBits) {
  Term_ const* x = bv_var("x", BvLitList{2, 3, 4});
  c.set_bits(x, &sink, {5});
  EXPECT_EVENTS("clauses -2 5 | 2 -5");
  c.set_bits(x, &sink, {});
  EXPECT_NO_EVENTS();
}

TEST_F(InterfaceTest, SetBitsEmptiesTheBuffer) {
  Term_ const* x = bv_var("x", BvLitList{2});
  sink.lits = {7, 8, 9};
  c.set_bits(x, &sink, {3});
  EXPECT_EVENTS("clauses -2 3 | 2 -3");
}

TEST_F(InterfaceTest, SetBitsStopsWhereTheSinkThrows) {
  Term_ const* x = bv_var("x", BvLitList{2, 3});
  sink.clauses_left = 3;
  EXPECT_THROW(c.set_bits(x, &sink, {4, 5}), Interrupted);
  EXPECT_EVENTS("clauses -2 4 | 2 -4 | -3 5");
  EXPECT_EQ(bits(x), (BvLitList{2, 3}));
  EXPECT_EQ(trail(), "x");
}

// ---- make_bits ----

TEST_F(InterfaceTest, MakeBitsGivesEachBitALiteralAndItsClausesAtOnce) {
  Term_ const* x = bv_var("x", BvLitList{2, -3, 1});
  BvLitList out;
  EXPECT_TRUE(c.make_bits(x, out, &sink));
  EXPECT_EQ(out, (BvLitList{100, 101, 102}));
  EXPECT_EVENTS(R"(
    new 100
    clauses -100 2 | 100 -2
    new 101
    clauses -101 -3 | 101 3
    new 102
    clauses -102 1 | 102 -1
  )");
  EXPECT_EQ(bits(x), (BvLitList{2, -3, 1}));
  EXPECT_EQ(trail(), "x");
}

TEST_F(InterfaceTest, MakeBitsOfABooleanIsOneLiteralAndTwoClauses) {
  Term_ const* p = bool_var("p", 2);
  BvLitList out{7, 8, 9};
  EXPECT_TRUE(c.make_bits(p, out, &sink));
  EXPECT_EQ(out, (BvLitList{100}));
  EXPECT_EVENTS("new 100\n clauses -100 2 | 100 -2");
}

TEST_F(InterfaceTest, MakeBitsOfAnEmptyWord) {
  BvLitList out{7};
  EXPECT_TRUE(c.make_bits(bv_var("x", BvLitList{}), out, &sink));
  EXPECT_TRUE(out.empty());
  EXPECT_NO_EVENTS();
}

TEST_F(InterfaceTest, MakeBitsStopsWhereTheSinkThrows) {
  Term_ const* x = bv_var("x", BvLitList{2, 3, 4});
  BvLitList out{7, 8};
  sink.new_lits_left = 1;
  EXPECT_THROW(c.make_bits(x, out, &sink), Interrupted);
  EXPECT_EQ(out, (BvLitList{100, 8, 0}));  // resized first
  EXPECT_EVENTS("new 100\n clauses -100 2 | 100 -2");

  sink.new_lits_left = -1;
  sink.clauses_left = 1;
  out = {7, 8, 9, 10};
  EXPECT_THROW(c.make_bits(x, out, &sink), Interrupted);
  EXPECT_EQ(out, (BvLitList{101, 8, 9}));
  EXPECT_EVENTS("new 101\n clause -101 2");
}

TEST_F(InterfaceTest, MakeBitsEmptiesTheBuffer) {
  Term_ const* p = bool_var("p", 2);
  sink.lits = {7, 8, 9};
  BvLitList out;
  c.make_bits(p, out, &sink);
  EXPECT_EVENTS("new 100\n clauses -100 2 | 100 -2");
}

TEST_F(InterfaceTest, NoneOfThemTraces) {
  Term_ const* x = bv_var("x", BvLitList{2});
  logger.set_verbosity(9);
  BvLitList out;
  c.get_bits(x, out);
  c.set_bits(x, &sink, {3});
  c.make_bits(x, out, &sink);
  c.notify_interface_term(x, &sink);
  c.is_terminal(x);
  for (std::string const& e : events) EXPECT_FALSE(e.starts_with("trace")) << e;
}

// ---- notify_interface_term ----

TEST_F(InterfaceTest, NotifyTranslatesWhatIsUnknown) {
  Term_ const* x = bv_var("x", 2);
  c.notify_interface_term(x, &sink);
  EXPECT_EVENTS("new 100\n new 101");
  EXPECT_EQ(trail(), "x");
}

TEST_F(InterfaceTest, NotifyOfAKnownTermDoesNothing) {
  Term_ const* x = bv_var("x", BvLitList{2});
  c.set_termination_test(&termination_test);
  c.notify_interface_term(x, &sink);
  EXPECT_NO_EVENTS();
  EXPECT_EQ(trail(), "x");  // no entry of a root either
}

TEST_F(InterfaceTest, NotifyGoesThroughTheVirtualTable) {
  struct Derived : WordClausifier {
    using WordClausifier::WordClausifier;
    std::vector<Term_ const*> blasted;
    BvLit bit_blast(Term_ const* t, ClauseSink*) override {
      blasted.push_back(t);
      return 1;
    }
  };
  Derived d(&tm, &config);
  d.set_logger(&logger);
  Term_ const* x = bv_var("x", 2);
  d.notify_interface_term(x, &sink);
  EXPECT_EQ(d.blasted, (std::vector<Term_ const*>{x}));
  d.set_bits(x, &sink, {2, 3});
  d.notify_interface_term(x, &sink);
  EXPECT_EQ(d.blasted.size(), 1u);
}

// ---- is_terminal ----

TEST_F(InterfaceTest, EverythingWithoutArgumentsIsTerminal) {
  EXPECT_TRUE(c.is_terminal(bv_var("x", 2)));
  EXPECT_TRUE(c.is_terminal(tm.mk_bv(1, 2)));
  EXPECT_TRUE(c.is_terminal(tm.mk_bool(true)));
  for (unsigned tag = 0; tag < 70; ++tag)
    EXPECT_TRUE(c.is_terminal(raw_term(static_cast<SymbolTag::tag>(tag), tm.bool_type, {}))) << tag;
}

TEST_F(InterfaceTest, OfApplicationsOnlyThreeTagsAreTerminal) {
  Term_ const* x = bv_var("x", 2);
  for (unsigned tag = 1; tag < 100; ++tag)
    EXPECT_EQ(c.is_terminal(raw_term(static_cast<SymbolTag::tag>(tag), tm.bool_type, {x})),
              tag == 13 || tag == 41 || tag == 42)
        << tag;
}

TEST_F(InterfaceTest, ApplicationsWithoutATagAreTerminalWhereUninterpreted) {
  Term_ const* x = bv_var("x", 2);
  Term_ const* children[] = {x};
  auto apply = [&](SymbolTag::tag tag, Symbol::Role role) {
    return tm.mk_term(
        tm.make_symbol({.name = "f", .arity = 1, .output_type = tm.bool_type, .tag = tag, .role = role}),
        children);
  };
  EXPECT_TRUE(c.is_terminal(apply(SymbolTag::none, Symbol::Role::uninterpreted)));
  EXPECT_FALSE(c.is_terminal(apply(SymbolTag::none, Symbol::Role::plain)));
  EXPECT_FALSE(c.is_terminal(apply(SymbolTag::none, Symbol::Role::term_ite)));
  // A tag decides before the query does.
  EXPECT_FALSE(c.is_terminal(apply(SymbolTag::bv_add, Symbol::Role::uninterpreted)));
  EXPECT_TRUE(c.is_terminal(apply(SymbolTag::function_application, Symbol::Role::plain)));
}

}  // namespace
}  // namespace vell::test

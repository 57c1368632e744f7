// The walk over a term and the dispatch to handlers.

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include "tests/support/clausifiertest.h"

namespace vell::test {
namespace {

using bv::BvLit;
using bv::BvLitList;
using bv::ClauseSink;
using bv::WordClausifier;
using bv::WordClausifierInterface;

class TraversalTest : public ClausifierTest {
 protected:
  // The events that say which terms were translated, in order, as "name name".
  std::string translated() {
    std::string s;
    std::string const prefix = log_event("calling a hook for ");
    for (std::string const& e : events)
      if (e.starts_with(prefix)) s += (s.empty() ? "" : " ") + e.substr(prefix.size());
    return s;
  }
};

// ---- traversal ----

TEST_F(TraversalTest, ChildrenFirstLastArgumentFirst) {
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

TEST_F(TraversalTest, EveryLookAtATermIsTraced) {
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

TEST_F(TraversalTest, ACachedTermGivesOnlyItsLiteral) {
  Term_ const* x = bv_var("x", BvLitList{7, 8});
  c.set_termination_test(&termination_test);
  logger.set_verbosity(9);
  EXPECT_EQ(c.bit_blast(x, &sink), 7);
  EXPECT_EVENTS(R"(log "considering x s:1")");
  EXPECT_EQ(trail(), "x x");
}

TEST_F(TraversalTest, SharedAndCachedSubtermsAreTranslatedOnce) {
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

TEST_F(TraversalTest, AChildThatOccursTwiceIsPushedTwice) {
  Term_ const* x = bv_var("x", 1);
  logger.set_verbosity(4);
  c.bit_blast(tm.mk_app(SymbolTag::bv_sub, {x, x}), &sink);
  Events considered;
  for (std::string const& e : events)
    if (e.starts_with(log_event("considering"))) considered.push_back(e);
  EXPECT_TRUE(match_events(considered, R"-(
    log "considering (bvsub x x) s:0"
    log "considering x s:0"
    log "considering x s:1"
    log "considering (bvsub x x) s:0"
  )-"));
}

TEST_F(TraversalTest, WordsGiveTheirLeastSignificantBit) {
  Term_ const* x = bv_var("x", 3);
  EXPECT_EQ(c.bit_blast(x, &sink), 100);
  EXPECT_EQ(c.bit_blast(tm.mk_app(SymbolTag::bv_not, {x}), &sink), -100);
}

TEST_F(TraversalTest, TrailOfTheRootStandsBeforeItsSubterms) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* y = bv_var("y", 1);
  c.bit_blast(x, &sink);
  EXPECT_EQ(trail(), "x");
  c.bit_blast(tm.mk_app(SymbolTag::bv_and, {x, y}), &sink);
  EXPECT_EQ(trail(), "x (bvand x y) y");
  c.bit_blast(x, &sink);
  EXPECT_EQ(trail(), "x (bvand x y) y x");
}

TEST_F(TraversalTest, IsCachedIsAskedThroughTheVirtualTable) {
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

TEST_F(TraversalTest, AnOverriddenIsCachedDecidesWhatIsTranslated) {
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

TEST_F(TraversalTest, DeepTermsNeedNoCallStack) {
  RecordingSink silent;
  // The stack of a thread is 8 MiB at most here; 400,000 levels of recursion would need more.
  BvLit literal = 0;
  std::thread([&] {
    Term_ const* t = bool_var("p");
    for (int i = 0; i < 400'000; ++i) t = raw_term(SymbolTag::bool_not, tm.bool_type, {t});
    literal = c.bit_blast(t, &silent);
    c.retract_upto(t);
  }).join();
  EXPECT_EQ(literal, 2);
  EXPECT_EQ(inspect.bits_cache().size(), 0u);
  EXPECT_TRUE(inspect.trail().empty());
}

// ---- dispatch without a handler ----

TEST_F(TraversalTest, ANumeralWithoutAHandler) {
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

TEST_F(TraversalTest, ANumeralOfATagBeyondTheTable) {
  QNumber const value(5);
  Term_ const* n = tm.mk_term(tm.make_symbol({.name = "five",
                                              .output_type = tm.bv_type(3),
                                              .tag = static_cast<SymbolTag::tag>(1000),
                                              .role = Symbol::Role::number,
                                              .number = &value}));
  c.bit_blast(n, &sink);
  EXPECT_EQ(bits(n), (BvLitList{1, -1, 1}));
}

TEST_F(TraversalTest, ANumeralOfATypeWithoutBitsIsOneBit) {
  Term_ const* n = tm.mk_number(QNumber(3), tm.int_type);
  EXPECT_EQ(c.bit_blast(n, &sink), 1);
  EXPECT_EQ(bits(n), (BvLitList{1}));
}

TEST_F(TraversalTest, ArgumentsOfAnApplicationWithoutAHandlerAreNotVisited) {
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

TEST_F(TraversalTest, UnsupportedTerms) {
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
           {tm.mk_term(tm.make_symbol({.name = "g", .arity = 1, .output_type = tm.int_type, .label = "t"}),
                       children),
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
    EXPECT_EVENTS("log \"no hook for " + name + "\"\nlog \"Trying to bitblast the unsuported term " + k.line +
                  "\"");
    EXPECT_EQ(trail(), name);
    EXPECT_FALSE(c.is_cached(k.term));
    EXPECT_FALSE(c.is_cached(argument));
    c.retract_upto(k.term);
    EXPECT_EQ(trail(), "");
  }
}

TEST_F(TraversalTest, TheDiagnosticIsOfLevelOneAndComesAfterTheFallbacks) {
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

TEST_F(TraversalTest, ANullNameIsALogicErrorWhereItIsPrinted) {
  Term_ const* n = tm.mk_term(tm.make_symbol({.name = "n", .output_type = tm.int_type, .label = "n"}));
  const_cast<Symbol*>(n->symbol)->name = nullptr;
  for (int verbosity = -1; verbosity <= 5; ++verbosity) {
    logger.set_verbosity(verbosity);
    EXPECT_THROW(c.bit_blast(n, &sink), std::logic_error) << verbosity;
  }
}

TEST_F(TraversalTest, ANullNameInTheShallowFormIsALogicError) {
  Term_ const* x = bv_var("x", 1);
  Term_ const* n = tm.mk_term(tm.make_symbol({.name = "n", .arity = 1, .output_type = tm.int_type}), {{x}});
  Term_ const* above = raw_term(SymbolTag::bv_not, tm.bv_type(1), {x});
  const_cast<Symbol*>(n->symbol)->name = nullptr;
  EXPECT_THROW(c.bit_blast(n, &sink), std::logic_error);
  EXPECT_THROW(n->to_shallow_str(), std::logic_error);
  const_cast<Symbol*>(x->symbol)->name = nullptr;
  EXPECT_THROW(above->to_shallow_str(), std::logic_error);
}

TEST_F(TraversalTest, FailThrowsTheShallowForm) {
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

TEST_F(TraversalTest, WhatWasCachedBeforeAnUnsupportedTermStays) {
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

}  // namespace
}  // namespace vell::test

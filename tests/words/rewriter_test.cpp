#include "vell/words/rewriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "tests/words/equivalence.h"
#include "tests/words/randomterms.h"
#include "tests/words/ruleinstances.h"
#include "vell/sat/clausifier.h"
#include "vell/sinks/countingsink.h"
#include "vell/smtlib/termprinter.h"
#include "vell/terms/cone.h"
#include "vell/words/operands.h"

namespace vell::words {
namespace {

using Tag = SymbolTag::tag;
using test::RandomTerms;

class RewriterTest : public ::testing::Test {
 protected:
  Term_ const* app(Tag tag, std::initializer_list<Term_ const*> operands, std::uint64_t p0 = 0,
                   std::uint64_t p1 = 0) {
    return tm.mk_app(tag, operands, p0, p1);
  }
  Term_ const* word(char const* name, std::uint64_t width) { return tm.mk_variable(name, tm.bv_type(width)); }
  Term_ const* formula(char const* name) { return tm.mk_variable(name, tm.bool_type); }
  Term_ const* rewritten(Term_ const* t) { return Rewriter(tm, false, limits).rewrite(t); }

  TermManager tm;
  run::Limits limits;
};

TEST_F(RewriterTest, KeepsTheValuesOfRandomTerms) {
  std::vector<std::uint64_t> counts(normal_rules().size());
  for (std::uint64_t seed = 0; seed < 6000; ++seed) {
    TermManager terms;
    RandomTerms random(terms, seed, true);
    Rewriter rewriter(terms, false, limits);
    for (unsigned i = 0; i < 4; ++i) {
      unsigned const depth = 2 + (seed + i) % 5;
      Term_ const* const t = i % 2 == 0 ? random.boolean(depth) : random.word(1 + seed % 5, depth);
      Term_ const* const now = rewriter.rewrite(t);
      test::TermPair const pair{t, now};
      ASSERT_EQ(t->symbol->get_output_type(), now->symbol->get_output_type());
      ASSERT_TRUE(test::tabulable(terms, pair));
      ASSERT_EQ("", test::tabulated_difference(terms, pair)) << "seed " << seed;
      EXPECT_EQ(now, rewriter.rewrite(t));
      Rewriter again(terms, false, limits);
      ASSERT_EQ(now, again.rewrite(now)) << "seed " << seed << "\n"
                                         << smtlib::term_text(terms, now) << "\n"
                                         << smtlib::term_text(terms, again.rewrite(now));
    }
    for (std::size_t i = 0; i < counts.size(); ++i) counts[i] += rewriter.counts()[i];
  }
  for (std::size_t i = 0; i < counts.size(); ++i)
    EXPECT_GT(counts[i], 0u) << "the rule " << normal_rules()[i].name << " never applied";
}

// The quotients and remainders below t, as they stand.
std::vector<Term_ const*> open_below(TermManager const& tm, Term_ const* t) {
  Cone cone;
  cone.add(t);
  std::vector<Term_ const*> out;
  for (Term_ const* s : cone.terms())
    if (open_valued(tm, s, true)) out.push_back(s);
  return out;
}

TEST_F(RewriterTest, WithFreeDivisionQuotientsStay) {
  std::size_t met = 0;
  for (std::uint64_t seed = 0; seed < 3000; ++seed) {
    TermManager terms;
    RandomTerms random(terms, seed, true);
    Rewriter rewriter(terms, true, limits);
    Term_ const* const t = random.boolean(5);
    std::vector<Term_ const*> const before = open_below(terms, t);
    met += before.size();
    for (Term_ const* s : before) EXPECT_EQ(s, rewriter.rewrite(s));
    for (Term_ const* s : open_below(terms, rewriter.rewrite(t)))
      EXPECT_NE(before.end(), std::find(before.begin(), before.end(), s)) << "seed " << seed;
  }
  EXPECT_GT(met, 1000u);
}

// ---- depth, time and limits ----

constexpr std::size_t depth = 1'000'000;

TEST_F(RewriterTest, DoesNotRecurse) {
  Term_ const* const x = word("x", 8);
  Term_ const* const y = word("y", 8);
  Term_ const* const p = formula("p");
  Term_ const* conjunction = p;
  Term_ const* negation = p;
  Term_ const* sum = x;
  Term_ const* choice = x;
  for (std::size_t i = 0; i < depth; ++i) {
    conjunction = app(Tag::bool_and, {conjunction, app(Tag::equal, {x, tm.mk_bv(i % 251, 8)})});
    negation = app(Tag::bool_not, {negation});
    sum = app(Tag::bv_add, {sum, i % 2 == 0 ? y : x});
    choice = app(Tag::term_ite, {i % 2 == 0 ? p : app(Tag::bool_not, {p}), i % 3 == 0 ? x : y, choice});
  }
  Rewriter rewriter(tm, false, limits);
  EXPECT_NE(nullptr, rewriter.rewrite(conjunction));
  EXPECT_EQ(p, rewriter.rewrite(negation));
  EXPECT_NE(nullptr, rewriter.rewrite(sum));
  EXPECT_NE(nullptr, rewriter.rewrite(choice));
}

TEST_F(RewriterTest, DoesNotRecurseOverWires) {
  Term_ const* const x = word("x", 2);
  Term_ const* slices = x;
  for (std::size_t i = 0; i < depth; ++i)
    slices = app(Tag::bv_extract, {app(Tag::bv_concat, {slices, x})}, 2, 1);
  EXPECT_NE(nullptr, rewritten(slices));
}

// With a million terms, whatever takes a step for each pair of them does not end within the limit of a test.
constexpr std::size_t many = 1'000'000;

TEST_F(RewriterTest, LongSumsTakeLinearTime) {
  std::vector<Term_ const*> x;
  for (unsigned i = 0; i < 40; ++i) x.push_back(word("x", 16));
  Term_ const* sum = x[0];
  for (std::size_t i = 1; i < many; ++i)
    sum = app(i % 3 == 0 ? Tag::bv_sub : Tag::bv_add, {sum, x[i * 7 % 40]});
  EXPECT_NE(sum, rewritten(sum));
}

TEST_F(RewriterTest, LongChoicesTakeLinearTime) {
  Term_ const* const s = word("s", 20);
  Term_ const* choice = word("x", 16);
  for (std::size_t i = 0; i < many; ++i)
    choice = app(Tag::term_ite, {app(Tag::equal, {s, tm.mk_bv(i, 20)}), tm.mk_bv(i % 1000, 16), choice});
  Term_ const* const question = app(Tag::equal, {choice, tm.mk_bv(7, 16)});
  EXPECT_NE(nullptr, rewritten(question));
}

TEST_F(RewriterTest, LongConjunctionsTakeLinearTime) {
  Term_ const* all = tm.mk_bool(true);
  for (std::size_t i = 0; i < many; ++i) all = app(Tag::bool_and, {formula("p"), all});
  EXPECT_NE(all, rewritten(all));
}

// Words of a million bits: a numeral of so many bits in each step would not fit into memory.
TEST_F(RewriterTest, LongConcatenationsTakeLinearTime) {
  for (bool left : {true, false})
    for (unsigned kind : {0u, 1u, 2u}) {
      Term_ const* const x = word("x", 1);
      Term_ const* all = x;
      for (std::size_t i = 0; i < many; ++i) {
        Term_ const* const part = kind == 0 ? x : kind == 1 ? word("y", 1) : i % 2 == 0 ? tm.mk_bv(0, 1) : x;
        all = left ? app(Tag::bv_concat, {all, part}) : app(Tag::bv_concat, {part, all});
      }
      EXPECT_NE(nullptr, rewritten(all));
    }
}

TEST_F(RewriterTest, StopsAndGoesOn) {
  Term_ const* const x = word("x", 16);
  Term_ const* sum = x;
  for (unsigned i = 0; i < 300'000; ++i)
    sum = app(Tag::bv_add, {sum, app(Tag::bv_mul, {tm.mk_bv(3 + i % 1000, 16), app(Tag::bv_not, {sum})})});
  run::Limits stopped;
  Rewriter rewriter(tm, false, stopped);
  stopped.begin_check(std::chrono::milliseconds(0));
  std::thread watch([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    stopped.stop_check(run::StopReason::timeout);
  });
  bool threw = false;
  try {
    rewriter.rewrite(sum);
  } catch (run::Stopped const& s) {
    threw = true;
    EXPECT_EQ(run::StopReason::timeout, s.reason());
  }
  watch.join();
  stopped.end_check();
  EXPECT_TRUE(threw);
  Term_ const* const now = rewriter.rewrite(sum);
  EXPECT_EQ(now, rewriter.rewrite(sum));
}

TEST_F(RewriterTest, StopsAtOnce) {
  run::Limits stopped;
  stopped.stop(run::StopReason::memout);
  Rewriter rewriter(tm, false, stopped);
  EXPECT_THROW(rewriter.rewrite(app(Tag::bool_not, {formula("p")})), run::Stopped);
}

// ---- cost ----

std::uint64_t clauses(TermManager& tm, Term_ const* formula) {
  sinks::CountingSink sink;
  Configuration::Theory::Bv config;
  sat::ScriptClausifier clausifier(&tm, &config);
  clausifier.bit_blast(formula, &sink);
  return sink.clauses();
}

struct Larger {
  std::uint64_t before;
  std::uint64_t after;
  std::uint64_t seed;
  std::string text;
};

// Clauses that may come with what a rewriter did to make a formula: see rules_test.cpp for those of each
// rule. A product by a numeral that was made of several may have a larger circuit than a product by its
// parts.
std::uint64_t clauses_that_may_come(TermManager const& tm, Rewriter const& rewriter, Term_ const* formula) {
  std::uint64_t out = rewriter.folded() * 8;
  Cone cone(run::no_limits());
  cone.add(formula);
  for (Term_ const* t : cone.sorted()) {
    bool const product = t->symbol->tag() == Tag::bv_mul && tm.number(t->children[0]->symbol) != nullptr;
    if (rewriter.folded() != 0 && product) out += tm.width(t) * tm.width(t);
  }
  for (std::size_t i = 0; i < normal_rules().size(); ++i)
    out += rewriter.counts()[i] * test::clauses_that_may_come(normal_rules()[i].name);
  return out;
}

// Where every variable stands in one place, rewriting makes no formula larger but for what the table of
// clauses_that_may_come() allows.
TEST_F(RewriterTest, NeverMakesAFormulaLarger) {
  std::vector<Larger> larger;
  std::uint64_t before = 0;
  std::uint64_t after = 0;
  for (std::uint64_t seed = 0; seed < 20000; ++seed) {
    TermManager terms;
    RandomTerms random(terms, seed, false, 2 + seed % 7);
    Term_ const* const t = random.boolean(1 + seed % 3);
    Rewriter rewriter(terms, false, limits);
    Term_ const* const now = rewriter.rewrite(t);
    std::uint64_t const b = clauses(terms, t);
    std::uint64_t const a = clauses(terms, now);
    before += b;
    after += a;
    if (a > b + clauses_that_may_come(terms, rewriter, now))
      larger.push_back({b, a, seed, smtlib::term_text(terms, t) + "\n    " + smtlib::term_text(terms, now)});
  }
  std::stable_sort(larger.begin(), larger.end(),
                   [](Larger const& x, Larger const& y) { return x.text.size() < y.text.size(); });
  std::string list;
  for (std::size_t i = 0; i < larger.size() && i < 12; ++i)
    list += "\n  " + std::to_string(larger[i].before) + " clauses became " + std::to_string(larger[i].after) +
            ", seed " + std::to_string(larger[i].seed) + ": " + larger[i].text;
  EXPECT_EQ(0u, larger.size()) << list;
  EXPECT_LT(after, before / 10 * 9);
}

}  // namespace
}  // namespace vell::words

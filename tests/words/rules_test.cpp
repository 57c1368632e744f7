// Every rule of the rewriter, on instances of its own: it applies, and both sides have the same value.
//
// At widths 1 to 6 every assignment is tried, as far as the variables have 16 bits together; otherwise, and
// at widths 7, 8, 16, 31, 32 and 33, a SAT solver proves it. Long sums, products and quotients take it too
// long beyond 8 bits: there random assignments are tried.

#include "vell/words/rules/rule.h"

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "tests/support/formula.h"
#include "tests/words/equivalence.h"
#include "tests/words/ruleinstances.h"
#include "vell/sat/clausifier.h"
#include "vell/sinks/countingsink.h"
#include "vell/smtlib/reader.h"
#include "vell/smtlib/termprinter.h"
#include "vell/words/rewriter.h"

namespace vell::test {
namespace {

using words::Builder;
using words::Rule;

constexpr unsigned small_widths[] = {1, 2, 3, 4, 5, 6};
constexpr unsigned large_widths[] = {7, 8, 16, 31, 32, 33};
constexpr unsigned most_solved_when_hard = 8;         // 6 with two numerals or more than two words
constexpr std::uint64_t random_assignments = 25'000;  // of an instance, at each of four widths or more

// The texts that one with choices stands for.
std::vector<std::string> choices(std::string const& text) {
  std::vector<std::string> done;
  std::vector<std::string> open{text};
  while (!open.empty()) {
    std::string const t = open.back();
    open.pop_back();
    std::size_t const first = t.find('[');
    if (first == std::string::npos) {
      done.push_back(t);
      continue;
    }
    std::size_t const last = t.find(']', first);
    for (std::size_t from = first + 1; from <= last;) {
      std::size_t const to = std::min(t.find('|', from), last);
      open.push_back(t.substr(0, first) + t.substr(from, to - from) + t.substr(last + 1));
      from = to + 1;
    }
  }
  return done;
}

std::string with_integers(std::string const& text, Variables const& variables) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '{') {
      out += text[i];
      continue;
    }
    std::size_t const end = text.find('}', i);
    FormulaResult const r = evaluate(text.substr(i + 1, end - i - 1), variables);
    EXPECT_EQ("", r.error) << text;
    out += std::to_string(r.value);
    i = end;
  }
  return out;
}

// All numerals of up to four bits; else those on both sides of the borders that rules ask for.
std::vector<mpz_class> numerals(unsigned width, bool few) {
  mpz_class const end = mpz_class(1) << width;
  std::set<mpz_class> out;
  if (width <= 4) {
    for (mpz_class n = 0; n < end; ++n) out.insert(n);
    return {out.begin(), out.end()};
  }
  auto const add = [&](mpz_class const& n) {
    mpz_class wrapped;
    mpz_fdiv_r_2exp(wrapped.get_mpz_t(), n.get_mpz_t(), width);
    out.insert(wrapped);
  };
  for (int n : {0, 1, -1, 3, -2}) add(n);
  add(end / 2);
  add(end / 2 - 1);
  if (few) return {out.begin(), out.end()};
  for (int n : {2, 5, 6, -4}) add(n);
  add(end / 2 + 1);
  add(end / 4);
  add(end / 4 - 1);
  add(end / 8 * 5);
  add((mpz_class(1) << (width / 2)) * 3);
  return {out.begin(), out.end()};
}

unsigned width_of(char const* formula, unsigned w) {
  return static_cast<unsigned>(evaluate(formula, {{"w", w}}).value);
}

std::string declarations(unsigned w) {
  std::string out;
  auto const declare = [&](char const* names, std::string const& sort) {
    for (char const* n = names; *n != 0; ++n) out += std::string("(declare-const ") + *n + " " + sort + ")\n";
  };
  auto const word = [](unsigned width) { return "(_ BitVec " + std::to_string(width) + ")"; };
  declare("pqcd", "Bool");
  declare("xyzu", word(w));
  declare("ab", word(2));
  declare("v", word(w + 2));
  return out;
}

// The terms of a text at a width, for all the numerals and integers.
std::vector<Term_ const*> terms_of(TermManager& tm, RuleInstance const& instance, std::string const& text,
                                   unsigned w) {
  bool const has_k = text.find(" k") != std::string::npos;
  bool const has_l = text.find(" l") != std::string::npos;
  bool const has_i = text.find("{i") != std::string::npos;
  bool const has_j = text.find("{j") != std::string::npos;
  unsigned const k_width = width_of(instance.k_width, w);
  unsigned const l_width = width_of(instance.l_width, w);
  bool const few = (has_k && has_l) || has_i || w > 6;
  std::vector<mpz_class> const none{0};
  std::string script = declarations(w);
  auto const define = [](char name, mpz_class const& n, unsigned width) {
    return std::string("(define-fun ") + name + " () (_ BitVec " + std::to_string(width) + ") (_ bv" +
           n.get_str() + " " + std::to_string(width) + "))";
  };
  auto const wanted = [&](unsigned i) { return w <= 4 || i < 2 || i == w / 2 || i + 1 == w; };
  for (mpz_class const& k : has_k ? numerals(k_width, few) : none)
    for (mpz_class const& l : has_l ? numerals(l_width, few) : none)
      for (unsigned i = 0; i < (has_i ? w : 1); ++i)
        for (unsigned j = 0; j <= (has_j ? i : 0); ++j) {
          if (!wanted(i) || !wanted(j)) continue;
          script += "(push 1)";
          if (has_k) script += define('k', k, k_width);
          if (has_l) script += define('l', l, l_width);
          script += "(get-value (" + with_integers(text, {{"w", w}, {"i", i}, {"j", j}}) + "))(pop 1)\n";
        }
  std::vector<Term_ const*> out;
  smtlib::Reader reader(tm, io::Source::text(script));
  smtlib::Command command;
  while (reader.next(command))
    if (command.kind == smtlib::CommandKind::get_value) out.push_back(command.terms[0]);
  return out;
}

std::string check(TermManager& tm, RuleInstance const& instance, std::string const& text, unsigned w,
                  std::vector<TermPair> const& pairs) {
  std::vector<TermPair> to_solve;
  for (TermPair const& pair : pairs) {
    if (pair.first->symbol->get_output_type() != pair.second->symbol->get_output_type())
      return "the sort of " + smtlib::term_text(tm, pair.first);
    if (w <= 6 && tabulable(tm, pair)) {
      std::string const difference = tabulated_difference(tm, pair);
      if (!difference.empty()) return difference;
    } else {
      to_solve.push_back(pair);
    }
  }
  if (to_solve.empty()) return "";
  bool const many = text.find(" l") != std::string::npos || text.find(" z") != std::string::npos;
  if (!instance.hard || w <= (many ? most_solved_when_hard - 2 : most_solved_when_hard))
    return solved_difference(tm, to_solve);
  for (std::size_t i = 0; i < to_solve.size(); ++i) {
    std::string const difference =
        random_difference(tm, to_solve[i], random_assignments / to_solve.size() + 1, i);
    if (!difference.empty()) return difference;
  }
  return "";
}

struct Outcome {
  std::uint64_t applied = 0;
  std::string wrong;  // empty where nothing is
};

// The rule of the instance at the roots of its terms, of the width w.
Outcome apply(Rule const& rule, RuleInstance const& instance, std::string const& text, unsigned w) {
  Outcome out;
  TermManager tm;
  Builder const builder(tm);
  std::vector<TermPair> pairs;
  for (Term_ const* t : terms_of(tm, instance, text, w)) {
    if (!rule.roots.contain(tm.get_tag(t->symbol))) continue;
    Term_ const* const now = rule.apply(builder, t);
    if (now != nullptr && now != t) pairs.push_back({t, now});
  }
  out.applied = pairs.size();
  out.wrong = check(tm, instance, text, w, pairs);
  return out;
}

Rule const* rule_named(std::string const& name) {
  for (Rule const& rule : words::all_rules())
    if (rule.name == name) return &rule;
  return nullptr;
}

class RulesTest : public ::testing::TestWithParam<std::string> {};

TEST_P(RulesTest, KeepsTheValue) {
  Rule const* const rule = rule_named(GetParam());
  ASSERT_NE(nullptr, rule);
  bool has_instance = false;
  for (RuleInstance const& instance : rule_instances) {
    if (GetParam() != instance.rule) continue;
    has_instance = true;
    for (std::string const& text : choices(instance.text)) {
      std::uint64_t applied = 0;
      auto const run = [&](unsigned w) {
        if (w < instance.least_width) return;
        Outcome const outcome = apply(*rule, instance, text, w);
        applied += outcome.applied;
        EXPECT_EQ("", outcome.wrong) << "width " << w;
      };
      for (unsigned w : small_widths) run(w);
      for (unsigned w : large_widths) run(w);
      EXPECT_GT(applied, 0u) << "does not apply to " << text;
    }
  }
  EXPECT_TRUE(has_instance);
}

std::vector<std::string> rule_names() {
  std::vector<std::string> out;
  for (Rule const& rule : words::all_rules()) out.push_back(rule.name);
  return out;
}

std::string test_name(testing::TestParamInfo<std::string> const& info) {
  std::string name = info.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Rules, RulesTest, testing::ValuesIn(rule_names()), test_name);

TEST(RuleTable, HasNoNameTwice) {
  std::vector<std::string> names = rule_names();
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names.end(), std::adjacent_find(names.begin(), names.end()));
}

TEST(RuleTable, HasARuleForEachInstance) {
  for (RuleInstance const& instance : rule_instances)
    EXPECT_NE(nullptr, rule_named(instance.rule)) << instance.rule;
}

// A script's product by a numeral is read with the numeral first; here it is not.
TEST(RuleTable, MulOrderPutsTheNumeralFirst) {
  Rule const* const rule = rule_named("mul-order");
  ASSERT_NE(nullptr, rule);
  for (unsigned w : small_widths)
    for (std::uint64_t k = 0; k < std::uint64_t{1} << w; ++k) {
      TermManager tm;
      Term_ const* const x = tm.mk_variable("x", tm.bv_type(w));
      Term_ const* const t = tm.mk_app(SymbolTag::bv_mul, {x, tm.mk_bv(k, w)});
      Term_ const* const now = rule->apply(Builder(tm), t);
      ASSERT_NE(nullptr, now);
      EXPECT_TRUE(tm.is_number(now->children[0]->symbol));
      EXPECT_EQ("", tabulated_difference(tm, {t, now}));
    }
}

std::uint64_t clauses(TermManager& tm, Term_ const* t) {
  if (t->symbol->get_output_type() != tm.bool_type)
    t = tm.mk_app(SymbolTag::equal, {t, tm.mk_variable("r", t->symbol->get_output_type())});
  sinks::CountingSink sink;
  Configuration::Theory::Bv config;
  sat::ScriptClausifier clausifier(&tm, &config);
  clausifier.bit_blast(t, &sink);
  return sink.clauses();
}

// Whether the rule is the one that the rewriter applies to t.
bool is_first_rule(TermManager& tm, words::Rewriter& rewriter, std::string const& name, Term_ const* t) {
  bool constant = true;
  for (std::uint64_t i = 0; i < t->symbol->arity; ++i) {
    if (rewriter.rewrite(t->children[i]) != t->children[i]) return false;
    constant = constant && Builder(tm).is_constant(t->children[i]);
  }
  if (constant) return false;
  for (Rule const& rule : words::all_rules()) {
    if (!rule.roots.contain(tm.get_tag(t->symbol))) continue;
    Term_ const* const now = rule.apply(Builder(tm), t);
    if (now != nullptr && now != t) return rule.name == name;
  }
  return false;
}

// The rewriter goes on with what a rule makes, so that is what is counted.
TEST(RuleTable, NoRuleMakesItsInstanceLarger) {
  run::Limits const limits;
  for (RuleInstance const& instance : rule_instances)
    for (std::string const& text : choices(instance.text)) {
      std::uint64_t most = 0;
      std::string worst;
      for (unsigned w : {1u, 2u, 3u, 4u, 5u, 8u, 16u}) {
        TermManager tm;
        for (Term_ const* t : terms_of(tm, instance, text, w)) {
          words::Rewriter rewriter(tm, false, limits);
          if (!is_first_rule(tm, rewriter, instance.rule, t)) continue;
          Term_ const* const last = rewriter.rewrite(t);
          std::uint64_t const before = clauses(tm, t);
          std::uint64_t const after = clauses(tm, last);
          if (after <= before + most) continue;
          most = after - before;
          worst = std::to_string(before) + " clauses became " + std::to_string(after) + ":\n  " +
                  smtlib::term_text(tm, t) + "\n  " + smtlib::term_text(tm, last);
        }
      }
      EXPECT_LE(most, clauses_that_may_come(instance.rule)) << instance.rule << ": " << worst;
    }
}

// What one rule makes of a term, the terms of the others must be safe from: each rule at every instance.
TEST(RuleTable, EveryRuleKeepsTheValueOfEveryInstance) {
  for (RuleInstance const& instance : rule_instances)
    for (std::string const& text : choices(instance.text))
      for (Rule const& rule : words::all_rules()) {
        if (rule.name == std::string(instance.rule)) continue;
        for (unsigned w : {1u, 2u, 3u}) {
          if (w < instance.least_width) continue;
          Outcome const outcome = apply(rule, instance, text, w);
          EXPECT_EQ("", outcome.wrong) << rule.name << ", width " << w;
        }
      }
}

}  // namespace
}  // namespace vell::test

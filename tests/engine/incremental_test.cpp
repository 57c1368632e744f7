// What a round of push, assert, check-sat and pop costs: what is new in it, whatever stands below.

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <vector>

#include "tests/support/scratch.h"
#include "vell/engine/engine.h"

namespace vell::engine {
namespace {

struct Figures {
  std::uint64_t terms;     // translated
  std::uint64_t literals;  // fresh
  std::uint64_t clauses;
  std::uint64_t evaluated;  // to check models

  friend Figures operator-(Figures const& a, Figures const& b) {
    return {a.terms - b.terms, a.literals - b.literals, a.clauses - b.clauses, a.evaluated - b.evaluated};
  }
};

constexpr char ask[] = "(get-info :all-statistics)";

struct Run {
  std::string answers;           // one letter for each: s, u, ?
  std::vector<Figures> figures;  // at each `ask`
};

Run run(std::string const& script, IncrementalSolverOptions const& options = {}) {
  test::Scratch scratch;
  {
    Console console;
    console.set_regular_channel(scratch.file("answers"));
    run::Limits limits;
    run::Statistics statistics;
    EXPECT_TRUE(ScriptEngine(options, console, limits, statistics).run(io::Source::text(script, "s")));
  }
  Run out;
  std::istringstream lines(scratch.read("answers"));
  std::map<std::string, std::uint64_t> last;
  for (std::string line; std::getline(lines, line);) {
    if (line == "sat" || line == "unsat" || line == "unknown")
      out.answers += line == "unknown" ? '?' : line[0];
    std::size_t const colon = line.find(':');
    if (colon == std::string::npos) continue;
    std::istringstream pair(line.substr(colon + 1));
    std::string name;
    pair >> name;
    pair >> last[name];
    if (line.back() != ')') continue;
    out.figures.push_back({last.at("clausified-terms"), last.at("fresh-literals"), last.at("clauses"),
                           last.at("evaluated-terms")});
  }
  return out;
}

// What each of the rounds cost, put between the first formula and the end.
std::vector<Figures> costs(std::string const& first, std::vector<std::string> const& rounds,
                           IncrementalSolverOptions const& options = {}) {
  std::string script = first + "(check-sat)" + ask;
  for (std::string const& r : rounds) script += r + ask;
  Run const done = run(script, options);
  EXPECT_EQ(rounds.size() + 1, done.figures.size()) << done.answers;
  std::vector<Figures> out;
  for (std::size_t i = 0; i < rounds.size(); ++i) out.push_back(done.figures.at(i + 1) - done.figures.at(i));
  return out;
}

constexpr char words[] =
    "(declare-const x (_ BitVec 12))(declare-const y (_ BitVec 12))(declare-const p Bool)"
    "(assert (or p (bvult (bvmul x y) (bvudiv x y))))(assert (or (not p) (bvult x y)))";

std::string round(std::string const& inside) { return "(push 1)" + inside + "(check-sat)(pop 1)"; }

TEST(Incremental, APoppedTermIsNotTranslatedAgain) {
  std::string const product = round("(assert (= (bvmul x (bvadd y x)) #x123))");
  std::vector<Figures> const cost =
      costs(words, {product, product, round("(assert (bvult (bvmul x (bvadd y x)) y))"), product});
  EXPECT_GT(cost[0].terms, 3u);
  EXPECT_GT(cost[0].clauses, 500u);
  // Again: the level's literal, the clause that makes it imply the assertion, the unit that ended the round
  // before.
  EXPECT_EQ(0u, cost[1].terms);
  EXPECT_EQ(1u, cost[1].literals);
  EXPECT_EQ(2u, cost[1].clauses);
  // The product is there; a comparison and its negation are new.
  EXPECT_EQ(2u, cost[2].terms);
  EXPECT_LT(cost[2].clauses, 100u);
  EXPECT_EQ(2u, cost[3].clauses);
}

TEST(Incremental, ADefinitionMadeAgainIsTheSameTerm) {
  std::string const defined = round(
      "(define-fun f ((a (_ BitVec 12))) (_ BitVec 12) (bvmul a (bvadd a y)))"
      "(assert (! (= (f x) (f #x00f)) :named n))");
  std::vector<Figures> const cost =
      costs(words, {defined, defined, round("(assert (= (bvmul x (bvadd x y)) #x001))")});
  EXPECT_GT(cost[0].clauses, 500u);
  EXPECT_EQ(0u, cost[1].terms);
  EXPECT_EQ(2u, cost[1].clauses);
  EXPECT_LE(cost[2].terms, 2u);
}

TEST(Incremental, AConstantDeclaredAgainIsAnother) {
  std::string const declared = round("(declare-const z (_ BitVec 12))(assert (= (bvmul x z) #x123))");
  std::vector<Figures> const cost = costs(words, {declared, declared});
  EXPECT_GT(cost[0].clauses, 500u);
  EXPECT_EQ(cost[0].terms, cost[1].terms + 1);      // the numeral stays
  EXPECT_EQ(cost[0].clauses + 1, cost[1].clauses);  // the end of the round before
  // Declared for good, it is one constant.
  std::vector<Figures> const global = costs("(set-option :global-declarations true)" + std::string(words),
                                            {declared, round("(assert (= (bvmul x z) #x123))")});
  EXPECT_EQ(0u, global[1].terms);
  EXPECT_EQ(2u, global[1].clauses);
}

TEST(Incremental, AssumptionsAndCoresTranslateOnce) {
  std::string const assumed = "(check-sat-assuming ((= (bvmul x (bvadd y x)) #x123)))";
  std::vector<Figures> const cost =
      costs(words, {assumed, assumed, round("(assert (= (bvmul x (bvadd y x)) #x123))")});
  EXPECT_GT(cost[0].clauses, 500u);
  EXPECT_EQ(0u, cost[1].terms + cost[1].literals + cost[1].clauses);
  EXPECT_EQ(1u, cost[2].clauses);
  std::string const named =
      round("(assert (! (= (bvmul x (bvadd y x)) #x123) :named n))(assert (bvult x y))");
  std::vector<Figures> const cores =
      costs("(set-option :produce-unsat-cores true)" + std::string(words), {named, named});
  EXPECT_EQ(0u, cores[1].terms);
  EXPECT_EQ(4u, cores[1].clauses);  // a literal for the named one, one for the level
}

TEST(Incremental, DeepLevelsKeepWhatTheyShare) {
  std::string down;
  std::string up;
  for (int i = 0; i < 200; ++i) {
    down += "(push 1)(assert (not (= (bvadd x y) (_ bv" + std::to_string(i) + " 12))))";
    up += "(pop 1)";
  }
  std::vector<Figures> const cost = costs(words, {down + "(check-sat)" + up, down + "(check-sat)" + up});
  EXPECT_EQ(0u, cost[1].terms);
  EXPECT_EQ(200u, cost[1].literals);
  EXPECT_EQ(400u, cost[1].clauses);
}

TEST(Incremental, AnExternalSolverIsGivenTheSame) {
  IncrementalSolverOptions options;
  options.solver_command = "cadical -q {cnf}";
  std::string const product = round("(assert (= (bvmul x (bvadd y x)) #x123))");
  std::vector<Figures> const cost = costs(words, {product, product}, options);
  EXPECT_EQ(0u, cost[1].terms);
  EXPECT_EQ(1u, cost[1].literals);
}

// Ten thousand rounds over one formula: every one costs what is new in it, the last no more than the first,
// and all of them together no more than their sum.
TEST(Incremental, TenThousandRoundsCostWhatIsNewInEach) {
  std::string formula =
      "(declare-const a (_ BitVec 16))(declare-const b (_ BitVec 16))(declare-const c (_ BitVec 16))"
      "(define-fun t0 () (_ BitVec 16) (bvadd a b))";
  for (int i = 1; i < 30; ++i)
    formula += "(define-fun t" + std::to_string(i) + " () (_ BitVec 16) (bvxor (bvadd t" +
               std::to_string(i - 1) + (i % 2 == 0 ? " a) (bvand b t" : " b) (bvand a t") +
               std::to_string(i - 1) + ")))";
  formula += "(assert (bvult t29 #x8000))(assert (bvult c #x8000))";
  constexpr std::size_t count = 10000;
  std::vector<std::string> rounds;
  // Most are refuted by propagation: a model would cost the solver every variable there is.
  for (std::size_t i = 0; i < count; ++i)
    rounds.push_back(round("(assert (= c (_ bv" + std::to_string(i % 100 == 0 ? i : 0x8000 + i) +
                           " 16)))(assert (bvult t29 #x8000))"));
  std::vector<Figures> const cost = costs(formula, rounds);
  std::string const script = formula + "(check-sat)" + ask;
  Figures const once = run(script).figures.at(0);
  ASSERT_GT(once.clauses, 5000u);
  for (std::size_t i = 1; i < count; ++i) {
    // A numeral, an equality of 16 bits; the level, two assertions under it, its end.
    ASSERT_LE(cost[i].terms, 3u) << i;
    ASSERT_LE(cost[i].literals, 20u) << i;
    ASSERT_LE(cost[i].clauses, 60u) << i;
  }
  std::uint64_t terms = 0;
  for (Figures const& c : cost) terms += c.terms;
  EXPECT_LE(terms, 3 * count);
}

}  // namespace
}  // namespace vell::engine

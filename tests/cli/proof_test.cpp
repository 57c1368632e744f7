// --proof against the CNF that `cnf` writes, by a checker of a few lines; and that checker against the fast
// one.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <sstream>
#include <vector>

#include "tests/cli/process.h"
#include "tests/proofs/drat.h"
#include "tests/support/scratch.h"

namespace vell::cli {
namespace {

using Clause = std::vector<int>;

// Checks a DRAT proof forwards: each added clause must follow by unit propagation (RUP), or do so after
// resolution with every clause that holds the negation of its first literal (RAT). Slow and plain on purpose.
class ProofChecker {
 public:
  void add(Clause c) {
    Clause const key = sorted(c);
    clauses_.insert({key, c});
  }
  bool remove(Clause const& c) {
    auto const i = clauses_.find(sorted(c));
    if (i == clauses_.end()) return false;
    clauses_.erase(i);
    return true;
  }
  bool follows(Clause const& c) const {
    if (refuted(c)) return true;
    if (c.empty()) return false;
    for (auto const& [key, d] : clauses_) {
      if (std::find(d.begin(), d.end(), -c[0]) == d.end()) continue;
      Clause resolvent = c;
      bool tautology = false;
      for (int l : d) {
        if (l == -c[0]) continue;
        tautology = tautology || std::find(c.begin(), c.end(), -l) != c.end();
        resolvent.push_back(l);
      }
      if (!tautology && !refuted(resolvent)) return false;
    }
    return true;
  }

 private:
  static Clause sorted(Clause c) {
    std::sort(c.begin(), c.end());
    return c;
  }
  // Whether assuming the clause's negation gives a conflict.
  bool refuted(Clause const& c) const {
    std::map<int, bool> value;
    auto is = [&](int l, bool wanted) {
      auto const i = value.find(std::abs(l));
      return i != value.end() && (i->second == (l > 0)) == wanted;
    };
    for (int l : c) {
      if (is(l, true)) return true;
      value[std::abs(l)] = l < 0;
    }
    for (bool changed = true; changed;) {
      changed = false;
      for (auto const& [key, d] : clauses_) {
        int open = 0;
        int count = 0;
        bool satisfied = false;
        for (int l : d) {
          satisfied = satisfied || is(l, true);
          if (is(l, true) || is(l, false)) continue;
          if (open != l) ++count;
          open = l;
        }
        if (satisfied || count > 1) continue;
        if (count == 0) return true;
        value[std::abs(open)] = open > 0;
        changed = true;
      }
    }
    return false;
  }
  std::multimap<Clause, Clause> clauses_;
};

// True when the proof, each step checked, reaches the empty clause.
bool refutes(std::string const& cnf, std::string const& proof) {
  ProofChecker checker;
  std::istringstream formula(cnf);
  for (std::string line; std::getline(formula, line);) {
    if (line[0] == 'c' || line[0] == 'p') continue;
    std::istringstream numbers(line);
    Clause c;
    for (int n = 0; numbers >> n && n != 0;) c.push_back(n);
    checker.add(c);
  }
  std::istringstream steps(proof);
  for (std::string line; std::getline(steps, line);) {
    bool const deletion = line.rfind("d ", 0) == 0;
    std::istringstream numbers(deletion ? line.substr(2) : line);
    Clause c;
    for (int n = 0; numbers >> n && n != 0;) c.push_back(n);
    if (deletion) {
      if (!checker.remove(c)) return false;
      continue;
    }
    if (!checker.follows(c)) return false;
    if (c.empty()) return true;
    checker.add(c);
  }
  return checker.follows({});
}

bool verified(std::string const& cnf, std::string const& proof) {
  std::istringstream formula(cnf);
  std::istringstream steps(proof);
  return proofs::DratChecker(formula, steps).verify();
}

// Formulas of few variables with proofs of random steps: what the plain checker takes the fast one takes, and
// the fast one takes nothing for a satisfiable formula.
TEST(ProofChecker, TheFastOneIsRight) {
  std::mt19937 random(7);
  int constexpr variables = 5;
  unsigned taken = 0;
  unsigned taken_by_both = 0;
  unsigned satisfiable = 0;
  for (int round = 0; round < 5000; ++round) {
    auto const text = [](Clause const& c) {
      std::string out;
      for (int l : c) out += std::to_string(l) + " ";
      return out + "0\n";
    };
    auto const clause = [&](unsigned size) {
      std::vector<int> order;
      for (int v = 1; v <= variables; ++v) order.push_back(random() % 2 == 0 ? v : -v);
      std::shuffle(order.begin(), order.end(), random);
      return Clause(order.begin(), order.begin() + size);
    };
    std::vector<Clause> clauses;
    std::string cnf = "p cnf 5 0\n";
    for (unsigned i = 8 + random() % 16; i > 0; --i) {
      clauses.push_back(clause(1 + random() % 3));
      if (clauses.back().size() == 1) clauses.back() = clause(2);
      cnf += text(clauses.back());
    }
    bool model = false;
    for (unsigned bits = 0; bits < 1u << variables && !model; ++bits)
      model = std::all_of(clauses.begin(), clauses.end(), [&](Clause const& c) {
        return std::any_of(c.begin(), c.end(),
                           [&](int l) { return ((bits >> (std::abs(l) - 1) & 1) != 0) == (l > 0); });
      });
    satisfiable += model ? 1 : 0;
    std::string proof;
    std::vector<Clause> present = clauses;
    for (unsigned i = random() % 6; i > 0; --i) {
      if (random() % 4 == 0) {
        std::size_t const k = random() % present.size();
        proof += "d " + text(present[k]);
        present.erase(present.begin() + static_cast<std::ptrdiff_t>(k));
        if (present.empty()) break;
      } else {
        present.push_back(clause(1 + random() % 2));
        proof += text(present.back());
      }
    }
    proof += "0\n";
    bool const fast = verified(cnf, proof);
    bool const plain = refutes(cnf, proof);
    EXPECT_FALSE(fast && model) << cnf << "proof\n" << proof;
    EXPECT_FALSE(plain && !fast) << cnf << "proof\n" << proof;
    taken += fast ? 1 : 0;
    taken_by_both += plain && fast ? 1 : 0;
  }
  EXPECT_GT(satisfiable, 250u);
  EXPECT_GT(taken, 250u);
  EXPECT_GT(taken_by_both, 100u);
}

TEST(ProofChecker, AcceptsProofsAndNothingElse) {
  std::string const cnf = "p cnf 2 4\n1 2 0\n-1 2 0\n1 -2 0\n-1 -2 0\n";
  EXPECT_TRUE(refutes(cnf, "2 0\n0\n"));
  EXPECT_TRUE(verified(cnf, "2 0\n0\n"));
  EXPECT_FALSE(verified(cnf, "0\n"));
  EXPECT_FALSE(verified("p cnf 2 2\n1 2 0\n-1 2 0\n", "2 0\n"));
  // By resolution only: 3 is new.
  EXPECT_TRUE(verified(cnf, "3 1 2 0\n-3 1 0\n2 0\n0\n"));
  EXPECT_THROW(verified(cnf, "d 2 3 0\n"), std::runtime_error);
  EXPECT_TRUE(refutes(cnf, "2 0\nd 1 2 0\n0\n"));
  EXPECT_FALSE(refutes(cnf, "0\n"));
  EXPECT_FALSE(refutes(cnf, "d 2 3 0\n2 0\n0\n"));
  EXPECT_FALSE(refutes("p cnf 2 2\n1 2 0\n-1 2 0\n", "2 0\n"));
}

TEST(Proof, RefutesTheCnfOfTheSameScript) {
  test::Scratch s;
  std::string const declarations =
      "(declare-const x (_ BitVec 4))(declare-const y (_ BitVec 4))(declare-const p Bool)";
  for (std::string const formula :
       {"(distinct (bvmul x y) (bvmul y x))", "(and (= (bvmul x y) #x5) (= (bvand x #x1) #x0))",
        "(distinct (bvadd x (bvneg x)) #x0)", "(and (bvult x y) (bvult y x))",
        "(and (distinct y #x0) (bvuge (bvurem x y) y))", "false", "(= p (not p))",
        "(distinct (bvshl x #x1) (bvadd x x))", "(and (bvsgt x y) (= (bvsub y x) #x0))"}) {
    std::string const path = s.write("a.smt2", declarations + "(assert " + formula + ")(check-sat)");
    EXPECT_EQ("unsat\n", test::vell_bv({path, "--proof", s.file("a.drat")}).out) << formula;
    ASSERT_EQ(0, test::vell_bv({"cnf", path, "--words=none", "-o", s.file("a.cnf")}).code);
    EXPECT_TRUE(refutes(s.read("a.cnf"), s.read("a.drat"))) << formula;
    std::filesystem::remove(s.file("a.drat"));
  }
}

// Clauses and answers of every query, under push and with assumptions too, with simplifications and without.
TEST(Proof, RefutesTheCnfOfAnyQuery) {
  test::Scratch s;
  std::string const path = s.write(
      "a.smt2",
      "(set-option :produce-unsat-cores true)(set-option :produce-unsat-assumptions true)"
      "(declare-const x (_ BitVec 4))(declare-const y (_ BitVec 4))(assert (! (bvult x y) :named less))"
      "(push)(assert (bvult y x))(check-sat)(pop)(check-sat)(push)(assert (= (bvadd x #x1) #x0))"
      "(check-sat-assuming ((distinct y #x0) (distinct x #x3)))(get-unsat-assumptions)(pop)"
      "(assert (distinct (bvmul x y) (bvmul y x)))(check-sat)(get-unsat-core)");
  for (std::string const words : {"none", "all"}) {
    std::string const option = "--words=" + words;
    for (std::string const query : {"1", "3", "4"}) {
      std::string const more = query == "3"   ? "((distinct y #x0) (distinct x #x3))\n"
                               : query == "4" ? "(less)\n"
                                              : "";
      EXPECT_EQ("unsat\n" + more,
                test::vell_bv({path, "--proof", s.file("a.drat"), "--query", query, option}).out);
      ASSERT_EQ(0, test::vell_bv({"cnf", path, "--query", query, option, "-o", s.file("a.cnf")}).code);
      EXPECT_TRUE(refutes(s.read("a.cnf"), s.read("a.drat"))) << words << query;
      std::filesystem::remove(s.file("a.drat"));
    }
    EXPECT_EQ("sat\n", test::vell_bv({path, "--proof", s.file("a.drat"), "--query", "2", option}).out);
  }
}

// What the simplifications decide is left to the proof, unless one asks for them.
TEST(Proof, IsOfTheAssertionsAsTheyStand) {
  test::Scratch s;
  std::string const path = s.write("a.smt2",
                                   "(declare-const x (_ BitVec 4))(declare-const y (_ BitVec 4))"
                                   "(assert (distinct (bvmul x y) (bvmul y x)))(check-sat)");
  auto const size = [&](std::vector<std::string> more) {
    more.insert(more.begin(), {path, "--proof", s.file("a.drat")});
    EXPECT_EQ("unsat\n", test::vell_bv(more).out);
    return s.read("a.drat").size();
  };
  EXPECT_GT(size({}), 1000u);
  EXPECT_EQ(size({}), size({"--words=none"}));
  EXPECT_LT(size({"--words=all"}), 100u);
}

// Values of variables that a formula defines take no clauses in the file: the proof has the same clauses.
TEST(Proof, FitsTheFileWhereDefinedVariablesAreEliminated) {
  test::Scratch s;
  std::string const path = s.write(
      "a.smt2",
      "(declare-const x (_ BitVec 5))(declare-const y (_ BitVec 5))(declare-const z (_ BitVec 5))"
      "(declare-const v (_ BitVec 5))(declare-const w (_ BitVec 5))"
      "(assert (= x (bvmul y z)))(assert (= w (bvnot y)))(assert (= v (bvadd (bvmul y y) x)))"
      "(assert (= (bvand (bvmul x x) #b00110) #b00010))(assert (bvult (bvurem x #b00111) (bvadd z w)))"
      "(check-sat)");
  ASSERT_EQ("unsat\n", test::vell_bv({path, "--words=all", "--proof", s.file("a.drat")}).out);
  ASSERT_EQ(0, test::vell_bv({"cnf", path, "--words=all", "-o", s.file("a.cnf")}).code);
  EXPECT_NE(std::string::npos, s.read("a.cnf").find("\nc map x (_ BitVec 5) "));
  EXPECT_NE(std::string::npos, s.read("a.cnf").find("\nc map w (_ BitVec 5) -"));
  EXPECT_NE(std::string::npos, s.read("a.cnf").find("\nc def v (_ BitVec 5) (bvadd "));
  EXPECT_EQ(std::string::npos, s.read("a.cnf").find("?"));
  EXPECT_GT(s.read("a.drat").size(), 10u);
  EXPECT_FALSE(refutes(s.read("a.cnf"), "0\n"));
  EXPECT_TRUE(refutes(s.read("a.cnf"), s.read("a.drat")));
}

}  // namespace
}  // namespace vell::cli

// --proof against the CNF that `cnf` writes, by a checker of a few lines.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <vector>

#include "tests/cli/process.h"
#include "tests/engine/scratch.h"

namespace vell::cli {
namespace {

using Clause = std::vector<int>;

// Checks a DRAT proof forwards: each added clause must follow by unit propagation (RUP), or do so after resolution with
// every clause that holds the negation of its first literal (RAT). Slow and plain on purpose.
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

TEST(ProofChecker, AcceptsProofsAndNothingElse) {
  std::string const cnf = "p cnf 2 4\n1 2 0\n-1 2 0\n1 -2 0\n-1 -2 0\n";
  EXPECT_TRUE(refutes(cnf, "2 0\n0\n"));
  EXPECT_TRUE(refutes(cnf, "2 0\nd 1 2 0\n0\n"));
  EXPECT_FALSE(refutes(cnf, "0\n"));
  EXPECT_FALSE(refutes(cnf, "d 2 3 0\n2 0\n0\n"));
  EXPECT_FALSE(refutes("p cnf 2 2\n1 2 0\n-1 2 0\n", "2 0\n"));
}

TEST(Proof, RefutesTheCnfOfTheSameScript) {
  test::Scratch s;
  std::string const declarations = "(declare-const x (_ BitVec 4))(declare-const y (_ BitVec 4))(declare-const p Bool)";
  for (std::string const formula :
       {"(distinct (bvmul x y) (bvmul y x))", "(and (= (bvmul x y) #x5) (= (bvand x #x1) #x0))", "(distinct (bvadd x (bvneg x)) #x0)",
        "(and (bvult x y) (bvult y x))", "(and (distinct y #x0) (bvuge (bvurem x y) y))", "false", "(= p (not p))",
        "(distinct (bvshl x #x1) (bvadd x x))", "(and (bvsgt x y) (= (bvsub y x) #x0))"}) {
    std::string const path = s.write("a.smt2", declarations + "(assert " + formula + ")(check-sat)");
    EXPECT_EQ("unsat\n", test::vell_bv({path, "--proof", s.file("a.drat")}).out) << formula;
    ASSERT_EQ(0, test::vell_bv({"cnf", path, "-o", s.file("a.cnf")}).code);
    EXPECT_TRUE(refutes(s.read("a.cnf"), s.read("a.drat"))) << formula;
    std::filesystem::remove(s.file("a.drat"));
  }
}

}  // namespace
}  // namespace vell::cli

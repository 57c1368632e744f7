#pragma once

// Checks the simplification on words under every assignment of small formulas.
//
// Each pass of the table words::passes() is checked alone, in each way in which it may be called; a new row
// needs nothing here. Besides, the Simplifier is checked as the solver uses it, with formulas that come
// later.
//
// Tested by tests/words/simplification_test.cpp.

#include <cstdint>
#include <string>
#include <vector>

#include "tests/words/randomformulas.h"
#include "tests/words/truthtable.h"
#include "vell/run/limits.h"
#include "vell/terms/termmanager.h"
#include "vell/words/definition.h"
#include "vell/words/simplifier.h"

namespace vell::test {

// What a pass promises of its formulas. Those kept are equivalent wherever all formulas hold, in each case.
enum class Guarantee : std::uint8_t {
  each,      // every formula is equivalent to what it was
  together,  // their conjunction is
  completed  // their conjunction has the same models but for variables that went; the definitions bring those
             // back
};

// What a pass works on.
struct Work {
  TermManager& tm;
  bool free_division;
  std::vector<Term_ const*> formulas;
  std::vector<Term_ const*> kept;  // that hold variables which must stay
  words::Definitions definitions;
  run::Limits const& limits;
};

// A way to call a pass.
struct Pass {
  std::string name;
  words::PassRow const* row;
  Guarantee guarantee;
  bool retractable;  // the formulas are given as ones that may be popped
};

// Every pass in every way.
std::vector<Pass> const& passes();

// A case with its variables in a table, to be checked more than once.
class Checked {
 public:
  Checked(TermManager& tm, Case const& c, run::Limits const& limits = run::no_limits());

  // What is wrong; empty when nothing is.
  std::string pass(Pass const& pass);
  // The same for what has become of the formulas.
  std::string outcome(Work const& work, Guarantee guarantee);
  // As the solver does it: the first check, those kept, later formulas.
  std::string solver();
  // Polynomials of words, and their ranges.
  std::string polynomials();
  // Comparisons with a successor.
  std::string successor_comparisons();
  // Signals that a sweep finds equal.
  std::string signals();

  // Whether the last check changed anything, and whether definitions came of it.
  bool changed() const { return changed_; }
  bool defined() const { return defined_; }

 private:
  struct Completion;

  std::string fill(Work const& work, TruthTable& table) const;
  std::string complete(Work const& work, std::vector<Term_ const*> const& formulas,
                       std::vector<Term_ const*> const& kept);
  bool tabulate(Work const& work, std::vector<Term_ const*>& surviving, std::vector<Term_ const*>& fresh,
                unsigned& bits) const;

  TermManager& tm_;
  Case const& case_;
  run::Limits const& limits_;
  TruthTable table_;
  bool changed_ = false;
  bool defined_ = false;
};

// What a run of many cases found.
struct Tally {
  std::uint64_t cases = 0;
  std::vector<std::string> names;      // of the checks
  std::vector<std::uint64_t> changed;  // by check: cases in which it changed something
  std::vector<std::uint64_t> defined;  // by check: cases in which it defined variables
};

struct Failed {
  std::uint64_t seed;
  std::string check;
  std::string what;
  std::string script;  // of the case made small
};

// Checks the cases of `count` seeds from `first` on, or those of one check; only: the name of that check, ""
// for all. Ends after the first failure. before: called with each seed.
bool check_cases(std::uint64_t first, std::uint64_t count, std::string const& only, Tally& tally,
                 Failed& failed, void (*before)(std::uint64_t seed) = nullptr);

}  // namespace vell::test

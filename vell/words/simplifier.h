#pragma once

// All that happens to formulas before they become bits: which passes run, in which order, and how a model of
// what is left becomes a model of what was given.
//
// Tested by tests/words/simplifier_test.cpp.

#include <cstdint>
#include <memory>
#include <span>
#include <unordered_map>
#include <vector>

#include "vell/fp/lowering.h"
#include "vell/run/limits.h"
#include "vell/run/statistics.h"
#include "vell/run/tunables.h"
#include "vell/terms/cone.h"
#include "vell/terms/termmanager.h"
#include "vell/values/evaluator.h"
#include "vell/words/formulas.h"
#include "vell/words/pass.h"
#include "vell/words/passes.h"
#include "vell/words/substitution.h"

namespace vell::words {

// Every pass, in the order in which they run.
std::span<PassRow const> passes();

struct PassCounts {
  std::uint64_t formulas = 0;  // that the pass was given
  std::uint64_t replaced = 0;
  double seconds = 0;
};

// Who looks at the formulas between two passes.
class StepObserver {
 public:
  virtual ~StepObserver() = default;
  // The formulas of a batch, before any pass.
  virtual void given(Formulas& formulas) = 0;
  // A pass, by its place in passes(), has run.
  virtual void ran(std::size_t pass, std::uint64_t replaced, double seconds, Formulas& formulas) = 0;
};

class Simplifier {
 public:
  // The references must outlive the simplifier. free_division: see PassContext.
  Simplifier(TermManager& tm, bool free_division, Passes selected, run::Limits const& limits,
             run::Tunables const& tunables);
  ~Simplifier();

  // Null for none; it must outlive the simplifier.
  void observe(StepObserver* observer) { observer_ = observer; }

  // Simplifies a batch, in place. Where a formula mentions a variable that was eliminated from an earlier
  // batch and cannot be put in, a formula that says what it was is appended to `permanent`; the variable is
  // no longer defined then.
  void simplify(Formulas& formulas);

  // Lets completed() give the eliminated variables' values under this model of the others; so those of
  // floating-point variables, which formulas no longer hold, and of terms whose operands leave their value
  // open. It is read until the next call and must live as long.
  void complete(values::Assignment const& model);
  // The value of a variable, as Assignment::read writes it, valid until the next call; null for a variable
  // that is not eliminated, and before complete().
  std::uint64_t const* completed(Term_ const* variable) const;
  // What stands for floating-point variables, and for terms whose operands leave their value open.
  fp::Lowering const& lowering() const { return lowering_; }
  // The word that stands for a variable of floating-point values or rounding modes; another variable itself.
  Term_ const* stand_in(Term_ const* variable) const { return lowering_.stand_in(variable); }

  // Of the first batch. A null variable: it came back.
  Definitions const& definitions() const { return definitions_; }

  // By place in passes().
  std::vector<PassCounts> const& counts() const { return counts_; }
  // Copies them, with the names of the passes.
  void report(run::Statistics& statistics) const;

 private:
  // Runs the repeated passes in rounds, until none of them finds anything.
  void repeat(Formulas& formulas);
  // Runs one pass; what apply() gave.
  std::uint64_t run(std::size_t pass, Formulas& formulas);
  // Makes words of floating-point values.
  void lower(Formulas& formulas);
  // Brings back variables that the formulas mention; whether there were any.
  bool restore(Formulas& formulas);
  Term_ const* bring_back(std::size_t definition);

  TermManager& tm_;
  bool const free_division_;
  run::Limits const& limits_;
  run::Tunables const tunables_;
  StepObserver* observer_ = nullptr;
  fp::Lowering lowering_;
  std::vector<std::unique_ptr<Pass>> passes_;  // null where switched off
  std::vector<PassCounts> counts_;
  Definitions definitions_;                              // of the variables that were eliminated
  std::unordered_map<Term_ const*, std::size_t> place_;  // in definitions_, of those that can come back
  Cone visited_;                                         // terms that hold none of these
  std::unique_ptr<Substitution> values_;                 // of the variables; null where not known
  mutable values::Evaluator evaluator_;
};

}  // namespace vell::words

#pragma once

// Decides the assertions of a script, incrementally.
//
// Tested by tests/engine/checker_test.cpp and tests/engine/scriptengine_test.cpp.

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "vell/engine/clausifiers.h"
#include "vell/engine/cone.h"
#include "vell/engine/evaluator.h"
#include "vell/engine/limits.h"
#include "vell/engine/presolve/definition.h"
#include "vell/engine/presolve/sharedproducts.h"
#include "vell/engine/presolve/wordidentities.h"
#include "vell/engine/satsolver.h"
#include "vell/engine/scriptstate.h"
#include "vell/engine/statistics.h"
#include "vell/engine/sweep.h"

namespace vell::engine {

struct CheckerOptions {
  bool free_division = false;  // a zero divisor leaves the result open
  int seed = 0;
  unsigned threads = 1;        // 2: a second search joins the embedded solver's where that takes long
  std::string proof;           // file of a DRAT proof, "" for none
  std::string solver_command;  // external solver, "" for the embedded one
  unsigned verbosity = 0;      // above 0: a line on the diagnostic channel after each check
  Logger* logger = nullptr;    // of the clausifier; null for none
  // Unconstrained variables are eliminated where that spares more than this in circuits, as circuit_cost() counts
  // them: more than one product of 256 bits, or many smaller ones.
  std::uint64_t least_saving = 1 << 16;
};

class Checker : private Assignment {
 public:
  enum class Answer : std::uint8_t { sat, unsat, unknown };

  // tm and the references must outlive the checker.
  Checker(TermManager& tm, CheckerOptions const& options, Limits const& limits, Statistics& statistics);
  ~Checker() override;

  // Decides the state's assertions together with the assumptions (Boolean terms). named_selectors: named assertions
  // can be told apart in a core. Between two calls the state changes by push, pop and assert only, and every pop is
  // told by popped(). Throws Exception for a term that nothing translates.
  Answer check(ScriptState const& state, std::vector<Term_ const*> const& assumptions, bool named_selectors);
  // Gives up what the levels above the state's held.
  void popped(ScriptState const& state);

  // After unknown: why; a word as get-info :reason-unknown answers.
  std::string const& reason_unknown() const { return reason_; }
  // Whether a model was found that does not satisfy the assertions: a defect of this program.
  bool model_failed() const { return model_failed_; }

  // After sat, until the next call of check or popped.
  Evaluator& model() { return evaluator_; }
  // After unsat: indices of the named assertions in a core, and of the assumptions in one.
  std::vector<std::size_t> core() const;
  std::vector<std::size_t> failed_assumptions() const;

 private:
  void read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const override;
  // Formulas as they will be clausified; those that follow the first check's.
  void simplify(std::vector<Term_ const*>& formulas);
  bv::BvLit encode_formula(Term_ const* formula);
  void encode(ScriptState const& state, std::vector<Term_ const*> const& assumptions, bool named_selectors);
  void encode_first(ScriptState const& state, std::size_t lasting, std::vector<Term_ const*> const& assumptions);
  void restore_if_needed(Term_ const* t);
  std::vector<EqualSignals> sweep_formulas();
  void add_equality(EqualSignals const& signals);
  void complete_model();
  bool model_holds(ScriptState const& state, std::vector<Term_ const*> const& assumptions);
  Answer give_up(std::string reason);

  TermManager& tm_;
  Limits const& limits_;
  Statistics& statistics_;
  Configuration::Theory::Bv config_;
  std::unique_ptr<SatSolver> solver_;
  ScriptClausifier clausifier_;
  WordIdentities identities_;
  SharedProducts products_;
  LimitTest limit_test_;
  Evaluator evaluator_;
  bool const embedded_;
  bool const proof_;
  std::uint64_t const least_saving_;
  Definitions definitions_;                       // of variables that the encoded formulas no longer hold
  std::unordered_map<Term_ const*, std::vector<std::uint64_t>> defined_values_;  // of those, in the last model
  std::vector<Term_ const*> replaced_;            // the formulas that held them
  Cone known_free_of_them_;                       // terms that hold none of those variables
  std::vector<Term_ const*> encoded_;             // every formula that was translated
  std::size_t swept_ = 0;                         // how many of them had been when they were swept
  std::vector<bv::BvLit> selectors_;     // of the encoded assertions; l_undef where it has none of its own
  std::vector<bv::BvLit> activations_;   // of levels 1, 2, ...; l_undef where no clause needed it yet
  std::vector<bv::BvLit> assumed_;       // the last check's assumptions
  std::string reason_;
  bool model_failed_ = false;
  bool broken_ = false;  // memory ran out inside the solver or the clausifier: neither can be used again
};

}  // namespace vell::engine

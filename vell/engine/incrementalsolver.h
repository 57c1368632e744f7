#pragma once

// Decides the assertions of a script incrementally. It keeps levels, selectors and models; the SAT solver is
// behind an interface.
//
// Tested by tests/engine/incrementalsolver_test.cpp and tests/engine/engine_test.cpp.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "vell/engine/state.h"
#include "vell/run/limits.h"
#include "vell/run/limittest.h"
#include "vell/run/statistics.h"
#include "vell/run/tunables.h"
#include "vell/sat/clausifier.h"
#include "vell/sat/longsearch.h"
#include "vell/sat/sweeplemmas.h"
#include "vell/sinks/solversink.h"
#include "vell/values/evaluator.h"
#include "vell/words/simplifier.h"

namespace vell::engine {

struct IncrementalSolverOptions {
  bool free_division = false;  // a zero divisor leaves the result open
  int seed = 0;
  unsigned threads = 1;  // searches in all: further ones join the embedded solver's where that takes long
  bool deterministic = false;  // they take the same steps in every run
  // File of a DRAT proof, "" for none. Then there is only one check, and its assertions and assumptions are
  // permanent clauses, as in a CNF file of the query. So cores and failed assumptions contain all of them.
  std::string proof;
  // Another SAT solver in the place of the embedded one, at most one of the two; "" for none: an external
  // one's command, or a shared object with the functions of IPASIR.
  std::string solver_command;
  std::string ipasir;
  bool embedded() const { return solver_command.empty() && ipasir.empty(); }
  words::Passes passes = words::Passes::all;
  unsigned verbosity = 0;                // above 0: a line on the diagnostic channel after each check
  std::uint64_t conflict_limit = 0;      // of each check; 0: none
  std::uint64_t check_milliseconds = 0;  // of each check; 0: any
  values::WordFormat word_format = values::WordFormat::binary;
  Logger* logger = nullptr;  // of the clausifier; null for none
  run::Tunables tunables = {};
  // For tests: a further pass after the others; not run if all passes are switched off.
  std::function<void(TermManager&, words::Formulas&)> last_pass = {};
};

class IncrementalSolver : private values::Assignment {
 public:
  // tm and the references must outlive the solver.
  IncrementalSolver(TermManager& tm, IncrementalSolverOptions const& options, run::Limits const& limits,
                    run::Statistics& statistics);
  ~IncrementalSolver() override;

  // Decides the state's assertions together with the assumptions (Boolean terms). named_selectors: core() can
  // distinguish named assertions. Between two calls the state may change only by push, pop and assert, and
  // popped() must be called after every pop. Throws Exception for a term that cannot be translated.
  sinks::Answer check(ScriptState const& state, std::vector<Term_ const*> const& assumptions,
                      bool named_selectors);
  // Limits the conflicts of each check, 0 for no limit; the answer is then the same on every machine. False
  // if the solver does not count conflicts.
  bool limit_conflicts(std::uint64_t conflicts);
  // Retracts the assertions of levels that the state no longer has.
  void popped(ScriptState const& state);

  // After unknown: the reason, as get-info :reason-unknown answers it.
  std::string const& reason_unknown() const { return reason_; }
  // Whether memory ran out in a check. Every later check answers unknown.
  bool out_of_memory() const { return broken_; }
  // Whether a model was found that does not satisfy the assertions: a defect of this program.
  bool model_failed() const { return model_failed_; }

  // Whether the work was stopped during the translation of formulas. Only a part of their clauses has been
  // added, so a new object has to be used.
  bool stale() const { return stale_ && !broken_; }

  // After sat, until the next call of check or popped.
  values::Evaluator& model() { return evaluator_; }
  // After unsat: indices of the named assertions in a core, and of the assumptions in one.
  std::vector<std::size_t> core() const;
  std::vector<std::size_t> failed_assumptions() const;

 private:
  void read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const override;
  bv::BvLit encode_formula(Term_ const* formula);
  void encode(ScriptState const& state, std::vector<Term_ const*> const& assumptions, bool named_selectors);
  words::Formulas fresh_formulas(ScriptState const& state, std::vector<Term_ const*> const& assumptions,
                                 bool named_selectors) const;
  std::vector<bv::BvLit> all_assumptions() const;
  void report();
  bool model_holds(ScriptState const& state, std::vector<Term_ const*> const& assumptions);
  sinks::Answer give_up(std::string reason);

  TermManager& tm_;
  run::Limits const& limits_;
  run::Statistics& statistics_;
  run::Tunables const tunables_;
  Configuration::Theory::Bv config_;
  std::unique_ptr<sinks::SolverSink> solver_;
  sat::ScriptClausifier clausifier_;
  sat::SweepLemmas sweep_;
  sat::LongSearch search_;
  words::Simplifier simplifier_;
  run::LimitTest limit_test_;
  values::Evaluator evaluator_;
  bool const proof_;
  std::function<void(TermManager&, words::Formulas&)> const last_pass_;
  std::vector<std::size_t> named_assertions_;  // of the last check, where a proof is written
  std::vector<bv::BvLit> selectors_;    // of the encoded assertions; l_undef where it has none of its own
  std::vector<bv::BvLit> activations_;  // of levels 1, 2, ...; l_undef where no clause needed it yet
  std::vector<bv::BvLit> assumed_;      // the last check's assumptions
  std::string reason_;
  bool model_failed_ = false;
  bool stale_ = false;  // the work was stopped while formulas became clauses
  std::uint64_t conflict_limit_ = sinks::Effort::any;
  bool broken_ = false;  // memory ran out inside the solver or the clausifier: neither can be used again
};

}  // namespace vell::engine

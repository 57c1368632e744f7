#pragma once

// Decides formulas, incrementally.
//
// Tested by tests/script/solver_test.cpp.

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vell/script/control.h"
#include "vell/script/model.h"
#include "vell/script/options.h"
#include "vell/sinks/satsolver.h"
#include "vell/terms/termmanager.h"
#include "vell/utils/export.h"

namespace vell::script {

using sinks::Answer;

// How a Solver works.
struct SolverOptions : Options {
  int seed = 0;                // of the embedded SAT solver; 0: its default
  unsigned threads = 1;        // searches in all: the further ones join where the first one takes long
  bool deterministic = false;  // they take the same steps in every run
  // A SAT solver beside the embedded one; at most one of the two. "" for none.
  std::string command = {};  // a shell command with {cnf} in the place of a DIMACS file
  std::string ipasir = {};   // a shared object with the functions of IPASIR
};

// Assertions on levels, decided by the embedded SAT solver. One thread at a time; only interrupt() and
// control() are for others.
class VELL_API Solver {
 public:
  // terms must outlive the solver. Throws Exception for options that do not exist, and for a shared object
  // that cannot be loaded.
  explicit Solver(TermManager& terms, SolverOptions const& options = {});
  Solver(Solver const&) = delete;
  Solver& operator=(Solver const&) = delete;
  ~Solver();

  // A new variable of the manager, which model() knows by its name. It goes with its level.
  Term_ const* declare(std::string_view name, Type const* type);
  // Asserts a Boolean term until its level is popped. A name makes it one of those that core() tells apart,
  // at the price of weaker simplification of all assertions.
  void assert_formula(Term_ const* formula, std::string const& name = "");
  void push(std::uint64_t levels = 1);
  // Throws Exception when there are not so many levels; nothing is popped then.
  void pop(std::uint64_t levels = 1);
  // Levels pushed and not popped.
  std::uint64_t levels() const;

  // Decides the assertions together with the assumptions, Boolean terms, which hold for this check only. A
  // model is checked against every asserted term before the answer is sat. Throws Exception "not supported: "
  // and the term for a term without a translation.
  Answer check(std::span<Term_ const* const> assumptions = {});
  // After unknown: timeout, resourceout, memout, interrupted or incomplete.
  std::string const& reason_unknown() const;

  // For each check from now on; 0 for none. A limit on conflicts gives the same answer on every machine; it
  // throws Exception for a solver that does not count them.
  void set_time_limit(std::uint64_t milliseconds);
  void set_conflict_limit(std::uint64_t conflicts);

  // After sat, and until the next change of the assertions: the value of any term, as Model has it. Throw
  // Exception when there is no model.
  std::vector<std::uint64_t> words(Term_ const* term);
  bool is_true(Term_ const* formula);
  std::string text(Term_ const* term, WordFormat format = WordFormat::binary);
  // The values of the declared constants, which outlive the next check.
  Model model();

  // After unsat, and until the next change of the assertions: names of assertions, and assumptions, that
  // cannot hold together with the assertions without a name. Not minimal. Throw Exception when the last
  // answer was not unsat.
  std::vector<std::string> core();
  std::vector<Term_ const*> failed_assumptions();

  // Ends the check that runs; from any thread, also from a signal handler. Without one nothing happens.
  void interrupt();
  // Figures, and stopping for good.
  Control& control();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vell::script

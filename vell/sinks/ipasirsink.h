#pragma once

// Clauses into any SAT solver behind the incremental interface IPASIR.
//
// The interface is a set of C functions with fixed names, so two solvers cannot be linked into one program.
// Here the functions come as a table: of a shared object that is loaded at run time, or filled in by the
// caller.
//
// The interface: T. Balyo, A. Biere, M. Iser, C. Sinz: SAT Race 2015. Artificial Intelligence 241, 2016.
//
// Tested by tests/sinks/ipasirsink_test.cpp.

#include <cstdint>
#include <exception>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "vell/terms/clausesink.h"
#include "vell/utils/export.h"

namespace vell::sinks {

// The functions of one solver, each with the meaning that IPASIR gives to ipasir_NAME.
struct IpasirFunctions {
  char const* (*signature)() = nullptr;                       // name and version
  void* (*init)() = nullptr;                                  // a new solver, passed to the functions below
  void (*release)(void* solver) = nullptr;                    // frees the solver
  void (*add)(void* solver, std::int32_t literal) = nullptr;  // 0 ends the clause
  void (*assume)(void* solver, std::int32_t literal) = nullptr;       // for the next solve
  int (*solve)(void* solver) = nullptr;                               // 10 sat, 20 unsat, 0 stopped
  std::int32_t (*val)(void* solver, std::int32_t literal) = nullptr;  // literal, -literal, or 0 for either
  int (*failed)(void* solver, std::int32_t literal) = nullptr;        // 1 where the assumption was used
  // Null for a solver that cannot be stopped.
  void (*set_terminate)(void* solver, void* data, int (*terminate)(void* data)) = nullptr;
};

// A solver's shared object. Its symbols are kept apart from the program's and from those of other solvers.
class VELL_API IpasirLibrary {
 public:
  // Loads the object; a name without a slash is looked for where the dynamic loader looks. Throws Exception
  // with the loader's reason, or with the name of the function that the object lacks.
  explicit IpasirLibrary(std::string const& path);
  // Unloads it. No sink may use it any more.
  ~IpasirLibrary();
  IpasirLibrary(IpasirLibrary const&) = delete;
  IpasirLibrary& operator=(IpasirLibrary const&) = delete;

  // The solver's functions, for IpasirSink. Valid as long as the library.
  IpasirFunctions const& functions() const { return functions_; }
  // The solver's name and version as it gives them.
  std::string signature() const { return functions_.signature(); }

 private:
  void* handle_;
  IpasirFunctions functions_;
};

// Literal v >= 2 is the solver's variable v - 1. Clauses with the constant true are dropped, the constant
// false is removed from the others; an empty clause makes the solver inconsistent for good.
class VELL_API IpasirSink : public bv::ClauseSink {
 public:
  // What a solver answers; unknown when it was stopped.
  enum class Answer : std::uint8_t { sat, unsat, unknown };

  // Makes a solver. The functions are copied; the library they come from must outlive the sink.
  // Throws Exception where the solver cannot be made.
  explicit IpasirSink(IpasirFunctions const& functions);
  ~IpasirSink() override;
  IpasirSink(IpasirSink const&) = delete;
  IpasirSink& operator=(IpasirSink const&) = delete;

  bv::BvLit new_lit() override { return next_++; }
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override;
  // The clause of these literals.
  void add_clause(std::initializer_list<bv::BvLit> clause);

  // Called again and again during solve(), by whichever thread the solver chooses; true ends it with
  // `unknown`. What it throws ends it too and leaves solve(). Empty for none. Throws Exception for a solver
  // that cannot be stopped.
  void set_terminate(std::function<bool()> terminate);

  // Decides the clauses under the assumptions, which may be constants. Throws Exception for an answer that
  // IPASIR does not know.
  Answer solve(std::vector<bv::BvLit> const& assumptions = {});
  // After sat, and until the next clause: the literal's value under the model. A variable the solver never
  // saw, or whose value does not matter, is false. Throws Exception when there is no model.
  bool value(bv::BvLit literal) const;
  // After unsat, and until the next clause: whether the assumption was used. An assumption that is the
  // constant false is all it takes. Throws Exception when the last answer was not unsat.
  bool failed(bv::BvLit assumption) const;

  // Literals that new_lit() gave out.
  std::uint64_t fresh_literals() const { return static_cast<std::uint64_t>(next_) - 2; }
  // Clauses given to the solver, and the literals in them.
  std::uint64_t clauses() const { return clauses_; }
  std::uint64_t literals() const { return literals_; }
  // The solver, for functions beyond the interface.
  void* solver() const { return solver_; }

 private:
  enum class State : std::uint8_t { input, sat, unsat };

  static int poll(void* sink);

  IpasirFunctions functions_;
  void* solver_;
  std::function<bool()> terminate_;
  std::exception_ptr thrown_;  // by terminate_, on its way through the solver
  bv::BvLit next_ = 2;
  bv::BvLit known_ = 1;  // the largest literal given to the solver
  std::uint64_t clauses_ = 0;
  std::uint64_t literals_ = 0;
  State state_ = State::input;
  bool false_assumed_ = false;
};

}  // namespace vell::sinks

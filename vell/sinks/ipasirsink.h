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
#include <string>

#include "vell/sinks/solversink.h"
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

// A sink in front of such a solver.
class VELL_API IpasirSink : public SolverSink {
 public:
  // Makes a solver. The functions are copied; the library they come from must outlive the sink.
  // Throws Exception where the solver cannot be made.
  //
  // Beyond what SolverSink says: set_terminate() throws Exception for a solver that cannot be stopped. The
  // solver chooses the thread that asks; what the termination test throws ends the search and leaves solve().
  // solve() throws Exception for an answer that IPASIR does not know. A variable whose value does not matter
  // is false. There are no limits of conflicts.
  explicit IpasirSink(IpasirFunctions const& functions);

  // The solver, for functions beyond the interface.
  void* solver() const { return handle_; }

 private:
  class Solver;
  explicit IpasirSink(Solver* solver);
  void* handle_;
};

}  // namespace vell::sinks

#pragma once

// A SAT solver from a shared object with the functions of IPASIR.
//
// Tested by tests/sat/ipasirsolver_test.cpp.

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "vell/sinks/ipasirsink.h"
#include "vell/sinks/satsolver.h"

namespace vell::sat {

// Owns the library: it is unloaded with the solver. Counts no conflicts.
class IpasirSolver : public sinks::SatSolver {
 public:
  // Throws Exception as sinks::IpasirLibrary does.
  explicit IpasirSolver(std::string const& path);

  void add(std::span<std::int32_t const> clause) override;
  sinks::Answer solve(std::span<std::int32_t const> assumptions, sinks::Effort const& effort) override;
  bool value(std::int32_t variable) override;
  bool failed(std::int32_t assumption) override;
  void set_terminate(std::function<bool()> terminate) override;

 private:
  sinks::IpasirLibrary library_;
  sinks::IpasirSink sink_;
};

}  // namespace vell::sat

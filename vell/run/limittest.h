#pragma once

// A termination test for the clausifier that checks the limits.

#include <functional>
#include <utility>

#include "vell/run/limits.h"
#include "vell/run/statistics.h"
#include "vell/terms/terminationtest.h"

namespace vell::run {

// Stops the clausifier when a limit is reached, and counts its terms.
class LimitTest : public TerminationTest {
 public:
  // observe is called from time to time, for progress. Both references must outlive the test.
  LimitTest(Limits const& limits, Statistics& statistics, std::function<void()> observe)
      : limits_(limits), statistics_(statistics), observe_(std::move(observe)) {}
  void operator()() const override;

 private:
  Limits const& limits_;
  Statistics& statistics_;
  std::function<void()> observe_;
};

}  // namespace vell::run

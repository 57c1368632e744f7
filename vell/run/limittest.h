#pragma once

// A clausifier's termination test that asks the limits.

#include <functional>
#include <utility>

#include "vell/run/limits.h"
#include "vell/run/statistics.h"
#include "vell/terms/terminationtest.h"

namespace vell::run {

// Ends a clausifier's work when the limits say so, and counts the terms on the way.
class LimitTest : public TerminationTest {
 public:
  // observe is called now and then, for progress. Both references must outlive the test.
  LimitTest(Limits const& limits, Statistics& statistics, std::function<void()> observe)
      : limits_(limits), statistics_(statistics), observe_(std::move(observe)) {}
  void operator()() const override;

 private:
  Limits const& limits_;
  Statistics& statistics_;
  std::function<void()> observe_;
};

}  // namespace vell::run

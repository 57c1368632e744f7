#pragma once

// The clausifier as the engine uses it.

#include <functional>
#include <memory>

#include "vell/bv/wordclausifier.h"
#include "vell/engine/limits.h"
#include "vell/engine/statistics.h"
#include "vell/terms/logger.h"

namespace vell::engine {

// Has handlers for if-then-else; one over floating-point values is refused as not supported.
class ScriptClausifier : public bv::WordClausifier {
 public:
  ScriptClausifier(TermManager* tm, Configuration::Theory::Bv* config);

 private:
  void checked_ite(bv::ClauseSink* sink, Term_ const* term);
  TermManager* terms_;
  Logger silent_;  // in place of the clausifier's own, which would outlive it
};

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

}  // namespace vell::engine

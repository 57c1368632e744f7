#include "vell/engine/satsolver.h"
#include "vell/sinks/cadicalsink.h"

namespace vell::engine {

namespace {

class EmbeddedSolver : public SatSolver {
 public:
  EmbeddedSolver(Limits const& limits, Statistics& statistics, int seed, std::string const& proof) : sink_(seed) {
    if (!proof.empty() && !sink_.trace_proof(proof.c_str())) throw Exception(proof + ": cannot write the proof");
    sink_.set_terminate([this, &limits, &statistics] {
      statistics.conflicts = sink_.conflicts();
      return limits.stopped();
    });
  }

  bv::ClauseSink& sink() override { return sink_; }
  Answer solve(std::vector<bv::BvLit> const& assumptions) override {
    switch (sink_.solve(assumptions)) {
      case sinks::CadicalSink::Answer::sat: return Answer::sat;
      case sinks::CadicalSink::Answer::unsat: return Answer::unsat;
      case sinks::CadicalSink::Answer::unknown: break;
    }
    return Answer::unknown;
  }
  bool value(bv::BvLit literal) override { return sink_.value(literal); }
  bool failed(bv::BvLit assumption) override { return sink_.failed(assumption); }
  void report(Statistics& s) const override {
    s.fresh_literals = sink_.fresh_literals();
    s.clauses = sink_.clauses();
    s.literals = sink_.literals();
    s.conflicts = sink_.conflicts();
  }

 private:
  sinks::CadicalSink sink_;
};

}  // namespace

std::unique_ptr<SatSolver> make_cadical(Limits const& limits, Statistics& statistics, int seed,
                                        std::string const& proof) {
  return std::make_unique<EmbeddedSolver>(limits, statistics, seed, proof);
}

}  // namespace vell::engine

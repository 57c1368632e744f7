#include "vell/engine/outputfile.h"
#include "vell/engine/satsolver.h"
#include "vell/sinks/cadicalsink.h"

namespace vell::engine {

namespace {

// An output file under the C library's FILE, as the solver writes its proof.
class ProofFile {
 public:
  explicit ProofFile(std::string const& path) : file_(path) {
    cookie_io_functions_t const functions{nullptr, write, nullptr, nullptr};
    stream_ = fopencookie(this, "w", functions);
    if (stream_ == nullptr) throw OutputError(path + ": cannot be opened");
    std::setvbuf(stream_, nullptr, _IOFBF, std::size_t{1} << 20);
  }
  ~ProofFile() {
    if (stream_ != nullptr) std::fclose(stream_);
  }
  ProofFile(ProofFile const&) = delete;
  ProofFile& operator=(ProofFile const&) = delete;

  std::FILE* stream() { return stream_; }
  void commit() {
    std::FILE* const stream = stream_;
    stream_ = nullptr;
    std::fclose(stream);
    if (!problem_.empty()) throw OutputError(problem_);
    file_.commit();
  }

 private:
  // Exceptions must not pass through the C library: the first problem is kept.
  static ssize_t write(void* self, char const* data, std::size_t size) {
    auto* const file = static_cast<ProofFile*>(self);
    try {
      if (file->problem_.empty()) file->file_.write(data, size);
    } catch (OutputError const& e) {
      file->problem_ = e.what();
    }
    return static_cast<ssize_t>(size);
  }

  OutputFile file_;
  std::FILE* stream_ = nullptr;
  std::string problem_;
};

class EmbeddedSolver : public SatSolver {
 public:
  EmbeddedSolver(Limits const& limits, Statistics& statistics, int seed, std::string const& proof) {
    if (!proof.empty()) proof_ = std::make_unique<ProofFile>(proof);
    sink_ = std::make_unique<sinks::CadicalSink>(seed);
    if (proof_ != nullptr) sink_->trace_proof(proof_->stream());
    sink_->set_terminate([this, &limits, &statistics] {
      statistics.conflicts = sink_->conflicts();
      return limits.stopped();
    });
  }

  bv::ClauseSink& sink() override { return *sink_; }
  Answer solve(std::vector<bv::BvLit> const& assumptions) override {
    switch (sink_->solve(assumptions)) {
      case sinks::CadicalSink::Answer::sat: return Answer::sat;
      case sinks::CadicalSink::Answer::unsat: return Answer::unsat;
      case sinks::CadicalSink::Answer::unknown: break;
    }
    return Answer::unknown;
  }
  bool value(bv::BvLit literal) override { return sink_->value(literal); }
  bool failed(bv::BvLit assumption) override { return sink_->failed(assumption); }
  void commit_proof() override {
    if (proof_ == nullptr) return;
    sink_->close_proof();
    proof_->commit();
  }
  void report(Statistics& s) const override {
    s.fresh_literals = sink_->fresh_literals();
    s.clauses = sink_->clauses();
    s.literals = sink_->literals();
    s.conflicts = sink_->conflicts();
  }

 private:
  std::unique_ptr<ProofFile> proof_;  // outlives the solver that writes to it
  std::unique_ptr<sinks::CadicalSink> sink_;
};

}  // namespace

std::unique_ptr<SatSolver> make_cadical(Limits const& limits, Statistics& statistics, int seed,
                                        std::string const& proof) {
  return std::make_unique<EmbeddedSolver>(limits, statistics, seed, proof);
}

}  // namespace vell::engine

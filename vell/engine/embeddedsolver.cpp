#include "vell/engine/outputfile.h"
#include "vell/engine/satsolver.h"
#include "vell/engine/secondsearch.h"
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

// Keeps what it passes on, for a second search, up to a size.
class KeepingSink : public sinks::CadicalSink {
 public:
  KeepingSink(int seed, bool keep) : CadicalSink(seed), keep_(keep) {}

  void add_clause() override {
    CadicalSink::add_clause();
    if (!keep_) return;
    kept_.insert(kept_.end(), lits.begin(), lits.end());
    kept_.push_back(0);
    if (kept_.size() < most_) return;
    keep_ = false;
    kept_ = {};
  }

  // Whether kept() is everything.
  bool keeps() const { return keep_; }
  std::vector<bv::BvLit> const& kept() const { return kept_; }

 private:
  static constexpr std::size_t most_ = 50'000'000;  // a larger formula leaves no room for a second search

  bool keep_;
  std::vector<bv::BvLit> kept_;
};

class EmbeddedSolver : public SatSolver {
 public:
  EmbeddedSolver(Limits const& limits, Statistics& statistics, int seed, unsigned threads, std::string const& proof)
      : limits_(limits), seed_(seed) {
    if (!proof.empty()) proof_ = std::make_unique<ProofFile>(proof);
    sink_ = std::make_unique<KeepingSink>(seed, threads > 1 && proof.empty());
    if (proof_ != nullptr) sink_->trace_proof(proof_->stream());
    sink_->set_terminate([this, &limits, &statistics] {
      statistics.conflicts = sink_->conflicts();
      return limits.stopped() || (second_ != nullptr && second_->done());
    });
  }

  bv::ClauseSink& sink() override { return *sink_; }

  Answer solve_briefly(std::vector<bv::BvLit> const& assumptions) override {
    second_.reset();
    sink_->limit_conflicts(brief_conflicts_);
    return to_answer(sink_->solve(assumptions));
  }
  Answer solve(std::vector<bv::BvLit> const& assumptions) override {
    second_.reset();
    if (!sink_->keeps()) return to_answer(sink_->solve(assumptions));
    second_ = std::make_unique<SecondSearch>(sink_->kept(), assumptions, seed_, limits_);
    Answer const answer = to_answer(sink_->solve(assumptions));
    if (answer == Answer::unknown && second_->done()) return second_->answer();
    second_.reset();
    return answer;
  }
  bool value(bv::BvLit literal) override { return answering().value(literal); }
  bool failed(bv::BvLit assumption) override { return answering().failed(assumption); }
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
  static constexpr int brief_conflicts_ = 30'000;

  static Answer to_answer(sinks::CadicalSink::Answer answer) {
    switch (answer) {
      case sinks::CadicalSink::Answer::sat: return Answer::sat;
      case sinks::CadicalSink::Answer::unsat: return Answer::unsat;
      case sinks::CadicalSink::Answer::unknown: break;
    }
    return Answer::unknown;
  }
  // The solver that the last answer is from.
  sinks::CadicalSink& answering() { return second_ != nullptr ? second_->result() : *sink_; }

  Limits const& limits_;
  int const seed_;
  std::unique_ptr<ProofFile> proof_;  // outlives the solver that writes to it
  std::unique_ptr<KeepingSink> sink_;
  std::unique_ptr<SecondSearch> second_;  // while it runs, and for as long as its answer stands
};

}  // namespace

std::unique_ptr<SatSolver> make_cadical(Limits const& limits, Statistics& statistics, int seed, unsigned threads,
                                        std::string const& proof) {
  return std::make_unique<EmbeddedSolver>(limits, statistics, seed, threads, proof);
}

}  // namespace vell::engine

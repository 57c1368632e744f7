#include <algorithm>
#include <climits>
#include <exception>
#include <new>
#include <system_error>
#include <utility>

#include "vell/io/outputfile.h"
#include "vell/sat/portfolio.h"
#include "vell/sat/satsolver.h"
#include "vell/sinks/cadicalsink.h"

namespace vell::sat {

namespace {

// An output file under the C library's FILE, as the solver writes its proof.
class ProofFile {
 public:
  explicit ProofFile(std::string const& path) : file_(path) {
    cookie_io_functions_t const functions{nullptr, write, nullptr, nullptr};
    stream_ = fopencookie(this, "w", functions);
    if (stream_ == nullptr) throw io::OutputError(path + ": cannot be opened");
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
    if (problem_ != nullptr) std::rethrow_exception(problem_);
    file_.commit();
  }

 private:
  // Exceptions must not pass through the C library: the first problem is kept.
  static ssize_t write(void* self, char const* data, std::size_t size) {
    auto* const file = static_cast<ProofFile*>(self);
    try {
      if (file->problem_ == nullptr) file->file_.write(data, size);
    } catch (...) {
      file->problem_ = std::current_exception();
    }
    return static_cast<ssize_t>(size);
  }

  io::OutputFile file_;
  std::FILE* stream_ = nullptr;
  std::exception_ptr problem_;
};

// Keeps what it passes on, for a second search, up to a size.
class KeepingSink : public sinks::CadicalSink {
 public:
  KeepingSink(int seed, bool keep) : CadicalSink(seed), keep_(keep) {}

  void add_clause() override {
    CadicalSink::add_clause();
    if (!keep_) return;
    try {
      kept_.insert(kept_.end(), lits.begin(), lits.end());
      kept_.push_back(0);
      if (kept_.size() < most_) return;
    } catch (std::bad_alloc const&) {
      // The copy is the first thing to do without.
    }
    keep_ = false;
    kept_ = {};
  }

  // Whether kept() is everything.
  bool keeps() const { return keep_; }
  std::vector<bv::BvLit> const& kept() const { return kept_; }

 private:
  // What is larger takes a gigabyte to search, and another to search twice.
  static constexpr std::size_t most_ = 16'000'000;

  bool keep_;
  std::vector<bv::BvLit> kept_;
};

class EmbeddedSolver : public SatSolver {
 public:
  EmbeddedSolver(run::Limits const& limits, run::Statistics& statistics, int seed, unsigned threads,
                 std::string const& proof)
      : limits_(limits), statistics_(statistics), seed_(seed) {
    if (!proof.empty()) proof_ = std::make_unique<ProofFile>(proof);
    sink_ = std::make_unique<KeepingSink>(seed, threads > 1 && proof.empty());
    if (proof_ != nullptr) sink_->trace_proof(proof_->stream());
    sink_->set_terminate([this] { return ended(); });
  }

  bv::ClauseSink& sink() override { return *sink_; }

  Answer solve(std::vector<bv::BvLit> const& assumptions, WhenLong const& when_long) override {
    second_.reset();
    spent_ = false;
    if (budget_ != 0) {
      std::uint64_t const used = sink_->conflicts() - budget_start_;
      if (used >= budget_) {
        spent_ = true;
        return Answer::unknown;
      }
      sink_->limit_conflicts(static_cast<int>(std::min<std::uint64_t>(budget_ - used, INT_MAX)));
    }
    assumptions_ = assumptions;
    when_long_ = when_long ? &when_long : nullptr;
    paused_ = false;
    conflicts_before_ = sink_->conflicts();
    if (when_long_ == nullptr) join();
    Answer const answer = to_answer(sink_->solve(assumptions));
    when_long_ = nullptr;
    spent_ = budget_ != 0 && answer == Answer::unknown && !paused_ && !limits_.stopped();
    if (second_ == nullptr) return answer;
    if (answer == Answer::unknown && second_->done()) return second_->answer();
    second_.reset();
    return answer;
  }
  bool begin_budget(std::uint64_t conflicts) override {
    budget_ = conflicts;
    budget_start_ = sink_->conflicts();
    return true;
  }
  bool budget_spent() const override { return spent_; }
  bool value(bv::BvLit literal) override { return answering().value(literal); }
  bool failed(bv::BvLit assumption) override { return answering().failed(assumption); }
  void commit_proof() override {
    if (proof_ == nullptr) return;
    sink_->close_proof();
    proof_->commit();
  }
  void report(run::Statistics& s) const override {
    s.fresh_literals = sink_->fresh_literals();
    s.clauses = sink_->clauses();
    s.literals = sink_->literals();
    s.conflicts = sink_->conflicts();
  }

 private:
  static constexpr std::uint64_t long_conflicts_ = 30'000;

  // Asked by the search, again and again. Stopping and starting a search costs it what it was after, up to
  // half of the time: it is told to end only where there is something to add.
  bool ended() {
    statistics_.conflicts = sink_->conflicts();
    if (limits_.stopped()) return true;
    if (when_long_ != nullptr && sink_->conflicts() - conflicts_before_ >= long_conflicts_) {
      paused_ = asked_to_pause();
      if (!paused_) join();
    }
    return paused_ || (second_ != nullptr && second_->done());
  }
  // No exception may pass through the solver, which could not be used afterwards: where there is no memory
  // for the question the search goes on.
  bool asked_to_pause() {
    WhenLong const& when_long = *std::exchange(when_long_, nullptr);
    try {
      return when_long();
    } catch (std::bad_alloc const&) {
      return false;
    }
  }
  // Starts the second search, where there is memory for it, and a thread.
  void join() {
    try {
      if (budget_ == 0 && sink_->keeps())
        second_ = std::make_unique<Portfolio>(sink_->kept(), assumptions_, seed_, limits_);
    } catch (std::bad_alloc const&) {
    } catch (std::system_error const&) {
    }
  }

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

  run::Limits const& limits_;
  run::Statistics& statistics_;
  int const seed_;
  std::vector<bv::BvLit> assumptions_;   // of this call of solve()
  WhenLong const* when_long_ = nullptr;  // while it is to be called
  bool paused_ = false;                  // it was, and has something to add
  std::uint64_t conflicts_before_ = 0;   // in earlier calls
  std::uint64_t budget_ = 0;             // of conflicts from budget_start_ on; 0: none
  std::uint64_t budget_start_ = 0;
  bool spent_ = false;
  std::unique_ptr<ProofFile> proof_;  // outlives the solver that writes to it
  std::unique_ptr<KeepingSink> sink_;
  std::unique_ptr<Portfolio> second_;  // while it runs, and for as long as its answer stands
};

}  // namespace

std::unique_ptr<SatSolver> make_cadical(run::Limits const& limits, run::Statistics& statistics, int seed,
                                        unsigned threads, std::string const& proof) {
  return std::make_unique<EmbeddedSolver>(limits, statistics, seed, threads, proof);
}

}  // namespace vell::sat

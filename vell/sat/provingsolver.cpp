// CaDiCaL with a DRAT proof in a file.

#include <cstdio>
#include <exception>

#include "vell/io/outputfile.h"
#include "vell/sat/cadicalsolver.h"
#include "vell/sat/solvers.h"

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

// The file is a base as well, since it must outlive the solver that writes to it.
class ProvingSolver : private ProofFile, public CadicalSolver {
 public:
  ProvingSolver(int seed, std::string const& path) : ProofFile(path), CadicalSolver(seed) {
    trace_proof(stream());
  }
  sinks::Answer solve(std::span<std::int32_t const> assumptions, sinks::Effort const& effort) override {
    sinks::Answer const answer = CadicalSolver::solve(assumptions, effort);
    if (answer == sinks::Answer::unsat) {
      close_proof();
      commit();
    }
    return answer;
  }
};

}  // namespace

std::unique_ptr<sinks::SatSolver> make_proving_solver(int seed, std::string const& proof) {
  return std::make_unique<ProvingSolver>(seed, proof);
}

}  // namespace vell::sat

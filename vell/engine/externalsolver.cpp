// Any SAT solver that reads a DIMACS file, one run for each check.
//
// The clauses are kept as text; a check writes them with the assumptions as unit clauses, runs the command through the
// shell in a process group of its own, and reads what it prints until it ends or the limits say stop, when the group
// is killed. The program may well be the front of a distributed one.

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "vell/engine/leftovers.h"
#include "vell/engine/outputfile.h"
#include "vell/engine/satsolver.h"
#include "vell/engine/solution.h"
#include "vell/sinks/dimacssink.h"
#include "vell/terms/exception.h"

extern char** environ;

namespace vell::engine {

namespace {

constexpr auto form = sinks::DimacsSink::Form::clean;

// A directory of its own for the solver's input, removed with everything in it.
class Workplace {
 public:
  Workplace() {
    char const* base = std::getenv("TMPDIR");
    directory_ = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/vell-bv-XXXXXX";
    if (!leftovers::make_folder(directory_)) throw Exception(directory_ + ": " + std::strerror(errno));
  }
  ~Workplace() { leftovers::remove_folder(directory_); }
  Workplace(Workplace const&) = delete;
  Workplace& operator=(Workplace const&) = delete;
  std::string cnf() const { return directory_ + "/query.cnf"; }

 private:
  std::string directory_;
};

std::string shell_quoted(std::string const& text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// Text in pieces, none of which has to move when there is more.
struct Text : sinks::ByteOutput {
  void write(char const* data, std::size_t size) override {
    if (pieces.empty() || pieces.back().size() + size > most) pieces.emplace_back();
    pieces.back().append(data, size);
  }
  static constexpr std::size_t most = std::size_t{1} << 18;  // bytes of a piece, unless it came as one
  std::vector<std::string> pieces;
};

class ClauseText : public sinks::DimacsSink {
 public:
  explicit ClauseText(sinks::ByteOutput& out) : DimacsSink(out, form) {}
  bv::BvLit new_lit() override {
    ++fresh;
    return DimacsSink::new_lit();
  }
  void add_clause() override {
    literals += lits.size();
    DimacsSink::add_clause();
  }
  std::uint64_t fresh = 0;
  std::uint64_t literals = 0;
};

class ExternalSolver : public SatSolver {
 public:
  ExternalSolver(Limits const& limits, std::string const& command) : limits_(limits), command_(command), sink_(clauses_) {}

  bv::ClauseSink& sink() override { return sink_; }

  Answer solve(std::vector<bv::BvLit> const& assumptions, WhenLong const&) override {
    solution_ = Solution();
    if (std::find(assumptions.begin(), assumptions.end(), bv::l_false) != assumptions.end()) return Answer::unsat;
    Workplace const place;
    write_cnf(place.cnf(), assumptions);
    std::string command = command_;
    for (std::size_t i = command.find("{cnf}"); i != std::string::npos; i = command.find("{cnf}", i)) {
      std::string const path = shell_quoted(place.cnf());
      command.replace(i, 5, path);
      i += path.size();
    }
    run(command);
    if (limits_.stopped()) return Answer::unknown;
    switch (solution_.status()) {
      case Solution::Status::sat:
        if (!solution_.complete()) throw Exception("--solver: the values are not ended by 0");
        return Answer::sat;
      case Solution::Status::unsat: return Answer::unsat;
      case Solution::Status::unknown: return Answer::unknown;
      case Solution::Status::none: break;
    }
    throw Exception("--solver: the command printed no answer (s line)");
  }

  bool value(bv::BvLit literal) override {
    if (bv::is_constant(literal)) return literal == bv::l_true;
    bv::BvLit const variable = sinks::DimacsSink::variable(std::abs(literal), form);
    return solution_.value(variable) == (literal > 0);
  }
  bool failed(bv::BvLit assumption) override { return assumption != bv::l_true; }
  void report(Statistics& s) const override {
    s.fresh_literals = sink_.fresh;
    s.clauses = sink_.written_clauses();
    s.literals = sink_.literals;
  }

 private:
  void write_cnf(std::string const& path, std::vector<bv::BvLit> const& assumptions) {
    sink_.flush();
    auto const units = std::count_if(assumptions.begin(), assumptions.end(), [](bv::BvLit l) { return l != bv::l_true; });
    OutputFile file(path);
    sinks::DimacsSink out(file, form);
    out.header(sink_.fresh, sink_.written_clauses() + static_cast<std::uint64_t>(units));
    for (std::string const& piece : clauses_.pieces) {
      limits_.check();
      out.text(piece);
    }
    for (bv::BvLit l : assumptions) {
      out.lits.assign(1, l);
      out.add_clause();
    }
    out.flush();
    file.commit();
  }

  void run(std::string const& command) {
    int ends[2];
    if (pipe(ends) != 0) throw Exception(std::string("--solver: ") + std::strerror(errno));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    std::string shell = "sh";
    std::string option = "-c";
    std::string text = command;
    char* const arguments[] = {shell.data(), option.data(), text.data(), nullptr};
    int error = 0;
    pid_t const child = leftovers::start_group([&] {
      pid_t started = 0;
      error = posix_spawn(&started, "/bin/sh", &actions, &attributes, arguments, environ);
      return error == 0 ? started : 0;
    });
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    close(ends[1]);
    if (error != 0) {
      close(ends[0]);
      throw Exception(std::string("--solver: ") + std::strerror(error));
    }
    std::string problem;
    bool open = true;
    while (open && !limits_.stopped() && problem.empty()) {
      pollfd waiting{ends[0], POLLIN, 0};
      if (poll(&waiting, 1, 20) <= 0) continue;
      char bytes[65536];
      ssize_t const n = read(ends[0], bytes, sizeof bytes);
      if (n < 0 && errno == EINTR) continue;
      open = n > 0;
      try {
        if (open) solution_.feed(std::string_view(bytes, static_cast<std::size_t>(n)));
      } catch (Exception const& e) {
        problem = e.what();
      }
    }
    if (open) kill(-child, SIGKILL);
    close(ends[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    leftovers::forget_group(child);
    if (problem.empty() && !open) solution_.finish();
    if (!problem.empty()) throw Exception("--solver: " + problem);
    if (!open && WIFEXITED(status) && (WEXITSTATUS(status) == 126 || WEXITSTATUS(status) == 127))
      throw Exception("--solver: the command cannot be run: " + command_);
  }

  Limits const& limits_;
  std::string command_;
  Text clauses_;
  ClauseText sink_;
  Solution solution_;
};

}  // namespace

std::unique_ptr<SatSolver> make_external_solver(Limits const& limits, std::string const& command) {
  return std::make_unique<ExternalSolver>(limits, command);
}

}  // namespace vell::engine

// A SAT solver that reads a DIMACS file; one run for each check.
//
// The clauses are kept as text. A check writes them, with the assumptions as unit clauses, runs the command
// through the shell in a new process group, and reads its output until it ends. When a limit is reached, the
// group is killed.
//
// The group must also end if this program is killed. PR_SET_PDEATHSIG would kill only the shell, not what it
// started. So the group contains a guard process, which reads from a pipe that nobody writes to. When this
// program's end of the pipe closes, for whatever reason, the guard kills the group.

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <span>
#include <string>
#include <vector>

#include "vell/io/outputfile.h"
#include "vell/io/solution.h"
#include "vell/run/cleanup.h"
#include "vell/sat/solvers.h"
#include "vell/sinks/dimacssink.h"
#include "vell/terms/exception.h"

extern char** environ;

namespace vell::sat {

namespace {

// A temporary directory for the solver's input, which is removed with its contents.
class SolverFiles {
 public:
  SolverFiles() {
    char const* base = std::getenv("TMPDIR");
    if (!run::cleanup::make_folder(base != nullptr && *base != '\0' ? base : "/tmp", "vell-bv", directory_))
      throw Exception(directory_ + ": " + std::strerror(errno));
  }
  ~SolverFiles() { run::cleanup::remove_folder(directory_); }
  SolverFiles(SolverFiles const&) = delete;
  SolverFiles& operator=(SolverFiles const&) = delete;
  std::string cnf() const { return directory_ + "/query.cnf"; }

 private:
  std::string directory_;
};

std::string shell_quoted(std::string const& text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// Puts the path, quoted, in place of the name.
void put_path(std::string& command, std::string const& name, std::string const& path) {
  std::string const quoted = shell_quoted(path);
  for (std::size_t i = 0; (i = command.find(name, i)) != std::string::npos; i += quoted.size())
    command.replace(i, name.size(), quoted);
}

// A pipe. A child inherits neither end unless it is passed on.
class Pipe {
 public:
  Pipe() {
    if (pipe2(ends_, O_CLOEXEC) != 0) throw Exception(std::string("--solver: ") + std::strerror(errno));
  }
  ~Pipe() {
    close_end(0);
    close_end(1);
  }
  Pipe(Pipe const&) = delete;
  Pipe& operator=(Pipe const&) = delete;
  int reading() const { return ends_[0]; }
  int writing() const { return ends_[1]; }
  void close_end(int i) {
    if (ends_[i] >= 0) close(ends_[i]);
    ends_[i] = -1;
  }

 private:
  int ends_[2] = {-1, -1};
};

// The descriptor from which the guard reads: the largest one that every shell supports.
constexpr int guarded = 9;
// Text before the command. The guard is started in a subshell that ends at once, so the command's `wait` does
// not wait for it.
constexpr char guard[] = "( { read -r end <&9; kill -KILL 0; } >/dev/null 2>&1 & )\nexec 9<&-\n";

// The command, run by the shell. The destructor kills it and everything it started.
class Child {
 public:
  Child(std::string const& command, Pipe& out, Pipe& life) {
    std::string shell = "sh";
    std::string option = "-c";
    std::string text = guard + command;
    char* const arguments[] = {shell.data(), option.data(), text.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // Signals that this program ignores are not ignored by its children.
    sigset_t ignored;
    sigemptyset(&ignored);
    sigaddset(&ignored, SIGXFSZ);
    // The guard's parent ends at once. This program becomes the parent of the guard and of every other
    // process that the command leaves, and waits for them.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    int error = posix_spawn_file_actions_adddup2(&actions, out.writing(), STDOUT_FILENO);
    if (error == 0) error = posix_spawn_file_actions_adddup2(&actions, life.reading(), guarded);
    if (error == 0)
      error = posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (error == 0)
      error = posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
    if (error == 0) error = posix_spawnattr_setsigdefault(&attributes, &ignored);
    try {
      if (error == 0)
        process_ = run::cleanup::start_group([&] {
          pid_t started = 0;
          error = posix_spawn(&started, "/bin/sh", &actions, &attributes, arguments, environ);
          return error == 0 ? started : 0;
        });
    } catch (std::bad_alloc const&) {
      error = ENOMEM;
    }
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    out.close_end(1);
    life.close_end(0);
    if (error == ENOMEM) throw std::bad_alloc();
    if (error != 0) throw Exception(std::string("--solver: ") + std::strerror(error));
  }
  ~Child() {
    if (process_ > 0) end(true);
  }
  Child(Child const&) = delete;
  Child& operator=(Child const&) = delete;

  // Waits for the command, after killing it if `killed`. Returns its exit status as waitpid() gives it. The
  // rest of its group is killed; the guard at least still exists, so the group's number has not been reused.
  int end(bool killed) {
    if (killed) kill(-process_, SIGKILL);
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    kill(-process_, SIGKILL);
    int ignored = 0;
    while (waitpid(-process_, &ignored, 0) > 0 || errno == EINTR) {
    }
    run::cleanup::forget_group(process_);
    process_ = 0;
    return status;
  }

 private:
  pid_t process_ = 0;
};

// Text in pieces, which need not be moved when it grows.
struct Text : ByteOutput {
  void write(char const* data, std::size_t size) override {
    if (pieces.empty() || pieces.back().size() + size > most) pieces.emplace_back();
    pieces.back().append(data, size);
  }
  static constexpr std::size_t most = std::size_t{1} << 18;  // bytes of a piece, unless it came as one
  std::vector<std::string> pieces;
};

class ExternalSolver : public sinks::SatSolver {
 public:
  ExternalSolver(run::Limits const& limits, std::string const& command, std::string const& proof)
      : limits_(limits), command_(command), proof_(proof), writer_(clauses_, sinks::Form::raw) {}

  void add(std::span<std::int32_t const> clause) override { write(writer_, clause); }
  void set_variables(std::int32_t last) override { variables_ = last; }
  void set_terminate(std::function<bool()> terminate) override { terminate_ = std::move(terminate); }

  sinks::Answer solve(std::span<std::int32_t const> assumptions, sinks::Effort const&) override {
    solution_ = io::Solution(variables_);
    SolverFiles const place;
    write_cnf(place.cnf(), assumptions);
    std::string command = command_;
    put_path(command, "{cnf}", place.cnf());
    put_path(command, "{proof}", proof_);
    run(command);
    if (ended()) return sinks::Answer::unknown;
    switch (solution_.status()) {
      case io::Solution::Status::sat:
        if (!solution_.complete()) throw Exception("--solver: the values are not ended by 0");
        return sinks::Answer::sat;
      case io::Solution::Status::unsat: return sinks::Answer::unsat;
      case io::Solution::Status::unknown: return sinks::Answer::unknown;
      case io::Solution::Status::none: break;
    }
    throw Exception("--solver: the command printed no answer (s line)");
  }

  bool value(std::int32_t variable) override { return solution_.value(variable); }
  // The program does not say which assumptions it needed.
  bool failed(std::int32_t) override { return true; }

 private:
  bool ended() const { return limits_.stopped() || (terminate_ && terminate_()); }

  // In the raw form, literals are written unchanged.
  static void write(sinks::DimacsSink& out, std::span<std::int32_t const> clause) {
    out.lits.assign(clause.begin(), clause.end());
    out.add_clause();
  }

  void write_cnf(std::string const& path, std::span<std::int32_t const> assumptions) {
    writer_.flush();
    io::OutputFile file(path);
    sinks::DimacsSink out(file, sinks::Form::raw);
    out.text("p cnf " + std::to_string(variables_) + " " +
             std::to_string(writer_.written_clauses() + assumptions.size()) + "\n");
    for (std::string const& piece : clauses_.pieces) {
      limits_.check();
      out.text(piece);
    }
    for (std::int32_t const& a : assumptions) write(out, {&a, 1});
    out.flush();
    file.commit();
  }

  void run(std::string const& command) {
    Pipe out;
    Pipe life;
    Child child(command, out, life);
    std::string problem;
    bool open = true;
    while (open && !ended() && problem.empty()) {
      pollfd waiting{out.reading(), POLLIN, 0};
      if (poll(&waiting, 1, 20) <= 0) continue;
      char bytes[65536];
      ssize_t const n = read(out.reading(), bytes, sizeof bytes);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) problem = std::strerror(errno);
      open = n != 0;
      try {
        if (n > 0) solution_.feed(std::string_view(bytes, static_cast<std::size_t>(n)));
      } catch (Exception const& e) {
        problem = e.what();
      }
    }
    int const status = child.end(open);
    if (problem.empty() && !open) solution_.finish();
    if (!problem.empty()) throw Exception("--solver: " + problem);
    if (!open && WIFEXITED(status) && (WEXITSTATUS(status) == 126 || WEXITSTATUS(status) == 127))
      throw Exception("--solver: the command cannot be run: " + command_);
  }

  run::Limits const& limits_;
  std::string command_;
  std::string proof_;
  std::function<bool()> terminate_;
  std::int32_t variables_ = 0;
  Text clauses_;
  sinks::DimacsSink writer_;
  io::Solution solution_;
};

}  // namespace

std::unique_ptr<sinks::SatSolver> make_external_solver(run::Limits const& limits, std::string const& command,
                                                       std::string const& proof) {
  return std::make_unique<ExternalSolver>(limits, command, proof);
}

}  // namespace vell::sat

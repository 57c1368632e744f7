#pragma once

// Runs the built vell-bv as a user does.

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace vell::test {

struct Finished {
  int code = -1;  // exit code; 256 + signal when it was killed
  std::string out;
  std::string err;
  double seconds = 0;
};

struct Start {
  std::vector<std::string> arguments;
  std::string input = {};
  int signal = 0;  // sent after signal_after seconds, and not before the program handles it
  double signal_after = 0;
  std::string folder = {};     // working directory
  unsigned short columns = 0;  // stderr is a terminal this wide; 0 for a pipe
  bool keep_in_open = false;   // stdin has no end
  int bounded = -1;            // a resource of setrlimit(), and how much of it the program gets
  rlim_t bound = 0;
  std::size_t close_out_after = 0;  // nobody reads stdout any more after so many bytes; 0 for never
};

// A pseudo-terminal: the user's end and the program's.
inline void open_terminal(unsigned short columns, int ends[2]) {
  ends[0] = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (ends[0] < 0 || grantpt(ends[0]) != 0 || unlockpt(ends[0]) != 0)
    throw std::runtime_error("pseudo-terminal");
  ends[1] = open(ptsname(ends[0]), O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (ends[1] < 0) throw std::runtime_error("pseudo-terminal");
  winsize size{};
  size.ws_row = 24;
  size.ws_col = columns;
  ioctl(ends[1], TIOCSWINSZ, &size);
}

// Whether the program is past its start, where the signal would end it as it ends any other.
inline bool handles(pid_t program, int signal) {
  if (signal == SIGKILL) return true;
  std::ifstream status("/proc/" + std::to_string(program) + "/status");
  std::string const name = "SigCgt:";
  for (std::string line; std::getline(status, line);)
    if (line.rfind(name, 0) == 0)
      return (std::stoull(line.substr(name.size()), nullptr, 16) >> (signal - 1) & 1) != 0;
  return false;
}

inline Finished vell_bv(Start const& start) {
  using Clock = std::chrono::steady_clock;
  std::string const binary = std::string(VELL_BINARY_DIR) + "/vell-bv";
  int in[2];
  int out[2];
  int err[2];
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
  if (start.columns != 0)
    open_terminal(start.columns, err);
  else if (pipe2(err, O_CLOEXEC) != 0)
    throw std::runtime_error("pipe");
  std::vector<char*> argv{const_cast<char*>(binary.c_str())};
  for (std::string const& a : start.arguments) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  pid_t const child = fork();
  if (child == 0) {
    dup2(in[0], 0);
    dup2(out[1], 1);
    dup2(err[1], 2);
    signal(SIGPIPE, SIG_DFL);
    rlimit const bound{start.bound, start.bound};
    if (start.bounded >= 0) setrlimit(static_cast<decltype(RLIMIT_AS)>(start.bounded), &bound);
    if (!start.folder.empty() && chdir(start.folder.c_str()) != 0) _exit(127);
    execv(binary.c_str(), argv.data());
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  close(err[1]);
  signal(SIGPIPE, SIG_IGN);
  fcntl(in[1], F_SETFL, O_NONBLOCK);
  Clock::time_point const begin = Clock::now();
  auto seconds = [&] { return std::chrono::duration<double>(Clock::now() - begin).count(); };

  Finished f;
  std::size_t given = 0;
  bool in_open = true;
  bool signalled = false;
  double since = 0;
  int open = 2;
  bool ended[2] = {false, false};
  while (open > 0) {
    if (in_open && given == start.input.size() && !start.keep_in_open) {
      close(in[1]);
      in_open = false;
    }
    if (start.signal != 0 && !signalled && seconds() >= start.signal_after && handles(child, start.signal)) {
      kill(child, start.signal);
      signalled = true;
      since = seconds();
    }
    pollfd waiting[3] = {{ended[0] ? -1 : out[0], POLLIN, 0},
                         {ended[1] ? -1 : err[0], POLLIN, 0},
                         {in_open && given < start.input.size() ? in[1] : -1, POLLOUT, 0}};
    poll(waiting, 3, 5);
    char block[65536];
    for (int i = 0; i < 2; ++i) {
      if (ended[i] || waiting[i].revents == 0) continue;
      ssize_t const n = read(waiting[i].fd, block, sizeof block);
      if (n > 0) (i == 0 ? f.out : f.err).append(block, static_cast<std::size_t>(n));
      // A terminal that its last program has left answers with an error.
      bool const enough = i == 0 && start.close_out_after != 0 && f.out.size() >= start.close_out_after;
      if (n > 0 && !enough) continue;
      ended[i] = true;
      --open;
      close(i == 0 ? out[0] : err[0]);
    }
    if (in_open && waiting[2].revents != 0) {
      ssize_t const n = write(in[1], start.input.data() + given, start.input.size() - given);
      if (n > 0)
        given += static_cast<std::size_t>(n);
      else
        given = start.input.size();
    }
  }
  if (in_open) close(in[1]);
  int status = 0;
  waitpid(child, &status, 0);
  f.seconds = seconds() - since;  // after the signal, where one was sent
  f.code = WIFEXITED(status) ? WEXITSTATUS(status) : 256 + WTERMSIG(status);
  return f;
}

inline Finished vell_bv(std::vector<std::string> arguments, std::string input = "") {
  return vell_bv(Start{std::move(arguments), std::move(input)});
}

}  // namespace vell::test

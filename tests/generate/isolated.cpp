#include "tests/generate/isolated.h"

#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include "tests/generate/scriptwriter.h"

namespace vell::generate {

namespace {

// What parent and child share.
struct Shared {
  std::uint64_t seed;  // under check
  bool failed;
  char check[64];
  char message[4096];
  Counts counts;
};

class SharedPage {
 public:
  SharedPage() {
    void* p = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED) throw std::bad_alloc();
    shared_ = ::new (p) Shared{};
  }
  SharedPage(SharedPage const&) = delete;
  ~SharedPage() { munmap(shared_, sizeof(Shared)); }
  Shared* operator->() const { return shared_; }
  Shared& operator*() const { return *shared_; }

 private:
  Shared* shared_;
};

void set_text(char* to, std::size_t size, std::string const& text) {
  std::size_t const n = std::min(size - 1, text.size());
  std::memcpy(to, text.data(), n);
  to[n] = '\0';
}

// Processor time, so that a busy machine fails no script. 0 lifts the limit.
void limit_time(unsigned seconds) {
  itimerval const limit{{0, 0}, {static_cast<time_t>(seconds), 0}};
  setitimer(ITIMER_PROF, &limit, nullptr);
}

void check_into(Shared& shared, Script const& script, std::uint64_t seed, unsigned seconds) {
  shared.seed = seed;
  limit_time(seconds);
  try {
    check_script(script, seed, shared.counts);
  } catch (CheckFailure const& e) {
    set_text(shared.check, sizeof shared.check, e.check());
    set_text(shared.message, sizeof shared.message, e.what());
    shared.failed = true;
  }
  limit_time(0);
}

Failure failure_of(Shared const& shared) { return {shared.check, shared.message}; }

// Runs `work` in a child; nothing when it ended by itself.
std::optional<Failure> in_child(std::function<void()> const& work) {
  pid_t const child = fork();
  if (child < 0) throw std::runtime_error("no process can be started");
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // no orphan goes on when the parent is stopped
    work();
    // The ordinary end, for the leak checker; after a failed check things lie about.
    exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return std::nullopt;
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGPROF) return Failure{"time", "takes too long"};
  return Failure{"crash", WIFSIGNALED(status) ? std::string("signal ") + strsignal(WTERMSIG(status))
                                              : "exit code " + std::to_string(WEXITSTATUS(status))};
}

}  // namespace

std::optional<Failure> check_isolated(Script const& script, std::uint64_t seed, unsigned seconds) {
  SharedPage shared;
  std::optional<Failure> const crash = in_child([&] {
    check_into(*shared, script, seed, seconds);
    if (shared->failed) _exit(0);
  });
  if (shared->failed) return failure_of(*shared);
  return crash;
}

Counts check_seeds(std::uint64_t first, std::uint64_t count, unsigned seconds,
                   std::function<void(std::uint64_t, Failure const&)> const& failed) {
  SharedPage shared;
  shared->seed = first;
  std::uint64_t const end = first + count;
  for (std::uint64_t next = first; next < end;) {
    shared->failed = false;
    std::optional<Failure> const crash = in_child([&] {
      for (std::uint64_t seed = next; seed < end && !shared->failed; ++seed)
        check_into(*shared, ScriptWriter(seed).write(), seed, seconds);
      if (shared->failed) _exit(0);
    });
    if (shared->failed)
      failed(shared->seed, failure_of(*shared));
    else if (crash)
      failed(shared->seed, *crash);
    else
      break;
    next = shared->seed + 1;
  }
  return shared->counts;
}

}  // namespace vell::generate

#include "vell/cli/watchdog.h"

#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

#include "vell/engine/leftovers.h"

namespace vell::cli {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds tick(10);
constexpr milliseconds interrupt_patience(20);
constexpr milliseconds limit_patience(1000);
constexpr milliseconds progress_delay(500);
constexpr milliseconds progress_interval(100);

volatile sig_atomic_t caught_signal = 0;
extern "C" void remember_signal(int signal) { caught_signal = signal; }

// Memory that malloc cannot get beyond the limit, should the watch be too slow for a burst. The resident set is what
// counts; address space that is never touched is let be, within reason. The address sanitizer maps terabytes for itself
// and dies where malloc would have failed: under it the watch is alone.
void limit_address_space(std::uint64_t mib) {
#ifdef __SANITIZE_ADDRESS__
  mib = 0;
#endif
  if (mib == 0) return;
  rlimit bound{};
  if (getrlimit(RLIMIT_DATA, &bound) != 0) return;
  rlim_t const wanted = (static_cast<rlim_t>(mib) * 3 / 2 + 64) << 20;
  if (bound.rlim_max != RLIM_INFINITY && bound.rlim_max < wanted) return;
  bound.rlim_cur = wanted;
  setrlimit(RLIMIT_DATA, &bound);
}

std::string grouped(std::uint64_t n) {
  std::string s = std::to_string(n);
  for (std::size_t i = s.size(); i > 3; i -= 3) s.insert(i - 3, 1, ',');
  return s;
}

}  // namespace

Watchdog::Watchdog(CommonOptions const& options, engine::Console& console, engine::Limits& limits,
                   engine::Statistics& statistics, std::string forced_answer)
    : options_(options),
      console_(console),
      limits_(limits),
      statistics_(statistics),
      forced_answer_(std::move(forced_answer)),
      progress_(options.progress == "always" || (options.progress == "auto" && isatty(STDERR_FILENO) != 0)) {
  // A closed terminal and a reader that has gone end the work as Ctrl-C does, unless whoever started it ignores them.
  struct sigaction action {};
  action.sa_handler = remember_signal;
  action.sa_flags = SA_RESTART;
  for (int const s : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    struct sigaction before {};
    sigaction(s, nullptr, &before);
    if (s == SIGINT || s == SIGTERM || before.sa_handler != SIG_IGN) sigaction(s, &action, nullptr);
  }
  limit_address_space(options.memory_limit);
  thread_ = std::thread([this] { watch(); });
}

Watchdog::~Watchdog() { end(); }

void Watchdog::end() {
  {
    std::lock_guard const lock(mutex_);
    ended_ = true;
  }
  ended_condition_.notify_all();
  if (thread_.joinable()) thread_.join();
  console_.progress("");
}

void Watchdog::watch() {
  Clock::time_point const start = Clock::now();
  Clock::time_point next_progress = start + progress_delay;
  Clock::time_point patience_ends = Clock::time_point::max();
  bool interrupted = false;
  std::unique_lock lock(mutex_);
  while (!ended_) {
    ended_condition_.wait_for(lock, tick);
    if (ended_) return;
    Clock::time_point const now = Clock::now();
    bool const stopped = limits_.stopped();
    if (caught_signal != 0 && !interrupted) {
      interrupted = true;
      limits_.stop(engine::StopReason::interrupted);
      patience_ends = std::min(patience_ends, now + interrupt_patience);
    }
    if (!stopped && options_.time_limit > 0 &&
        std::chrono::duration<double>(now - start).count() >= options_.time_limit) {
      limits_.stop(engine::StopReason::timeout);
      patience_ends = std::min(patience_ends, now + limit_patience);
    }
    if (!stopped && options_.memory_limit > 0 && engine::present_memory() >> 20 >= options_.memory_limit) {
      limits_.stop(engine::StopReason::memout);
      patience_ends = std::min(patience_ends, now + limit_patience);
    }
    if (now >= patience_ends) cut_off(interrupted ? 128 + caught_signal : 0);
    if (progress_ && now >= next_progress) {
      show_progress();
      next_progress = now + progress_interval;
    }
  }
}

std::string Watchdog::figures() const {
  if (options_.stats == "text") return statistics_.text();
  if (options_.stats == "json") return statistics_.json();
  return "";
}

// The other thread still works: nothing of its is touched but the console and atomics.
void Watchdog::cut_off(int code) {
  bool const answered = statistics_.unknown != 0;
  console_.shut(answered ? "" : forced_answer_, figures());
  engine::leftovers::discard_all();
  // Without an answer to give, a run cut off has failed.
  _exit(code == 0 && forced_answer_.empty() ? exit_error : code);
}

void Watchdog::show_progress() {
  std::string line = std::string(engine::phase_name(statistics_.phase())) + ": ";
  switch (statistics_.phase()) {
    case engine::Phase::reading: line += grouped(statistics_.input_bytes) + " bytes, " + grouped(statistics_.terms) + " terms"; break;
    case engine::Phase::solving: line += grouped(statistics_.conflicts) + " conflicts"; break;
    case engine::Phase::clausifying:
      line += grouped(statistics_.clausified_terms) + " of " + grouped(statistics_.terms) + " terms, " +
              grouped(statistics_.clauses) + " clauses";
      break;
    case engine::Phase::checking: line += grouped(statistics_.terms) + " terms"; break;
    case engine::Phase::writing: line += grouped(statistics_.clauses) + " clauses"; break;
  }
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, ", %.1f s", statistics_.total_seconds());
  console_.progress(line + seconds);
}

void Watchdog::finish(int code) {
  end();
  console_.diagnostic(figures());
  if (caught_signal != 0 && limits_.reason() == engine::StopReason::interrupted) code = 128 + caught_signal;
  if (caught_signal == SIGPIPE) code = 128 + SIGPIPE;
  if (!console_.good() && code == 0) {
    console_.message("<stdout>: cannot write");
    code = exit_error;
  }
  engine::leftovers::discard_all();
  std::fflush(nullptr);
  _exit(code);
}

}  // namespace vell::cli

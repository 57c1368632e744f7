#include "vell/cli/watchdog.h"

#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <new>

#include "vell/script/process.h"

namespace vell::cli {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds tick(10);
constexpr milliseconds short_tick(2);  // when more than half of the memory limit is in use
constexpr milliseconds interrupt_patience(20);
constexpr milliseconds limit_patience(1000);
constexpr std::size_t stack_bytes = std::size_t{2} << 20;  // of a thread, where memory is limited
constexpr milliseconds progress_delay(500);
constexpr milliseconds progress_interval(100);

volatile sig_atomic_t caught_signal = 0;
extern "C" void remember_signal(int signal) { caught_signal = signal; }

// Limits the address space, so that malloc fails beyond the limit. Polling alone is too slow: a machine fills
// a gigabyte between two polls, and the work continues until it next checks its limits. The limit is meant
// for the resident set, but only the address space can be bounded. So a tenth is added, and room for the
// stacks of threads, which are hardly used. The address sanitizer maps terabytes and aborts when malloc
// fails, so under it there is only polling.
void limit_address_space(std::uint64_t mib) {
#ifdef __SANITIZE_ADDRESS__
  mib = 0;
#endif
  if (mib == 0) return;
  pthread_attr_t small;
  if (pthread_attr_init(&small) == 0) {
    pthread_attr_setstacksize(&small, stack_bytes);
    pthread_setattr_default_np(&small);
    pthread_attr_destroy(&small);
  }
  rlimit bound{};
  if (getrlimit(RLIMIT_DATA, &bound) != 0) return;
  rlim_t const wanted = ((static_cast<rlim_t>(mib) * 11 / 10) << 20) + rlim_t{6 * stack_bytes};
  if (bound.rlim_max != RLIM_INFINITY && bound.rlim_max < wanted) return;
  bound.rlim_cur = wanted;
  setrlimit(RLIMIT_DATA, &bound);
}

}  // namespace

Watchdog::Watchdog(CommonOptions const& options, script::Console& console, script::Control& control,
                   std::string forced_answer)
    : options_(options),
      console_(console),
      control_(control),
      forced_answer_(std::move(forced_answer)),
      progress_(options.progress == "always" || (options.progress == "auto" && isatty(STDERR_FILENO) != 0)) {
  // A closed terminal (SIGHUP) and a broken pipe (SIGPIPE) end the work as Ctrl-C does, unless they were
  // ignored at the start.
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

bool Watchdog::take_interrupt() {
  if (caught_signal != SIGINT) return false;
  caught_signal = 0;
  return true;
}

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
  std::uint64_t const most = options_.memory_limit << 20;
  std::uint64_t memory = 0;
  std::unique_lock lock(mutex_);
  while (!ended_) {
    ended_condition_.wait_for(lock, memory > most / 2 ? short_tick : tick);
    if (ended_) return;
    Clock::time_point const now = Clock::now();
    control_.watch_check();
    bool const stopped = control_.stopped() != script::Reason::none;
    if (caught_signal == SIGINT && at_end_ != nullptr) {
      // If a check does not stop, the second Ctrl-C ends the program. Without a check the reader of the
      // terminal takes the signal.
      if (control_.checking() && !control_.check_stopped()) {
        control_.stop_check(script::Reason::interrupted);
        caught_signal = 0;
      }
      if (!control_.checking()) continue;
    }
    if (caught_signal != 0 && !interrupted) {
      interrupted = true;
      control_.stop(script::Reason::interrupted);
      patience_ends = std::min(patience_ends, now + interrupt_patience);
    }
    if (!stopped && options_.time_limit > 0 &&
        std::chrono::duration<double>(now - start).count() >= options_.time_limit) {
      control_.stop(script::Reason::timeout);
      patience_ends = std::min(patience_ends, now + limit_patience);
    }
    if (most != 0) memory = script::present_memory();
    if (!stopped && most != 0 && memory >= most) {
      control_.stop(script::Reason::memout);
      patience_ends = std::min(patience_ends, now + limit_patience);
    }
    // A memory limit always gives the same exit code, however the work ended.
    if (now >= patience_ends)
      cut_off(interrupted                                    ? 128 + caught_signal
              : control_.stopped() == script::Reason::memout ? exit_error
                                                             : 0);
    if (progress_ && now >= next_progress && !control_.waiting()) {
      try {
        console_.progress(control_.progress());
      } catch (std::bad_alloc const&) {
      }
      next_progress = now + progress_interval;
    }
  }
}

std::string Watchdog::figures() const {
  if (options_.stats == "text") return control_.statistics_text();
  if (options_.stats == "json") return control_.statistics_json();
  return "";
}

// The other thread is still working: only the console and atomics of it are used.
void Watchdog::cut_off(int code) {
  bool const answered = control_.unknown_answers() != 0;
  std::string last;
  try {
    if (forced_answer_.empty() || control_.stopped() == script::Reason::memout)
      last = std::string("vell-bv: not finished: ") + script::reason_text(control_.stopped()) + "\n";
    last += figures();
  } catch (std::bad_alloc const&) {
  }
  // No answer is written if no question was asked.
  console_.shut(answered || control_.waiting() ? std::string_view() : forced_answer_, last);
  if (at_end_ != nullptr) at_end_.load()();
  script::discard_temporaries();
  // If there is no answer to write, a run that was cut off has failed.
  _exit(code == 0 && forced_answer_.empty() ? exit_error : code);
}

void Watchdog::finish(int code) {
  end();
  if (at_end_ != nullptr) at_end_.load()();
  console_.diagnostic(figures());
  if (caught_signal != 0 && control_.stopped() == script::Reason::interrupted) code = 128 + caught_signal;
  if (caught_signal == SIGPIPE) code = 128 + SIGPIPE;
  if (!console_.good() && code == 0) {
    console_.message("<stdout>: cannot write");
    code = exit_error;
  }
  script::discard_temporaries();
  std::fflush(nullptr);
  _exit(code);
}

}  // namespace vell::cli

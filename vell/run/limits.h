#pragma once

// What may end the work before it is done: a time limit, a memory limit, an interrupt.
//
// Whoever watches (a thread, a signal handler's follower) calls stop(); the work asks stopped() at every term
// and in the solver's callback, and unwinds by Stopped. The first reason stands.
//
// A check can be stopped for itself: by stop_check(), or by its deadline, which the watching thread looks at.
// What stops one check does not stop the next.
//
// Tested by tests/run/limits_test.cpp.

#include <atomic>
#include <chrono>
#include <cstdint>

#include "vell/terms/exception.h"
#include "vell/terms/terminationtest.h"

namespace vell::run {

enum class StopReason : std::uint8_t { none, timeout, interrupted, memout, resourceout };

// As get-info :reason-unknown prints it.
inline char const* reason_text(StopReason r) {
  switch (r) {
    case StopReason::timeout: return "timeout";
    case StopReason::interrupted: return "interrupted";
    case StopReason::memout: return "memout";
    case StopReason::resourceout: return "resourceout";
    case StopReason::none: break;
  }
  return "incomplete";
}

class Stopped : public Exception {
 public:
  explicit Stopped(StopReason reason) : Exception(reason_text(reason)), reason_(reason) {}
  StopReason reason() const { return reason_; }

 private:
  StopReason reason_;
};

// May be stopped from any thread.
class Limits : public TerminationTest {
 public:
  void stop(StopReason reason) {
    StopReason none = StopReason::none;
    reason_.compare_exchange_strong(none, reason);
  }
  bool stopped() const {
    return reason_.load(std::memory_order_relaxed) != StopReason::none || check_stopped();
  }
  StopReason reason() const {
    StopReason const run = reason_.load();
    return run == StopReason::none && check_stopped() ? check_reason_.load() : run;
  }
  void operator()() const override { check(); }
  // The reason that holds for the whole run.
  StopReason run_reason() const { return reason_.load(); }
  // Throws Stopped when the work is to end.
  void check() const {
    if (stopped()) throw Stopped(reason());
  }

  // ---- one check ----
  using Clock = std::chrono::steady_clock;
  // Called by the work: a check begins, which may take so long (zero: as long as it likes), and ends.
  void begin_check(std::chrono::milliseconds limit) {
    deadline_.store(limit.count() == 0 ? Clock::duration::max().count()
                                       : (Clock::now() + limit).time_since_epoch().count());
    check_.store(++checks_);
  }
  void end_check() { check_.store(0); }
  // Stops the check that runs, if one does.
  void stop_check(StopReason reason) { stop_check(check_.load(), reason); }
  // Stops the check that runs if its time is over.
  void watch_check(Clock::time_point now) {
    // The number is read first: a deadline read later can only be that of a later check, and then this one is
    // over.
    std::uint64_t const check = check_.load();
    if (check != 0 && now.time_since_epoch().count() >= deadline_.load())
      stop_check(check, StopReason::timeout);
  }
  bool checking() const { return check_.load() != 0; }
  // Whether the check that runs was told to end.
  bool check_stopped() const {
    std::uint64_t const check = check_.load(std::memory_order_relaxed);
    return check != 0 && stopped_check_.load(std::memory_order_acquire) == check;
  }

 private:
  void stop_check(std::uint64_t check, StopReason reason) {
    if (check == 0 || stopped_check_.load() == check) return;
    check_reason_.store(reason);
    stopped_check_.store(check, std::memory_order_release);
  }

  std::atomic<StopReason> reason_{StopReason::none};
  std::uint64_t checks_ = 0;                     // begun; the work's own
  std::atomic<std::uint64_t> check_{0};          // number of the one that runs; 0: none
  std::atomic<std::uint64_t> stopped_check_{0};  // number of the one that was stopped last
  std::atomic<StopReason> check_reason_{StopReason::none};
  std::atomic<Clock::rep> deadline_{0};
};

// Limits that nobody stops.
inline Limits const& no_limits() {
  static Limits const none;
  return none;
}

}  // namespace vell::run

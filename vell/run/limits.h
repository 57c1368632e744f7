#pragma once

// What can stop the work early: a time limit, a memory limit, an interrupt.
//
// The watching thread calls stop(). The working thread checks stopped() at every term and in the solver's
// callback, and unwinds by throwing Stopped. The first reason is kept.
//
// A single check can be stopped too: by stop_check(), or by its deadline, which the watching thread checks.
// The next check is not affected.
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
  // The reason to stop the whole run.
  StopReason run_reason() const { return reason_.load(); }
  // Throws Stopped if the work is to end.
  void check() const {
    if (stopped()) throw Stopped(reason());
  }

  // ---- one check ----
  using Clock = std::chrono::steady_clock;
  // Called by the working thread at the beginning and the end of a check. limit: the time of the check; zero
  // for none.
  void begin_check(std::chrono::milliseconds limit) {
    deadline_.store(limit.count() == 0 ? Clock::duration::max().count()
                                       : (Clock::now() + limit).time_since_epoch().count());
    check_.store(++checks_);
  }
  void end_check() { check_.store(0); }
  // Stops the running check, if there is one.
  void stop_check(StopReason reason) { stop_check(check_.load(), reason); }
  // Stops the running check if its deadline has passed.
  void watch_check(Clock::time_point now) {
    // The number is read before the deadline: if the deadline belongs to a later check, the check of this
    // number is over.
    std::uint64_t const check = check_.load();
    if (check != 0 && now.time_since_epoch().count() >= deadline_.load())
      stop_check(check, StopReason::timeout);
  }
  bool checking() const { return check_.load() != 0; }
  // Whether the running check was stopped.
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

// Limits that are never reached.
inline Limits const& no_limits() {
  static Limits const none;
  return none;
}

}  // namespace vell::run

#pragma once

// What may end the work before it is done: a time limit, a memory limit, an interrupt.
//
// Whoever watches (a thread, a signal handler's follower) calls stop(); the work asks stopped() at every term and in
// the solver's callback, and unwinds by Stopped. The first reason stands.

#include <atomic>
#include <cstdint>

#include "vell/terms/exception.h"

namespace vell::engine {

enum class StopReason : std::uint8_t { none, timeout, interrupted, memout };

// As get-info :reason-unknown prints it.
inline char const* reason_text(StopReason r) {
  switch (r) {
    case StopReason::timeout: return "timeout";
    case StopReason::interrupted: return "interrupted";
    case StopReason::memout: return "memout";
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
class Limits {
 public:
  void stop(StopReason reason) {
    StopReason none = StopReason::none;
    reason_.compare_exchange_strong(none, reason);
  }
  bool stopped() const { return reason_.load(std::memory_order_relaxed) != StopReason::none; }
  StopReason reason() const { return reason_.load(); }
  // Throws Stopped when the work is to end.
  void check() const {
    if (stopped()) throw Stopped(reason());
  }

 private:
  std::atomic<StopReason> reason_{StopReason::none};
};

}  // namespace vell::engine

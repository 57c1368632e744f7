#pragma once

// Statistics of a run. One thread writes them; any thread may read them, for the progress line or a report.
//
// Tested by tests/run/statistics_test.cpp.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace vell::run {

enum class Phase : std::uint8_t { reading, clausifying, solving, checking, writing };
inline constexpr std::size_t phase_count = 5;
char const* phase_name(Phase phase);

// A counter with a single writer, which needs no locked instruction.
class Counter {
 public:
  operator std::uint64_t() const { return value_.load(std::memory_order_relaxed); }
  Counter& operator=(std::uint64_t n) {
    value_.store(n, std::memory_order_relaxed);
    return *this;
  }
  void operator+=(std::uint64_t n) { *this = *this + n; }
  void operator++() { *this += 1; }

 private:
  std::atomic<std::uint64_t> value_{0};
};

// What a pass that simplifies formulas has done.
struct PassFigures {
  std::atomic<char const*> name{nullptr};  // outlives the statistics; null where there is no such pass
  Counter formulas;                        // that it was given
  Counter replaced;                        // formulas, atoms or terms
  Counter microseconds;
};

struct Statistics {
  Counter input_bytes;       // of the script, as far as known
  Counter terms;             // made
  Counter clausified_terms;  // translated
  Counter fresh_literals;
  Counter clauses;
  Counter literals;
  Counter conflicts;
  Counter checks;
  Counter sat;
  Counter unsat;
  Counter unknown;
  Counter evaluations;  // terms computed to check models
  // By place in the table of passes, which has at most so many rows.
  static constexpr std::size_t most_passes = 64;
  PassFigures passes[most_passes];

  // Whether the program waits for input.
  std::atomic<bool> waiting{false};

  // The time from now on is counted for this phase.
  void enter(Phase phase);
  Phase phase() const { return phase_.load(std::memory_order_relaxed); }
  double seconds(Phase phase) const;
  double total_seconds() const;

  // One "name value" per line.
  std::string text() const;
  // One JSON object on one line.
  std::string json() const;
  // As get-info :all-statistics answers.
  std::string smtlib() const;

 private:
  using Clock = std::chrono::steady_clock;
  static std::uint64_t now() { return static_cast<std::uint64_t>(Clock::now().time_since_epoch().count()); }

  template <typename F>
  void each(F f) const;

  std::uint64_t const started_ = now();
  std::atomic<std::uint64_t> entered_{started_};
  std::atomic<Phase> phase_{Phase::reading};
  Counter spent_[phase_count];  // in ticks of the clock, without the running phase
};

// The peak and the present resident set size in bytes; 0 if the system does not provide it.
std::uint64_t peak_memory();
std::uint64_t present_memory();

}  // namespace vell::run

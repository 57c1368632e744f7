#pragma once

// Stops work that runs, and tells how far it is. For a thread beside the one that works.
//
// Tested by tests/script/control_test.cpp.

#include <memory>
#include <string>

#include "vell/script/error.h"
#include "vell/utils/export.h"

namespace vell::script {

// Every function may be called from any thread while another one works under this control. One control may
// serve several pieces of work, one after the other; once it was stopped, all later work ends at once.
class VELL_API Control {
 public:
  Control();
  ~Control();
  Control(Control const&) = delete;
  Control& operator=(Control const&) = delete;

  // Ends the work: a check answers unknown, anything else throws Stopped. The first reason counts.
  void stop(Reason reason = Reason::interrupted);
  // The reason of stop(); none before.
  Reason stopped() const;

  // ---- one check of several ----
  // Ends the check that runs, with the answer unknown. Without one nothing happens.
  void stop_check(Reason reason = Reason::interrupted);
  // Ends the check that runs if its time is over. To be called every few milliseconds where checks have a
  // time limit and nothing else watches it.
  void watch_check();
  // Whether a check runs, and whether it was told to end.
  bool checking() const;
  bool check_stopped() const;

  // ---- figures ----
  // What the work does, as a line: "clausifying: 10 of 20 terms, 300 clauses, 0.1 s".
  std::string progress() const;
  // Whether the work waits for input.
  bool waiting() const;
  // Checks that were answered with unknown.
  std::uint64_t unknown_answers() const;
  // Clauses and variables made so far.
  std::uint64_t clauses() const;
  std::uint64_t variables() const;
  // All counters and times (seconds): one "name value" per line, or one JSON object on one line.
  std::string statistics_text() const;
  std::string statistics_json() const;

  struct Parts;
  Parts& parts() { return *parts_; }  // for the library

 private:
  std::unique_ptr<Parts> parts_;
};

}  // namespace vell::script

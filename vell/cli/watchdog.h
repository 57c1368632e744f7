#pragma once

// Enforces the limits of a run and shows its progress, on a separate thread.
//
// A limit or a signal first stops the work through its control. If the work does not react (a long
// preprocessing step of the solver, one huge command, a blocked read), the watchdog ends the process shortly
// after: it writes the last answer and the statistics, and removes temporary files.

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "vell/cli/options.h"
#include "vell/script/control.h"
#include "vell/script/execution.h"

namespace vell::cli {

class Watchdog {
 public:
  // forced_answer: written to stdout when the process is ended before the run has answered unknown; "" for
  // nothing.
  Watchdog(CommonOptions const& options, script::Console& console, script::Control& control,
           std::string forced_answer);
  // Stops watching.
  ~Watchdog();

  // In a dialogue Ctrl-C stops the running check; without one it is left to the reader of the terminal.
  // at_end: called before the process ends, from any thread.
  void set_dialogue(void (*at_end)()) { at_end_ = at_end; }
  // Whether Ctrl-C was pressed since the last call.
  static bool take_interrupt();

  // The statistics in the format of --stats; "" without that option.
  std::string figures() const;
  // Writes the statistics and ends the process with the code; after an interrupt the code is that of the
  // interrupt. Destructors are skipped, since there may be gigabytes of terms.
  [[noreturn]] void finish(int code);

 private:
  void watch();
  void cut_off(int code);
  void end();

  CommonOptions const& options_;
  script::Console& console_;
  script::Control& control_;
  std::string forced_answer_;
  bool progress_;
  std::atomic<void (*)()> at_end_{nullptr};  // null: no dialogue
  std::mutex mutex_;
  std::condition_variable ended_condition_;
  bool ended_ = false;
  std::thread thread_;
};

}  // namespace vell::cli

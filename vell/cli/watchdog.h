#pragma once

// Keeps a run within its limits and shows its progress, from a thread of its own.
//
// A limit or a signal stops the work politely first, through Limits. Work that cannot hear (a long
// preprocessing step of the solver, one huge command of a script, a blocked read) is cut off shortly after:
// the last answer and the figures are written, temporary files removed, and the process ends.

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "vell/cli/options.h"
#include "vell/run/limits.h"
#include "vell/run/statistics.h"
#include "vell/script/console.h"

namespace vell::cli {

class Watchdog {
 public:
  // forced_answer: what stdout gets when the run is cut off before it gave an unknown answer; "" for nothing.
  Watchdog(CommonOptions const& options, script::Console& console, run::Limits& limits,
           run::Statistics& statistics, std::string forced_answer);
  // Ends the watch.
  ~Watchdog();

  // In a dialogue Ctrl-C stops the check that runs, or is left to whoever reads the terminal. at_end: called
  // before the process ends, from any thread.
  void set_dialogue(void (*at_end)()) { at_end_ = at_end; }
  // Whether Ctrl-C was pressed since the last call.
  static bool take_interrupt();

  // The figures as --stats asks for them; "" without.
  std::string figures() const;
  // Ends the watch and the process: figures, then the code; an interrupt decides on the code itself. Skips
  // the destructors of what may be gigabytes of terms.
  [[noreturn]] void finish(int code);

 private:
  void watch();
  void cut_off(int code);
  void show_progress();
  void end();

  CommonOptions const& options_;
  script::Console& console_;
  run::Limits& limits_;
  run::Statistics& statistics_;
  std::string forced_answer_;
  bool progress_;
  std::atomic<void (*)()> at_end_{nullptr};  // null: no dialogue
  std::mutex mutex_;
  std::condition_variable ended_condition_;
  bool ended_ = false;
  std::thread thread_;
};

}  // namespace vell::cli

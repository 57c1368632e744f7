#pragma once

// Keeps a run within its limits and shows its progress, from a thread of its own.
//
// A limit or a signal stops the work politely first, through Limits. Work that cannot hear (a long preprocessing step of
// the solver, one huge command of a script, a blocked read) is cut off shortly after: the last answer and the figures are
// written, temporary files removed, and the process ends.

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "vell/cli/options.h"
#include "vell/engine/console.h"
#include "vell/engine/limits.h"
#include "vell/engine/statistics.h"

namespace vell::cli {

class Watchdog {
 public:
  // forced_answer: what stdout gets when the run is cut off before it gave an unknown answer; "" for nothing.
  Watchdog(CommonOptions const& options, engine::Console& console, engine::Limits& limits,
           engine::Statistics& statistics, std::string forced_answer);
  // Ends the watch.
  ~Watchdog();

  // The figures as --stats asks for them; "" without.
  std::string figures() const;
  // Ends the watch and the process: figures, then the code; an interrupt decides on the code itself. Skips the
  // destructors of what may be gigabytes of terms.
  [[noreturn]] void finish(int code);

 private:
  void watch();
  void cut_off(int code);
  void show_progress();
  void end();

  CommonOptions const& options_;
  engine::Console& console_;
  engine::Limits& limits_;
  engine::Statistics& statistics_;
  std::string forced_answer_;
  bool progress_;
  std::mutex mutex_;
  std::condition_variable ended_condition_;
  bool ended_ = false;
  std::thread thread_;
};

}  // namespace vell::cli

#pragma once

// A dialogue at a terminal: a prompt, line editing, history and completion.
//
// Tested by tests/cli/terminal_test.cpp.

#include <memory>

#include "vell/script/execution.h"

namespace vell::cli {

class Watchdog;

class Terminal {
 public:
  // Whether standard input and output are a terminal.
  static bool available();
  // The lines that the user types. Reading throws script::LineDropped after Ctrl-C and script::DialogueEnded
  // after Ctrl-D. The execution that reads them provides completions and tells whether a command is
  // open; it and the watchdog must outlive the input.
  static std::unique_ptr<script::Input> open(script::Execution& execution, Watchdog& watchdog,
                                             script::Console& console);
};

}  // namespace vell::cli

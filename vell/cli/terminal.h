#pragma once

// A dialogue at a terminal: a prompt, line editing, history and completion.
//
// Tested by tests/cli/terminal_test.cpp.

#include <memory>

#include "vell/engine/engine.h"
#include "vell/io/source.h"

namespace vell::cli {

class Watchdog;

class Terminal {
 public:
  // Whether standard input and output are a terminal.
  static bool available();
  // The lines that the user types. Reading throws engine::LineDropped after Ctrl-C and engine::DialogueEnded
  // after Ctrl-D. The engine that reads from the source provides completions and tells whether a command is
  // open; it and the watchdog must outlive the source.
  static std::unique_ptr<io::Source> open(engine::ScriptEngine& engine, Watchdog& watchdog,
                                          engine::Console& console);
};

}  // namespace vell::cli

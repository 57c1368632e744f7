#pragma once

// Executes SMT-LIB scripts.
//
// Tested by tests/engine/scriptengine_test.cpp.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "vell/engine/checker.h"
#include "vell/engine/console.h"
#include "vell/engine/limits.h"
#include "vell/engine/scriptoptions.h"
#include "vell/engine/scriptstate.h"
#include "vell/engine/statistics.h"
#include "vell/smtlib/reader.h"
#include "vell/terms/termmanager.h"

namespace vell::engine {

inline constexpr char version[] = "0.1.0";

class ScriptEngine {
 public:
  // The references must outlive the engine. options.seed, unless 0, stands until the script sets :random-seed.
  ScriptEngine(CheckerOptions const& options, Console& console, Limits& limits, Statistics& statistics);
  ~ScriptEngine();

  // Executes the script to its end, its exit command, its first error or an interrupt; a question that has no answer
  // in the present mode is refused and passed over. Answers and errors go to the console. True when there was neither an
  // error nor an interrupt.
  bool run(std::unique_ptr<smtlib::Source> source);

 private:
  using Command = smtlib::Command;
  enum class Mode : std::uint8_t { assert_, sat, unsat, unknown };

  bool execute(Command const& command);
  void success();
  [[noreturn]] void error(std::string const& message) const;
  [[noreturn]] void refuse_query(std::string const& message) const;

  void set_logic(Command const& command);
  void set_option(Command const& command);
  void get_option(Command const& command);
  void get_info(Command const& command);
  void check(Command const& command);
  void get_model();
  void get_value(Command const& command);
  void get_assignment();
  void get_unsat_core();
  void get_unsat_assumptions();
  void get_assertions();
  void need_model() const;
  void verbose(std::string const& answer);
  ScriptOptions initial_options() const;

  Checker& checker();
  void start_over();

  CheckerOptions checker_options_;
  Console& console_;
  Limits& limits_;
  Statistics& statistics_;
  TermManager tm_;
  ScriptState state_;
  ScriptOptions options_;
  std::unique_ptr<Checker> checker_;
  Mode mode_ = Mode::assert_;
  std::vector<std::string> assumption_texts_;
  std::string reason_unknown_;
  bool proof_used_ = false;
  bool model_failed_ = false;
  bool query_refused_ = false;
};

// Text as an SMT-LIB string literal: in quotes, quotes inside doubled.
std::string string_literal(std::string_view text);

}  // namespace vell::engine

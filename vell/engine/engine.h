#pragma once

// Executes SMT-LIB scripts.
//
// Tested by tests/engine/engine_test.cpp.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "vell/engine/console.h"
#include "vell/engine/incrementalsolver.h"
#include "vell/engine/options.h"
#include "vell/engine/state.h"
#include "vell/run/limits.h"
#include "vell/run/statistics.h"
#include "vell/smtlib/reader.h"
#include "vell/terms/termmanager.h"

namespace vell::engine {

inline constexpr char version[] = "0.1.0";

// What the command line asks of the engine in addition to the script.
struct EngineOptions {
  // The number of the check-sat to answer, from 1. Earlier ones are skipped, with the queries about their
  // answers, and the script ends at the next one. 0: all are answered.
  std::uint64_t query = 0;
  // A check that answered unsat is decided again by a new solver without simplifications on words. If that
  // finds a model, the answer is unknown.
  bool check_unsat = false;
};

class ScriptEngine {
 public:
  // The references must outlive the engine. options.seed is used until the script sets :random-seed.
  ScriptEngine(IncrementalSolverOptions const& options, Console& console, run::Limits& limits,
               run::Statistics& statistics, EngineOptions const& engine_options = EngineOptions());
  ~ScriptEngine();

  // Executes the script until its end, its exit command, its first error or an interrupt. A query that has no
  // answer in the present mode is reported, and execution continues. Answers and errors go to the console.
  // True if there was neither an error nor an interrupt.
  bool run(std::unique_ptr<io::Source> source);

  // In a dialogue an error does not end the script: the command with the error is dropped. To be called
  // before run().
  void set_dialogue(bool dialogue) { dialogue_ = dialogue; }
  // All names that start with the prefix and can be used at this point of the script. For completion, during
  // run().
  std::vector<std::string> names(std::string_view prefix) const;
  // Whether the reader is inside a command, between its parentheses.
  bool inside_command() const;
  // Whether the answer of a check differed from :status.
  bool status_contradicted() const { return status_contradicted_; }

 private:
  using Command = smtlib::Command;
  enum class Mode : std::uint8_t { assert_, sat, unsat, unknown };

  bool execute(Command const& command);
  void success();
  [[noreturn]] void error(std::string const& message) const;
  void execute_all(smtlib::Reader& reader, Command& command);
  bool execute_one(smtlib::Reader& reader, Command& command);
  void report(io::Error const& e);
  void compare_status(char const* answer);
  [[noreturn]] void refuse_query(std::string const& message) const;

  void set_logic(Command const& command);
  void set_option(Command const& command);
  void get_option(Command const& command);
  void get_info(Command const& command);
  bool passed_over(Command const& command) const;
  void check(Command const& command);
  bool refuted(Command const& command);
  void get_model();
  void get_value(Command const& command);
  void get_assignment();
  void get_unsat_core();
  void get_unsat_assumptions();
  void get_assertions();
  void need_model() const;
  void verbose(std::string const& answer);
  ScriptOptions initial_options() const;

  IncrementalSolver& solver();
  void start_over();

  IncrementalSolverOptions solver_options_;
  EngineOptions engine_options_;
  Console& console_;
  run::Limits& limits_;
  run::Statistics& statistics_;
  TermManager tm_;
  ScriptState state_;
  ScriptOptions options_;
  std::unique_ptr<IncrementalSolver> solver_;
  Mode mode_ = Mode::assert_;
  std::vector<std::string> assumption_texts_;
  std::string reason_unknown_;
  std::uint64_t queries_ = 0;  // check-sats so far
  std::string input_;          // path of the script, "-" for standard input
  bool model_failed_ = false;
  bool query_refused_ = false;
  bool dialogue_ = false;
  bool failed_ = false;               // an error in a dialogue
  smtlib::Reader* reader_ = nullptr;  // during run()
  // The last set-info :status, until a check has been compared with it.
  std::string status_;
  io::Position status_position_;
  bool status_contradicted_ = false;
};

// Thrown by a source: the command that is being read is to be dropped without a message.
struct LineDropped : Exception {
  LineDropped() : Exception("the line was dropped") {}
};
// Thrown by a source: the user has ended the dialogue.
struct DialogueEnded : Exception {
  DialogueEnded() : Exception("the dialogue has ended") {}
};

// The text as an SMT-LIB string literal: in quotes, with inner quotes doubled.
std::string string_literal(std::string_view text);

}  // namespace vell::engine

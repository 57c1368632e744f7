#pragma once

// Executes SMT-LIB scripts as a program does: answers go to a console, and limits end what takes too long.
//
// Tested by tests/script/execution_test.cpp and tests/cli.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vell/script/control.h"
#include "vell/script/options.h"
#include "vell/script/solver.h"
#include "vell/utils/export.h"

namespace vell::script {

// The output of a run. Answers go to the regular channel (stdout), each written completely and flushed;
// messages, and a progress line, to stderr. A script may redirect both. May be used by several threads.
class VELL_API Console {
 public:
  Console();
  ~Console();
  Console(Console const&) = delete;
  Console& operator=(Console const&) = delete;

  // Bytes of the diagnostic channel, unchanged.
  void diagnostic(std::string_view text);
  // A line of it: the tool's name, the text, `more`, and a newline. Like diagnostic() it allocates nothing.
  void message(std::string_view text, std::string_view more = {});
  // Replaces the progress line; an empty text removes it.
  void progress(std::string_view text);
  // Writes both texts, to the regular and to the diagnostic channel, and then disables all output: for a
  // thread that ends the process while another one works. Without the console within 50 ms it writes nothing
  // and returns false.
  bool shut(std::string_view last_answer, std::string_view last_diagnostic);
  // Whether all output so far was written without an error.
  bool good() const;

  struct Parts;
  Parts& parts() { return *parts_; }  // for the library

 private:
  std::unique_ptr<Parts> parts_;
};

// What a program asks of it in addition to the script.
struct ExecutionOptions : SolverOptions {
  std::string proof = {};  // file of a DRAT proof of the only unsat answer; "" for none
  // The number of the check-sat to answer, from 1. Earlier ones are skipped, with the queries about their
  // answers, and the script ends at the next one. 0: all are answered.
  std::uint64_t query = 0;
  // A check that answered unsat is decided again without simplifications; a model makes the answer unknown.
  bool check_unsat = false;
  unsigned verbosity = 0;                // above 0: a line on the diagnostic channel after each check
  std::uint64_t conflict_limit = 0;      // of each check; 0: none
  std::uint64_t check_milliseconds = 0;  // of each check; 0: any. Somebody has to call Control::watch_check()
  WordFormat word_format = WordFormat::binary;
};

// What a dialogue reads: the lines of its user.
class VELL_API Input {
 public:
  virtual ~Input();
  // Reads between 1 and n bytes into `out`; returns 0 only at the end. May throw LineDropped and
  // DialogueEnded.
  virtual std::size_t read(char* out, std::size_t n) = 0;
};
// The command that is being read is to be dropped without a message.
struct VELL_API LineDropped : Exception {
  LineDropped();
  ~LineDropped() override;
};
// The user has ended the dialogue.
struct VELL_API DialogueEnded : Exception {
  DialogueEnded();
  ~DialogueEnded() override;
};

// A script that runs.
class VELL_API Execution {
 public:
  // The references must outlive the execution. Throws Exception for options that do not exist.
  Execution(ExecutionOptions const& options, Control& control, Console& console);
  ~Execution();
  Execution(Execution const&) = delete;
  Execution& operator=(Execution const&) = delete;

  // Executes the script of the file ("-" is standard input; compressed ones are decompressed) until its end,
  // its exit command, its first error or stop(). A query that has no answer in the present mode is reported,
  // and execution continues. Answers and errors go to the console. True if there was neither an error nor an
  // interrupt. Throws Exception when a file of the options cannot be used.
  bool run(std::string const& path);
  // The same for a dialogue: an error does not end it, the command with the error is dropped.
  bool run_dialogue(std::unique_ptr<Input> input);

  // During a dialogue: all names that start with the prefix and can be used now, for completion; whether a
  // command is open.
  std::vector<std::string> names(std::string_view prefix) const;
  bool inside_command() const;
  // Whether the answer of a check differed from :status.
  bool status_contradicted() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vell::script

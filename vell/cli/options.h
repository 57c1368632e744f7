#pragma once

// The options that commands share, and the interface of commands.

#include <CLI/CLI.hpp>

#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "vell/script/options.h"

namespace vell::cli {

struct CommonOptions {
  double time_limit = 0;           // seconds; 0: none
  std::uint64_t memory_limit = 0;  // MiB; 0: none
  int seed = 0;
  unsigned threads = 0;           // 0: two where there are two processors
  bool deterministic = false;     // the threads take the same steps in every run
  std::string stats;              // "", "text", "json"
  std::string progress = "auto";  // "auto", "always", "never"
  std::string proof;
  std::string div_by_zero = "smtlib";  // "smtlib", "free"
  std::vector<std::string> tunables;   // NAME=VALUE, as script::Options::settings has them
  std::string words;                   // "" where it was not given, else as script::Options::words has it
  double check_time_limit = 0;         // seconds for each check; 0: none
  std::uint64_t conflict_limit = 0;    // of each check; 0: none
  std::string values = "bin";          // "bin", "hex", "dec"
  int verbosity = 0;
  int trace = -1;  // level of the clausifier's trace; below 0: none

  script::WordFormat word_format() const;

  // Adds the options to a command. It supports those in the list ("--seed"). They may also precede the
  // command's name.
  void add_to(CLI::App& command, std::initializer_list<std::string_view> honoured);
  // After parsing: throws CLI::ValidationError for options that the given command does not support.
  void check(CLI::App const& app) const;

 private:
  std::map<CLI::App const*, std::vector<std::string_view>> honoured_;
};

// The action of the given command.
using Action = std::function<int()>;

// One function per command, in the file of its name. For a new command, write add_NAME and call it in main.
void add_solve(CLI::App& app, CommonOptions& common, Action& action);
void add_cnf(CLI::App& app, CommonOptions& common, Action& action);
void add_profile(CLI::App& app, CommonOptions& common, Action& action);
void add_draw(CLI::App& app, CommonOptions& common, Action& action);
void add_decode(CLI::App& app, CommonOptions& common, Action& action);
void add_cubes(CLI::App& app, CommonOptions& common, Action& action);
void add_solve_cube(CLI::App& app, CommonOptions& common, Action& action);
void add_join(CLI::App& app, CommonOptions& common, Action& action);
void add_replay(CLI::App& app, CommonOptions& common, Action& action);

// Writes to standard output; the exit code that tells how it went.
int print(std::string const& text);

// Exit codes.
inline constexpr int exit_error = 1;  // bad input, a defect, a file that cannot be written
inline constexpr int exit_usage = 2;  // a bad command line
inline constexpr int exit_interrupted = 130;
// The same for --help.
inline constexpr char exit_codes[] =
    "Exit codes: 0 success, whatever the answers; 1 an error in the input, an answer that :status\n"
    "contradicts under --check-status, output that cannot be written, or memory that ran out;\n"
    "2 a wrong command line; 130 after Ctrl-C, 143 after SIGTERM.";

// Checks for options, with messages of one line.
CLI::Validator seconds();  // a number above 0
CLI::Validator count();    // an integer from 1 on

// `--stats json` and `--progress never` mean `--stats=json` and `--progress=never`; `help COMMAND` means
// `COMMAND --help`. arguments: without the program's name.
std::vector<std::string> normalised(std::vector<std::string> arguments);
// "; did you mean `--stats`?" for a word similar to a command or to an option of the app or its commands.
std::string option_hint(CLI::App const& app, std::string const& word);

}  // namespace vell::cli

#pragma once

// Options that every command knows by name, and what a command needs to run.

#include <CLI/CLI.hpp>

#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vell::cli {

struct CommonOptions {
  double time_limit = 0;           // seconds; 0: none
  std::uint64_t memory_limit = 0;  // MiB; 0: none
  int seed = 0;
  unsigned threads = 0;            // 0: two where there are two processors
  std::string stats;               // "", "text", "json"
  std::string progress = "auto";   // "auto", "always", "never"
  std::string proof;
  std::string div_by_zero = "smtlib";  // "smtlib", "free"
  int verbosity = 0;
  int trace = -1;                  // level of the clausifier's trace; below 0: none

  // Adds the options to a command, which can honour those named ("--seed"); they may stand in front of the command's
  // name as well.
  void add_to(CLI::App& command, std::initializer_list<std::string_view> honoured);
  // After parsing: refuses, by CLI::ValidationError, options that the command given cannot honour.
  void check(CLI::App const& app) const;

 private:
  std::map<CLI::App const*, std::vector<std::string_view>> honoured_;
};

// What the command line asks for; set by the command that was given.
using Action = std::function<int()>;

// One function per command; each stands in the file of its name. A new command: write add_NAME and call it in main.
void add_solve(CLI::App& app, CommonOptions& common, Action& action);
void add_cnf(CLI::App& app, CommonOptions& common, Action& action);
void add_decode(CLI::App& app, CommonOptions& common, Action& action);
void add_replay(CLI::App& app, CommonOptions& common, Action& action);

// Exit codes.
inline constexpr int exit_error = 1;        // bad input, a defect, a file that cannot be written
inline constexpr int exit_usage = 2;        // a bad command line
inline constexpr int exit_interrupted = 130;

}  // namespace vell::cli

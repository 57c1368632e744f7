// vell-bv FILE.smt2, vell-bv solve FILE.smt2, and the dialogue at a terminal

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <thread>
#include <vector>

#include "vell/cli/options.h"
#include "vell/cli/terminal.h"
#include "vell/cli/watchdog.h"
#include "vell/script/execution.h"

namespace vell::cli {

namespace {

struct Arguments {
  std::string file;
  script::ExecutionOptions options;
  bool check_status = false;
};

int solve(Arguments arguments, CommonOptions const& common) {
  script::Console console;
  script::Control control;
  Logger trace(std::cerr, common.trace);

  script::ExecutionOptions& options = arguments.options;
  options.free_division = common.div_by_zero == "free";
  options.seed = common.seed;
  options.threads = common.threads != 0 ? common.threads : std::min(std::thread::hardware_concurrency(), 2U);
  options.deterministic = common.deterministic;
  options.proof = common.proof;
  // A proof is about the unsimplified formulas unless --words is given.
  if (!common.proof.empty()) options.words = "none";
  options.settings = common.tunables;
  if (!common.words.empty()) options.words = common.words;
  options.verbosity = static_cast<unsigned>(common.verbosity);
  options.conflict_limit = common.conflict_limit;
  options.check_milliseconds =
      common.check_time_limit == 0
          ? 0
          : static_cast<std::uint64_t>(std::clamp(std::ceil(common.check_time_limit * 1000), 1.0, 1e12));
  options.word_format = common.word_format();
  if (common.trace >= 0) options.logger = &trace;

  bool const dialogue = (arguments.file.empty() || arguments.file == "-") && Terminal::available();
  Watchdog watchdog(common, console, control, "unknown");
  // Not destroyed by finish(), which is what makes it quick.
  script::Execution execution(options, control, console);
  bool good = dialogue ? execution.run_dialogue(Terminal::open(execution, watchdog, console))
                       : execution.run(arguments.file);
  bool const contradicted = execution.status_contradicted();
  if (arguments.check_status && contradicted) good = false;
  // In a dialogue the user has seen the errors.
  watchdog.finish(good || (dialogue && !contradicted) ? 0 : exit_error);
}

// The options that only solving has, FILE first. App::get_option() would find them by name, but is noexcept
// and allocates.
std::vector<CLI::Option*> add_arguments(CLI::App& command, std::shared_ptr<Arguments> const& arguments) {
  std::vector<CLI::Option*> out;
  out.push_back(
      command
          .add_option(
              "FILE", arguments->file,
              "SMT-LIB script to execute; - is standard input; none, at a terminal, begins a dialogue")
          ->type_name(""));
  out.push_back(command
                    .add_option("--solver", arguments->options.command,
                                "shell command that answers check-sat; {cnf} stands for the DIMACS file")
                    ->type_name("CMD")
                    ->check([](std::string const& text) {
                      return text.find("{cnf}") == std::string::npos ? std::string("the command has no {cnf}")
                                                                     : std::string();
                    }));
  out.push_back(
      command
          .add_option("--ipasir", arguments->options.ipasir,
                      "shared object with the functions of IPASIR: a SAT solver that answers check-sat")
          ->type_name("LIB.so"));
  out.push_back(command
                    .add_option("--query", arguments->options.query,
                                "answer this check-sat only, and end at the next one")
                    ->type_name("N")
                    ->check(count()));
  out.push_back(command.add_flag("--check-unsat", arguments->options.check_unsat,
                                 "decide what is unsat once more, without simplifications on words"));
  out.push_back(command.add_flag("--check-status", arguments->check_status,
                                 "exit code 1 when an answer differs from :status"));
  return out;
}

}  // namespace

void add_solve(CLI::App& app, CommonOptions& common, Action& action) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* const command = app.add_subcommand("solve", "execute a script: the same as without a command");
  std::vector<CLI::Option*> own;  // of the program without a command
  for (CLI::App* a : {command, &app}) {
    own = add_arguments(*a, arguments);
    common.add_to(*a, {"--time-limit", "--check-time-limit", "--conflict-limit", "--memory-limit", "--seed",
                       "--threads", "--deterministic", "--stats", "--progress", "--proof", "--div-by-zero",
                       "--words", "--set", "--trace", "--values", "--verbose"});
  }
  auto const prepare = [&common, &action, arguments] {
    if (arguments->file.empty() && !Terminal::available()) throw CLI::RequiredError("FILE");
    script::ExecutionOptions const& options = arguments->options;
    if (!options.command.empty() && !options.ipasir.empty())
      throw CLI::ValidationError("--ipasir", "and --solver name two solvers");
    // The option that names another solver than the embedded one.
    std::string const other = !options.command.empty()  ? "--solver"
                              : !options.ipasir.empty() ? "--ipasir"
                                                        : "";
    if (!other.empty() && !common.proof.empty())
      throw CLI::ValidationError("--proof", "is written by the embedded solver only, not with " + other);
    if (arguments->options.check_unsat && !common.proof.empty())
      throw CLI::ValidationError("--check-unsat", "is not for a run with --proof, which tells what is unsat");
    if (common.deterministic && common.threads == 0)
      throw CLI::ValidationError("--deterministic", "needs --threads N: the steps depend on the number");
    bool const embedded_only[] = {common.seed != 0, common.threads != 0, common.conflict_limit != 0};
    char const* const names[] = {"--seed", "--threads", "--conflict-limit"};
    for (std::size_t i = 0; i < std::size(names); ++i)
      if (!other.empty() && embedded_only[i])
        throw CLI::ValidationError(names[i], "is for the embedded solver only, not with " + other);
    action = [arguments, &common] { return solve(*arguments, common); };
  };
  command->callback(prepare);
  app.callback([&app, own, prepare] {
    if (app.get_subcommands().empty()) return prepare();
    std::size_t const files = own[0]->count();
    std::size_t others = 0;
    for (std::size_t i = 1; i < own.size(); ++i) others += own[i]->count();
    if (others != 0 && app.got_subcommand("solve") && files == 0) return;
    if (others + files != 0)
      throw CLI::ValidationError(
          "a script, --solver, --ipasir, --query or --check-unsat in front of a command");
  });
}

}  // namespace vell::cli

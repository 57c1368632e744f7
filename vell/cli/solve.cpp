// vell-bv FILE.smt2

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <thread>

#include "vell/cli/options.h"
#include "vell/cli/watchdog.h"
#include "vell/engine/scriptengine.h"

namespace vell::cli {

namespace {

int solve(std::string const& file, std::string const& solver, CommonOptions const& common) {
  engine::Console console;
  engine::Limits limits;
  engine::Statistics statistics;
  Logger trace(std::cerr, common.trace);

  engine::CheckerOptions options;
  options.free_division = common.div_by_zero == "free";
  options.seed = common.seed;
  options.threads = common.threads != 0 ? common.threads : std::min(std::thread::hardware_concurrency(), 2U);
  options.proof = common.proof;
  options.solver_command = solver;
  options.verbosity = static_cast<unsigned>(common.verbosity);
  if (common.trace >= 0) options.logger = &trace;

  Watchdog watchdog(common, console, limits, statistics, "unknown");
  engine::ScriptEngine engine(options, console, limits, statistics);
  bool good = false;
  try {
    good = engine.run(smtlib::Source::open(file));
  } catch (smtlib::Error const& e) {
    console.answer("(error " + engine::string_literal(e.what()) + ")");
  }
  watchdog.finish(good ? 0 : exit_error);
}

}  // namespace

void add_solve(CLI::App& app, CommonOptions& common, Action& action) {
  struct Arguments {
    std::string file;
    std::string solver;
  };
  auto arguments = std::make_shared<Arguments>();
  app.add_option("FILE", arguments->file, "SMT-LIB script to execute; - is standard input")->type_name("");
  app.add_option("--solver", arguments->solver, "shell command that answers check-sat; {cnf} stands for the DIMACS file")
      ->type_name("CMD")
      ->check([](std::string const& command) {
        return command.find("{cnf}") == std::string::npos ? std::string("the command has no {cnf}") : std::string();
      });
  common.add_to(app, {"--time-limit", "--memory-limit", "--seed", "--threads", "--stats", "--progress", "--proof",
                      "--div-by-zero", "--trace", "--verbose"});
  app.callback([&app, &common, &action, arguments] {
    if (!app.get_subcommands().empty()) {
      if (!arguments->file.empty() || !arguments->solver.empty())
        throw CLI::ValidationError("a script or --solver in front of a command");
      return;
    }
    if (arguments->file.empty()) throw CLI::RequiredError("FILE");
    if (!arguments->solver.empty() && !common.proof.empty())
      throw CLI::ValidationError("--proof", "is written by the embedded solver only, not with --solver");
    if (!arguments->solver.empty() && common.seed != 0)
      throw CLI::ValidationError("--seed", "is for the embedded solver only, not with --solver");
    if (!arguments->solver.empty() && common.threads != 0)
      throw CLI::ValidationError("--threads", "is for the embedded solver only, not with --solver");
    action = [arguments, &common] { return solve(arguments->file, arguments->solver, common); };
  });
}

}  // namespace vell::cli

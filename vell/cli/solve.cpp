// vell-bv FILE.smt2, vell-bv solve FILE.smt2, and the dialogue at a terminal

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <new>
#include <optional>
#include <thread>

#include "vell/cli/options.h"
#include "vell/cli/terminal.h"
#include "vell/cli/watchdog.h"
#include "vell/engine/engine.h"
#include "vell/io/outputfile.h"
#include "vell/io/samefile.h"

namespace vell::cli {

namespace {

struct Arguments {
  std::string file;
  std::string solver;
  engine::EngineOptions engine;
  bool check_status = false;
};

int solve(Arguments const& arguments, CommonOptions const& common) {
  engine::Console console;
  run::Limits limits;
  run::Statistics statistics;
  Logger trace(std::cerr, common.trace);

  engine::IncrementalSolverOptions options;
  options.free_division = common.div_by_zero == "free";
  options.seed = common.seed;
  options.threads = common.threads != 0 ? common.threads : std::min(std::thread::hardware_concurrency(), 2U);
  options.proof = common.proof;
  options.solver_command = arguments.solver;
  // A proof is about the unsimplified formulas unless --words is given.
  if (!common.proof.empty()) options.passes = words::Passes::none;
  for (std::string const& t : common.tunables) options.tunables.set(t);
  if (!common.words.empty()) options.passes = words::parse_passes(common.words);
  options.verbosity = static_cast<unsigned>(common.verbosity);
  options.conflict_limit = common.conflict_limit;
  options.check_milliseconds =
      common.check_time_limit == 0
          ? 0
          : static_cast<std::uint64_t>(std::clamp(std::ceil(common.check_time_limit * 1000), 1.0, 1e12));
  options.word_format = common.word_format();
  if (common.trace >= 0) options.logger = &trace;

  if (!common.proof.empty()) {
    io::refuse_same_file(common.proof, arguments.file);
    if (io::same_file(common.proof, "/dev/stdout"))
      throw io::OutputError(common.proof + ": it is <stdout> as well");
  }

  bool const dialogue = (arguments.file.empty() || arguments.file == "-") && Terminal::available();
  Watchdog watchdog(common, console, limits, statistics, "unknown");
  bool good = false;
  std::optional<engine::ScriptEngine> engine;  // not destroyed by finish(), which is what makes it quick
  try {
    engine.emplace(options, console, limits, statistics, arguments.engine);
    engine->set_dialogue(dialogue);
    statistics.waiting = true;  // for the first bytes, which tell whether the input is compressed
    std::unique_ptr<io::Source> source =
        dialogue ? Terminal::open(*engine, watchdog, console) : io::Source::open(arguments.file);
    statistics.waiting = false;
    good = engine->run(std::move(source));
  } catch (io::Error const& e) {
    console.answer("(error " + engine::string_literal(e.what()) + ")");
  } catch (std::bad_alloc const&) {
    limits.stop(run::StopReason::memout);
    if (statistics.unknown == 0) console.answer("unknown");
    ++statistics.unknown;
    console.message(arguments.file, ": out of memory");
  }
  bool const contradicted = engine && engine->status_contradicted();
  if (arguments.check_status && contradicted) good = false;
  // In a dialogue the user has seen the errors.
  watchdog.finish(good || (dialogue && !contradicted) ? 0 : exit_error);
}

void add_arguments(CLI::App& command, std::shared_ptr<Arguments> const& arguments) {
  command
      .add_option("FILE", arguments->file,
                  "SMT-LIB script to execute; - is standard input; none, at a terminal, begins a dialogue")
      ->type_name("");
  command
      .add_option("--solver", arguments->solver,
                  "shell command that answers check-sat; {cnf} stands for the DIMACS file")
      ->type_name("CMD")
      ->check([](std::string const& text) {
        return text.find("{cnf}") == std::string::npos ? std::string("the command has no {cnf}")
                                                       : std::string();
      });
  command
      .add_option("--query", arguments->engine.query, "answer this check-sat only, and end at the next one")
      ->type_name("N")
      ->check(count());
  command.add_flag("--check-unsat", arguments->engine.check_unsat,
                   "decide what is unsat once more, without simplifications on words");
  command.add_flag("--check-status", arguments->check_status,
                   "exit code 1 when an answer differs from :status");
}

}  // namespace

void add_solve(CLI::App& app, CommonOptions& common, Action& action) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* const command = app.add_subcommand("solve", "execute a script: the same as without a command");
  for (CLI::App* a : {&app, command}) {
    add_arguments(*a, arguments);
    common.add_to(*a, {"--time-limit", "--check-time-limit", "--conflict-limit", "--memory-limit", "--seed",
                       "--threads", "--stats", "--progress", "--proof", "--div-by-zero", "--words", "--set",
                       "--trace", "--values", "--verbose"});
  }
  auto const prepare = [&common, &action, arguments] {
    if (arguments->file.empty() && !Terminal::available()) throw CLI::RequiredError("FILE");
    if (!arguments->solver.empty() && !common.proof.empty())
      throw CLI::ValidationError("--proof", "is written by the embedded solver only, not with --solver");
    if (arguments->engine.check_unsat && !common.proof.empty())
      throw CLI::ValidationError("--check-unsat", "is not for a run with --proof, which tells what is unsat");
    if (!arguments->solver.empty() && common.seed != 0)
      throw CLI::ValidationError("--seed", "is for the embedded solver only, not with --solver");
    if (!arguments->solver.empty() && common.threads != 0)
      throw CLI::ValidationError("--threads", "is for the embedded solver only, not with --solver");
    if (!arguments->solver.empty() && common.conflict_limit != 0)
      throw CLI::ValidationError("--conflict-limit", "is for the embedded solver only, not with --solver");
    action = [arguments, &common] { return solve(*arguments, common); };
  };
  command->callback(prepare);
  app.callback([&app, arguments, prepare] {
    if (app.get_subcommands().empty()) return prepare();
    std::size_t own = 0;
    for (char const* name : {"--solver", "--check-status", "--query", "--check-unsat"})
      own += app.get_option(name)->count();
    if (own != 0 && app.got_subcommand("solve") && app.get_option("FILE")->count() == 0) return;
    if (own + app.get_option("FILE")->count() != 0)
      throw CLI::ValidationError("a script, --solver, --query or --check-unsat in front of a command");
  });
}

}  // namespace vell::cli

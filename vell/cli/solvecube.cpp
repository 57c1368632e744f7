// vell-bv solve-cube DIR K

#include <new>
#include <string>
#include <vector>

#include "vell/cli/options.h"
#include "vell/cli/watchdog.h"
#include "vell/script/cubes.h"
#include "vell/script/execution.h"

namespace vell::cli {

namespace {

constexpr int exit_unsat = 20;  // under --until-sat

struct Arguments {
  std::string folder;
  std::size_t cube = 1;
  script::CubeSolverOptions options;
  bool until_sat = false;
};

int run(Arguments arguments, CommonOptions const& common) {
  script::Console console;
  script::Control control;
  arguments.options.seed = common.seed;
  arguments.options.conflict_limit = common.conflict_limit;
  std::string const name = arguments.folder + ": cube " + std::to_string(arguments.cube);

  Watchdog watchdog(common, console, control, "unknown");
  int code = exit_error;
  auto const no_verdict = [&](std::string const& why) {
    print("unknown\n");
    console.message(name + ": no verdict: " + why);
  };
  try {
    switch (script::solve_cube(arguments.folder, arguments.cube, arguments.options, &control)) {
      case script::Answer::sat: code = print("sat\n"); break;
      case script::Answer::unsat:
        code = print("unsat\n");
        if (code == 0 && arguments.until_sat) code = exit_unsat;
        break;
      case script::Answer::unknown: no_verdict("the solver gave up"); break;
    }
  } catch (script::Stopped const& e) {
    no_verdict(e.what());
  } catch (Exception const& e) {
    console.message(e.what());
  } catch (std::bad_alloc const&) {
    console.message(arguments.folder, ": no verdict: out of memory");
  }
  watchdog.finish(code);
}

}  // namespace

void add_solve_cube(CLI::App& app, CommonOptions& common, Action& action) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = app.add_subcommand("solve-cube", "solve one cube of a folder that `cubes` wrote");
  command->add_option("DIR", arguments->folder, "the folder")->required()->type_name("");
  command->add_option("K", arguments->cube, "number of the cube, from 1")
      ->required()
      ->type_name("")
      ->check(count());
  command
      ->add_option(
          "--solver", arguments->options.command,
          "shell command that decides; {cnf} stands for the DIMACS file, {proof} for that of a proof")
      ->type_name("CMD");
  command->add_option("--ipasir", arguments->options.ipasir, "shared object of an IPASIR solver that decides")
      ->type_name("LIB.so");
  command->add_flag("--until-sat", arguments->until_sat,
                    "exit code 20 for unsat, so that 0 means sat: for parallel --halt now,success=1");
  common.add_to(*command, {"--time-limit", "--conflict-limit", "--memory-limit", "--seed", "--stats",
                           "--progress", "--verbose"});
  // Here the proof has a name of its own. App::get_option() is noexcept and allocates.
  for (CLI::Option* o : command->get_options([](CLI::Option const* option) {
         return option->get_lnames() == std::vector<std::string>{"proof"};
       }))
    command->remove_option(o);
  command->add_flag("--proof", arguments->options.proof, "write a DRAT proof beside a verdict of unsat");
  command->callback([arguments, &common, &action] {
    script::CubeSolverOptions const& o = arguments->options;
    bool const names_proof = o.command.find("{proof}") != std::string::npos;
    if (!o.command.empty() && o.command.find("{cnf}") == std::string::npos)
      throw CLI::ValidationError("--solver", "the command has no {cnf}");
    if (!o.command.empty() && !o.ipasir.empty())
      throw CLI::ValidationError("--ipasir", "cannot be given with --solver");
    if (o.proof && !o.ipasir.empty())
      throw CLI::ValidationError("--proof", "is not written by an IPASIR solver");
    if (!o.command.empty() && o.proof != names_proof)
      throw CLI::ValidationError("--solver", "{proof} in the command and --proof go together");
    action = [arguments, &common] { return run(*arguments, common); };
  });
}

}  // namespace vell::cli

// vell-bv join DIR

#include <new>

#include "vell/cli/options.h"
#include "vell/cli/watchdog.h"
#include "vell/script/cubes.h"
#include "vell/script/execution.h"
#include "vell/terms/exception.h"

namespace vell::cli {

namespace {

int run(std::string const& folder, CommonOptions const& common) {
  script::Console console;
  script::Control control;
  Watchdog watchdog(common, console, control, "unknown");
  int code = exit_error;
  try {
    script::JoinedCubes const joined =
        script::join_cubes(folder, common.proof, common.word_format(), &control);
    for (std::string const& line : joined.refused) console.message(line);
    switch (joined.answer) {
      case script::Answer::sat: code = print("sat\n" + joined.model); break;
      case script::Answer::unsat: code = print("unsat\n"); break;
      case script::Answer::unknown:
        print("unknown\n");
        console.message(folder + ": " + std::to_string(joined.missing_count) + " of " +
                        std::to_string(joined.cubes) + " cubes have no verdict: " + joined.missing);
        break;
    }
  } catch (script::Stopped const& e) {
    print("unknown\n");
    console.message(folder + ": not joined: " + e.what());
  } catch (Exception const& e) {
    console.message(e.what());
  } catch (std::bad_alloc const&) {
    console.message(folder, ": not joined: out of memory");
  }
  watchdog.finish(code);
}

}  // namespace

void add_join(CLI::App& app, CommonOptions& common, Action& action) {
  auto folder = std::make_shared<std::string>();
  CLI::App* command = app.add_subcommand("join", "answer a script from the verdicts on its cubes");
  command->add_option("DIR", *folder, "folder that `cubes` wrote, with the verdicts of `solve-cube`")
      ->required()
      ->type_name("");
  common.add_to(*command, {"--time-limit", "--memory-limit", "--stats", "--progress", "--proof", "--values",
                           "--verbose"});
  command->callback(
      [folder, &common, &action] { action = [folder, &common] { return run(*folder, common); }; });
}

}  // namespace vell::cli

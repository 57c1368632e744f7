// vell-bv cubes FILE.smt2 -n N -o DIR

#include <new>

#include "vell/cli/options.h"
#include "vell/cli/watchdog.h"
#include "vell/script/cubes.h"
#include "vell/script/execution.h"

namespace vell::cli {

namespace {

struct Arguments {
  std::string input;
  std::string folder;
  std::string split = "words";
  script::CubeOptions options;
};

int write(Arguments arguments, CommonOptions const& common) {
  script::Console console;
  script::Control control;
  script::CubeOptions& options = arguments.options;
  options.free_division = common.div_by_zero == "free";
  options.settings = common.tunables;
  if (!common.words.empty()) options.words = common.words;
  options.lookahead = arguments.split == "lookahead";

  Watchdog watchdog(common, console, control, "");
  int code = exit_error;
  try {
    std::size_t const cubes = script::write_cubes(arguments.input, arguments.folder, options, &control);
    code = print(std::to_string(cubes) + "\n");
  } catch (script::Stopped const& e) {
    console.message(arguments.folder + ": not written: " + e.what());
  } catch (Exception const& e) {
    console.message(e.what());
  } catch (std::bad_alloc const&) {
    console.message(arguments.folder, ": not written: out of memory");
  }
  watchdog.finish(code);
}

}  // namespace

void add_cubes(CLI::App& app, CommonOptions& common, Action& action) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = app.add_subcommand(
      "cubes", "split one query of a script into cubes for many machines; prints how many");
  command->add_option("FILE", arguments->input, "SMT-LIB script")->required()->type_name("");
  command->add_option("-n,--count", arguments->options.count, "about so many cubes")
      ->required()
      ->type_name("N")
      ->check(CLI::Range(1, 1'000'000));
  command->add_option("-o,--output", arguments->folder, "folder to make")->required()->type_name("DIR");
  command->add_option("--query", arguments->options.query, "which check-sat, the first without")
      ->type_name("N")
      ->check(count());
  command
      ->add_option("--split", arguments->split,
                   "words: on bits of constants; lookahead: on variables that CaDiCaL chooses")
      ->check(CLI::IsMember({"words", "lookahead"}));
  common.add_to(*command, {"--time-limit", "--memory-limit", "--stats", "--progress", "--div-by-zero",
                           "--words", "--set", "--verbose"});
  command->callback(
      [arguments, &common, &action] { action = [arguments, &common] { return write(*arguments, common); }; });
}

}  // namespace vell::cli

// vell-bv cnf FILE.smt2 -o OUT.cnf

#include <iostream>

#include "vell/cli/options.h"
#include "vell/cli/watchdog.h"
#include "vell/script/cnf.h"
#include "vell/script/execution.h"

namespace vell::cli {

namespace {

struct Arguments {
  std::string input;
  std::string output = "-";
  script::CnfFileOptions options;
};

int write(Arguments arguments, CommonOptions const& common) {
  script::Console console;
  script::Control control;
  Logger trace(std::cerr, common.trace);
  script::CnfFileOptions& options = arguments.options;
  options.free_division = common.div_by_zero == "free";
  options.settings = common.tunables;
  if (!common.words.empty()) options.words = common.words;
  if (common.trace >= 0) options.logger = &trace;

  Watchdog watchdog(common, console, control, "");
  int code = exit_error;
  try {
    script::write_cnf(arguments.input, arguments.output, options, &control);
    code = 0;
    if (common.verbosity > 0)
      console.message(std::to_string(control.variables()) + " variables, " +
                      std::to_string(control.clauses()) + " clauses before constants were removed");
  } catch (script::Stopped const& e) {
    console.message(arguments.output + ": not written: " + e.what());
  } catch (Exception const& e) {
    console.message(e.what());
  } catch (std::bad_alloc const&) {
    console.message(arguments.output, ": not written: out of memory");
  }
  watchdog.finish(code);
}

}  // namespace

void add_cnf(CLI::App& app, CommonOptions& common, Action& action) {
  auto arguments = std::make_shared<Arguments>();
  script::CnfFileOptions& options = arguments->options;
  CLI::App* command = app.add_subcommand("cnf", "write one query of a script as DIMACS");
  command->add_option("FILE", arguments->input, "SMT-LIB script; - is standard input")
      ->required()
      ->type_name("");
  command
      ->add_option("-o,--output", arguments->output,
                   "CNF file; standard output without, or for -; .gz .xz .zst .bz2 are compressed")
      ->type_name("OUT.cnf");
  command->add_option("--query", options.query, "which check-sat, the first without")
      ->type_name("N")
      ->check(count());
  command
      ->add_option("--symbols", options.symbols,
                   "map lines only for constants that match, as * and ? do in a shell")
      ->type_name("PATTERN");
  command->add_flag("--annotate", options.annotate, "a comment before each term's first clause");
  command->add_flag("--raw", options.raw, "every clause as emitted; variable 1 is the constant true");
  common.add_to(*command, {"--time-limit", "--memory-limit", "--stats", "--progress", "--div-by-zero",
                           "--words", "--set", "--trace", "--verbose"});
  command->callback(
      [arguments, &common, &action] { action = [arguments, &common] { return write(*arguments, common); }; });
}

}  // namespace vell::cli

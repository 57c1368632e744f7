// vell-bv cnf FILE.smt2 -o OUT.cnf

#include <iostream>

#include "vell/cli/options.h"
#include "vell/cli/watchdog.h"
#include "vell/cnf/writer.h"

namespace vell::cli {

namespace {

int write(cnf::CnfOptions options, CommonOptions const& common) {
  engine::Console console;
  run::Limits limits;
  run::Statistics statistics;
  Logger trace(std::cerr, common.trace);
  options.free_division = common.div_by_zero == "free";
  for (std::string const& t : common.tunables) options.tunables.set(t);
  if (!common.words.empty()) options.passes = words::parse_passes(common.words);
  if (common.trace >= 0) options.logger = &trace;

  Watchdog watchdog(common, console, limits, statistics, "");
  int code = exit_error;
  try {
    cnf::write_cnf(options, limits, statistics);
    code = 0;
    if (common.verbosity > 0)
      console.message(std::to_string(statistics.fresh_literals) + " variables, " +
                      std::to_string(statistics.clauses) + " clauses before constants were removed");
  } catch (run::Stopped const& e) {
    console.message(options.output + ": not written: " + e.what());
  } catch (Exception const& e) {
    console.message(e.what());
  } catch (std::bad_alloc const&) {
    console.message(options.output, ": not written: out of memory");
  }
  watchdog.finish(code);
}

}  // namespace

void add_cnf(CLI::App& app, CommonOptions& common, Action& action) {
  auto options = std::make_shared<cnf::CnfOptions>();
  CLI::App* command = app.add_subcommand("cnf", "write one query of a script as DIMACS");
  command->add_option("FILE", options->input, "SMT-LIB script; - is standard input")
      ->required()
      ->type_name("");
  options->output = "-";
  command
      ->add_option("-o,--output", options->output,
                   "CNF file; standard output without, or for -; .gz .xz .zst .bz2 are compressed")
      ->type_name("OUT.cnf");
  command->add_option("--query", options->query, "which check-sat, the first without")
      ->type_name("N")
      ->check(count());
  command
      ->add_option("--symbols", options->symbols,
                   "map lines only for constants that match, as * and ? do in a shell")
      ->type_name("PATTERN");
  command->add_flag("--annotate", options->annotate, "a comment before each term's first clause");
  command->add_flag("--raw", options->raw, "every clause as emitted; variable 1 is the constant true");
  common.add_to(*command, {"--time-limit", "--memory-limit", "--stats", "--progress", "--div-by-zero",
                           "--words", "--set", "--trace", "--verbose"});
  command->callback(
      [options, &common, &action] { action = [options, &common] { return write(*options, common); }; });
}

}  // namespace vell::cli

// vell-bv profile FILE.smt2

#include <iostream>
#include <nlohmann/json.hpp>

#include "vell/cli/options.h"
#include "vell/cli/watchdog.h"
#include "vell/io/outputfile.h"
#include "vell/io/samefile.h"
#include "vell/report/profilejson.h"
#include "vell/report/tables.h"

namespace vell::cli {

namespace {

struct Arguments {
  cnf::CnfOptions cnf;
  std::string output = "-";
  bool json = false;
  std::string against;
  std::size_t top = 20;
};

void write(std::string const& path, std::string const& text) {
  io::OutputFile file(path);
  file.write(text.data(), text.size());
  file.commit();
}

int run(Arguments arguments, CommonOptions const& common) {
  engine::Console console;
  run::Limits limits;
  run::Statistics statistics;
  arguments.cnf.free_division = common.div_by_zero == "free";
  for (std::string const& t : common.tunables) arguments.cnf.tunables.set(t);
  if (!common.words.empty()) arguments.cnf.passes = words::parse_passes(common.words);

  Watchdog watchdog(common, console, limits, statistics, "");
  int code = exit_error;
  try {
    for (std::string const& input : {arguments.cnf.input, arguments.against})
      if (!input.empty()) io::refuse_same_file(arguments.output, input);
    nlohmann::ordered_json other;
    if (!arguments.against.empty()) other = report::read_profile(arguments.against);
    report::Profile const profile = report::measure(arguments.cnf, limits, statistics);
    statistics.enter(run::Phase::writing);
    std::string const text =
        arguments.json ? report::json_text(report::to_json(profile, arguments.top, limits))
        : arguments.against.empty()
            ? report::tables(profile, arguments.top, limits)
            : report::difference(other, report::to_json(profile, 0, limits), arguments.top);
    limits.check();
    write(arguments.output, text);
    code = 0;
  } catch (run::Stopped const& e) {
    console.message("no profile: ", e.what());
  } catch (Exception const& e) {
    console.message(e.what());
  } catch (std::bad_alloc const&) {
    console.message("no profile: out of memory");
  }
  watchdog.finish(code);
}

}  // namespace

void add_profile(CLI::App& app, CommonOptions& common, Action& action) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = app.add_subcommand("profile", "say which terms the clauses of a query come from");
  command->add_option("FILE", arguments->cnf.input, "SMT-LIB script; - is standard input")
      ->required()
      ->type_name("");
  command->add_option("--query", arguments->cnf.query, "which check-sat, the first without")
      ->type_name("N")
      ->check(count());
  command->add_option("--top", arguments->top, "how many assertions and terms are listed: 20 without")
      ->type_name("N")
      ->check(count());
  CLI::Option* const json =
      command->add_flag("--json", arguments->json, "all of it as JSON (docs/profile.md)");
  command->add_option("--against", arguments->against, "the difference from a profile that --json wrote")
      ->type_name("OTHER.json")
      ->excludes(json);
  command
      ->add_option("-o,--output", arguments->output,
                   "file for the tables or the JSON; standard output without")
      ->type_name("OUT");
  common.add_to(*command, {"--time-limit", "--memory-limit", "--stats", "--progress", "--div-by-zero",
                           "--words", "--set"});
  command->callback(
      [arguments, &common, &action] { action = [arguments, &common] { return run(*arguments, common); }; });
}

}  // namespace vell::cli

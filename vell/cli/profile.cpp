// vell-bv profile FILE.smt2

#include "vell/cli/options.h"
#include "vell/cli/watchdog.h"
#include "vell/script/report.h"

namespace vell::cli {

namespace {

struct Arguments {
  std::string input;
  std::string output = "-";
  std::string page;  // "" for tables or JSON
  script::ProfileOptions options;
};

int run(Arguments arguments, CommonOptions const& common) {
  script::Console console;
  script::Control control;
  script::ProfileOptions& options = arguments.options;
  options.free_division = common.div_by_zero == "free";
  options.settings = common.tunables;
  if (!common.words.empty()) options.words = common.words;

  Watchdog watchdog(common, console, control, "");
  int code = exit_error;
  try {
    if (arguments.page.empty())
      script::write_profile(arguments.input, arguments.output, options, &control);
    else
      script::write_profile_page(arguments.input, arguments.page, options, &control);
    code = 0;
  } catch (script::Stopped const& e) {
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
  command->add_option("FILE", arguments->input, "SMT-LIB script; - is standard input")
      ->required()
      ->type_name("");
  command->add_option("--query", arguments->options.query, "which check-sat, the first without")
      ->type_name("N")
      ->check(count());
  command->add_option("--top", arguments->options.top, "how many assertions and terms are listed: 20 without")
      ->type_name("N")
      ->check(count());
  CLI::Option* const html =
      command->add_option("--html", arguments->page, "a page for a browser that needs nothing else")
          ->type_name("OUT.html");
  CLI::Option* const json =
      command->add_flag("--json", arguments->options.json, "all of it as JSON (docs/profile.md)")
          ->excludes(html);
  command
      ->add_option("--against", arguments->options.against, "the difference from a profile that --json wrote")
      ->type_name("OTHER.json")
      ->excludes(json)
      ->excludes(html);
  command
      ->add_option("-o,--output", arguments->output,
                   "file for the tables or the JSON; standard output without")
      ->type_name("OUT")
      ->excludes(html);
  common.add_to(*command, {"--time-limit", "--memory-limit", "--stats", "--progress", "--div-by-zero",
                           "--words", "--set"});
  command->callback(
      [arguments, &common, &action] { action = [arguments, &common] { return run(*arguments, common); }; });
}

}  // namespace vell::cli

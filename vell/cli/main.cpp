// The command line: parse, hand over, exit.

#include <cstdio>
#include <exception>

#include "vell/cli/options.h"
#include "vell/engine/scriptengine.h"

int main(int argc, char** argv) {
  using namespace vell;
  CLI::App app("Word-level bit-blaster: executes SMT-LIB scripts over bit-vectors, and writes them as CNF.", "vell-bv");
  app.set_version_flag("--version", std::string("vell-bv ") + engine::version);
  app.set_help_flag("-h,--help", "this text");
  app.require_subcommand(0, 1);
  app.get_formatter()->column_width(34);
  cli::CommonOptions common;
  cli::Action action;
  cli::add_solve(app, common, action);
  cli::add_cnf(app, common, action);
  cli::add_decode(app, common, action);
  cli::add_replay(app, common, action);

  try {
    app.parse(argc, argv);
    common.check(app);
  } catch (CLI::Success const& e) {
    return app.exit(e);
  } catch (CLI::ParseError const& e) {
    std::fprintf(stderr, "vell-bv: %s (see vell-bv --help)\n", e.what());
    return cli::exit_usage;
  }
  try {
    return action();
  } catch (std::exception const& e) {
    std::fprintf(stderr, "vell-bv: %s\n", e.what());
    return cli::exit_error;
  }
}

// The command line: parse it, run the command, exit.

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>

#include "vell/cli/options.h"
#include "vell/script/options.h"
#include "vell/script/process.h"
#include "vell/utils/version.h"

namespace vell::cli {

namespace {

// If the caller has closed a standard stream, the next file to be opened would become that stream. So each
// closed one is replaced by a descriptor that cannot be used either.
void fill_standard_descriptors() {
  for (int const fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(fd, F_GETFD) < 0)
      static_cast<void>(open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY));
}

int run(int argc, char** argv) {
  CLI::App app("Word-level bit-blaster: executes SMT-LIB scripts over bit-vectors, and writes them as CNF.",
               "vell-bv");
  app.set_version_flag("--version", std::string("vell-bv ") + VELL_VERSION);
  app.set_help_flag("-h,--help", "this text");
  app.require_subcommand(0, 1);
  app.get_formatter()->column_width(34);
  CommonOptions common;
  Action action;
  add_solve(app, common, action);
  add_cnf(app, common, action);
  add_profile(app, common, action);
  add_draw(app, common, action);
  add_decode(app, common, action);
  add_cubes(app, common, action);
  add_solve_cube(app, common, action);
  add_join(app, common, action);
  add_replay(app, common, action);
  // Listed here; implemented in normalised().
  app.add_subcommand("help", "this text, or that of a command");

  app.add_flag_callback(
      "--options",
      [] {
        std::cout << script::options_table();
        throw CLI::Success();
      },
      "list the passes on words and the numbers that --set changes");

  app.footer(exit_codes);

  std::vector<std::string> const given = normalised({argv + 1, argv + argc});
  try {
    app.parse(std::vector<std::string>(given.rbegin(), given.rend()));
    common.check(app);
  } catch (CLI::Success const& e) {
    int const code = app.exit(e);
    if (std::cout.flush()) return code;
    std::fputs("vell-bv: <stdout>: cannot write\n", stderr);
    return exit_error;
  } catch (CLI::ParseError const& e) {
    // The word at the end of the message, if it is an unexpected argument.
    std::string hint;
    if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError))
      for (std::string const& word : given)
        if (hint.empty()) hint = option_hint(app, word);
    std::fprintf(stderr, "vell-bv: %s%s (see vell-bv --help)\n", e.what(), hint.c_str());
    return exit_usage;
  }
  return action();
}

// An error that was not reported elsewhere.
int failed(char const* why) {
  std::fprintf(stderr, "vell-bv: %s\n", why);
  script::discard_temporaries();
  return exit_error;
}

}  // namespace

}  // namespace vell::cli

int main(int argc, char** argv) {
  vell::cli::fill_standard_descriptors();
  signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is a write that fails
  vell::script::prepare_for_shortage();
  try {
    return vell::cli::run(argc, argv);
  } catch (std::bad_alloc const&) {
    return vell::cli::failed("out of memory");
  } catch (std::exception const& e) {
    return vell::cli::failed(e.what());
  }
}

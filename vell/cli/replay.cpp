// vell-bv replay [FILE]

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "vell/cli/options.h"
#include "vell/script/error.h"
#include "vell/script/process.h"

namespace vell::cli {

namespace {

int run(std::string const& path) {
  bool const standard_input = path == "-";
  std::string const name = standard_input ? "<stdin>" : path;
  std::ios::sync_with_stdio(false);
  std::ifstream file;
  if (!standard_input) {
    errno = 0;
    file.open(path);
    if (!file.is_open() || std::filesystem::is_directory(path)) {
      char const* reason = std::filesystem::is_directory(path) ? "Is a directory" : std::strerror(errno);
      std::fprintf(stderr, "vell-bv: %s:1:1: cannot read: %s\n", name.c_str(), reason);
      return exit_error;
    }
  }
  int code = 0;
  try {
    script::replay(name, standard_input ? std::cin : file, std::cout);
  } catch (script::Error const& e) {
    std::cout.flush();
    std::fprintf(stderr, "vell-bv: %s\n", e.what());
    code = exit_error;
  } catch (std::bad_alloc const&) {
    std::cout.flush();
    std::fprintf(stderr, "vell-bv: %s: out of memory\n", name.c_str());
    code = exit_error;
  } catch (std::ios::failure const&) {
    std::cout.flush();
    std::fprintf(stderr, "vell-bv: %s: cannot read\n", name.c_str());
    code = exit_error;
  }
  if (!std::cout.flush()) {
    std::fputs("vell-bv: <stdout>: cannot write\n", stderr);
    code = exit_error;
  }
  return code;
}

}  // namespace

void add_replay(CLI::App& app, CommonOptions& common, Action& action) {
  auto file = std::make_shared<std::string>("-");
  CLI::App* command = app.add_subcommand("replay", "run a script of single calls and print every event");
  command->add_option("FILE", *file, "script; - or none is standard input")->type_name("");
  common.add_to(*command, {});
  command->callback([file, &action] { action = [file] { return run(*file); }; });
}

}  // namespace vell::cli

// The command line, one argument a line, and values of options in scripts.

#include <algorithm>

#include "tests/fuzz/fuzz.h"
#include "vell/cli/options.h"
#include "vell/engine/options.h"
#include "vell/terms/exception.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  using namespace vell;
  std::string const text(reinterpret_cast<char const*>(data), size);
  std::vector<std::string> arguments;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) arguments.push_back(line);
  for (std::string const& a : arguments) {
    if (auto const value = engine::string_value(a); value && value->size() + 2 > a.size())
      fuzz::finding("longer", a);
    if (auto const n = engine::numeral_value(a); n && std::to_string(*n).size() > a.size())
      fuzz::finding("larger", a);
    try {
      engine::words_option(a);
    } catch (Exception const&) {
    }
  }
  CLI::App app("fuzz", "vell-bv");
  app.require_subcommand(0, 1);
  cli::CommonOptions common;
  cli::Action action;
  cli::add_solve(app, common, action);
  cli::add_cnf(app, common, action);
  cli::add_decode(app, common, action);
  cli::add_replay(app, common, action);
  std::reverse(arguments.begin(), arguments.end());  // as CLI11 wants a vector
  try {
    app.parse(arguments);
    common.check(app);
    if (!action) fuzz::finding("nothing to do, and no error", text);
  } catch (CLI::Error const&) {
  }
  return 0;
}

#include "vell/cli/options.h"

#include <algorithm>

namespace vell::cli {

namespace {
constexpr char group[] = "Options everywhere";
}

void CommonOptions::check(CLI::App const& app) const {
  std::vector<CLI::App*> const given = app.get_subcommands();
  CLI::App const& command = given.empty() ? app : *given[0];
  std::vector<std::string_view> const& honoured = honoured_.at(&command);
  for (CLI::App const* a = &command; a != nullptr; a = a->get_parent())
    for (CLI::Option const* option : a->get_options()) {
      if (option->get_group() != group || option->count() == 0) continue;
      std::string const name = option->get_name();
      if (std::find(honoured.begin(), honoured.end(), name) == honoured.end())
        throw CLI::ValidationError(name, "has no meaning for " + command.get_name());
    }
}

void CommonOptions::add_to(CLI::App& command, std::initializer_list<std::string_view> honoured) {
  honoured_[&command] = honoured;
  auto keep = [](CLI::Option* option) { option->group(group); };
  keep(command.add_option("--time-limit", time_limit, "seconds of wall-clock time for the run")
           ->type_name("S")
           ->check(CLI::PositiveNumber));
  keep(command.add_option("--memory-limit", memory_limit, "memory of the process")
           ->type_name("MIB")
           ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1} << 40)));
  keep(command.add_option("--seed", seed, "seed of the SAT solver")->type_name("N")->check(CLI::Range(0, 2000000000)));
  keep(command.add_option("--threads", threads, "1: one search only; 2: a second one joins in where it takes long")
           ->type_name("N")
           ->check(CLI::Range(1, 2)));
  keep(command.add_flag("--stats{text}", stats, "figures on stderr at the end: text or json")
           ->check(CLI::IsMember({"text", "json"})));
  keep(command.add_flag("--progress{always}", progress, "progress line on stderr: auto, always or never")
           ->check(CLI::IsMember({"auto", "always", "never"})));
  keep(command.add_option("--proof", proof, "DRAT proof of the one unsat answer")->type_name("OUT.drat"));
  keep(command.add_option("--div-by-zero", div_by_zero, "value of a division by zero: smtlib or free")
           ->check(CLI::IsMember({"smtlib", "free"})));
  keep(command.add_option("--trace", trace, "clausifier's trace on stderr, up to this level")
           ->type_name("LEVEL")
           ->check(CLI::Range(0, 5)));
  keep(command.add_flag("-v,--verbose", verbosity, "say more on stderr"));
}

}  // namespace vell::cli

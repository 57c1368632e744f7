#include "vell/cli/options.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "vell/terms/exception.h"

namespace vell::cli {

namespace {
constexpr char group[] = "Options everywhere";

// "", or why the text is no valid assignment.
std::string check_tunable(std::string const& text) {
  try {
    script::check_setting(text);
    return "";
  } catch (Exception const& e) {
    return e.what();
  }
}

// "", or why the text is no list of passes.
std::string check_passes(std::string const& text) {
  try {
    script::check_words(text);
    return "";
  } catch (Exception const& e) {
    return e.what();
  }
}
}  // namespace

int print(std::string const& text) {
  bool const written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (std::fflush(stdout) == 0 && written) return 0;
  std::fputs("vell-bv: <stdout>: cannot write\n", stderr);
  return exit_error;
}

CLI::Validator seconds() {
  return CLI::Validator(
      [](std::string& text) {
        double value = 0;
        auto const [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
        bool const good =
            status == std::errc() && end == text.data() + text.size() && std::isfinite(value) && value > 0;
        return good ? std::string() : "takes a number of seconds above 0, such as 2.5, not `" + text + "`";
      },
      "");
}

CLI::Validator count() {
  return CLI::Validator(
      [](std::string& text) {
        std::uint64_t value = 0;
        auto const [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
        bool const good = status == std::errc() && end == text.data() + text.size() && value > 0;
        return good ? std::string() : "takes an integer from 1 on, not `" + text + "`";
      },
      "");
}

std::vector<std::string> normalised(std::vector<std::string> arguments) {
  if (!arguments.empty() && arguments[0] == "help") {
    std::vector<std::string> out;
    if (arguments.size() > 1 && !arguments[1].starts_with('-')) out.push_back(arguments[1]);
    out.emplace_back("--help");
    return out;
  }
  std::vector<std::string> out;
  for (std::string& a : arguments) {
    std::string const last = out.empty() ? "" : out.back();
    bool const value = (last == "--stats" && (a == "text" || a == "json")) ||
                       (last == "--progress" && (a == "auto" || a == "always" || a == "never"));
    if (value)
      out.back() += "=" + a;
    else
      out.push_back(std::move(a));
  }
  return out;
}

std::string option_hint(CLI::App const& app, std::string const& word) {
  std::string const name = word.substr(0, word.find('='));
  std::vector<std::string> known;
  std::vector<CLI::App const*> apps = app.get_subcommands([](CLI::App const*) { return true; });
  apps.insert(apps.begin(), &app);
  for (CLI::App const* a : apps) {
    if (a != &app) known.push_back(a->get_name());
    for (CLI::Option const* o : a->get_options())
      if (name.starts_with("-"))
        for (std::string const& n : o->get_lnames()) known.push_back("--" + n);
  }
  return script::spelling_hint(name, known);
}

script::WordFormat CommonOptions::word_format() const {
  return values == "hex"   ? script::WordFormat::hexadecimal
         : values == "dec" ? script::WordFormat::decimal
                           : script::WordFormat::binary;
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
           ->check(seconds()));
  keep(
      command
          .add_option("--check-time-limit", check_time_limit, "seconds of wall-clock time for each check-sat")
          ->type_name("S")
          ->check(seconds()));
  keep(command
           .add_option("--conflict-limit", conflict_limit,
                       "conflicts of the SAT solver for each check-sat: the same answers on every machine")
           ->type_name("N")
           ->check(count()));
  keep(command.add_option("--memory-limit", memory_limit, "memory of the process")
           ->type_name("MIB")
           ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1} << 40)));
  keep(command.add_option("--seed", seed, "seed of the SAT solver")
           ->type_name("N")
           ->check(CLI::Range(0, 2000000000)));
  keep(command
           .add_option("--threads", threads,
                       "1: one search only; N: others join in where it takes long, N in all")
           ->type_name("N")
           ->check(CLI::Range(1, 256)));
  keep(command.add_flag("--deterministic", deterministic,
                        "searches of several threads take the same steps in every run"));
  keep(command.add_flag("--stats{text}", stats, "figures on stderr at the end: text or json")
           ->check(CLI::IsMember({"text", "json"})));
  keep(command.add_flag("--progress{always}", progress, "progress line on stderr: auto, always or never")
           ->check(CLI::IsMember({"auto", "always", "never"})));
  keep(command.add_option("--proof", proof, "DRAT proof of an unsat answer")->type_name("OUT.drat"));
  keep(command.add_option("--div-by-zero", div_by_zero, "value of a division by zero: smtlib or free")
           ->check(CLI::IsMember({"smtlib", "free"})));
  keep(command.add_option("--set", tunables, "changes one of the numbers that --options lists")
           ->type_name("NAME=VALUE")
           ->allow_extra_args(false)
           ->check(check_tunable));
  keep(command
           .add_option("--words", words,
                       "passes on words before clauses are made: all, none, or +NAME,-NAME (see --options)")
           ->type_name("PASSES")
           ->check(check_passes));
  keep(command.add_option("--trace", trace, "clausifier's trace on stderr, up to this level")
           ->type_name("LEVEL")
           ->check(CLI::Range(0, 5)));
  keep(
      command
          .add_option("--values", values, "values of bit-vectors: bin, hex where the width allows it, or dec")
          ->type_name("FORMAT")
          ->check(CLI::IsMember({"bin", "hex", "dec"})));
  keep(command.add_flag("-v,--verbose", verbosity, "say more on stderr"));
}

}  // namespace vell::cli

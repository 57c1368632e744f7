// vell-bv decode OUT.cnf SOLUTION

#include <cstdio>

#include "vell/cli/options.h"
#include "vell/script/cnf.h"
#include "vell/terms/exception.h"

namespace vell::cli {

namespace {

struct Arguments {
  std::string cnf;
  std::string solution;
  std::string script;
  std::uint64_t query = 0;
};

int run(Arguments const& given, script::WordFormat format) {
  try {
    std::string const text =
        given.script.empty() ? script::decode(given.cnf, given.solution, format)
                             : script::decode(given.cnf, given.solution, given.script, given.query, format);
    return print(text);
  } catch (Exception const& e) {
    std::fprintf(stderr, "vell-bv: %s\n", e.what());
  } catch (std::bad_alloc const&) {
    std::fputs("vell-bv: out of memory\n", stderr);
  }
  return exit_error;
}

}  // namespace

void add_decode(CLI::App& app, CommonOptions& common, Action& action) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = app.add_subcommand("decode", "turn a SAT solver's answer to a CNF file into a model");
  command->add_option("CNF", arguments->cnf, "file that `vell-bv cnf` wrote")->required()->type_name("");
  command->add_option("SOLUTION", arguments->solution, "the solver's s and v lines; - is standard input")
      ->required()
      ->type_name("");
  CLI::Option* const script =
      command->add_option("--script", arguments->script, "check the model against the script's assertions")
          ->type_name("FILE");
  command->add_option("--query", arguments->query, "which check-sat of the script, the first without")
      ->type_name("N")
      ->check(count())
      ->needs(script);
  common.add_to(*command, {"--values"});
  command->callback([arguments, &action, &common] {
    action = [arguments, &common] { return run(*arguments, common.word_format()); };
  });
}

}  // namespace vell::cli

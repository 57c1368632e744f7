// The reader and the engine: a script, with the simplifications on words and without, from one piece of
// memory and from a stream. The answers must not contradict each other.

#include "tests/fuzz/fuzz.h"
#include "vell/engine/engine.h"

namespace vell::fuzz {
namespace {

std::string execute(std::unique_ptr<io::Source> source, words::Passes passes) {
  std::string const answers = folder() + "/answers";
  unlink(answers.c_str());
  {
    engine::Console console;
    console.set_regular_channel(answers);
    run::Limits limits;
    Deadline const deadline(limits);
    run::Statistics statistics;
    engine::IncrementalSolverOptions options;
    options.passes = passes;
    options.least_saving = 0;
    engine::ScriptEngine(options, console, limits, statistics).run(std::move(source));
  }
  std::string out;
  std::istringstream lines(read_file(answers));
  for (std::string line; std::getline(lines, line);)
    if (line == "sat" || line == "unsat" || line == "unknown") out += line + " ";
  return out;
}

}  // namespace
}  // namespace vell::fuzz

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  using namespace vell;
  std::string const text(reinterpret_cast<char const*>(data), size);
  // A script may write to files of its choice, and set what is to be compared.
  if (fuzz::too_large(text) || text.find("output-channel") != std::string::npos ||
      text.find(":words") != std::string::npos)
    return -1;
  std::string const simplified = fuzz::execute(io::Source::text(text), words::Passes::all);
  std::string const plain = fuzz::execute(io::Source::blocks(text, 7), words::Passes::none);
  if (simplified.find("unknown") == std::string::npos && plain.find("unknown") == std::string::npos &&
      simplified != plain)
    fuzz::finding("answers differ", "simplified: " + simplified + "\nplain: " + plain);
  return 0;
}

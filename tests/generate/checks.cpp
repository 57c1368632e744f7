#include "tests/generate/checks.h"

#include "tests/generate/meaning.h"

namespace vell::generate {

void check_script(Script const& script, std::uint64_t seed, Counts& counts) {
  StructureCheck structure;
  StateCheck state;
  MeaningCheck meaning(seed);
  std::vector<std::string> const written = run(script, {&structure, &state, &meaning});
  ++counts.scripts;
  counts.lines += script.size();
  meaning.decide(counts);
  counts.comparisons += static_cast<std::uint64_t>(check_determinism(script, written));
}

}  // namespace vell::generate

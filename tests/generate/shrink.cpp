#include "tests/generate/shrink.h"

#include <algorithm>
#include <set>

namespace vell::generate {

namespace {

bool declares(std::vector<std::string> const& tokens) {
  return tokens.size() > 1 &&
         (tokens[0] == "var" || tokens[0] == "num" || tokens[0] == "rmconst" || tokens[0] == "term");
}

}  // namespace

Script without_undeclared(Script const& script, Script const& original) {
  std::set<std::string> names;
  for (std::string const& line : original)
    if (auto const tokens = tokens_of(line); declares(tokens)) names.insert(tokens[1]);
  std::set<std::string> declared;
  Script kept;
  for (std::string const& line : script) {
    std::vector<std::string> const tokens = tokens_of(line);
    bool const declaration = declares(tokens);
    bool const fits = std::all_of(tokens.begin(), tokens.end(), [&](std::string const& t) {
      return (declaration && t == tokens[1]) || names.count(t) == 0 || declared.count(t) != 0;
    });
    if (!fits) continue;
    if (declaration) declared.insert(tokens[1]);
    kept.push_back(line);
  }
  return kept;
}

Script shrink(Script const& script, StillFails const& still_fails) {
  Script current = script;
  for (std::size_t chunk = (script.size() + 1) / 2; chunk > 0;) {
    bool smaller = false;
    for (std::size_t begin = 0; begin < current.size();) {
      Script candidate = current;
      auto const first = candidate.begin() + static_cast<std::ptrdiff_t>(begin);
      candidate.erase(first, first + static_cast<std::ptrdiff_t>(std::min(chunk, current.size() - begin)));
      candidate = without_undeclared(candidate, script);
      if (still_fails(candidate)) {
        current = std::move(candidate);
        smaller = true;
      } else {
        begin += chunk;
      }
    }
    // Leaving out a line may make another one superfluous that was tried before.
    if (!smaller || chunk > 1) chunk /= 2;
  }
  return current;
}

}  // namespace vell::generate

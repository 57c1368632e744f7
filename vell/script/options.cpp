#include "vell/script/options.h"

#include <algorithm>

#include "vell/run/tunables.h"
#include "vell/smtlib/spelling.h"
#include "vell/words/simplifier.h"

namespace vell::script {

void check_words(std::string const& words) { words::parse_passes(words); }
void check_setting(std::string const& setting) { run::Tunables().set(setting); }

std::string options_table() {
  std::string out = "Passes on words (--words=+NAME,-NAME), in the order in which they run:\n\n";
  for (words::PassRow const& pass : words::passes()) {
    std::string name = pass.name;
    name.resize(std::max<std::size_t>(name.size() + 1, 24), ' ');
    out += name + pass.summary + '\n';
  }
  return out + "\nNumbers (--set NAME=VALUE): default, range, meaning:\n\n" + run::Tunables::table();
}

std::string spelling_hint(std::string const& word, std::vector<std::string> const& candidates) {
  smtlib::Spelling spelling(word);
  for (std::string const& c : candidates) spelling.offer(c);
  return spelling.hint();
}

}  // namespace vell::script

#include <vector>

#include "vell/words/rules/rule.h"

namespace vell::words {

std::span<Rule const> normal_rules() {
  return all_rules().first(all_rules().size() - rules::circuits().size());
}

std::span<Rule const> all_rules() {
  static std::vector<Rule> const table = [] {
    std::vector<Rule> out;
    for (std::span<Rule const> family :
         {rules::booleans(), rules::conditionals(), rules::equalities(), rules::comparisons(),
          rules::bitwise(), rules::sums(), rules::products(), rules::divisions(), rules::shifts(),
          rules::slices(), rules::circuits()})
      out.insert(out.end(), family.begin(), family.end());
    return out;
  }();
  return table;
}

}  // namespace vell::words

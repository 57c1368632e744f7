#pragma once

// Brings terms into a normal form, by the rules of vell/words/rules.
//
// Tested by tests/words/rewriter_test.cpp.

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "vell/run/limits.h"
#include "vell/terms/termmanager.h"
#include "vell/terms/termtable.h"
#include "vell/values/evaluator.h"
#include "vell/words/builder.h"
#include "vell/words/pass.h"
#include "vell/words/rules/rule.h"

namespace vell::words {

// Remembers what it was given: each term is rewritten once. tm and limits must outlive it.
class Rewriter {
 public:
  // rules: that bring about the normal form. free_division: terms whose operands leave their value open stay
  // as they are, with all below them.
  Rewriter(TermManager& tm, bool free_division, run::Limits const& limits,
           std::span<Rule const> rules = normal_rules());

  // An equivalent term in normal form. No recursion. Throws run::Stopped when the limits say so; what was
  // rewritten until then stays known.
  Term_ const* rewrite(Term_ const* t);

  // By place in the rules: how often the rule applied.
  std::vector<std::uint64_t> const& counts() const { return counts_; }
  // Terms with constant operands only that were computed.
  std::uint64_t folded() const { return folded_; }

 private:
  struct Form {
    Term_ const* normal = nullptr;  // null where not known
    Term_ const* next = nullptr;    // what a rule made of the term; null for none
  };

  Term_ const* known(Term_ const* t) const { return forms_.find(t).normal; }
  void set(Term_ const* t, Term_ const* normal) { forms_.at(t).normal = normal; }
  Term_ const* step(Term_ const* t);
  Term_ const* fold(Term_ const* t);

  TermManager& tm_;
  Builder const builder_;
  std::span<Rule const> const rules_;
  bool const free_division_;
  run::Limits const& limits_;
  values::Evaluator evaluator_;
  std::array<std::vector<std::uint32_t>, 64> rules_of_;  // by operator: places in rules_
  TermTable<Form> forms_;
  std::vector<std::uint64_t> counts_;
  std::uint64_t folded_ = 0;
  std::uint64_t steps_ = 0;
  std::uint64_t visited_ = 0;
};

// The pass "rewrite".
std::unique_ptr<Pass> make_rewriter(PassContext const& context);

}  // namespace vell::words

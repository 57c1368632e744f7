// A term is taken up when its operands are in normal form. Rules are tried in their order until none applies;
// what a rule gives is taken up in the place of the term, with the new terms below it.
//
// Every rule makes a term smaller or brings it into an order, so this ends. A rule that broke this would make
// a chain of steps without an end: after a number of steps that no script needs, rules are no longer tried.

#include "vell/words/rewriter.h"

#include "vell/words/operands.h"

namespace vell::words {

namespace {

constexpr std::uint64_t steps_per_term = 64;
constexpr std::uint64_t least_steps = 1'000'000;

// Terms that are folded have no variables.
class NoVariables : public values::Assignment {
 public:
  void read(Term_ const*, std::uint64_t, std::uint64_t*) const override {}
};
NoVariables const no_variables;

}  // namespace

Rewriter::Rewriter(TermManager& tm, bool free_division, run::Limits const& limits,
                   std::span<Rule const> rules)
    : tm_(tm),
      builder_(tm),
      rules_(rules),
      free_division_(free_division),
      limits_(limits),
      evaluator_(tm, free_division) {
  evaluator_.set_assignment(no_variables);
  counts_.resize(rules.size());
  for (std::uint32_t tag = 0; tag < rules_of_.size(); ++tag)
    for (std::uint32_t i = 0; i < rules.size(); ++i)
      if (rules[i].roots.contain(tag)) rules_of_[tag].push_back(i);
}

Term_ const* Rewriter::rewrite(Term_ const* root) {
  if (Term_ const* normal = known(root)) return normal;
  std::vector<Term_ const*> stack{root};
  std::vector<Term_ const*> operands;
  while (!stack.empty()) {
    limits_.check();
    Term_ const* const t = stack.back();
    if (known(t) != nullptr) {
      stack.pop_back();
      continue;
    }
    // What a rule made of the term is in normal form when the term is on top again. If it is not, it waits
    // for this very term, which no rule may bring about; then the term stays.
    if (Term_ const* const next = forms_.find(t).next) {
      Term_ const* const normal = known(next);
      set(t, normal != nullptr ? normal : t);
      stack.pop_back();
      continue;
    }
    if (open_valued(tm_, t, free_division_) || t->symbol->arity == 0) {
      set(t, t);
      stack.pop_back();
      continue;
    }
    if (push_operands(t, stack, [this](Term_ const* o) { return known(o) == nullptr; })) continue;
    ++visited_;
    bool const changed = map_operands(t, operands, [this](Term_ const* o) { return known(o); });
    Term_ const* const now = changed ? tm_.mk_term(t->symbol, operands) : t;
    if (now != t && known(now) != nullptr) {
      set(t, known(now));
      stack.pop_back();
      continue;
    }
    Term_ const* const after = step(now);
    if (after == now) {
      set(now, now);
      set(t, now);
      stack.pop_back();
      continue;
    }
    forms_.at(t).next = after;
    stack.push_back(after);
  }
  return known(root);
}

// What the first rule that applies makes of a term whose operands are in normal form; the term itself for
// none.
Term_ const* Rewriter::step(Term_ const* t) {
  std::uint32_t const tag = tm_.get_tag(t->symbol);
  if (tag >= rules_of_.size() || steps_ > least_steps + steps_per_term * visited_) return t;
  if (Term_ const* constant = fold(t)) {
    ++folded_;
    return constant;
  }
  for (std::uint32_t i : rules_of_[tag]) {
    Term_ const* const after = rules_[i].apply(builder_, t);
    if (after == nullptr || after == t) continue;
    ++counts_[i];
    ++steps_;
    return after;
  }
  return t;
}

// The value of an operator over constants; null where an operand is none.
Term_ const* Rewriter::fold(Term_ const* t) {
  for (std::uint64_t i = 0; i < t->symbol->arity; ++i)
    if (!builder_.is_constant(t->children[i])) return nullptr;
  std::uint64_t const width = builder_.width(t);
  if (t->symbol->arity == 0 || (width == 0 && !builder_.is_bool(t)) ||
      tm_.get_tag(t->symbol) == SymbolTag::none)
    return nullptr;
  for (std::uint64_t i = 0; i < t->symbol->arity; ++i)
    if (builder_.width(t->children[i]) == 0 && !builder_.is_bool(t->children[i])) return nullptr;
  std::uint64_t const* const words = evaluator_.value(t);
  if (width == 0) return tm_.mk_bool((words[0] & 1) != 0);
  return tm_.mk_number(QNumber::from_words(words, (width + 63) / 64), tm_.bv_type(width));
}

namespace {

class RewriterPass : public Pass {
 public:
  explicit RewriterPass(PassContext const& context)
      : rewriter_(context.tm, context.free_division, context.limits) {}

  std::uint64_t apply(Formulas& formulas) override {
    std::uint64_t replaced = 0;
    formulas.each([&](Formula& f) {
      Term_ const* const now = rewriter_.rewrite(f.term);
      replaced += now != f.term ? 1 : 0;
      f.term = now;
    });
    formulas.replace_values([this](Term_ const* t) { return rewriter_.rewrite(t); });
    return replaced;
  }

 private:
  Rewriter rewriter_;
};

}  // namespace

std::unique_ptr<Pass> make_rewriter(PassContext const& context) {
  return std::make_unique<RewriterPass>(context);
}

}  // namespace vell::words

// A search in depth that goes through replaced terms as if what stands for them were their only operand. A
// cycle comes back to a replaced term that is entered but not left: that term stays, and breaks it.

#include "vell/words/substitution.h"

#include <vector>

#include "vell/words/operands.h"

namespace vell::words {

void Substitution::replace(Term_ const* t, Term_ const* by) {
  entries_.at(t).by = by;
  empty_ = false;
}

Term_ const* Substitution::apply(Term_ const* root) {
  if (Term_ const* image = known(root)) return image;
  std::vector<Term_ const*> stack{root};
  std::vector<Term_ const*> operands;
  while (!stack.empty()) {
    limits_.check();
    Term_ const* const t = stack.back();
    if (known(t) != nullptr) {
      stack.pop_back();
      continue;
    }
    Entry const entry = entries_.find(t);
    if (entry.by != nullptr && !entry.stays) {
      Term_ const* const by = entry.by;
      if (Term_ const* image = known(by)) {
        set(t, image);
        stack.pop_back();
      } else if (entry.entered) {
        entries_.at(t).stays = true;
      } else {
        entries_.at(t).entered = true;
        stack.push_back(by);
      }
      continue;
    }
    if (t->symbol->arity == 0 || open_valued(tm_, t, free_division_)) {
      set(t, t);
      stack.pop_back();
      continue;
    }
    if (push_operands(t, stack, [this](Term_ const* o) { return known(o) == nullptr; })) continue;
    bool const changed = map_operands(t, operands, [this](Term_ const* o) { return known(o); });
    set(t, changed ? tm_.mk_term(t->symbol, operands) : t);
    stack.pop_back();
  }
  return known(root);
}

Term_ const* Substitution::apply_below(Term_ const* t) {
  if (open_valued(tm_, t, free_division_)) return t;
  for (std::uint64_t i = 0; i < t->symbol->arity; ++i) apply(t->children[i]);
  std::vector<Term_ const*> operands;
  bool const changed = map_operands(t, operands, [this](Term_ const* o) { return known(o); });
  return changed ? tm_.mk_term(t->symbol, operands) : t;
}

}  // namespace vell::words

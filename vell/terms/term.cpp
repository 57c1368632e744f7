#include "vell/terms/term.h"

namespace vell {

std::string Term_::to_shallow_str() const {
  if (symbol->label_ != nullptr) return symbol->label_;
  if (symbol->arity == 0) return symbol->name;
  std::string s = "(";
  s += symbol->name;
  for (std::uint64_t i = 0; i < symbol->arity; ++i) {
    Term_ const* c = children[i];
    s += ' ';
    if (c->symbol->label_ != nullptr)
      s += c->symbol->label_;
    else if (c->symbol->arity == 0)
      s += c->symbol->name;
    else
      s += "#" + std::to_string(c->id);
  }
  return s + ")";
}

}  // namespace vell

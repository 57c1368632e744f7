#include "vell/terms/term.h"

namespace vell {

// A name is made a string before it is appended: a null one is then a std::logic_error, as it is of every
// string.

std::string Term_::to_shallow_str() const {
  if (symbol->label_ != nullptr) return symbol->label_;
  if (symbol->arity == 0) return symbol->name;
  std::string s = "(" + std::string(symbol->name);
  for (std::uint64_t i = 0; i < symbol->arity; ++i) {
    Term_ const* c = children[i];
    s += ' ';
    if (c->symbol->label_ != nullptr)
      s += c->symbol->label_;
    else if (c->symbol->arity == 0)
      s += std::string(c->symbol->name);
    else
      s += "#" + std::to_string(c->id);
  }
  return s + ")";
}

}  // namespace vell

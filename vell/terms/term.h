#pragma once

#include <cstdint>
#include <string>

#include "vell/terms/symbol.h"
#include "vell/utils/export.h"

namespace vell {

// A node of the hash-consed term DAG: immutable, owned by its TermManager, compared by pointer.
// Children are made before their parents, so a child's id is below its parent's.
struct VELL_API Term_ {
  std::uint64_t id;      // unique within the manager, counted from 1
  Symbol const* symbol;  // the operator
  // symbol->arity of them, in argument order. A flexible array: both compilers have it, as an extension.
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wc99-extensions"
#endif
  __extension__ Term_ const* children[];
#ifdef __clang__
#pragma clang diagnostic pop
#endif

  // One level of the term as text: "x", "(bvadd x #17)"; a child with arguments of its own prints as # and
  // its id.
  std::string to_shallow_str() const;
};

}  // namespace vell

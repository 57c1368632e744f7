#pragma once

// Functions with parameters, as define-fun defines them.
//
// Tested by tests/smtlib/macro_test.cpp.

#include <cstdint>
#include <span>
#include <vector>

#include "vell/terms/termmanager.h"

namespace vell::smtlib {

// A body over parameter variables, prepared for substitution.
//
// Only the terms that contain a parameter change. They are stored in a list, children first; each child is an
// index into that list or a term. An instance is built by one pass over the list, in time linear in the size
// of the body's DAG, without look-ups and without a stack.
struct Macro {
  // The parameters are variables made only for this body, before any of its terms, in the order of their ids.
  Macro(std::vector<Term_ const*> parameters, Term_ const* body);

  Type const* result_type() const { return body->symbol->get_output_type(); }

  // The body with arguments[i] substituted for parameter i. Number and sorts of the arguments must match.
  Term_ const* instance(TermManager& terms, std::span<Term_ const* const> arguments) const;

  std::vector<Term_ const*> parameters;
  Term_ const* body;

 private:
  // A term without parameters or, if it is null, an index: parameters first, then steps.
  struct Child {
    Term_ const* term;
    std::uint32_t place;
  };
  struct Step {
    Symbol const* symbol;
    std::uint64_t first_child;  // in children_
  };

  std::vector<Step> steps_;
  std::vector<Child> children_;
  Child result_;
  std::uint64_t widest_ = 0;  // the most children of a step
};

// Whether one of the variables occurs in the term. No variable or term made before the variable with the
// least id is visited.
bool occurs(std::span<Term_ const* const> variables, Term_ const* term);

}  // namespace vell::smtlib

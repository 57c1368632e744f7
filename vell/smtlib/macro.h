#pragma once

// Defined functions with parameters.
//
// Tested by tests/smtlib/macro_test.cpp.

#include <cstdint>
#include <span>
#include <vector>

#include "vell/terms/termmanager.h"

namespace vell::smtlib {

// A body over parameter variables, prepared for putting arguments in their place.
//
// Only the terms of the body in which a parameter occurs change; they are kept in an order with children
// first, each child given by its place in that order or as the term itself. An instance is one pass over this
// list: linear in the size of the body's DAG, however often its parts are shared, and without a look-up or a
// stack.
struct Macro {
  // The parameters are variables made for this body alone, in the order of their ids, before any term of it.
  Macro(std::vector<Term_ const*> parameters, Term_ const* body);

  Type const* result_type() const { return body->symbol->get_output_type(); }

  // The body with arguments[i] for parameter i; sorts and number must fit.
  Term_ const* instance(TermManager& terms, std::span<Term_ const* const> arguments) const;

  std::vector<Term_ const*> parameters;
  Term_ const* body;

 private:
  // A term without parameters, or, where it is null, a place: first the parameters, then the steps.
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

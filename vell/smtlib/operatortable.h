#pragma once

// The operators of the theories as the reader uses them: the table of vell/terms/theory.h, and what is said
// of names that are not in it.
//
// Tested by tests/smtlib/operators_test.cpp.

#include <string_view>

#include "vell/terms/theory.h"

namespace vell::smtlib {

using theory::apply;
using theory::max_width;
using theory::Operator;
using theory::operator_table;
using theory::Sorts;

// Why a symbol that is not known cannot be used, for names of theories that are not read here: "floating
// point is not supported yet". Null for any other name.
char const* refusal(std::string_view name);

}  // namespace vell::smtlib

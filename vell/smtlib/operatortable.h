#pragma once

// The operators that the reader knows: the table of vell/terms/theory.h, and messages for names that are not
// in it.
//
// Tested by tests/smtlib/operators_test.cpp.

#include <string_view>

#include "vell/terms/theory.h"

namespace vell::smtlib {

using theory::apply;
using theory::floating_operator_table;
using theory::max_width;
using theory::Operator;
using theory::operator_table;
using theory::Sorts;

// Why an unknown symbol cannot be used, for names of unsupported theories: "arrays are not supported". Null
// for any other name.
char const* refusal(std::string_view name);

}  // namespace vell::smtlib

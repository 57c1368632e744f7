#pragma once

// What the table of operators (symboltag.h) says of the operator behind a symbol tag.
//
// Tested by tests/terms/operators_test.cpp.

#include <string>

#include "vell/terms/exception.h"
#include "vell/terms/symbol.h"
#include "vell/terms/symboltag.h"
#include "vell/terms/type.h"
#include "vell/utils/export.h"

namespace vell {

// An application whose arguments do not fit its operator. what() is one line without a position.
struct VELL_API SortError : Exception {
  using Exception::Exception;
};

// The name of an operator as SMT-LIB writes it ("bvadd", "extract"); "?" for a tag without one.
VELL_API char const* operator_name(SymbolTag::tag tag);

// The number of arguments mk_app takes for the operator; -1 for a tag that mk_app does not build.
VELL_API int operator_arity(SymbolTag::tag tag);

// Number of parameters of an indexed operator: 2 for extract, 1 for rotations and extensions, 0 otherwise.
VELL_API unsigned operator_parameters(SymbolTag::tag tag);

// Whether exchanging the two arguments gives an equal term.
VELL_API bool operator_commutative(SymbolTag::tag tag);

// What the queries of TermManager, such as is_bv_extract, know a symbol of the operator by.
VELL_API Symbol::Role operator_role(SymbolTag::tag tag);

// The type as SMT-LIB writes it: "(_ BitVec 8)", "Bool", "(_ FloatingPoint 8 24)" (with the hidden bit).
VELL_API std::string sort_text(Type const* type);

}  // namespace vell

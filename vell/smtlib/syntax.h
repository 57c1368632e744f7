#pragma once

// Grammar that sorts, terms and commands share.

#include <cstdint>

#include "vell/smtlib/lexer.h"
#include "vell/smtlib/symboltable.h"

namespace vell::smtlib {

// The value of the current token, a numeral. Throws Error if it is no numeral or exceeds 64 bits.
std::uint64_t read_numeral(Lexer const& lexer);
// Throws Error unless the next token is a closing parenthesis; `where` completes "expected `)` ".
void expect_close(Lexer& lexer, char const* where);
// Throws Error unless the next token is an opening parenthesis; `what` completes "expected ".
void expect_open(Lexer& lexer, char const* what);
// The current token, a symbol. Throws Error if it is none; `what` completes "expected ".
Name* read_symbol(Lexer const& lexer, SymbolTable& symbols, char const* what);
// Throws Error if a script may not declare the symbol: names that begin with `.` or `@` are reserved for
// solvers.
void check_not_reserved(Lexer const& lexer, Name const* name, std::uint64_t offset);
// After a keyword: skips the attribute's value, if there is one. The current token is the one after it.
void skip_attribute_value(Lexer& lexer, SymbolTable& symbols);

}  // namespace vell::smtlib

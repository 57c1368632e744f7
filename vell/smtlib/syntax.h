#pragma once

// Pieces of grammar that sorts, terms and commands share.

#include <cstdint>

#include "vell/smtlib/lexer.h"
#include "vell/smtlib/symboltable.h"

namespace vell::smtlib {

// The value of the numeral that is the current token. Throws Error when it is none or does not fit 64 bits.
std::uint64_t read_numeral(Lexer const& lexer);
// Throws Error unless the next token is a closing parenthesis; `where` completes "expected `)` ".
void expect_close(Lexer& lexer, char const* where);
// Throws Error unless the next token is an opening parenthesis; `what` completes "expected ".
void expect_open(Lexer& lexer, char const* what);
// The symbol that is the current token. Throws Error when it is none; `what` completes "expected ".
Name* read_symbol(Lexer const& lexer, SymbolTable& symbols, char const* what);
// Throws Error when the symbol may not be declared by a script: names that begin with `.` or `@` are the
// solver's own.
void check_not_reserved(Lexer const& lexer, Name const* name, std::uint64_t offset);
// Behind a keyword: passes over the attribute's value, if it has one. The current token is the one behind it.
void skip_attribute_value(Lexer& lexer, SymbolTable& symbols);

}  // namespace vell::smtlib

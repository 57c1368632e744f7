#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "vell/terms/termmanager.h"

namespace vell::smtlib {

// The term as SMT-LIB text. A subterm with operands that occurs more than once is named by a let, so the text
// is linear in the size of the DAG. The names are prefix and a number; no symbol of the script may have this
// form. Tested by tests/smtlib/termprinter_test.cpp.
std::string term_text(TermManager const& tm, Term_ const* t, std::string_view prefix = "_t");

// Symbols, as they must be printed, for terms that are to be printed as one.
using TermNames = std::unordered_map<Term_ const*, std::string>;

// The same; nothing is printed below a term that has a name.
std::string term_text(TermManager const& tm, Term_ const* t, std::string_view prefix, TermNames const& names);

// One level of the term: an argument that has arguments itself is printed as # and its id.
std::string shallow_text(TermManager const& tm, Term_ const* t);

// The term in at most so many bytes, if one level fits: as many levels as do, at most six, with # and an id
// for what is below them. Otherwise one level, cut and ended by "...".
std::string short_text(TermManager const& tm, Term_ const* t, std::size_t most);

}  // namespace vell::smtlib

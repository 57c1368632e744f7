#pragma once

// Parses sorts.
//
// Tested by tests/smtlib/terms_test.cpp and tests/smtlib/commands_test.cpp.

#include <unordered_map>
#include <vector>

#include "vell/smtlib/lexer.h"
#include "vell/smtlib/symboltable.h"
#include "vell/terms/termmanager.h"

namespace vell::smtlib {

class SortParser {
 public:
  SortParser(TermManager& terms, Lexer& lexer, SymbolTable& symbols);

  // The sort that begins with the current token.
  Type const* parse();
  // The body of a sort definition with these parameters.
  SortDefinition parse_definition(std::vector<Name*> const& parameters);

 private:
  // A sort, or, with type null, a parameter of the definition that is being read.
  struct Value {
    Type const* type;
    std::uint64_t parameter;
  };
  struct Frame {
    Name const* name;
    std::size_t base;  // of its arguments in values_
    std::uint64_t offset;
  };

  Value parse_value();
  Value symbol_value();
  Value close();
  Type const* indexed();
  Type const* floating_point();
  Type const* named(Name const* name) const;
  [[noreturn]] void unknown(Name const* name) const;
  [[noreturn]] void wrong_count(Name const* name, std::size_t given, std::uint64_t offset) const;

  TermManager& terms_;
  Lexer& lexer_;
  SymbolTable& symbols_;
  Name* bool_;
  Name* bit_vec_;
  Name* floating_point_;
  std::vector<Frame> frames_;
  std::vector<Value> values_;
  std::unordered_map<Name const*, std::uint64_t> parameters_;
  // Sorts of the theories without an index: RoundingMode and the formats with a name. The type of a format is
  // made when it is used.
  struct NamedSort {
    Name* name;
    std::uint64_t exponent_width;  // 0 for RoundingMode
    std::uint64_t significand_width;
  };
  std::vector<NamedSort> named_;
  std::vector<Type const*> words_;  // sorts of small widths, null until used
};

}  // namespace vell::smtlib

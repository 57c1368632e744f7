#pragma once

// Parses terms.
//
// Tested by tests/smtlib/terms_test.cpp and operators_test.cpp.

#include <cstdint>
#include <string>
#include <vector>

#include "vell/smtlib/lexer.h"
#include "vell/smtlib/operatortable.h"
#include "vell/smtlib/rationalliteral.h"
#include "vell/smtlib/reader.h"
#include "vell/smtlib/sortparser.h"
#include "vell/smtlib/symboltable.h"

namespace vell::smtlib {

class TermParser {
 public:
  TermParser(TermManager& terms, Lexer& lexer, SymbolTable& symbols, SortParser& sorts);

  // Parses the term that begins with the current token; afterwards its last token is the current one. Terms
  // that are named inside are declared in the symbol table and appended to `named`.
  Term_ const* parse(std::vector<NamedTerm>& named);
  // The name of the whole term parsed last; "" if it has none.
  std::string const& outer_name() const { return outer_name_; }

  // Resets the state after an error in a term. The caller removes the local meanings from the symbol table.
  void recover();

  // Variables that may not occur in a named term: the parameters of the definition that is being read.
  void set_parameters(std::vector<Term_ const*> parameters) { parameters_ = std::move(parameters); }

 private:
  enum class Kind : std::uint8_t { operation, macro, let_bindings, let_body, annotation };
  // An open parenthesis. 24 bytes, since ten million of them may be open.
  struct Frame {
    union {
      Operator const* op;
      Macro const* macro;
    };
    std::uint64_t offset : 55;    // of the parenthesis
    std::uint64_t qualified : 1;  // the result's sort is stated, on qualified_
    Kind kind;
    std::uint32_t base;  // of its values in values_
    std::uint32_t mark;  // let: of its binders in binders_, then of what they shadow
  };
  struct Binder {
    Name* name;
    std::uint64_t offset;
  };

  Term_ const* open();
  Term_ const* close();
  bool deliver(Term_ const*& value);
  Frame& push(Kind kind, std::uint64_t offset);
  void push_function(Name const* name, std::uint64_t offset);
  void push_indexed_function(std::uint64_t offset);
  void open_compound_head(std::uint64_t offset);

  Term_ const* plain_symbol();
  Term_ const* constant(Name const* name, std::uint64_t offset);
  Term_ const* bit_vector_numeral();
  Term_ const* indexed_constant();
  bool takes_rational() const;
  Term_ const* rational();
  bool takes_exponent() const;
  void scale_rational();
  Term_ const* qualified_constant(std::uint64_t offset);
  Term_ const* literal(unsigned bits_per_digit);
  Term_ const* number(std::uint64_t value, std::uint64_t width);
  void check_sort(Term_ const* term, Type const* sort, std::uint64_t offset) const;

  bool next_binding(Frame& frame);
  void read_attributes(Term_ const* term);
  void name_term(Term_ const* term);

  [[noreturn]] void unknown(Name const* name, std::uint64_t offset) const;
  std::string bit_vector_hint() const;
  [[noreturn]] void not_a_term() const;

  TermManager& terms_;
  Lexer& lexer_;
  SymbolTable& symbols_;
  SortParser& sorts_;

  std::vector<Frame> frames_;
  std::vector<Term_ const*> values_;
  std::vector<Binder> binders_;
  std::vector<std::uint64_t> indices_;
  std::vector<Type const*> qualified_;
  std::vector<Term_ const*> parameters_;
  std::vector<NamedTerm>* named_ = nullptr;
  std::string outer_name_;
  RationalLiteral rational_;       // the one that was read last
  std::uint64_t rational_of_ = 0;  // place of the to_fp that rounds it in frames_, plus 1

  // A cache of recent numerals of up to 64 bits, which saves look-ups in the manager's table.
  struct Recent {
    std::uint64_t value = 0;
    std::uint64_t width = 0;
    Term_ const* term = nullptr;
  };
  std::vector<Recent> recent_ = std::vector<Recent>(1024);
};

}  // namespace vell::smtlib

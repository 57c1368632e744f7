#pragma once

// The operators of SMT-LIB's theories of Booleans, words and floating-point values, under the names that
// scripts use: with any number of arguments where the theory allows it, and also those that the term layer
// lacks and builds out of others.
//
//   Term_ const* all = mk_app(terms, "and", {a, b, c});
//   Term_ const* twice = mk_app(terms, "repeat", {x}, {2});
//   Term_ const* wraps = mk_app(terms, "bvumulo", {x, y});
//
// The reader of scripts applies the same table. Adding an operator is one line in theory.cpp and, unless it
// is one operator of the term layer, a builder in theorybuilders.cpp.
//
// Tested by tests/terms/theory_test.cpp and tests/smtlib/operators_test.cpp.

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "vell/terms/operators.h"
#include "vell/terms/termmanager.h"
#include "vell/utils/export.h"

namespace vell {

// The application of the operator of that name. `indices` are those that stand in the name's parentheses,
// "extract" has two. Throws SortError, with one line, where there is no such operator or where number or
// sorts of the arguments, or the indices, do not fit.
VELL_API Term_ const* mk_app(TermManager& terms, std::string_view name,
                             std::span<Term_ const* const> arguments,
                             std::span<std::uint64_t const> indices = {});
inline Term_ const* mk_app(TermManager& terms, std::string_view name, std::span<Term_ const* const> arguments,
                           std::initializer_list<std::uint64_t> indices) {
  return mk_app(terms, name, arguments, std::span(indices.begin(), indices.size()));
}
inline Term_ const* mk_app(TermManager& terms, std::string_view name,
                           std::initializer_list<Term_ const*> arguments,
                           std::initializer_list<std::uint64_t> indices = {}) {
  return mk_app(terms, name, std::span(arguments.begin(), arguments.size()), indices);
}

// The table behind mk_app, for those that look a name up once and apply it often.
namespace theory {

// What an operator takes; "words" are terms of bit-vector sort.
enum class Sorts : std::uint8_t {
  none,
  booleans,
  words_of_one_width,
  words,     // of any widths
  one_sort,  // any one sort
  ite,       // a Boolean and two terms of one sort
  floats_of_one_format,
  rounded_floats,   // a rounding mode and floating-point values of one format
  rounded_float,    // a rounding mode and a floating-point value
  rounded_word,     // a rounding mode and a word
  float_parts,      // a word of one bit and two words
  float_conversion  // a word; or a rounding mode, and a word or a floating-point value
};

struct Operator;

// An operator with arguments whose number and sorts are right.
struct Application {
  TermManager& terms;                       // makes the terms
  Operator const& op;                       // what is applied
  std::span<Term_ const* const> arguments;  // as many and of such sorts as op says
  std::uint64_t const* indices;             // op.indices of them
};

// A row of the table.
struct Operator {
  // In max_arguments: no limit.
  static constexpr std::uint8_t any = 255;

  char const* name;            // as scripts write it
  Sorts sorts;                 // of the arguments
  std::uint8_t min_arguments;  // at least so many
  std::uint8_t max_arguments;  // at most so many; any: no limit
  std::uint8_t indices;        // exactly so many
  // Makes the application. Throws SortError where indices do not fit.
  Term_ const* (*build)(Application const&);
  SymbolTag::tag tag = SymbolTag::none;  // for builders that serve more than one operator
};

// The rows of Booleans and words.
VELL_API std::span<Operator const> operator_table();
// The rows of rounding modes and floating-point values (fptheory.cpp).
VELL_API std::span<Operator const> floating_operator_table();
// The row of a name, or null. A walk over the tables.
VELL_API Operator const* find_operator(std::string_view name);

// Widths of results go up to this.
inline constexpr std::uint64_t max_width = UINT32_MAX;

// The widths of floating-point formats that have operators, the significand with its hidden bit. The
// exponents of products, quotients and fused sums stay within the range of MPFR's.
inline constexpr std::uint64_t min_format_width = 2;
inline constexpr std::uint64_t max_exponent_width = 24;
inline constexpr std::uint64_t max_significand_width = 65536;
// What is wrong with these widths, in one line; "" for nothing.
VELL_API std::string format_error(std::uint64_t exponent_width, std::uint64_t significand_width);

// Applies the operator to Booleans, words of at least one bit, rounding modes and floating-point values;
// `indices` has op.indices elements. Throws SortError with a line that names the operator as written when
// number or sorts of the arguments, or the indices, do not fit.
VELL_API Term_ const* apply(TermManager& terms, Operator const& op, std::span<Term_ const* const> arguments,
                            std::uint64_t const* indices);

}  // namespace theory

}  // namespace vell

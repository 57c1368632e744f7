#pragma once

// The operators of the theories: name, argument count and sorts, builder.
//
// Adding an operator is one line in operatortable.cpp and, unless it is one operator of the term layer, a builder in
// derivedoperators.cpp.
//
// Tested by tests/smtlib/operators_test.cpp.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "vell/terms/operators.h"
#include "vell/terms/termmanager.h"

namespace vell::smtlib {

// What an operator takes; "words" are terms of bit-vector sort.
enum class Sorts : std::uint8_t {
  none,
  booleans,
  words_of_one_width,
  words,     // of any widths
  one_sort,  // Booleans or words of one width
  ite        // a Boolean and two terms of one sort
};

struct Operator;

// An operator with arguments whose number and sorts are right.
struct Application {
  TermManager& terms;
  Operator const& op;
  std::span<Term_ const* const> arguments;
  std::uint64_t const* indices;
};

struct Operator {
  static constexpr std::uint8_t any = 255;

  char const* name;
  Sorts sorts;
  std::uint8_t min_arguments;
  std::uint8_t max_arguments;  // any: no limit
  std::uint8_t indices;
  // Throws SortError where indices do not fit.
  Term_ const* (*build)(Application const&);
  SymbolTag::tag tag = SymbolTag::none;  // for builders that serve more than one operator
};

std::span<Operator const> operator_table();

// Widths go up to this.
inline constexpr std::uint64_t max_width = UINT32_MAX;

// Applies the operator; `indices` has op.indices elements. Throws SortError with a line that names the operator as
// written when number or sorts of the arguments, or the indices, do not fit.
Term_ const* apply(TermManager& terms, Operator const& op, std::span<Term_ const* const> arguments,
                   std::uint64_t const* indices);

// Why a symbol that is not known cannot be used, for names of theories that are not read here: "floating point is not
// supported yet". Null for any other name.
char const* refusal(std::string_view name);

}  // namespace vell::smtlib

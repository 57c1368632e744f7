#pragma once

#include <cstdint>

#include "vell/terms/qnumber.h"
#include "vell/terms/symboltag.h"
#include "vell/terms/type.h"
#include "vell/utils/export.h"

namespace vell {

// An operator, variable or constant. Owned by its TermManager, compared by pointer.
class Symbol {
 public:
  // What a symbol is beside its tag; the queries of TermManager answer from it.
  enum class Role : std::uint8_t {
    plain,
    uninterpreted,
    number,
    term_ite,
    extract,       // parameters: msb, lsb
    rotate_left,   // parameter: amount
    rotate_right,  // parameter: amount
    slt,           // parameter: width of the operands
    rounding_even,
    rounding_zero,
    rounding_plus_inf,
    rounding_minus_inf,
    rounding_away  // to nearest, ties away from zero; the clausifier has no number for it
  };

  char const* name;     // NUL-terminated, never null
  std::uint64_t arity;  // number of arguments; 0 for variables and constants

  // The type of the terms built with the symbol.
  Type const* get_output_type() const { return output_type_; }
  // What the constructing TermManager gave the symbol.
  Role role() const { return role_; }
  SymbolTag::tag tag() const { return tag_; }
  // Parameters of an indexed operator, 0 where it has none: extract msb, lsb; rotations and extensions the
  // amount; conversions to a word its width, those to a floating-point format its two widths, the second with
  // the hidden bit.
  std::uint64_t parameter(unsigned i) const { return parameters_[i]; }

 private:
  friend class TermManager;
  friend struct Term_;
  Symbol() = default;

  Type const* output_type_;
  QNumber const* number_;
  char const* label_;
  std::uint64_t parameters_[2];
  SymbolTag::tag tag_;
  Role role_;
};

}  // namespace vell

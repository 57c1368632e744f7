#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vell/utils/export.h"

namespace vell {

// A sort, interned by its TermManager and compared by pointer.
//
// A bit-vector type has two components: TermManager::bv_type_marker and a width type. A floating-point type
// has two: TermManager::fp_type_marker and a format type. A function type has its argument types and its
// result type, last.
class VELL_API Type {
 public:
  // What the type is; the first six and functions are sorts of terms, the others components of them.
  enum class Kind : std::uint8_t {
    boolean,
    integer,
    real,
    rounding_mode,
    bit_vector,
    floating_point,
    function,
    marker,  // first component of bit-vector and floating-point types
    width,   // second component of a bit-vector type
    format   // second component of a floating-point type
  };

  // See above for what they are; empty for the other types.
  std::vector<Type const*> components;

  // Component i, counted from 0; i is below the number of components.
  Type const* get_component(std::size_t i) const { return components[i]; }
  // What the type is.
  Kind kind() const { return kind_; }

  // "bv8", "bool", "fp8.23" (exponent width, fraction width), "rm", "int", "real", "fun".
  std::string to_str() const;

 private:
  friend class TermManager;
  Type(Kind kind, std::uint64_t a, std::uint64_t b) : kind_(kind), a_(a), b_(b) {}

  Kind kind_;
  std::uint64_t a_;  // width, or exponent width
  std::uint64_t b_;  // fraction width
};

}  // namespace vell

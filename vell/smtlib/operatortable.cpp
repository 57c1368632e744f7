#include "vell/smtlib/operatortable.h"

#include <initializer_list>

namespace vell::smtlib {

char const* refusal(std::string_view name) {
  struct Family {
    char const* why;
    std::initializer_list<std::string_view> prefixes;
    std::initializer_list<std::string_view> names;
  };
  static Family const families[] = {
      {"conversions of floating-point values to reals are not supported", {}, {"fp.to_real"}},
      {"no operator of the theory of floating point", {"fp."}, {"to_fp_bv", "to_fp_real", "to_fp_signed"}},
      {"arrays are not supported", {}, {"select", "store", "const", "Array"}},
      {"integers and reals are not supported",
       {},
       {"+", "-", "*", "/", "<", "<=", ">", ">=", "div", "mod", "abs", "to_real", "to_int", "is_int",
        "divisible", "Int", "Real"}},
      {"conversions between bit-vectors and integers are not supported",
       {},
       {"bv2nat", "bv2int", "int2bv", "nat2bv", "int_to_bv", "ubv_to_int", "sbv_to_int"}},
      {"strings and sequences are not supported",
       {"str.", "re.", "seq."},
       {"char", "String", "RegLan", "Seq", "RegEx"}},
      {"datatypes are not supported", {}, {"is", "Tuple", "tuple"}},
      {"sets and bags are not supported", {"set.", "bag."}, {"Set", "Bag"}},
  };
  for (Family const& f : families) {
    for (std::string_view p : f.prefixes)
      if (name.starts_with(p)) return f.why;
    for (std::string_view n : f.names)
      if (name == n) return f.why;
  }
  return nullptr;
}

}  // namespace vell::smtlib

#pragma once

// Scripts that keep vell-bv busy.

#include <string>

namespace vell::test {

// The factors of a product of two primes of 38 bits: takes the solver long.
inline std::string hard() {
  std::string const wide = "((_ zero_extend 38) ";
  return "(declare-const a (_ BitVec 38))(declare-const b (_ BitVec 38))(assert (= (bvmul " + wide + "a) " +
         wide +
         "b)) (_ bv35450106828282240715949 76)))(assert (bvult (_ bv1 38) a))(assert (bvule a "
         "b))(check-sat)\n";
}

// A quotient: takes a while to clausify and to write, and none to solve.
inline std::string quotient(unsigned width) {
  std::string const sort = "(_ BitVec " + std::to_string(width) + "))";
  return "(declare-const a " + sort + "(declare-const b " + sort + "(assert (= a (bvudiv a b)))(check-sat)";
}

}  // namespace vell::test

#include "vell/engine/decoder.h"

#include <gtest/gtest.h>

#include "tests/engine/scratch.h"
#include "vell/terms/exception.h"

namespace vell::engine {
namespace {

constexpr char cnf[] =
    "c vell-bv\nc map x (_ BitVec 4) 1 2 -3 T\nc map |p q| Bool 4\nc map y (_ BitVec 2) ? F\nc map r RoundingMode 1 2\n"
    "c map f (_ FloatingPoint 2 3) 1 2 3 4 F\np cnf 4 1\n1 2 3 4 0\n";

std::string decoded(std::string const& formula, std::string const& solution) {
  test::Scratch scratch;
  return decode(scratch.write("f.cnf", formula), scratch.write("f.sol", solution));
}

TEST(Decoder, Models) {
  EXPECT_EQ("sat\n(\n  (define-fun x () (_ BitVec 4) #b1101)\n  (define-fun |p q| () Bool true)\n"
            "  (define-fun y () (_ BitVec 2) #b00)\n  (define-fun r () RoundingMode roundTowardZero)\n"
            "  (define-fun f () (_ FloatingPoint 2 3) (fp #b0 #b10 #b01))\n)\n",
            decoded(cnf, "c\ns SATISFIABLE\nv 1 -2 -3\nv 4 0\n"));
  EXPECT_EQ("unsat\n", decoded(cnf, "s UNSATISFIABLE\n"));
  EXPECT_EQ("unknown\n", decoded(cnf, "s UNKNOWN\n"));
}

TEST(Decoder, BrokenFilesAreRefused) {
  EXPECT_THROW(decoded(cnf, ""), Exception);
  EXPECT_THROW(decoded(cnf, "s SATISFIABLE\nv 1 2\n"), Exception);
  EXPECT_THROW(decoded(cnf, "s SATISFIABLE\nv x 0\n"), Exception);
  std::string const answer = "s SATISFIABLE\nv 1 0\n";
  EXPECT_THROW(decoded("c map x Bool 1\n", answer), Exception);
  EXPECT_THROW(decoded("c map x Bool 1 2\np cnf 2 0\n", answer), Exception);
  EXPECT_THROW(decoded("c map x Bool 9\np cnf 2 0\n", answer), Exception);
  EXPECT_THROW(decoded("c map x Int 1\np cnf 2 0\n", answer), Exception);
  EXPECT_THROW(decode("/no/such/file", "/no/such/file"), Exception);
}

}  // namespace
}  // namespace vell::engine

#include "vell/cnf/decoder.h"

#include <gtest/gtest.h>

#include "tests/support/scratch.h"
#include "vell/terms/exception.h"

namespace vell::cnf {
namespace {

constexpr char cnf[] =
    "c vell-bv\nc map x (_ BitVec 4) 1 2 -3 T\nc map |p q| Bool 4\nc map y (_ BitVec 2) ? F\nc map r "
    "RoundingMode 1 2\n"
    "c map f (_ FloatingPoint 2 3) 1 2 3 4 F\np cnf 4 1\n1 2 3 4 0\n";

std::string decoded(std::string const& formula, std::string const& solution) {
  test::Scratch scratch;
  return decode(scratch.write("f.cnf", formula), scratch.write("f.sol", solution));
}

TEST(Decoder, Models) {
  EXPECT_EQ(
      "sat\n(\n  (define-fun x () (_ BitVec 4) #b1101)\n  (define-fun |p q| () Bool true)\n"
      "  (define-fun y () (_ BitVec 2) #b00)\n  (define-fun r () RoundingMode roundTowardZero)\n"
      "  (define-fun f () (_ FloatingPoint 2 3) (fp #b0 #b10 #b01))\n)\n",
      decoded(cnf, "c\ns SATISFIABLE\nv 1 -2 -3\nv 4 0\n"));
  // Terms that the script gave a name are no part of a model.
  EXPECT_EQ("sat\n(\n  (define-fun x () Bool true)\n)\n",
            decoded("c map x Bool 1\nc names\nc map n Bool -1\np cnf 1 0\n", "s SATISFIABLE\nv 1 0\n"));
  EXPECT_EQ("unsat\n", decoded(cnf, "s UNSATISFIABLE\n"));
  EXPECT_EQ("unknown\n", decoded(cnf, "s UNKNOWN\n"));
}

TEST(Decoder, BrokenFilesAreRefused) {
  EXPECT_THROW(decoded(cnf, ""), Exception);
  EXPECT_THROW(decoded(cnf, "s SATISFIABLE\nv x 0\n"), Exception);
  std::string const answer = "s SATISFIABLE\nv 1 0\n";
  EXPECT_THROW(decoded("c map x Bool 1\n", answer), Exception);
  EXPECT_THROW(decoded("c map x Bool 1 2\np cnf 2 0\n", answer), Exception);
  EXPECT_THROW(decoded("c map x Bool 9\np cnf 2 0\n", answer), Exception);
  EXPECT_THROW(decoded("c map x Int 1\np cnf 2 0\n", answer), Exception);
  EXPECT_THROW(decoded("c map x Bool 1\np cnf 2 x\n", answer), Exception);
  EXPECT_THROW(decoded("c map x Bool 1\np cnf 2\n", answer), Exception);
  EXPECT_THROW(decode("/no/such/file", "/no/such/file"), Exception);
}

// Why the files are refused, without the folder of the CNF.
std::string refusal(std::string const& formula, std::string const& solution) {
  test::Scratch scratch;
  try {
    decode(scratch.write("f.cnf", formula), scratch.write("f.sol", solution));
  } catch (Exception const& e) {
    std::string text = e.what();
    for (std::size_t at = 0; (at = text.find(scratch.file(""))) != std::string::npos;)
      text.erase(at, scratch.file("").size());
    return text;
  }
  return "";
}

TEST(Decoder, SatIsSaidOfAModelOnly) {
  std::string const two = "c map x Bool 1\np cnf 2 2\n1 2 0\n-1 2\n0\n";
  EXPECT_EQ("", refusal(two, "s SATISFIABLE\nv 2 0\n"));
  EXPECT_EQ("", refusal(two, "s SATISFIABLE\nv 2 -1"));
  EXPECT_EQ("f.cnf:3: a clause that the values in f.sol do not satisfy",
            refusal(two, "s SATISFIABLE\nv -1 -2 0\n"));
  EXPECT_EQ("f.cnf:5: a clause that the values in f.sol do not satisfy",
            refusal(two, "s SATISFIABLE\nv 1 0\n"));
  EXPECT_EQ("f.sol:2: no variable 3", refusal(two, "s SATISFIABLE\nv 2 3 0\n"));
  EXPECT_EQ("f.sol:2: both values for variable 2", refusal(two, "s SATISFIABLE\nv 2 -2 0\n"));
  EXPECT_EQ("f.sol:2: two answers that contradict each other",
            refusal(two, "s SATISFIABLE\ns UNSATISFIABLE\n"));
  std::string const good = "s SATISFIABLE\nv 2 0\n";
  EXPECT_EQ("f.cnf: 1 clauses, the header says 2", refusal("p cnf 2 2\n1 2 0\n", good));
  EXPECT_EQ("f.cnf:2: the last clause has no 0", refusal("p cnf 2 1\n1 2\n", good));
  EXPECT_EQ("f.cnf:2: no variable 3", refusal("p cnf 2 1\n2 3 0\n", good));
  EXPECT_EQ("f.cnf:2: no number: 2x", refusal("p cnf 2 1\n2x 0\n", good));
  EXPECT_EQ("f.cnf:2: a clause that the values in f.sol do not satisfy", refusal("p cnf 2 1\n0\n", good));
}

TEST(Decoder, SortsHaveTheWidthOfTheirBits) {
  std::string const good = "s SATISFIABLE\nv 1 0\n";
  for (std::string const sort :
       {"(_ FloatingPoint 9223372036854775808 9223372036854775808)",
        "(_ FloatingPoint 18446744073709551615 2)", "(_ FloatingPoint 1", "(_ FloatingPoint 1)",
        "(_ BitVec 18446744073709551615)", "(_ BitVec 0)", "RoundingMode"})
    EXPECT_NE("", refusal("c map x " + sort + " 1\np cnf 1 0\n", good)) << sort;
  EXPECT_NE("",
            refusal("c map x (_ FloatingPoint 9223372036854775808 9223372036854775808)\np cnf 1 0\n", good));
}

}  // namespace
}  // namespace vell::cnf

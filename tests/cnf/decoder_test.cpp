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
  // Rounding modes have three bits, every pattern of NaN is NaN, and other special values have names as well.
  EXPECT_EQ(
      "sat\n(\n  (define-fun r () RoundingMode roundNearestTiesToAway)\n  (define-fun s () RoundingMode "
      "roundTowardNegative)\n  (define-fun f () (_ FloatingPoint 2 3) (_ NaN 2 3))\n  (define-fun g () (_ "
      "FloatingPoint 2 3) (_ -oo 2 3))\n  (define-fun h () (_ FloatingPoint 2 3) (_ +zero 2 3))\n)\n",
      decoded(
          "c map r RoundingMode T F T\nc map s RoundingMode 1 T F\nc map f (_ FloatingPoint 2 3) F 1 T T "
          "T\nc map g (_ FloatingPoint 2 3) F F T T 1\nc map h (_ FloatingPoint 2 3) F F F F -1\np cnf 1 0\n",
          "s SATISFIABLE\nv 1 0\n"));
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

TEST(Decoder, ValuesAreComputed) {
  std::string const good = "s SATISFIABLE\nv 1 -2 0\n";
  EXPECT_EQ(
      "sat\n(\n  (define-fun x () (_ BitVec 2) #b01)\n  (define-fun |y z| () (_ BitVec 2) #b10)\n"
      "  (define-fun p () Bool true)\n)\n",
      decoded("c map x (_ BitVec 2) 1 2\nc aux map aux!0 Bool -1\nc aux def aux!1 Bool (not aux!0)\n"
              "c def |y z| (_ BitVec 2) (let ((_t1 (bvadd x x))) (ite aux!1 _t1 (bvmul _t1 _t1)))\n"
              "c def p Bool (= |y z| #b10)\np cnf 2 0\n",
              good));
  // A line break in a symbol.
  EXPECT_EQ("sat\n(\n  (define-fun |a\nb| () Bool true)\n  (define-fun c () Bool false)\n)\n",
            decoded("c map |a\\nb| Bool 1\nc def c Bool (not |a\\nb|)\np cnf 2 0\n", good));
}

TEST(Decoder, BrokenValuesAreRefused) {
  std::string const good = "s SATISFIABLE\nv 1 -2 0\n";
  std::string const map = "c map x (_ BitVec 2) 1 2\n";
  for (std::string const line :
       {"c def y Bool", "c def y", "c def y Bool x", "c def y Bool z", "c def y Bool (not",
        "c def x Bool true", "c def y Bool true) (check-sat", "c def y Bool true)(declare-const z Bool",
        "c def y Int 3", "c def y Bool w\nc def w Bool true"})
    EXPECT_NE("", refusal(map + line + "\np cnf 2 0\n", good)) << line;
  EXPECT_EQ("f.cnf: def line of y: the body has sort (_ BitVec 2), not Bool",
            refusal(map + "c def y Bool x\np cnf 2 0\n", good));
}

TEST(Decoder, AModelIsCheckedAgainstTheScript) {
  test::Scratch scratch;
  std::string const path = scratch.write(
      "a.smt2",
      "(declare-const x (_ BitVec 2))\n(declare-const p Bool)\n(assert (= x #b01))\n(check-sat)\n"
      "(push)(assert (not p))\n(check-sat)(pop)(check-sat-assuming (p (bvult x #b01)))");
  auto const checked = [&](std::string const& formula, std::uint64_t query) {
    try {
      return decode(scratch.write("f.cnf", formula), scratch.write("f.sol", "s SATISFIABLE\nv 1 -2 0\n"),
                    values::WordFormat::binary, {path, query})
          .substr(0, 4);
    } catch (Exception const& e) {
      std::string text = e.what();
      for (std::size_t at = 0; (at = text.find(scratch.file(""))) != std::string::npos;)
        text.erase(at, scratch.file("").size());
      return text;
    }
  };
  std::string const cnf = "c map x (_ BitVec 2) 1 2\nc def p Bool (= x #b01)\np cnf 2 0\n";
  EXPECT_EQ("sat\n", checked(cnf, 0));
  EXPECT_EQ("a.smt2:5:7: the model in f.cnf does not satisfy this", checked(cnf, 2));
  EXPECT_EQ("a.smt2:6:17: the model in f.cnf does not satisfy this", checked(cnf, 3));
  EXPECT_EQ("a.smt2: query 4 of 3", checked(cnf, 4));
  EXPECT_EQ("sat\n", checked("c map x (_ BitVec 2) 1 2\np cnf 2 0\n", 1));
  EXPECT_EQ("a.smt2:3:1: cannot be checked: it depends on a value that f.cnf does not have",
            checked("c map p Bool 1\np cnf 2 0\n", 1));
  EXPECT_EQ("a.smt2: x has another sort than in f.cnf", checked("c map x (_ BitVec 1) 1\np cnf 2 0\n", 1));
  EXPECT_EQ("f.cnf: written for another script than a.smt2", checked("c sha256 00\n" + cnf, 1));
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

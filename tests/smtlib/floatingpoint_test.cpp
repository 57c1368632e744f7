// Floating-point terms as scripts write them.

#include <gtest/gtest.h>

#include "tests/smtlib/script.h"
#include "vell/smtlib/termprinter.h"

namespace vell::smtlib {
namespace {

// The term as it was read.
std::string read(std::string const& term, std::string const& before = "") {
  Script script(before + "(assert (! (= " + term + " " + term + ") :named whole))");
  return term_text(script.terms, script.asserted()->children[0]);
}
std::string wrong(std::string const& term) {
  try {
    read(term);
    return "";
  } catch (io::Error const& e) {
    std::string const text = e.what();
    return text.substr(text.rfind(": ") + 2);
  }
}

TEST(FloatingPoint, Constants) {
  EXPECT_EQ(read("(fp #b0 #b10 #b01)"), "(fp #b0 #b10 #b01)");
  EXPECT_EQ(read("(fp #b1 #b11 #b01)"), "(_ NaN 2 3)");
  EXPECT_EQ(read("(fp #b1 #b00 #b00)"), "(_ -zero 2 3)");
  for (char const* special :
       {"(_ +oo 5 11)", "(_ -oo 5 11)", "(_ +zero 8 24)", "(_ -zero 11 53)", "(_ NaN 15 113)"})
    EXPECT_EQ(read(special), special);
  EXPECT_EQ(read("((_ to_fp 2 3) #b01001)"), "(fp #b0 #b10 #b01)");
  for (char const* mode : {"roundNearestTiesToEven", "roundNearestTiesToAway", "roundTowardPositive",
                           "roundTowardNegative", "roundTowardZero"})
    EXPECT_EQ(read(mode), mode);
  EXPECT_EQ(read("RNA"), "roundNearestTiesToAway");
}

TEST(FloatingPoint, NumbersAreRoundedOnce) {
  EXPECT_EQ(read("((_ to_fp 8 24) RNE 0.1)"), "(fp #b0 #b01111011 #b10011001100110011001101)");
  EXPECT_EQ(read("((_ to_fp 8 24) RTZ 0.1)"), "(fp #b0 #b01111011 #b10011001100110011001100)");
  EXPECT_EQ(read("((_ to_fp 8 24) RNE (/ 1 10))"), read("((_ to_fp 8 24) RNE 0.1)"));
  EXPECT_EQ(read("((_ to_fp 8 24) RNE (- 0.1))"), "(fp #b1 #b01111011 #b10011001100110011001101)");
  EXPECT_EQ(read("((_ to_fp 8 24) RNE (/ (- 1.0) 10.0))"), read("((_ to_fp 8 24) RNE (- 0.1))"));
  EXPECT_EQ(read("((_ to_fp 8 24) RNE (- (/ 1 10)))"), read("((_ to_fp 8 24) RNE (- 0.1))"));
  EXPECT_EQ(read("((_ to_fp 8 24) RTN (- (/ 1 10)))"), read("((_ to_fp 8 24) RNE (- 0.1))"));
  EXPECT_EQ(read("((_ to_fp 3 4) RNE 3)"), "(fp #b0 #b100 #b100)");
  EXPECT_EQ(read("((_ to_fp 3 4) RNE 1000)"), "(_ +oo 3 4)");
  EXPECT_EQ(read("((_ to_fp 3 4) RTZ 1000)"), "(fp #b0 #b110 #b111)");
  EXPECT_EQ(read("((_ to_fp 3 4) RNE 0.0)"), "(_ +zero 3 4)");
  EXPECT_EQ(read("((_ to_fp 8 24) RNE (/ (/ 1 2) 5))"), read("((_ to_fp 8 24) RNE 0.1)"));
  EXPECT_EQ(read("((_ to_fp 3 4) RNE -3.0)"), "(fp #b1 #b100 #b100)");
  // As z3 has them, with a binary exponent.
  EXPECT_EQ(read("((_ to_fp 3 4) RNE 1.5 1)"), "(fp #b0 #b100 #b100)");
  EXPECT_EQ(read("((_ to_fp 3 4) RNE 6 (- 1))"), "(fp #b0 #b100 #b100)");
  EXPECT_EQ(read("((_ to_fp 3 4) RTZ (- 0.5) (- 100))"), "(_ -zero 3 4)");
  // Under a variable mode, one value for each.
  std::string const any = read("((_ to_fp 3 4) m 0.1)", "(declare-const m RoundingMode)");
  EXPECT_NE(any.find("(ite (= m roundTowardPositive) (fp #b0 #b000 #b100)"), std::string::npos) << any;
}

TEST(FloatingPoint, TermsAreWrittenAsRead) {
  std::string const before =
      "(declare-const x Float16)(declare-const m RoundingMode)(declare-const w (_ BitVec 8))";
  for (char const* term :
       {"(fp.add m x x)", "(fp.fma roundTowardZero x x x)", "(fp.rem x x)", "(fp.roundToIntegral m x)",
        "((_ to_fp 8 24) m x)", "((_ to_fp 5 11) m w)", "((_ to_fp_unsigned 5 11) m w)",
        "((_ fp.to_sbv 3) m x)", "(fp.to_ieee_bv x)", "((_ to_fp 4 4) w)", "(ite (fp.isNaN x) x (fp.neg x))"})
    EXPECT_EQ(read(term, before), term);
  EXPECT_EQ(read("(to_ieee_bv x)", before), "(fp.to_ieee_bv x)");
  EXPECT_EQ(read("(fp.geq x (fp.neg x))", before), "(fp.leq (fp.neg x) x)");
  EXPECT_EQ(read("((_ to_fp 5 11) m x)", before), "x");
}

TEST(FloatingPoint, Refused) {
  EXPECT_EQ(wrong("(fp.add RNE 1.0 1.0)"), "integers and reals are not supported");
  EXPECT_EQ(wrong("((_ to_fp 8 24) 0.1)"), "integers and reals are not supported");
  EXPECT_EQ(wrong("((_ to_fp 8 24) RNE (/ 1 0))"), "the number to be rounded is a quotient by zero");
  EXPECT_EQ(wrong("((_ to_fp 8 24) RNE (/ 1 x))"), "expected a number, found `x`");
  EXPECT_EQ(wrong("((_ to_fp 8 24) RNE (+ 1 1))"), "integers and reals are not supported");
  EXPECT_EQ(wrong("((_ to_fp 8 24) RNE 1.5 0.5)"),
            "the exponent of a number is an integer of at most 33554432");
  EXPECT_NE(wrong("((_ to_fp 8 24) RNE 1.5 1 1)").find("integers and reals are not supported"),
            std::string::npos);
  EXPECT_EQ(wrong("((_ to_fp 1 24) RNE 1)"),
            "the exponent of a floating-point format has 2 to 24 bits, not 1");
  EXPECT_EQ(wrong("(_ NaN 8 1)"), "the significand of a floating-point format has 2 to 65536 bits, not 1");
  EXPECT_EQ(wrong("(_ NaN 8)"), "expected a numeral, found `)`");
  EXPECT_EQ(wrong("NaN"), "`NaN` is written with two indices, (_ NaN 8 24)");
  EXPECT_EQ(wrong("(NaN 8 24)"), "`NaN` is written (_ NaN 8 24)");
  EXPECT_EQ(wrong("(fp #b00 #b00 #b00)"),
            "`fp` takes a bit-vector of one bit and two bit-vectors; argument 1 has sort (_ BitVec 2)");
}

// In a logic without floating point its names are anyone's.
TEST(FloatingPoint, NamesAreFreeInOtherLogics) {
  Script script(
      "(set-logic QF_BV)(declare-const fp Bool)(declare-const RNE (_ BitVec 2))(assert (and fp (= RNE "
      "#b01)))");
  EXPECT_EQ(term_text(script.terms, script.asserted()), "(and fp (= RNE (_ bv1 2)))");
  EXPECT_THROW(Script("(set-logic QF_BVFP)(declare-const fp Bool)(assert fp)"), io::Error);
  EXPECT_THROW(Script("(declare-const RNE Bool)(assert RNE)"), io::Error);
}

}  // namespace
}  // namespace vell::smtlib

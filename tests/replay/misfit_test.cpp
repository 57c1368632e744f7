// Operands that a handler could not work on.
//
// A script may come from anyone, and the clausifier trusts its caller: whatever a script says, the answer is
// a line of output or one line with file, line and column. Run under the sanitizers too.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/replay/outcome.h"

namespace vell::test {
namespace {

// What every application below may refer to.
char const* const declarations =
    "var p bool\nvar w0 bv 0\nvar w1 bv 1\nvar x bv 4\nvar y bv 4\nvar w5 bv 5\nvar i int\nvar f fp 3 2\nvar "
    "m rm\n"
    "num n bv 4 small 3\nnum minus bv 4 small -1\nrmconst even even\n";

// An application that its operator's handler could not work on is refused, translated as a term, below
// another one, and by a direct call.
TEST(MisfitOperands, AreRefusedForEveryHandler) {
  std::pair<char const*, char const*> const cases[] = {
      // too few children
      {"bvnot bv 4", "word_not"},
      {"bvand bv 4 x", "word_and"},
      {"bvor bv 4 x", "word_or"},
      {"bvxor bv 4", "word_xor"},
      {"bvlshr bv 4 x", "word_lsr"},
      {"bvashr bv 4 x", "word_asr"},
      {"bvshl bv 4", "word_lsl"},
      {"rol:1 bv 4", "word_rol"},
      {"ror:1 bv 4", "word_ror"},
      {"extract:1:0 bv 2", "word_sel"},
      {"concat bv 8 x", "word_concat"},
      {"zext bv 8", "word_zext"},
      {"sext bv 8", "word_sext"},
      {"bvneg bv 4", "word_neg"},
      {"bvadd bv 4 x", "word_add"},
      {"bvsub bv 4 x", "word_sub"},
      {"bvmul bv 4 x", "word_mul"},
      {"bvmul bv 4 n", "word_mul"},
      {"bvsdiv bv 4 x", "word_sdiv"},
      {"bvsrem bv 4 x", "word_srem"},
      {"bvudiv bv 4 x", "word_udiv"},
      {"bvurem bv 4", "word_urem"},
      {"bvult bool x", "word_ult"},
      {"bvule bool x", "word_ule"},
      {"bvslt bool x", "word_slt"},
      {"bvsle bool", "word_sle"},
      {"eq bool x", "word_equal"},
      {"eqnp bool x", "word_equal_noproxy"},
      {"not bool", "bool_not"},
      {"and bool p", "bool_and"},
      {"or bool p", "bool_or"},
      {"iff bool p", "bool_iff"},
      {"fp_to_sbv bv 4 m", "fp_to_sbv"},
      {"fp_to_ubv bv 4 m", "fp_to_ubv"},
      {"fp_as_ieeebv bv 6", "fp_as_ieeebv"},
      // widths
      {"bvand bv 5 w5 x", "word_and"},
      {"bvor bv 5 w5 x", "word_or"},
      {"bvxor bv 5 w5 x", "word_xor"},
      {"bvadd bv 5 w5 x", "word_add"},
      {"bvsub bv 5 w5 x", "word_sub"},
      {"bvmul bv 5 x y", "word_mul"},
      {"bvmul bv 4 n w1", "word_mul"},
      {"bvudiv bv 5 w5 x", "word_udiv"},
      {"bvurem bv 5 w5 x", "word_urem"},
      {"bvudiv bv 4 x w5", "word_udiv"},
      {"bvurem bv 4 x w5", "word_urem"},
      {"bvsdiv bv 5 w5 x", "word_sdiv"},
      {"bvsrem bv 5 w5 x", "word_srem"},
      {"bvsdiv bv 4 x w5", "word_sdiv"},
      {"bvsdiv bv 0 w0 w0", "word_sdiv"},
      {"bvult bool w5 x", "word_ult"},
      {"bvule bool w5 x", "word_ule"},
      {"bvslt bool w5 x", "word_slt"},
      {"bvsle bool w5 x", "word_sle"},
      {"bvslt bool w0 w0", "word_slt"},
      {"eq bool w5 x", "word_equal"},
      {"eqnp bool w5 x", "word_equal_noproxy"},
      {"bvlshr bv 5 w5 x", "word_lsr"},
      {"bvashr bv 5 w5 x", "word_asr"},
      {"bvshl bv 5 w5 x", "word_lsl"},
      {"bvshl bv 5 x n", "word_lsl"},
      {"bvlshr bv 4 x minus", "word_lsr"},
      {"bvashr bv 0 w0 w0", "word_asr"},
      {"rol:5 bv 4 x", "word_rol"},
      {"ror:18446744073709551615 bv 4 x", "word_ror"},
      {"extract:4:0 bv 5 x", "word_sel"},
      {"extract:0:1 bv 1 x", "word_sel"},
      {"extract:18446744073709551615:0 bv 1 x", "word_sel"},
      {"sext bv 8 w0", "word_sext"},
      // types
      {"and bool w0 p", "bool_and"},
      {"or bool p w0", "bool_or"},
      {"not bool w0", "bool_not"},
      {"iff bool w0 w0", "bool_iff"},
      {"concat bv 6 f x", "word_concat"},
      {"bvsdiv bv 4 f f", "word_sdiv"},
      {"fp_to_sbv bv 4 m x", "fp_to_sbv"},
      {"fp_to_sbv bv 4 x f", "fp_to_sbv"},
      {"fp_to_ubv bv 4 f m", "fp_to_ubv"},
  };
  for (auto const& [application, handler] : cases) {
    std::string const term = "term t " + std::string(application) + "\n";
    EXPECT_EQ(error_of(declarations + term + "blast t\n"),
              std::string("example:14:7: the operands do not fit: t: ") + handler + "\n")
        << application;
    EXPECT_EQ(error_of(declarations + term + "term top not bool t\nnotify top\n"),
              std::string("example:15:8: the operands do not fit: t: ") + handler + "\n")
        << application;
    std::string notify;
    for (char const* name : {"p", "w1", "x", "y", "w5", "f", "m", "n", "minus"})
      notify += std::string("notify ") + name + "\n";
    // w0 gets its empty list without a translation.
    EXPECT_EQ(error_of(declarations + term + notify + "setbits w0\ncall " + handler + " t\n"),
              std::string("example:24:") + std::to_string(7 + std::string(handler).size()) +
                  ": the operands of t do not fit " + handler + "\n")
        << application;
  }
}

TEST(MisfitOperands, AreRefusedForHandlersThatNoTagHas) {
  std::string const prepared =
      std::string(declarations) + "notify p\nnotify x\nnotify y\nnotify f\nsetbits w0\n";
  std::pair<char const*, char const*> const cases[] = {
      {"ite bv 4 p x", "word_ite"},
      {"ite bv 5 p x y", "word_ite"},
      {"ite bv 4 w0 x y", "word_ite"},
      {"ite bool p p", "bool_ite"},
      {"ite bool p w0 p", "bool_ite"},
      {"ite bv 4 p x", "generic_ite"},
      {"uf bv 4", "word_atom"},
      {"bvmul bv 4 x y", "word_mul_by_constant"},
      {"bvmul bv 4 x", "word_mul_generic"},
      {"bvsrem bv 4 x", "word_srem_by_power_of_2"},
      {"uf bv 4", "fp_variable"},
      {"uf bv 16777217", "word_variable"},
      {"uf bv 18446744073709551615", "generic_variable"},
  };
  for (auto const& [application, handler] : cases) {
    std::string const error = error_of(prepared + "term t " + application + "\ncall " + handler + " t\n");
    EXPECT_NE(error.find(": the operands of t do not fit "), std::string::npos)
        << application << ": " << error;
  }
  // As hooks: what they do not cache, nothing may wait for.
  expect_errors({
      {"hook 0 word_neg\nvar x bv 4\nblast x\n", "3:7: the operands do not fit: x: word_neg"},
      {"hook 50 generic_ite\nvar x bv 4\nterm t tag50 bv 4 x\nblast t\n",
       "4:7: the operands do not fit: t: generic_ite"},
      {"hook 27 word_mul_by_constant\nvar x bv 4\nterm t bvadd bv 4 x x\nblast t\n",
       "4:7: the operands do not fit: t: word_mul_by_constant"},
  });
}

TEST(MisfitOperands, OfOperations) {
  expect_errors({
      {"var w bv 0\nblast w\n", "2:7: the term has no bits"},
      {"var w bv 0\nnotify w\n", "2:8: the term has no bits"},
      {"var w bv 0\neq 2 w w\n", "2:8: the term has no bits"},
      {"var x bv 3\nvar y bv 2\neq 7 x y\n", "3:8: the second term has fewer bits than the first"},
      {"var x bv 3\nsetbits x 2 3 4\nsetbits x 2 3 4 5\n", "3:17: the term has 3 bits"},
      {"var x bv 16777217\nblast x\n", "2:7: the operands do not fit: x has more than 16777216 bits"},
      {"var x bv 2\nterm t zext bv 18446744073709551615 x\nblast t\n",
       "3:7: the operands do not fit: t has more than 16777216 bits"},
      {"var f fp 3 2\nrmconst m even\nterm t fp_to_sbv bv 4 m f\nblast m\nblast f\ncall fp_to_bv t "
       "16777217\n",
       "6:17: a width above 16777216"},
      // Of the combination's bits there may be any number.
      {"var f fp 3 2\nrmconst m even\nterm t fp_to_sbv bv 4 m f\nfpcomb on\nfpbits f 2 3\nblast t\n",
       "6:7: the operands do not fit: t: fp_to_sbv"},
      {"var f fp 3 2\nfpcomb on\nfpbits f\nblast f\n", "4:7: the term has no bits"},
      {"var x bv 0\nvar y bv 0\nterm t bvlshr bv 0 x y\nsetbits x\nsetbits y\ncall word_sr t 1\n",
       "6:16: the operands of t do not fit word_sr"},
  });
  // Twenty doublings pass the limit of a list.
  std::string doubling = "var t0 bv 1024\n";
  for (int i = 1; i <= 20; ++i)
    doubling += "term t" + std::to_string(i) + " concat bv " + std::to_string(1024L << i) + " t" +
                std::to_string(i - 1) + " t" + std::to_string(i - 1) + "\n";
  EXPECT_EQ(error_of(doubling + "blast t20\n"),
            "example:22:7: the operands do not fit: t15 has more than 16777216 bits\n");
}

TEST(MisfitOperands, UncachedChildrenOfACallAreAnAnswer) {
  EXPECT_EQ(output_of("var x bv 2\nvar y bv 2\nterm t bvadd bv 2 x y\nblast x\ncall word_add t\n"),
            "new 2\nnew 3\nblast x = 2\nerror not cached: y\n");
  EXPECT_EQ(output_of("var c bool\nvar x bv 2\nterm t ite bv 2 c x x\ncall generic_ite t\n"),
            "error not cached: c\n");
}

}  // namespace
}  // namespace vell::test

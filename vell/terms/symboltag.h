#pragma once

#include <cstdint>

#include "vell/utils/export.h"

namespace vell {

// Operator kinds. The clausifier's hook table is indexed by them.
namespace SymbolTag {
// Gaps are left for operators of solvers; see WordClausifier::register_hook.
enum tag : std::uint32_t {
  none = 0,
  bool_true = 1,
  bool_false = 2,
  bool_and = 3,
  bool_or = 4,
  bool_not = 5,
  bool_iff = 6,
  bool_ite = 7,
  term_ite = 8,
  equal = 12,
  function_application = 13,
  bv_concat = 15,
  bv_extract = 16,
  bv_not = 17,
  bv_and = 18,
  bv_or = 19,
  bv_xor = 20,
  bv_ult = 21,
  bv_slt = 22,
  bv_ule = 23,
  bv_sle = 24,
  equal_noproxy = 25,  // equality that never asks the sink for a literal of its own
  bv_neg = 26,
  bv_add = 27,
  bv_sub = 28,
  bv_mul = 29,
  bv_udiv = 30,
  bv_sdiv = 31,
  bv_urem = 32,
  bv_srem = 33,
  bv_shl = 34,
  bv_lshr = 35,
  bv_ashr = 36,
  bv_rotate_left = 37,
  bv_rotate_right = 38,
  bv_zero_extend = 39,
  bv_sign_extend = 40,
  int_to_bv = 41,
  bv_to_int = 42,
  fp_to_sbv = 60,
  fp_to_ubv = 61,
  fp_as_ieeebv = 62,
  fp_make = 64,       // of a sign, a biased exponent and a fraction
  fp_from_bits = 65,  // of the bits of a format
  fp_from_fp = 66,
  fp_from_sbv = 67,
  fp_from_ubv = 68,
  fp_abs = 69,
  fp_neg = 70,
  fp_add = 71,
  fp_sub = 72,
  fp_mul = 73,
  fp_div = 74,
  fp_fma = 75,
  fp_sqrt = 76,
  fp_rem = 77,
  fp_round_to_integral = 78,
  fp_min = 79,
  fp_max = 80,
  fp_leq = 81,
  fp_lt = 82,
  fp_eq = 83,  // of IEEE 754: zeros are equal, NaN equals nothing
  fp_is_normal = 84,
  fp_is_subnormal = 85,
  fp_is_zero = 86,
  fp_is_infinite = 87,
  fp_is_nan = 88,
  fp_is_negative = 89,
  fp_is_positive = 90
};
}  // namespace SymbolTag

// What an operator takes and gives.
struct OperatorInfo {
  // Its arguments' sorts and the result's, w a word.
  enum class Typing : std::uint8_t {
    none,        // not built by mk_app
    constant,    // () -> Bool
    booleans,    // Bool ... -> Bool
    same_words,  // w ... -> w
    word_order,  // w w -> Bool
    equality,    // s s -> Bool
    ite,         // Bool s s -> s
    concat,      // v w -> v + w
    extract,     // w -> msb - lsb + 1
    rotate,      // w -> w, amount at most w
    extend,      // w -> w + amount
    fp_to_word,  // rm fp -> w (parameter 0)
    fp_as_word,  // fp -> e + s + 1
    fp_parts,    // 1 e s -> fp
    fp_of_word,  // e + s + 1 -> fp (parameters e, s + 1)
    fp_of_fp,    // rm fp -> fp (parameters e, s + 1)
    fp_of_int,   // rm w -> fp (parameters e, s + 1)
    fp_same,     // fp ... -> fp
    fp_rounded,  // rm fp ... -> fp
    fp_test      // fp ... -> Bool
  };

  SymbolTag::tag tag;        // its number
  char const* name;          // as SMT-LIB writes it
  int arity;                 // number of arguments
  Typing typing;             // what TermManager::mk_app checks
  unsigned parameters;       // number of indices
  bool commutative = false;  // whether two arguments may change places
};

// The operators that TermManager::mk_app builds and the clausifier has handlers for.
inline constexpr OperatorInfo operator_table[] = {
    {SymbolTag::bool_true, "true", 0, OperatorInfo::Typing::constant, 0},
    {SymbolTag::bool_false, "false", 0, OperatorInfo::Typing::constant, 0},
    {SymbolTag::bool_and, "and", 2, OperatorInfo::Typing::booleans, 0, true},
    {SymbolTag::bool_or, "or", 2, OperatorInfo::Typing::booleans, 0, true},
    {SymbolTag::bool_not, "not", 1, OperatorInfo::Typing::booleans, 0},
    {SymbolTag::bool_iff, "=", 2, OperatorInfo::Typing::booleans, 0, true},
    {SymbolTag::bool_ite, "ite", 3, OperatorInfo::Typing::ite, 0},
    {SymbolTag::term_ite, "ite", 3, OperatorInfo::Typing::ite, 0},
    {SymbolTag::equal, "=", 2, OperatorInfo::Typing::equality, 0, true},
    {SymbolTag::bv_concat, "concat", 2, OperatorInfo::Typing::concat, 0},
    {SymbolTag::bv_extract, "extract", 1, OperatorInfo::Typing::extract, 2},
    {SymbolTag::bv_not, "bvnot", 1, OperatorInfo::Typing::same_words, 0},
    {SymbolTag::bv_and, "bvand", 2, OperatorInfo::Typing::same_words, 0, true},
    {SymbolTag::bv_or, "bvor", 2, OperatorInfo::Typing::same_words, 0, true},
    {SymbolTag::bv_xor, "bvxor", 2, OperatorInfo::Typing::same_words, 0, true},
    {SymbolTag::bv_ult, "bvult", 2, OperatorInfo::Typing::word_order, 0},
    {SymbolTag::bv_slt, "bvslt", 2, OperatorInfo::Typing::word_order, 0},
    {SymbolTag::bv_ule, "bvule", 2, OperatorInfo::Typing::word_order, 0},
    {SymbolTag::bv_sle, "bvsle", 2, OperatorInfo::Typing::word_order, 0},
    {SymbolTag::equal_noproxy, "=", 2, OperatorInfo::Typing::word_order, 0, true},
    {SymbolTag::bv_neg, "bvneg", 1, OperatorInfo::Typing::same_words, 0},
    {SymbolTag::bv_add, "bvadd", 2, OperatorInfo::Typing::same_words, 0, true},
    {SymbolTag::bv_sub, "bvsub", 2, OperatorInfo::Typing::same_words, 0},
    {SymbolTag::bv_mul, "bvmul", 2, OperatorInfo::Typing::same_words, 0, true},
    {SymbolTag::bv_udiv, "bvudiv", 2, OperatorInfo::Typing::same_words, 0},
    {SymbolTag::bv_sdiv, "bvsdiv", 2, OperatorInfo::Typing::same_words, 0},
    {SymbolTag::bv_urem, "bvurem", 2, OperatorInfo::Typing::same_words, 0},
    {SymbolTag::bv_srem, "bvsrem", 2, OperatorInfo::Typing::same_words, 0},
    {SymbolTag::bv_shl, "bvshl", 2, OperatorInfo::Typing::same_words, 0},
    {SymbolTag::bv_lshr, "bvlshr", 2, OperatorInfo::Typing::same_words, 0},
    {SymbolTag::bv_ashr, "bvashr", 2, OperatorInfo::Typing::same_words, 0},
    {SymbolTag::bv_rotate_left, "rotate_left", 1, OperatorInfo::Typing::rotate, 1},
    {SymbolTag::bv_rotate_right, "rotate_right", 1, OperatorInfo::Typing::rotate, 1},
    {SymbolTag::bv_zero_extend, "zero_extend", 1, OperatorInfo::Typing::extend, 1},
    {SymbolTag::bv_sign_extend, "sign_extend", 1, OperatorInfo::Typing::extend, 1},
    {SymbolTag::fp_to_sbv, "fp.to_sbv", 2, OperatorInfo::Typing::fp_to_word, 1},
    {SymbolTag::fp_to_ubv, "fp.to_ubv", 2, OperatorInfo::Typing::fp_to_word, 1},
    {SymbolTag::fp_as_ieeebv, "fp.to_ieee_bv", 1, OperatorInfo::Typing::fp_as_word, 0},
};

// Those on floating-point values, which mk_app builds as well. vell/fp makes words of them: the clausifier
// has no handlers for them.
inline constexpr OperatorInfo floating_operator_table[] = {
    {SymbolTag::fp_make, "fp", 3, OperatorInfo::Typing::fp_parts, 0},
    {SymbolTag::fp_from_bits, "to_fp", 1, OperatorInfo::Typing::fp_of_word, 2},
    {SymbolTag::fp_from_fp, "to_fp", 2, OperatorInfo::Typing::fp_of_fp, 2},
    {SymbolTag::fp_from_sbv, "to_fp", 2, OperatorInfo::Typing::fp_of_int, 2},
    {SymbolTag::fp_from_ubv, "to_fp_unsigned", 2, OperatorInfo::Typing::fp_of_int, 2},
    {SymbolTag::fp_abs, "fp.abs", 1, OperatorInfo::Typing::fp_same, 0},
    {SymbolTag::fp_neg, "fp.neg", 1, OperatorInfo::Typing::fp_same, 0},
    {SymbolTag::fp_add, "fp.add", 3, OperatorInfo::Typing::fp_rounded, 0},
    {SymbolTag::fp_sub, "fp.sub", 3, OperatorInfo::Typing::fp_rounded, 0},
    {SymbolTag::fp_mul, "fp.mul", 3, OperatorInfo::Typing::fp_rounded, 0},
    {SymbolTag::fp_div, "fp.div", 3, OperatorInfo::Typing::fp_rounded, 0},
    {SymbolTag::fp_fma, "fp.fma", 4, OperatorInfo::Typing::fp_rounded, 0},
    {SymbolTag::fp_sqrt, "fp.sqrt", 2, OperatorInfo::Typing::fp_rounded, 0},
    {SymbolTag::fp_rem, "fp.rem", 2, OperatorInfo::Typing::fp_same, 0},
    {SymbolTag::fp_round_to_integral, "fp.roundToIntegral", 2, OperatorInfo::Typing::fp_rounded, 0},
    {SymbolTag::fp_min, "fp.min", 2, OperatorInfo::Typing::fp_same, 0},
    {SymbolTag::fp_max, "fp.max", 2, OperatorInfo::Typing::fp_same, 0},
    {SymbolTag::fp_leq, "fp.leq", 2, OperatorInfo::Typing::fp_test, 0},
    {SymbolTag::fp_lt, "fp.lt", 2, OperatorInfo::Typing::fp_test, 0},
    {SymbolTag::fp_eq, "fp.eq", 2, OperatorInfo::Typing::fp_test, 0, true},
    {SymbolTag::fp_is_normal, "fp.isNormal", 1, OperatorInfo::Typing::fp_test, 0},
    {SymbolTag::fp_is_subnormal, "fp.isSubnormal", 1, OperatorInfo::Typing::fp_test, 0},
    {SymbolTag::fp_is_zero, "fp.isZero", 1, OperatorInfo::Typing::fp_test, 0},
    {SymbolTag::fp_is_infinite, "fp.isInfinite", 1, OperatorInfo::Typing::fp_test, 0},
    {SymbolTag::fp_is_nan, "fp.isNaN", 1, OperatorInfo::Typing::fp_test, 0},
    {SymbolTag::fp_is_negative, "fp.isNegative", 1, OperatorInfo::Typing::fp_test, 0},
    {SymbolTag::fp_is_positive, "fp.isPositive", 1, OperatorInfo::Typing::fp_test, 0},
};

}  // namespace vell

#pragma once

#include <cstdint>

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
  fp_as_ieeebv = 62
};
}  // namespace SymbolTag

}  // namespace vell

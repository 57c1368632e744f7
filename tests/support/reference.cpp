#include "tests/support/reference.h"

#include <algorithm>
#include <stdexcept>

namespace vell::test {

Word all_ones(unsigned width) { return width >= 128 ? ~Word{0} : (Word{1} << width) - 1; }

std::string to_hex(Word value) {
  std::string digits;
  do {
    digits.push_back("0123456789abcdef"[static_cast<unsigned>(value & 15)]);
    value >>= 4;
  } while (value != 0);
  std::reverse(digits.begin(), digits.end());
  return digits;
}

std::vector<bool> to_bits(Word value, unsigned width) {
  std::vector<bool> bits(width);
  for (unsigned i = 0; i < width; ++i) bits[i] = (value >> i & 1) != 0;
  return bits;
}

Word from_bits(std::vector<bool> const& bits) {
  Word value = 0;
  for (std::size_t i = bits.size(); i-- > 0;) value = value << 1 | (bits[i] ? 1 : 0);
  return value;
}

namespace {

bool negative(Word a, unsigned w) { return (a >> (w - 1) & 1) != 0; }
Word negate(Word a, unsigned w) { return (~a + 1) & all_ones(w); }
Word magnitude(Word a, unsigned w) { return negative(a, w) ? negate(a, w) : a; }
bool signed_less(Word a, Word b, unsigned w) {
  if (negative(a, w) != negative(b, w)) return negative(a, w);
  return a < b;
}
Word udiv(Word a, Word b, unsigned w) { return b == 0 ? all_ones(w) : a / b; }
Word urem(Word a, Word b) { return b == 0 ? a : a % b; }

}  // namespace

Word evaluate(Operation const& op, std::span<Word const> operands, std::span<unsigned const> widths) {
  Word const a = operands[0];
  Word const b = operands.size() > 1 ? operands[1] : 0;
  unsigned const w = widths[0];
  Word const m = all_ones(w);
  auto const p0 = static_cast<unsigned>(op.parameter0);
  auto const p1 = static_cast<unsigned>(op.parameter1);
  switch (op.tag) {
    case SymbolTag::bool_and: return a & b;
    case SymbolTag::bool_or: return a | b;
    case SymbolTag::bool_not: return a ^ 1;
    case SymbolTag::bool_iff: return a == b;
    case SymbolTag::bool_ite:
    case SymbolTag::term_ite: return a != 0 ? operands[1] : operands[2];
    case SymbolTag::equal:
    case SymbolTag::equal_noproxy: return a == b;
    case SymbolTag::bv_concat: return a << widths[1] | b;
    case SymbolTag::bv_extract: return a >> p1 & all_ones(p0 - p1 + 1);
    case SymbolTag::bv_not: return ~a & m;
    case SymbolTag::bv_and: return a & b;
    case SymbolTag::bv_or: return a | b;
    case SymbolTag::bv_xor: return a ^ b;
    case SymbolTag::bv_ult: return a < b;
    case SymbolTag::bv_ule: return a <= b;
    case SymbolTag::bv_slt: return signed_less(a, b, w);
    case SymbolTag::bv_sle: return !signed_less(b, a, w);
    case SymbolTag::bv_neg: return negate(a, w);
    case SymbolTag::bv_add: return (a + b) & m;
    case SymbolTag::bv_sub: return (a - b) & m;
    case SymbolTag::bv_mul: return (a * b) & m;
    case SymbolTag::bv_udiv: return udiv(a, b, w);
    case SymbolTag::bv_urem: return urem(a, b);
    case SymbolTag::bv_sdiv: {
      Word const q = udiv(magnitude(a, w), magnitude(b, w), w);
      return negative(a, w) != negative(b, w) ? negate(q, w) : q;
    }
    case SymbolTag::bv_srem: {
      Word const r = urem(magnitude(a, w), magnitude(b, w));
      return negative(a, w) ? negate(r, w) : r;
    }
    case SymbolTag::bv_shl: return b >= w ? 0 : (a << static_cast<unsigned>(b)) & m;
    case SymbolTag::bv_lshr: return b >= w ? 0 : a >> static_cast<unsigned>(b);
    case SymbolTag::bv_ashr: {
      unsigned const k = b >= w ? w : static_cast<unsigned>(b);
      Word const fill = negative(a, w) ? m & ~(k == w ? 0 : m >> k) : 0;
      return (k == w ? 0 : a >> k) | fill;
    }
    case SymbolTag::bv_rotate_left: {
      unsigned const k = p0 % w;
      return k == 0 ? a : (a << k | a >> (w - k)) & m;
    }
    case SymbolTag::bv_rotate_right: {
      unsigned const k = p0 % w;
      return k == 0 ? a : (a >> k | a << (w - k)) & m;
    }
    case SymbolTag::bv_zero_extend: return a;
    case SymbolTag::bv_sign_extend: return negative(a, w) ? a | (all_ones(w + p0) & ~m) : a;
    default: throw std::logic_error("no meaning for this operator");
  }
}

FpFields fields_of(Word pattern, FpFormat const& format) {
  FpFields x;
  x.fraction = static_cast<std::uint64_t>(pattern & all_ones(format.fraction_width));
  x.exponent = static_cast<std::uint64_t>(pattern >> format.fraction_width & all_ones(format.exponent_width));
  x.sign = (pattern >> (format.width() - 1) & 1) != 0;
  return x;
}

namespace {

mpz_class from_word(std::uint64_t v) {
  mpz_class z;
  mpz_import(z.get_mpz_t(), 1, 1, sizeof v, 0, 0, &v);
  return z;
}

mpz_class power_of_two(unsigned long k) {
  mpz_class z;
  mpz_setbit(z.get_mpz_t(), k);
  return z;
}

mpz_class floor_of(mpq_class const& v) {
  mpz_class z;
  mpz_fdiv_q(z.get_mpz_t(), v.get_num_mpz_t(), v.get_den_mpz_t());
  return z;
}

mpq_class scaled(mpz_class const& v, long exponent) {
  mpq_class q = exponent >= 0 ? mpq_class(v * power_of_two(static_cast<unsigned long>(exponent)))
                              : mpq_class(v, power_of_two(static_cast<unsigned long>(-exponent)));
  q.canonicalize();
  return q;
}

// v modulo 2^bits as a two's-complement number.
long wrap(long v, unsigned bits) {
  if (bits >= 62) return v;
  long const period = 1L << bits;
  long r = v % period;
  if (r < 0) r += period;
  return r >= period / 2 ? r - period : r;
}

unsigned bit_length(std::uint64_t v) {
  unsigned n = 0;
  for (; v != 0; v >>= 1) ++n;
  return n == 0 ? 1 : n;
}

}  // namespace

mpq_class exact_value(FpFields const& x, FpFormat const& format) {
  long const s = static_cast<long>(format.fraction_width);
  mpz_class significand = from_word(x.fraction);
  if (x.exponent != 0) significand += power_of_two(format.fraction_width);
  long const unbiased = (x.exponent == 0 ? 1 : static_cast<long>(x.exponent)) - format.bias();
  mpq_class v = scaled(significand, unbiased - s);
  return x.sign ? mpq_class(-v) : v;
}

mpz_class round_to_integer(mpq_class const& v, IEEEFloat::rounding_mode mode) {
  mpz_class const down = floor_of(v);
  mpq_class const part = v - down;
  if (part == 0) return down;
  switch (mode) {
    case IEEEFloat::even: {
      mpq_class const half(1, 2);
      if (part == half) return mpz_odd_p(down.get_mpz_t()) ? mpz_class(down + 1) : down;
      return part > half ? mpz_class(down + 1) : down;
    }
    case IEEEFloat::zero: return v < 0 ? mpz_class(down + 1) : down;
    case IEEEFloat::plus_inf: return down + 1;
    case IEEEFloat::minus_inf: return down;
  }
  throw std::logic_error("no such rounding mode");
}

mpz_class modulo_power_of_two(mpz_class const& v, unsigned width) {
  mpz_class z;
  mpz_fdiv_r_2exp(z.get_mpz_t(), v.get_mpz_t(), width);
  return z;
}

mpz_class conversion_rule(FpFields const& x, FpFormat const& format, IEEEFloat::rounding_mode mode,
                          unsigned width) {
  long const s = static_cast<long>(format.fraction_width);
  unsigned const exponent_bits =
      std::max({format.exponent_width, bit_length(static_cast<std::uint64_t>(format.bias())),
                bit_length(format.fraction_width)});
  unsigned const register_bits = std::max(format.fraction_width + 1, width);
  // The hidden bit is there whatever the exponent says.
  mpz_class const significand = from_word(x.fraction) + power_of_two(format.fraction_width);
  long const unbiased = wrap(static_cast<long>(x.exponent) - format.bias(), exponent_bits);
  long const right = wrap(wrap(s - unbiased, exponent_bits), register_bits);

  // The magnitude before the point, and whether the part behind it rounds it up. A shift to the left loses
  // what leaves the register and never rounds.
  mpq_class const shifted = scaled(significand, -right);
  mpz_class magnitude = modulo_power_of_two(floor_of(shifted), register_bits);
  bool up = false;
  if (right >= 0) {
    mpq_class const signed_value = x.sign ? mpq_class(-shifted) : shifted;
    up = abs(round_to_integer(signed_value, mode)) != floor_of(shifted);
  }
  if (up) {
    magnitude = modulo_power_of_two(magnitude + 1, register_bits);
  } else if (x.exponent == 0 || unbiased < 0) {
    magnitude = 0;
  }
  return modulo_power_of_two(x.sign ? mpz_class(-magnitude) : magnitude, width);
}

}  // namespace vell::test

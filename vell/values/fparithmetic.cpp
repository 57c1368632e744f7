// MPFR computes with any precision and, by default, a range of exponents that no format here comes near. Four
// of the modes are its own: an operation gives the result at the precision of the format with the direction
// in which it was rounded, and mpfr_check_range and mpfr_subnormalize bring it into the range of the format,
// without rounding twice.
//
// To nearest with ties away from zero goes through integers: the operation is truncated with two bits more
// than the format, one more bit says whether anything was cut off, and the integer is rounded once.

#include "vell/values/fparithmetic.h"

#include <mpfr.h>

#include <algorithm>
#include <cassert>
#include <vector>

#include "vell/terms/exception.h"
#include "vell/values/wideword.h"

namespace vell::values {

namespace {

using Tag = SymbolTag::tag;
using wide::bit;

struct Integer {
  mpz_t v;
  Integer() { mpz_init(v); }
  explicit Integer(std::int64_t x) { mpz_init_set_si(v, x); }
  ~Integer() { mpz_clear(v); }
  Integer(Integer const&) = delete;
  Integer& operator=(Integer const&) = delete;
};

struct Number {
  mpfr_t v;
  explicit Number(std::uint64_t precision) { mpfr_init2(v, static_cast<mpfr_prec_t>(precision)); }
  ~Number() { mpfr_clear(v); }
  Number(Number const&) = delete;
  Number& operator=(Number const&) = delete;
};

void set(std::uint64_t* words, std::uint64_t i) { words[i / 64] |= std::uint64_t{1} << (i % 64); }

std::uint64_t words_of(FpFormat f) { return (f.width() + 63) / 64; }
std::uint64_t precision(FpFormat f) { return f.fraction + 1; }
std::int64_t bias(FpFormat f) { return (std::int64_t{1} << (f.exponent - 1)) - 1; }

void clear(FpFormat f, std::uint64_t* out) { std::fill_n(out, words_of(f), 0); }

void write_nan(FpFormat f, std::uint64_t* out) {
  clear(f, out);
  for (std::uint64_t i = f.fraction - 1; i < f.fraction + f.exponent; ++i) set(out, i);
}

// With the sign bit clear or set.
void write_infinity(FpFormat f, bool negative, std::uint64_t* out) {
  clear(f, out);
  for (std::uint64_t i = f.fraction; i < f.fraction + f.exponent; ++i) set(out, i);
  if (negative) set(out, f.width() - 1);
}

void write_zero(FpFormat f, bool negative, std::uint64_t* out) {
  clear(f, out);
  if (negative) set(out, f.width() - 1);
}

void read_bits(mpz_t out, std::uint64_t const* words, std::uint64_t from, std::uint64_t count) {
  mpz_import(out, static_cast<std::size_t>((from + count + 63) / 64), -1, sizeof *words, 0, 0, words);
  mpz_fdiv_r_2exp(out, out, from + count);
  mpz_fdiv_q_2exp(out, out, from);
}

void write_bits(mpz_t const value, std::uint64_t count, std::uint64_t* words) {
  for (std::uint64_t i = 0; i < count; ++i)
    if (mpz_tstbit(value, i) != 0) set(words, i);
}

bool exponent_is(FpFormat f, std::uint64_t const* x, bool ones) {
  for (std::uint64_t i = f.fraction; i < f.fraction + f.exponent; ++i)
    if (bit(x, i) != ones) return false;
  return true;
}

bool fraction_is_zero(FpFormat f, std::uint64_t const* x) {
  for (std::uint64_t i = 0; i < f.fraction; ++i)
    if (bit(x, i)) return false;
  return true;
}

// out has the precision of the format or more.
void read(mpfr_t out, FpFormat f, std::uint64_t const* x) {
  bool const negative = fp_is_negative(f, x);
  if (fp_is_nan(f, x)) return mpfr_set_nan(out);
  if (fp_is_infinite(f, x)) return mpfr_set_inf(out, negative ? -1 : 1);
  if (fp_is_zero(f, x)) return mpfr_set_zero(out, negative ? -1 : 1);
  Integer m;
  Integer exponent;
  read_bits(m.v, x, 0, f.fraction);
  read_bits(exponent.v, x, f.fraction, f.exponent);
  std::int64_t e = mpz_get_si(exponent.v);
  if (e == 0)
    e = 1;
  else
    mpz_setbit(m.v, f.fraction);
  if (negative) mpz_neg(m.v, m.v);
  mpfr_set_z_2exp(out, m.v, e - bias(f) - static_cast<std::int64_t>(f.fraction), MPFR_RNDN);
}

// x is a value of the format.
void write(mpfr_t const x, FpFormat f, std::uint64_t* out) {
  bool const negative = mpfr_signbit(x) != 0;
  if (mpfr_nan_p(x) != 0) return write_nan(f, out);
  if (mpfr_inf_p(x) != 0) return write_infinity(f, negative, out);
  if (mpfr_zero_p(x) != 0) return write_zero(f, negative, out);
  Integer m;
  std::int64_t const k = mpfr_get_z_2exp(m.v, x);
  mpz_abs(m.v, m.v);
  fp_from_scaled(negative, m.v, k, f, Rounding::zero, out);
}

mpfr_rnd_t mpfr_mode(Rounding mode) {
  switch (mode) {
    case Rounding::even: return MPFR_RNDN;
    case Rounding::plus_inf: return MPFR_RNDU;
    case Rounding::minus_inf: return MPFR_RNDD;
    case Rounding::zero:
    case Rounding::away: break;
  }
  return MPFR_RNDZ;
}

// The exponents of a format, until this dies. In MPFR's count: a significand is below one.
class Range {
 public:
  explicit Range(FpFormat f) : least_(mpfr_get_emin()), greatest_(mpfr_get_emax()) {
    mpfr_set_emin(2 - bias(f) - static_cast<std::int64_t>(f.fraction));
    mpfr_set_emax(bias(f) + 1);
  }
  ~Range() {
    mpfr_set_emin(least_);
    mpfr_set_emax(greatest_);
  }
  Range(Range const&) = delete;
  Range& operator=(Range const&) = delete;

 private:
  mpfr_exp_t least_;
  mpfr_exp_t greatest_;
};

// compute(r, mode) sets r to a result, rounded to its precision, and gives MPFR's ternary value.
template <typename Compute>
void rounded(FpFormat f, Rounding mode, std::uint64_t* out, Compute compute) {
  mpfr_rnd_t const rounding = mpfr_mode(mode);
  if (mode != Rounding::away) {
    Number r(precision(f));
    int direction = compute(r.v, rounding);
    {
      Range const range(f);
      direction = mpfr_check_range(r.v, direction, rounding);
      mpfr_subnormalize(r.v, direction, rounding);
    }
    write(r.v, f, out);
    return;
  }
  Number r(precision(f) + 2);
  bool const cut = compute(r.v, rounding) != 0;
  if (mpfr_regular_p(r.v) == 0) {
    write(r.v, f, out);
    return;
  }
  Integer m;
  std::int64_t const k = mpfr_get_z_2exp(m.v, r.v);
  mpz_abs(m.v, m.v);
  mpz_mul_2exp(m.v, m.v, 1);
  if (cut) mpz_setbit(m.v, 0);
  fp_from_scaled(mpfr_signbit(r.v) != 0, m.v, k - 1, f, mode, out);
}

// The smaller or greater of two values.
void choose(Tag op, FpFormat f, std::uint64_t const* a, std::uint64_t const* b, std::uint64_t* out) {
  std::uint64_t const* const ba[] = {b, a};
  std::uint64_t const* const ab[] = {a, b};
  bool second = fp_is_nan(f, a);
  if (!second && !fp_is_nan(f, b)) second = fp_test(Tag::fp_lt, f, op == Tag::fp_min ? ba : ab);
  std::copy_n(second ? b : a, words_of(f), out);
  fp_unify_nan(f, out);
}

}  // namespace

bool fp_is_nan(FpFormat f, std::uint64_t const* x) {
  return exponent_is(f, x, true) && !fraction_is_zero(f, x);
}
bool fp_is_infinite(FpFormat f, std::uint64_t const* x) {
  return exponent_is(f, x, true) && fraction_is_zero(f, x);
}
bool fp_is_zero(FpFormat f, std::uint64_t const* x) {
  return exponent_is(f, x, false) && fraction_is_zero(f, x);
}
bool fp_is_subnormal(FpFormat f, std::uint64_t const* x) {
  return exponent_is(f, x, false) && !fraction_is_zero(f, x);
}
bool fp_is_negative(FpFormat f, std::uint64_t const* x) { return bit(x, f.width() - 1); }

void fp_unify_nan(FpFormat f, std::uint64_t* x) {
  if (fp_is_nan(f, x)) write_nan(f, x);
}

void fp_from_scaled(bool negative, mpz_srcptr m, std::int64_t k, FpFormat to, Rounding mode,
                    std::uint64_t* out) {
  if (mpz_sgn(m) == 0) return write_zero(to, negative, out);
  // The result is q * 2^unit: units of the last place of the leading bit, but none below those of subnormals.
  std::int64_t const leading = static_cast<std::int64_t>(mpz_sizeinbase(m, 2)) - 1 + k;
  std::int64_t const unit = std::max(leading, 1 - bias(to)) - static_cast<std::int64_t>(to.fraction);
  Integer q;
  if (k >= unit) {
    mpz_mul_2exp(q.v, m, static_cast<mp_bitcnt_t>(k - unit));
  } else {
    auto const places = static_cast<mp_bitcnt_t>(unit - k);
    mpz_fdiv_q_2exp(q.v, m, places);
    bool const half = mpz_tstbit(m, places - 1) != 0;
    bool const inexact = mpz_scan1(m, 0) < places;
    bool const tie = half && mpz_scan1(m, 0) == places - 1;
    bool up = false;
    switch (mode) {
      case Rounding::even: up = half && (!tie || mpz_odd_p(q.v)); break;
      case Rounding::away: up = half; break;
      case Rounding::zero: break;
      case Rounding::plus_inf: up = inexact && !negative; break;
      case Rounding::minus_inf: up = inexact && negative; break;
    }
    if (up) mpz_add_ui(q.v, q.v, 1);
  }
  // Exponent and fraction are one number; the hidden bit of a normal q adds one to the exponent, and so does
  // a carry.
  if (leading >= 1 - bias(to)) {
    if (leading > bias(to)) {
      mpz_set_ui(q.v, 1);
      mpz_mul_2exp(q.v, q.v, to.width());
    } else {
      Integer below(leading + bias(to) - 1);
      mpz_mul_2exp(below.v, below.v, to.fraction);
      mpz_add(q.v, q.v, below.v);
    }
  }
  clear(to, out);
  Integer infinity(1);
  mpz_mul_2exp(infinity.v, infinity.v, to.exponent);
  mpz_sub_ui(infinity.v, infinity.v, 1);
  mpz_mul_2exp(infinity.v, infinity.v, to.fraction);
  if (mpz_cmp(q.v, infinity.v) >= 0) {
    bool const stays = mode == Rounding::zero || (mode == Rounding::plus_inf && negative) ||
                       (mode == Rounding::minus_inf && !negative);
    mpz_set(q.v, infinity.v);
    if (stays) mpz_sub_ui(q.v, q.v, 1);
  }
  write_bits(q.v, to.width() - 1, out);
  if (negative) set(out, to.width() - 1);
}

void fp_operation(Tag op, FpFormat f, Rounding mode, std::span<std::uint64_t const* const> x,
                  std::uint64_t* out) {
  if (op == Tag::fp_min || op == Tag::fp_max) return choose(op, f, x[0], x[1], out);
  if (op == Tag::fp_abs || op == Tag::fp_neg) {
    std::copy_n(x[0], words_of(f), out);
    if (op == Tag::fp_neg || fp_is_negative(f, out))
      out[(f.width() - 1) / 64] ^= std::uint64_t{1} << ((f.width() - 1) % 64);
    return fp_unify_nan(f, out);
  }
  std::uint64_t const p = precision(f);
  Number a(p);
  Number b(p);
  Number c(p);
  read(a.v, f, x[0]);
  if (x.size() > 1) read(b.v, f, x[1]);
  if (x.size() > 2) read(c.v, f, x[2]);
  rounded(f, mode, out, [&](mpfr_t r, mpfr_rnd_t rounding) {
    switch (op) {
      case Tag::fp_add: return mpfr_add(r, a.v, b.v, rounding);
      case Tag::fp_sub: return mpfr_sub(r, a.v, b.v, rounding);
      case Tag::fp_mul: return mpfr_mul(r, a.v, b.v, rounding);
      case Tag::fp_div: return mpfr_div(r, a.v, b.v, rounding);
      case Tag::fp_fma: return mpfr_fma(r, a.v, b.v, c.v, rounding);
      case Tag::fp_sqrt: return mpfr_sqrt(r, a.v, rounding);
      case Tag::fp_rem: return mpfr_remainder(r, a.v, b.v, rounding);
      case Tag::fp_round_to_integral: {
        // The integer is a value of the format: not even the direction matters after this.
        if (mode == Rounding::away)
          mpfr_round(r, a.v);
        else
          mpfr_rint(r, a.v, rounding);
        return 0;
      }
      default: throw Exception("no such operation on floating-point values");
    }
  });
}

bool fp_test(Tag op, FpFormat f, std::span<std::uint64_t const* const> x) {
  switch (op) {
    case Tag::fp_is_nan: return fp_is_nan(f, x[0]);
    case Tag::fp_is_infinite: return fp_is_infinite(f, x[0]);
    case Tag::fp_is_zero: return fp_is_zero(f, x[0]);
    case Tag::fp_is_subnormal: return fp_is_subnormal(f, x[0]);
    case Tag::fp_is_normal: return !exponent_is(f, x[0], true) && !exponent_is(f, x[0], false);
    case Tag::fp_is_negative: return !fp_is_nan(f, x[0]) && fp_is_negative(f, x[0]);
    case Tag::fp_is_positive: return !fp_is_nan(f, x[0]) && !fp_is_negative(f, x[0]);
    default: break;
  }
  Number a(precision(f));
  Number b(precision(f));
  read(a.v, f, x[0]);
  read(b.v, f, x[1]);
  switch (op) {
    case Tag::fp_leq: return mpfr_lessequal_p(a.v, b.v) != 0;
    case Tag::fp_lt: return mpfr_less_p(a.v, b.v) != 0;
    case Tag::fp_eq: return mpfr_equal_p(a.v, b.v) != 0;
    default: throw Exception("no such question about floating-point values");
  }
}

void fp_from_fp(FpFormat from, std::uint64_t const* x, FpFormat to, Rounding mode, std::uint64_t* out) {
  Number a(precision(from));
  read(a.v, from, x);
  rounded(to, mode, out, [&](mpfr_t r, mpfr_rnd_t rounding) { return mpfr_set(r, a.v, rounding); });
}

void fp_from_word(std::uint64_t const* x, std::uint64_t width, bool is_signed, FpFormat to, Rounding mode,
                  std::uint64_t* out) {
  Integer value;
  read_bits(value.v, x, 0, width);
  if (is_signed && bit(x, width - 1)) {
    Integer modulus(1);
    mpz_mul_2exp(modulus.v, modulus.v, width);
    mpz_sub(value.v, value.v, modulus.v);
  }
  rounded(to, mode, out, [&](mpfr_t r, mpfr_rnd_t rounding) { return mpfr_set_z(r, value.v, rounding); });
}

void fp_from_rational(mpz_srcptr numerator, mpz_srcptr denominator, FpFormat to, Rounding mode,
                      std::uint64_t* out) {
  assert(mpz_sgn(denominator) > 0);
  // The quotient with two bits more than the fraction needs, and one that says whether it is exact.
  auto const bits = [](mpz_srcptr n) { return static_cast<std::int64_t>(mpz_sizeinbase(n, 2)); };
  std::int64_t const k = bits(numerator) - bits(denominator) - static_cast<std::int64_t>(to.fraction) - 4;
  Integer n;
  Integer d;
  mpz_abs(n.v, numerator);
  mpz_set(d.v, denominator);
  if (k < 0)
    mpz_mul_2exp(n.v, n.v, static_cast<mp_bitcnt_t>(-k));
  else
    mpz_mul_2exp(d.v, d.v, static_cast<mp_bitcnt_t>(k));
  Integer rest;
  mpz_fdiv_qr(n.v, rest.v, n.v, d.v);
  mpz_mul_2exp(n.v, n.v, 1);
  if (mpz_sgn(rest.v) != 0) mpz_setbit(n.v, 0);
  fp_from_scaled(mpz_sgn(numerator) < 0, n.v, k - 1, to, mode, out);
}

}  // namespace vell::values

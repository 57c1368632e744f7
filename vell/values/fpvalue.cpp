// The values of floating-point operators: conversions to words by exact arithmetic, the others by
// fparithmetic.h. And the text of values.

#include <algorithm>
#include <string>

#include "vell/terms/exception.h"
#include "vell/terms/operators.h"
#include "vell/terms/theory.h"
#include "vell/values/evaluator.h"
#include "vell/values/wideword.h"

namespace vell::values {

namespace {

struct Integer {
  mpz_t v;
  Integer() { mpz_init(v); }
  ~Integer() { mpz_clear(v); }
  Integer(Integer const&) = delete;
  Integer& operator=(Integer const&) = delete;
};

void import_bits(mpz_t out, std::uint64_t const* words, std::uint64_t from, std::uint64_t count) {
  mpz_set_ui(out, 0);
  for (std::uint64_t i = 0; i < count; ++i)
    if (wide::bit(words, from + i)) mpz_setbit(out, i);
}

std::string binary(std::uint64_t const* words, std::uint64_t from, std::uint64_t count) {
  std::string s = "#b";
  s.reserve(count + 2);
  for (std::uint64_t i = count; i-- > 0;) s += wide::bit(words, from + i) ? '1' : '0';
  return s;
}

}  // namespace

FpFormat Evaluator::format_of(Term_ const* t) const {
  FpFormat f{0, 0};
  tm_.is_fp_type(t->symbol->get_output_type(), &f.exponent, &f.fraction);
  return f;
}

// The one NaN for any other, and the last rounding mode for numbers of none.
void Evaluator::unify(Term_ const* t, std::uint64_t width) {
  Type const* const type = t->symbol->get_output_type();
  if (type == tm_.rounding_mode_type && *slot(t, width) > 4) *slot(t, width) = 4;
  FpFormat const f = format_of(t);
  if (f.exponent != 0 && f.fraction != 0) fp_unify_nan(f, slot(t, width));
}

// A value that the operands leave open.
void Evaluator::choose_open(Term_ const* t, std::uint64_t width) {
  open_.push_back(t);
  std::vector<std::uint64_t> key{t->symbol->tag(), width};
  for (std::uint64_t i = 0; i < t->symbol->arity; ++i) {
    std::uint64_t const bits = bits_of(t->children[i]);
    std::uint64_t const* const words = operand(t->children[i], bits);
    key.push_back(reinterpret_cast<std::uintptr_t>(t->children[i]->symbol->get_output_type()));
    key.insert(key.end(), words, words + (bits + 63) / 64);
  }
  std::uint64_t* const out = slot(t, width);
  std::size_t const n = (width + 63) / 64;
  auto const [place, first] = chosen_.try_emplace(std::move(key));
  if (first) {
    ask_assignment(t, width);
    place->second.assign(out, out + n);
  } else {
    std::copy_n(place->second.begin(), n, out);
  }
}

void Evaluator::compute_floating(Term_ const* t, SymbolTag::tag tag, std::uint64_t width) {
  if (tag == SymbolTag::fp_to_sbv || tag == SymbolTag::fp_to_ubv)
    return convert_fp(t, width, tag == SymbolTag::fp_to_sbv);
  std::vector<std::uint64_t const*> x;
  for (std::uint64_t i = 0; i < t->symbol->arity; ++i)
    x.push_back(operand(t->children[i], bits_of(t->children[i])));
  std::uint64_t* const out = slot(t, width);
  std::uint64_t const n = (width + 63) / 64;
  bool const has_mode = t->children[0]->symbol->get_output_type() == tm_.rounding_mode_type;
  Rounding const mode = has_mode ? static_cast<Rounding>(*x[0]) : Rounding::even;
  Term_ const* const last = t->children[t->symbol->arity - 1];
  FpFormat const from = format_of(last);
  FpFormat const to = format_of(t);
  for (FpFormat const f : {from, to})
    if (f.exponent != 0 || f.fraction != 0)
      if (std::string const wrong = theory::format_error(f.exponent, f.fraction + 1); !wrong.empty())
        throw Exception(wrong);
  std::span<std::uint64_t const* const> const values = std::span(x).subspan(has_mode ? 1 : 0);
  switch (tag) {
    case SymbolTag::fp_as_ieeebv:
      if (fp_is_nan(from, x[0])) {
        // Any of its patterns.
        choose_open(t, width);
        if (!fp_is_nan(from, out)) std::copy_n(x[0], n, out);
        return;
      }
      std::copy_n(x[0], n, out);
      return;
    case SymbolTag::fp_make: {
      std::fill_n(out, n, 0);
      std::uint64_t place = 0;
      for (std::uint64_t part : {2, 1, 0}) {
        std::uint64_t const bits = bits_of(t->children[part]);
        for (std::uint64_t i = 0; i < bits; ++i, ++place)
          if (wide::bit(x[part], i)) out[place / 64] |= std::uint64_t{1} << (place % 64);
      }
      return fp_unify_nan(to, out);
    }
    case SymbolTag::fp_from_bits: std::copy_n(x[0], n, out); return fp_unify_nan(to, out);
    case SymbolTag::fp_from_fp: return fp_from_fp(from, x[1], to, mode, out);
    case SymbolTag::fp_from_sbv:
    case SymbolTag::fp_from_ubv:
      return fp_from_word(x[1], bits_of(last), tag == SymbolTag::fp_from_sbv, to, mode, out);
    case SymbolTag::fp_min:
    case SymbolTag::fp_max:
      if (fp_is_zero(to, x[0]) && fp_is_zero(to, x[1]) &&
          fp_is_negative(to, x[0]) != fp_is_negative(to, x[1])) {
        // Of what the assignment gives only the sign counts.
        choose_open(t, width);
        bool const negative = fp_is_negative(to, out);
        std::copy_n(fp_is_negative(to, x[0]) == negative ? x[0] : x[1], n, out);
        return;
      }
      return fp_operation(tag, to, mode, values, out);
    default: break;
  }
  if (t->symbol->get_output_type() == tm_.bool_type)
    *out = fp_test(tag, from, values) ? 1 : 0;
  else
    fp_operation(tag, to, mode, values, out);
}

// A finite value is (-1)^sign * m * 2^x with an integer m. With x < 0 the -x low bits of m are rounded away:
// `half` compares them with one half of the last bit kept.
void Evaluator::convert_fp(Term_ const* t, std::uint64_t width, bool is_signed) {
  std::uint64_t e = 0;
  std::uint64_t s = 0;
  tm_.is_fp_type(t->children[1]->symbol->get_output_type(), &e, &s);
  std::uint64_t const* bits = operand(t->children[1], e + s + 1);
  std::uint64_t const mode = *operand(t->children[0], 3);
  bool const negative = wide::bit(bits, e + s);

  Integer exponent;
  Integer m;
  Integer limit;
  import_bits(exponent.v, bits, s, e);
  import_bits(m.v, bits, 0, s);
  mpz_set_ui(limit.v, 1);
  mpz_mul_2exp(limit.v, limit.v, e);
  mpz_sub_ui(limit.v, limit.v, 1);
  bool fits = mpz_cmp(exponent.v, limit.v) != 0;  // neither infinite nor NaN
  if (fits) {
    bool const subnormal = mpz_sgn(exponent.v) == 0;
    if (subnormal)
      mpz_set_ui(exponent.v, 1);
    else
      mpz_setbit(m.v, s);
    // x = exponent - bias - s
    Integer bias;
    mpz_set_ui(bias.v, 1);
    if (e == 0)
      mpz_set_ui(bias.v, 0);
    else
      mpz_mul_2exp(bias.v, bias.v, e - 1), mpz_sub_ui(bias.v, bias.v, 1);
    mpz_sub(exponent.v, exponent.v, bias.v);
    mpz_sub_ui(exponent.v, exponent.v, s);
    if (mpz_sgn(exponent.v) >= 0) {
      // A value with more bits than the result has cannot fit; so the shift is never long.
      if (mpz_sgn(m.v) != 0) {
        if (mpz_cmp_ui(exponent.v, width) > 0)
          fits = false;
        else
          mpz_mul_2exp(m.v, m.v, mpz_get_ui(exponent.v));
      }
    } else {
      mpz_neg(exponent.v, exponent.v);
      // Beyond s + 2 places every value is below one quarter: the same rounding as at s + 2.
      std::uint64_t const places =
          mpz_cmp_ui(exponent.v, s + 2) > 0 ? s + 2 : static_cast<std::uint64_t>(mpz_get_ui(exponent.v));
      Integer rest;
      mpz_tdiv_r_2exp(rest.v, m.v, places);
      mpz_tdiv_q_2exp(m.v, m.v, places);
      Integer half;
      mpz_setbit(half.v, places - 1);
      int const against_half = mpz_cmp(rest.v, half.v);
      bool const inexact = mpz_sgn(rest.v) != 0;
      bool up = false;
      if (mode == 0) up = against_half > 0 || (against_half == 0 && mpz_odd_p(m.v));
      if (mode == 2) up = inexact && !negative;
      if (mode == 3) up = inexact && negative;
      if (mode == 4) up = against_half >= 0;
      if (up) mpz_add_ui(m.v, m.v, 1);
    }
  }
  if (fits) {
    // Signed: -2^(w-1) .. 2^(w-1)-1. Unsigned: 0 .. 2^w-1.
    mpz_set_ui(limit.v, 1);
    mpz_mul_2exp(limit.v, limit.v, is_signed ? width - 1 : width);
    if (negative)
      fits = is_signed ? mpz_cmp(m.v, limit.v) <= 0 : mpz_sgn(m.v) == 0;
    else
      fits = mpz_cmp(m.v, limit.v) < 0;
  }
  if (!fits) return choose_open(t, width);
  std::uint64_t* out = slot(t, width);
  std::fill_n(out, (width + 63) / 64, 0);
  for (std::uint64_t i = 0; i < width; ++i)
    if (mpz_tstbit(m.v, i) != 0) out[i / 64] |= std::uint64_t{1} << (i % 64);
  if (negative) wide::negate(out, out, width);
}

namespace {

std::string word_text(std::uint64_t const* words, std::uint64_t width, WordFormat format) {
  if (format == WordFormat::hexadecimal && width % 4 == 0) {
    std::string text = "#x";
    for (std::uint64_t i = width; i > 0; i -= 4)
      text += "0123456789abcdef"[words[(i - 4) / 64] >> ((i - 4) % 64) & 15];
    return text;
  }
  if (format != WordFormat::decimal) return binary(words, 0, width);
  Integer value;
  mpz_import(value.v, (width + 63) / 64, -1, sizeof *words, 0, 0, words);
  std::string digits(mpz_sizeinbase(value.v, 10) + 2, '\0');
  mpz_get_str(digits.data(), 10, value.v);
  return "(_ bv" + std::string(digits.c_str()) + " " + std::to_string(width) + ")";
}

// (_ +oo 8 24) and the like; "" for another value. Formats without a bit of each kind have none.
std::string special_text(FpFormat f, std::uint64_t const* words) {
  if (f.exponent == 0 || f.fraction == 0) return "";
  std::string const sign = fp_is_negative(f, words) ? "-" : "+";
  std::string name;
  if (fp_is_nan(f, words)) name = "NaN";
  if (fp_is_infinite(f, words)) name = sign + "oo";
  if (fp_is_zero(f, words)) name = sign + "zero";
  if (name.empty()) return "";
  return "(_ " + name + " " + std::to_string(f.exponent) + " " + std::to_string(f.fraction + 1) + ")";
}

}  // namespace

std::string value_text(TermManager const& tm, Type const* type, std::uint64_t const* words,
                       WordFormat format) {
  std::uint64_t width = 0;
  std::uint64_t fraction = 0;
  if (type == tm.bool_type) return (words[0] & 1) != 0 ? "true" : "false";
  if (tm.is_bv_type(type, &width)) return word_text(words, width, format);
  if (tm.is_fp_type(type, &width, &fraction)) {
    if (std::string const special = special_text({width, fraction}, words); !special.empty()) return special;
    return "(fp " + binary(words, width + fraction, 1) + " " + binary(words, fraction, width) + " " +
           binary(words, 0, fraction) + ")";
  }
  if (type == tm.rounding_mode_type) {
    char const* const names[] = {"roundNearestTiesToEven", "roundTowardZero", "roundTowardPositive",
                                 "roundTowardNegative", "roundNearestTiesToAway"};
    return names[std::min<std::uint64_t>(words[0], 4)];
  }
  throw Exception("no value for a term of sort " + sort_text(type));
}

std::string Evaluator::text(Term_ const* t, WordFormat format) {
  return value_text(tm_, t->symbol->get_output_type(), value(t), format);
}

}  // namespace vell::values

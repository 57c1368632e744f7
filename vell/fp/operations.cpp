#include "vell/fp/operations.h"

#include "vell/fp/backend.h"
#include "vell/terms/exception.h"
#include "vell/terms/operators.h"

namespace vell::fp {

namespace {

using backend::Mode;
using backend::Proposition;
using backend::Traits;
using Value = symfpu::unpackedFloat<Traits>;
using Signed = Traits::sbv;
using Unsigned = Traits::ubv;

backend::Format format_of(Format f) { return {f.exponent, f.fraction + 1}; }

Value value_of(Unpacked const& x) {
  return Value(Proposition(x.nan), Proposition(x.infinite), Proposition(x.zero), Proposition(x.sign),
               Signed(x.exponent), Unsigned(x.significand));
}

Unpacked unpacked(Value const& v) {
  return {v.getNaN().term,  v.getInf().term,      v.getZero().term,
          v.getSign().term, v.getExponent().term, v.getSignificand().term};
}

// SymFPU rounds where the target has a shorter significand or exponent, and then needs two bits more than the
// target and exponents as long as its own.
Value converted(backend::Format from, Value const& x, backend::Format to, Mode const& mode) {
  auto const exponents = [](backend::Format const& f) { return Value::exponentWidth(f); };
  auto const more = [](std::uint64_t has, std::uint64_t wants) { return has < wants ? wants - has : 0; };
  std::uint64_t const exponent = more(exponents(from), exponents(to));
  bool const exact = exponents(from) <= exponents(to) && from.exponentWidth() <= to.exponentWidth() &&
                     from.significandWidth() <= to.significandWidth();
  if (exact) return x.extend(exponent, more(from.significandWidth(), to.significandWidth()));
  Value const extended = x.extend(exponent, more(from.significandWidth(), to.significandWidth() + 2));
  Value const finite = symfpu::rounder<Traits>(to, mode, extended);
  return symfpu::ITE(x.getNaN(), Value::makeNaN(to),
                     symfpu::ITE(x.getInf(), Value::makeInf(to, x.getSign()),
                                 symfpu::ITE(x.getZero(), Value::makeZero(to, x.getSign()), finite)));
}

// SymFPU takes it that no square root is subnormal. Where fractions are as long as exponents reach, some are,
// and are to be rounded as such.
Value square_root(Format f, Mode const& mode, Value const& x) {
  backend::Format const format = format_of(f);
  std::uint64_t const bias = (std::uint64_t{1} << (f.exponent - 1)) - 1;
  if (f.fraction + 2 <= bias) return symfpu::sqrt<Traits>(format, mode, x);
  Value const root = symfpu::rounder<Traits>(format, mode, symfpu::arithmeticSqrt<Traits>(format, x));
  return symfpu::addSqrtSpecialCases<Traits>(format, x, root.getSign(), root);
}

}  // namespace

Unpacked Operations::unpack(Format f, Term_ const* bits) const {
  backend::Use const use(builder_);
  return unpacked(symfpu::unpack<Traits>(format_of(f), Unsigned(bits)));
}

Term_ const* Operations::pack(Format f, Unpacked const& x) const {
  backend::Use const use(builder_);
  return symfpu::pack<Traits>(format_of(f), value_of(x)).term;
}

Unpacked Operations::choose(Term_ const* condition, Unpacked const& a, Unpacked const& b) const {
  auto const of = [&](Term_ const* x, Term_ const* y) { return builder_.choose(condition, x, y); };
  return {of(a.nan, b.nan),   of(a.infinite, b.infinite), of(a.zero, b.zero),
          of(a.sign, b.sign), of(a.exponent, b.exponent), of(a.significand, b.significand)};
}

Term_ const* Operations::same(Format f, Unpacked const& a, Unpacked const& b) const {
  backend::Use const use(builder_);
  return symfpu::smtlibEqual<Traits>(format_of(f), value_of(a), value_of(b)).term;
}

Unpacked Operations::operation(Tag op, Format f, Term_ const* mode, std::span<Unpacked const> x) const {
  backend::Use const use(builder_);
  backend::Format const format = format_of(f);
  Mode const rounding(mode);
  Value const a = value_of(x[0]);
  Value const b = x.size() > 1 ? value_of(x[1]) : a;
  switch (op) {
    case Tag::fp_abs: return unpacked(symfpu::absolute<Traits>(format, a));
    case Tag::fp_neg: return unpacked(symfpu::negate<Traits>(format, a));
    case Tag::fp_add: return unpacked(symfpu::add<Traits>(format, rounding, a, b, Proposition(true)));
    case Tag::fp_sub: return unpacked(symfpu::add<Traits>(format, rounding, a, b, Proposition(false)));
    case Tag::fp_mul: return unpacked(symfpu::multiply<Traits>(format, rounding, a, b));
    case Tag::fp_div: return unpacked(symfpu::divide<Traits>(format, rounding, a, b));
    case Tag::fp_fma: return unpacked(symfpu::fma<Traits>(format, rounding, a, b, value_of(x[2])));
    case Tag::fp_sqrt: return unpacked(square_root(f, rounding, a));
    case Tag::fp_rem: return unpacked(symfpu::remainder<Traits>(format, a, b));
    case Tag::fp_round_to_integral: return unpacked(symfpu::roundToIntegral<Traits>(format, rounding, a));
    default: throw Exception(std::string("no such operation on floating-point values: ") + operator_name(op));
  }
}

Unpacked Operations::extreme(Tag op, Format f, Unpacked const& a, Unpacked const& b,
                             Term_ const* zero_case) const {
  backend::Use const use(builder_);
  Proposition const zeros(zero_case);
  if (op == Tag::fp_min) return unpacked(symfpu::min<Traits>(format_of(f), value_of(a), value_of(b), zeros));
  return unpacked(symfpu::max<Traits>(format_of(f), value_of(a), value_of(b), zeros));
}

Term_ const* Operations::test(Tag op, Format f, std::span<Unpacked const> x) const {
  backend::Use const use(builder_);
  backend::Format const format = format_of(f);
  Value const a = value_of(x[0]);
  Value const b = x.size() > 1 ? value_of(x[1]) : a;
  switch (op) {
    case Tag::fp_leq: return symfpu::lessThanOrEqual<Traits>(format, a, b).term;
    case Tag::fp_lt: return symfpu::lessThan<Traits>(format, a, b).term;
    case Tag::fp_eq: return symfpu::ieee754Equal<Traits>(format, a, b).term;
    case Tag::fp_is_normal: return symfpu::isNormal<Traits>(format, a).term;
    case Tag::fp_is_subnormal: return symfpu::isSubnormal<Traits>(format, a).term;
    case Tag::fp_is_zero: return symfpu::isZero<Traits>(format, a).term;
    case Tag::fp_is_infinite: return symfpu::isInfinite<Traits>(format, a).term;
    case Tag::fp_is_nan: return symfpu::isNaN<Traits>(format, a).term;
    case Tag::fp_is_negative: return symfpu::isNegative<Traits>(format, a).term;
    case Tag::fp_is_positive: return symfpu::isPositive<Traits>(format, a).term;
    default:
      throw Exception(std::string("no such question about floating-point values: ") + operator_name(op));
  }
}

Unpacked Operations::convert(Format from, Unpacked const& x, Format to, Term_ const* mode) const {
  backend::Use const use(builder_);
  return unpacked(converted(format_of(from), value_of(x), format_of(to), Mode(mode)));
}

// An integer is a significand; with its sign taken off, it has one bit more than it had.
Unpacked Operations::from_word(Term_ const* word, bool is_signed, Format to, Term_ const* mode) const {
  backend::Use const use(builder_);
  Proposition negative(false);
  Unsigned magnitude(word);
  if (is_signed) {
    Signed const wide = Signed(word).extend(1);
    negative = wide < Signed::zero(wide.getWidth());
    magnitude = symfpu::ITE(negative, -wide, wide).toUnsigned();
  } else if (magnitude.getWidth() == 1) {
    magnitude = magnitude.extend(1);
  }
  std::uint64_t const width = magnitude.getWidth();
  // Exponents from 0 to width - 1.
  backend::Format const own(symfpu::bitsToRepresent(width) + 1, width);
  Value const raw(negative, Signed(Value::exponentWidth(own), width - 1), magnitude);
  Value const normal = raw.normaliseUpDetectZero(own);
  // Zero has no sign.
  return unpacked(converted(own, normal, format_of(to), Mode(mode)));
}

Term_ const* Operations::to_word(Format f, Unpacked const& x, Term_ const* mode, std::uint64_t width,
                                 bool is_signed, Term_ const* otherwise) const {
  backend::Use const use(builder_);
  backend::Format const format = format_of(f);
  if (width == 1) {
    // SymFPU needs two bits. In three, with 2 for what does not fit there, no other integer fits the one bit.
    Signed const wide = symfpu::convertFloatToSBV<Traits>(format, Mode(mode), value_of(x), 3, Signed(3, 2));
    Proposition const fits = wide.isAllZeros() || (is_signed ? wide.isAllOnes() : wide == Signed::one(3));
    return builder_.choose(fits.term, wide.extract(0, 0).term, otherwise);
  }
  if (is_signed)
    return symfpu::convertFloatToSBV<Traits>(format, Mode(mode), value_of(x), width, Signed(otherwise)).term;
  return symfpu::convertFloatToUBV<Traits>(format, Mode(mode), value_of(x), width, Unsigned(otherwise)).term;
}

}  // namespace vell::fp

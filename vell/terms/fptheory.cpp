// The operators on rounding modes and floating-point values, by name.
//
// A floating-point numeral carries its bits: fraction, biased exponent, sign, least significant first. NaN is
// one value, the quiet one without a sign, so that equal values are one term.

#include <cstring>

#include "vell/terms/termbuilder.h"
#include "vell/terms/theory.h"
#include "vell/terms/theorybuilders.h"

namespace vell::theory {

namespace {

constexpr std::uint8_t any = Operator::any;
using Tag = SymbolTag::tag;

// clang-format off
constexpr Operator operators[] = {
    // name, sorts, least and greatest number of arguments, indices, builder, operator of the term layer

    // Rounding modes
    {"roundNearestTiesToEven", Sorts::none, 0, 0, 0, build::rounding_mode},
    {"roundTowardZero", Sorts::none, 0, 0, 0, build::rounding_mode},
    {"roundTowardPositive", Sorts::none, 0, 0, 0, build::rounding_mode},
    {"roundTowardNegative", Sorts::none, 0, 0, 0, build::rounding_mode},
    {"roundNearestTiesToAway", Sorts::none, 0, 0, 0, build::rounding_mode},
    {"RNE", Sorts::none, 0, 0, 0, build::rounding_mode},
    {"RTZ", Sorts::none, 0, 0, 0, build::rounding_mode},
    {"RTP", Sorts::none, 0, 0, 0, build::rounding_mode},
    {"RTN", Sorts::none, 0, 0, 0, build::rounding_mode},
    {"RNA", Sorts::none, 0, 0, 0, build::rounding_mode},

    // Values
    {"fp", Sorts::float_parts, 3, 3, 0, build::float_of_parts, Tag::fp_make},
    {"+oo", Sorts::none, 0, 0, 2, build::special_value},
    {"-oo", Sorts::none, 0, 0, 2, build::special_value},
    {"+zero", Sorts::none, 0, 0, 2, build::special_value},
    {"-zero", Sorts::none, 0, 0, 2, build::special_value},
    {"NaN", Sorts::none, 0, 0, 2, build::special_value},

    // Arithmetic
    {"fp.abs", Sorts::floats_of_one_format, 1, 1, 0, build::float_operation, Tag::fp_abs},
    {"fp.neg", Sorts::floats_of_one_format, 1, 1, 0, build::float_operation, Tag::fp_neg},
    {"fp.add", Sorts::rounded_floats, 3, 3, 0, build::float_operation, Tag::fp_add},
    {"fp.sub", Sorts::rounded_floats, 3, 3, 0, build::float_operation, Tag::fp_sub},
    {"fp.mul", Sorts::rounded_floats, 3, 3, 0, build::float_operation, Tag::fp_mul},
    {"fp.div", Sorts::rounded_floats, 3, 3, 0, build::float_operation, Tag::fp_div},
    {"fp.fma", Sorts::rounded_floats, 4, 4, 0, build::float_operation, Tag::fp_fma},
    {"fp.sqrt", Sorts::rounded_floats, 2, 2, 0, build::float_operation, Tag::fp_sqrt},
    {"fp.rem", Sorts::floats_of_one_format, 2, 2, 0, build::float_operation, Tag::fp_rem},
    {"fp.roundToIntegral", Sorts::rounded_floats, 2, 2, 0, build::float_operation, Tag::fp_round_to_integral},
    {"fp.min", Sorts::floats_of_one_format, 2, 2, 0, build::float_operation, Tag::fp_min},
    {"fp.max", Sorts::floats_of_one_format, 2, 2, 0, build::float_operation, Tag::fp_max},

    // Order and classes
    {"fp.leq", Sorts::floats_of_one_format, 2, any, 0, build::float_order, Tag::fp_leq},
    {"fp.lt", Sorts::floats_of_one_format, 2, any, 0, build::float_order, Tag::fp_lt},
    {"fp.geq", Sorts::floats_of_one_format, 2, any, 0, build::float_order_swapped, Tag::fp_leq},
    {"fp.gt", Sorts::floats_of_one_format, 2, any, 0, build::float_order_swapped, Tag::fp_lt},
    {"fp.eq", Sorts::floats_of_one_format, 2, any, 0, build::float_order, Tag::fp_eq},
    {"fp.isNormal", Sorts::floats_of_one_format, 1, 1, 0, build::float_operation, Tag::fp_is_normal},
    {"fp.isSubnormal", Sorts::floats_of_one_format, 1, 1, 0, build::float_operation, Tag::fp_is_subnormal},
    {"fp.isZero", Sorts::floats_of_one_format, 1, 1, 0, build::float_operation, Tag::fp_is_zero},
    {"fp.isInfinite", Sorts::floats_of_one_format, 1, 1, 0, build::float_operation, Tag::fp_is_infinite},
    {"fp.isNaN", Sorts::floats_of_one_format, 1, 1, 0, build::float_operation, Tag::fp_is_nan},
    {"fp.isNegative", Sorts::floats_of_one_format, 1, 1, 0, build::float_operation, Tag::fp_is_negative},
    {"fp.isPositive", Sorts::floats_of_one_format, 1, 1, 0, build::float_operation, Tag::fp_is_positive},

    // Conversions
    {"to_fp", Sorts::float_conversion, 1, 2, 2, build::float_conversion},
    {"to_fp_unsigned", Sorts::rounded_word, 2, 2, 2, build::float_conversion, Tag::fp_from_ubv},
    {"fp.to_ubv", Sorts::rounded_float, 2, 2, 1, build::float_operation, Tag::fp_to_ubv},
    {"fp.to_sbv", Sorts::rounded_float, 2, 2, 1, build::float_operation, Tag::fp_to_sbv},
    {"fp.to_ieee_bv", Sorts::floats_of_one_format, 1, 1, 0, build::float_operation, Tag::fp_as_ieeebv},
    {"to_ieee_bv", Sorts::floats_of_one_format, 1, 1, 0, build::float_operation, Tag::fp_as_ieeebv},
};
// clang-format on

Type const* type_of(Term_ const* t) { return t->symbol->get_output_type(); }

void set_bit(std::vector<std::uint64_t>& words, std::uint64_t i) {
  words[i / 64] |= std::uint64_t{1} << (i % 64);
}

// The numeral with these bits, of a format with a fraction of s bits; NaN becomes the one NaN.
Term_ const* float_numeral(TermManager& terms, std::vector<std::uint64_t> const& bits, std::uint64_t e,
                           std::uint64_t s) {
  auto const set = [&](std::uint64_t i) { return (bits[i / 64] >> (i % 64) & 1) != 0; };
  bool special = true;
  bool fraction = false;
  for (std::uint64_t i = s; i < s + e; ++i) special = special && set(i);
  for (std::uint64_t i = 0; i < s; ++i) fraction = fraction || set(i);
  Type const* const type = terms.fp_type(e, s);
  if (!special || !fraction) return terms.mk_number(QNumber::from_words(bits.data(), bits.size()), type);
  std::vector<std::uint64_t> nan(bits.size(), 0);
  for (std::uint64_t i = s - 1; i < s + e; ++i) set_bit(nan, i);
  return terms.mk_number(QNumber::from_words(nan.data(), nan.size()), type);
}

void check_format(std::uint64_t exponent_width, std::uint64_t significand_width) {
  if (std::string const wrong = format_error(exponent_width, significand_width); !wrong.empty())
    throw SortError(wrong);
}

}  // namespace

std::span<Operator const> floating_operator_table() { return operators; }

std::string format_error(std::uint64_t exponent_width, std::uint64_t significand_width) {
  auto const outside = [](char const* what, std::uint64_t width, std::uint64_t most) {
    return std::string("the ") + what + " of a floating-point format has " +
           std::to_string(min_format_width) + " to " + std::to_string(most) + " bits, not " +
           std::to_string(width);
  };
  if (exponent_width < min_format_width || exponent_width > max_exponent_width)
    return outside("exponent", exponent_width, max_exponent_width);
  if (significand_width < min_format_width || significand_width > max_significand_width)
    return outside("significand", significand_width, max_significand_width);
  return "";
}

bool floating_sort_fits(TermManager& terms, Sorts sorts, std::span<Term_ const* const> arguments,
                        std::size_t i) {
  Type const* const type = type_of(arguments[i]);
  bool const mode = type == terms.rounding_mode_type;
  switch (sorts) {
    case Sorts::floats_of_one_format: return terms.is_fp_type(type) && type == type_of(arguments[0]);
    case Sorts::rounded_floats:
      return i == 0 ? mode : terms.is_fp_type(type) && type == type_of(arguments[1]);
    case Sorts::rounded_float: return i == 0 ? mode : terms.is_fp_type(type);
    case Sorts::rounded_word: return i == 0 ? mode : terms.is_bv_type(type);
    case Sorts::float_parts: return terms.is_bv_type(type) && (i != 0 || terms.width(arguments[0]) == 1);
    case Sorts::float_conversion:
      if (arguments.size() == 1) return terms.is_bv_type(type);
      return i == 0 ? mode : terms.is_fp_type(type) || terms.is_bv_type(type);
    default: return false;
  }
}

char const* floating_sorts_text(Sorts sorts, std::size_t count) {
  switch (sorts) {
    case Sorts::floats_of_one_format:
      return count == 1 ? "a floating-point value" : "floating-point values of one format";
    case Sorts::rounded_floats:
      return count == 2 ? "a rounding mode and a floating-point value"
                        : "a rounding mode and floating-point values of one format";
    case Sorts::rounded_float: return "a rounding mode and a floating-point value";
    case Sorts::rounded_word: return "a rounding mode and a bit-vector";
    case Sorts::float_parts: return "a bit-vector of one bit and two bit-vectors";
    case Sorts::float_conversion:
      return count == 1 ? "a bit-vector" : "a rounding mode, and a bit-vector or a floating-point value";
    default: return "";
  }
}

namespace build {

Term_ const* rounding_mode(Application const& a) {
  using Role = Symbol::Role;
  constexpr struct {
    char const* name;
    char const* abbreviation;
    Role role;
  } modes[] = {{"roundNearestTiesToEven", "RNE", Role::rounding_even},
               {"roundTowardZero", "RTZ", Role::rounding_zero},
               {"roundTowardPositive", "RTP", Role::rounding_plus_inf},
               {"roundTowardNegative", "RTN", Role::rounding_minus_inf}};
  for (auto const& m : modes)
    if (std::strcmp(a.op.name, m.name) == 0 || std::strcmp(a.op.name, m.abbreviation) == 0)
      return a.terms.mk_rounding_mode(m.role);
  return a.terms.mk_rounding_mode(Role::rounding_away);
}

Term_ const* special_value(Application const& a) {
  std::uint64_t const e = a.indices[0];
  check_format(e, a.indices[1]);
  std::uint64_t const s = a.indices[1] - 1;
  std::string_view const name = a.op.name;
  std::vector<std::uint64_t> bits((e + s) / 64 + 1, 0);
  if (!name.ends_with("zero"))
    for (std::uint64_t i = s; i < s + e; ++i) set_bit(bits, i);
  if (name == "NaN") set_bit(bits, 0);
  if (name.starts_with('-')) set_bit(bits, s + e);
  return float_numeral(a.terms, bits, e, s);
}

// Of numerals a numeral.
Term_ const* float_of_parts(Application const& a) {
  std::uint64_t const e = a.terms.width(a.arguments[1]);
  std::uint64_t const s = a.terms.width(a.arguments[2]);
  check_format(e, s + 1);
  std::vector<std::uint64_t> bits((e + s) / 64 + 1, 0);
  std::uint64_t place = 0;
  for (std::size_t part : {2, 1, 0}) {
    QNumber const* const value = a.terms.number(a.arguments[part]->symbol);
    if (value == nullptr) return a.terms.mk_app(Tag::fp_make, a.arguments);
    std::uint64_t const width = a.terms.width(a.arguments[part]);
    for (std::uint64_t i = value->lowest_set_bit(0); i < width; i = value->lowest_set_bit(i + 1))
      set_bit(bits, place + i);
    place += width;
  }
  return float_numeral(a.terms, bits, e, s);
}

Term_ const* float_conversion(Application const& a) {
  std::uint64_t const e = a.indices[0];
  std::uint64_t const significand = a.indices[1];
  check_format(e, significand);
  Term_ const* const x = a.arguments.back();
  if (a.arguments.size() == 1) {
    if (a.terms.width(x) != e + significand)
      throw SortError("`to_fp` takes a bit-vector of " + std::to_string(e + significand) + " bits, not " +
                      std::to_string(a.terms.width(x)));
    QNumber const* const value = a.terms.number(x->symbol);
    if (value == nullptr) return a.terms.mk_app(Tag::fp_from_bits, a.arguments, e, significand);
    std::vector<std::uint64_t> bits((e + significand - 1) / 64 + 1, 0);
    for (std::uint64_t i = value->lowest_set_bit(0); i < e + significand; i = value->lowest_set_bit(i + 1))
      set_bit(bits, i);
    return float_numeral(a.terms, bits, e, significand - 1);
  }
  if (a.op.tag == Tag::fp_from_ubv) return a.terms.mk_app(Tag::fp_from_ubv, a.arguments, e, significand);
  if (a.terms.is_bv_type(type_of(x))) return a.terms.mk_app(Tag::fp_from_sbv, a.arguments, e, significand);
  // Every value of a format is one of the format.
  if (type_of(x) == a.terms.fp_type(e, significand - 1)) return x;
  return a.terms.mk_app(Tag::fp_from_fp, a.arguments, e, significand);
}

Term_ const* float_operation(Application const& a) {
  std::uint64_t const width = a.op.indices == 0 ? 0 : a.indices[0];
  if (a.op.indices != 0 && (width == 0 || width > max_width))
    throw SortError("`" + std::string(a.op.name) + "` gives a bit-vector of 1 to " +
                    std::to_string(max_width) + " bits, not " + std::to_string(width));
  return a.terms.mk_app(a.op.tag, a.arguments, width);
}

namespace {

Term_ const* chained(Application const& a, bool swap) {
  Term_ const* all = nullptr;
  for (std::size_t i = 1; i < a.arguments.size(); ++i) {
    Term_ const* const x = a.arguments[i - 1];
    Term_ const* const y = a.arguments[i];
    Term_ const* const one = a.terms.mk_app(a.op.tag, {swap ? y : x, swap ? x : y});
    all = all == nullptr ? one : TermBuilder{a.terms}.both(all, one);
  }
  return all;
}

}  // namespace

Term_ const* float_order(Application const& a) { return chained(a, false); }
Term_ const* float_order_swapped(Application const& a) { return chained(a, true); }

}  // namespace build

}  // namespace vell::theory

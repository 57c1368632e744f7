#include "vell/terms/operators.h"

#include <algorithm>

#include "vell/terms/termmanager.h"

namespace vell {

namespace {

using Rule = OperatorInfo::Typing;

constexpr OperatorInfo unknown{SymbolTag::none, "?", -1, Rule::none, 0};

constexpr unsigned tag_limit = [] {
  unsigned limit = 0;
  for (OperatorInfo const& i : operator_table) limit = std::max(limit, i.tag + 1U);
  for (OperatorInfo const& i : floating_operator_table) limit = std::max(limit, i.tag + 1U);
  return limit;
}();

struct InfoTable {
  OperatorInfo const* by_tag[tag_limit] = {};
  constexpr InfoTable() {
    for (OperatorInfo const& i : operator_table) by_tag[i.tag] = &i;
    for (OperatorInfo const& i : floating_operator_table) by_tag[i.tag] = &i;
  }
};
constexpr InfoTable info_table;

OperatorInfo const& info_of(SymbolTag::tag tag) {
  return tag < tag_limit && info_table.by_tag[tag] != nullptr ? *info_table.by_tag[tag] : unknown;
}

Type const* type_of(Term_ const* t) { return t->symbol->get_output_type(); }

[[noreturn]] void mismatch(OperatorInfo const& info, char const* wants,
                           std::span<Term_ const* const> children) {
  SortError e(std::string(info.name) + " takes " + wants);
  char const* separator = ", not ";
  for (Term_ const* c : children) {
    e << separator << sort_text(type_of(c));
    separator = " and ";
  }
  throw e;
}

// The widths of a format, the significand with its hidden bit.
void check_format(std::uint64_t exponent_width, std::uint64_t significand_width) {
  if (exponent_width == 0 || significand_width == 0)
    throw SortError("a floating-point format has an exponent and a significand");
}

}  // namespace

char const* operator_name(SymbolTag::tag tag) { return info_of(tag).name; }
int operator_arity(SymbolTag::tag tag) { return info_of(tag).arity; }
unsigned operator_parameters(SymbolTag::tag tag) { return info_of(tag).parameters; }

bool operator_commutative(SymbolTag::tag tag) { return info_of(tag).commutative; }

Symbol::Role operator_role(SymbolTag::tag tag) {
  switch (tag) {
    case SymbolTag::term_ite: return Symbol::Role::term_ite;
    case SymbolTag::bv_extract: return Symbol::Role::extract;
    case SymbolTag::bv_rotate_left: return Symbol::Role::rotate_left;
    case SymbolTag::bv_rotate_right: return Symbol::Role::rotate_right;
    case SymbolTag::bv_slt: return Symbol::Role::slt;
    default: return Symbol::Role::plain;
  }
}

std::string sort_text(Type const* type) {
  switch (type->kind()) {
    case Type::Kind::boolean: return "Bool";
    case Type::Kind::integer: return "Int";
    case Type::Kind::real: return "Real";
    case Type::Kind::rounding_mode: return "RoundingMode";
    case Type::Kind::bit_vector: return "(_ BitVec " + type->to_str().substr(2) + ")";
    case Type::Kind::floating_point: {
      std::string const s = type->to_str();
      std::size_t const dot = s.find('.');
      return "(_ FloatingPoint " + s.substr(2, dot - 2) + " " +
             std::to_string(std::stoull(s.substr(dot + 1)) + 1) + ")";
    }
    default: return type->to_str();
  }
}

Term_ const* TermManager::mk_app(SymbolTag::tag tag, std::span<Term_ const* const> children,
                                 std::uint64_t parameter0, std::uint64_t parameter1) {
  OperatorInfo const& info = info_of(tag);
  if (info.typing == Rule::none) throw SortError("no such operator: tag " + std::to_string(tag));
  if (children.size() != static_cast<std::size_t>(info.arity))
    throw SortError(std::string(info.name) + " takes " + std::to_string(info.arity) + " arguments, not " +
                    std::to_string(children.size()));

  std::uint64_t width = 0;
  auto word = [&](std::size_t i) { return is_bv_type(type_of(children[i]), &width); };
  auto all_words = [&] {
    for (std::size_t i = 0; i < children.size(); ++i)
      if (!word(i) || type_of(children[i]) != type_of(children[0]))
        mismatch(info, "words of one width", children);
  };
  auto one_format = [&](std::size_t first) {
    for (std::size_t i = first; i < children.size(); ++i)
      if (!is_fp_type(type_of(children[i])) || type_of(children[i]) != type_of(children[first]))
        mismatch(info, "floating-point values of one format", children);
  };

  Type const* out = nullptr;
  switch (info.typing) {
    case Rule::none: break;
    case Rule::constant: return mk_bool(tag == SymbolTag::bool_true);
    case Rule::booleans:
      for (Term_ const* c : children)
        if (type_of(c) != bool_type) mismatch(info, "Booleans", children);
      out = bool_type;
      break;
    case Rule::same_words:
      all_words();
      out = type_of(children[0]);
      break;
    case Rule::word_order:
      all_words();
      out = bool_type;
      parameter0 = tag == SymbolTag::bv_slt ? width : 0;
      break;
    case Rule::equality:
      if (type_of(children[0]) == bool_type && type_of(children[1]) == bool_type) {
        tag = SymbolTag::bool_iff;
      } else if ((!word(0) && !is_fp_type(type_of(children[0])) &&
                  type_of(children[0]) != rounding_mode_type) ||
                 type_of(children[0]) != type_of(children[1])) {
        mismatch(info, "two terms of one sort", children);
      }
      out = bool_type;
      break;
    case Rule::ite:
      if (type_of(children[0]) != bool_type || type_of(children[1]) != type_of(children[2]))
        mismatch(info, "a Boolean and two terms of one sort", children);
      out = type_of(children[1]);
      tag = out == bool_type ? SymbolTag::bool_ite : SymbolTag::term_ite;
      break;
    case Rule::concat: {
      if (!word(0)) mismatch(info, "two words", children);
      std::uint64_t const high = width;
      if (!word(1)) mismatch(info, "two words", children);
      out = bv_type(high + width);
      break;
    }
    case Rule::extract:
      if (!word(0)) mismatch(info, "a word", children);
      if (parameter0 < parameter1 || parameter0 >= width)
        throw SortError("extract takes msb >= lsb below the width, not " + std::to_string(parameter0) +
                        " and " + std::to_string(parameter1) + " of width " + std::to_string(width));
      out = bv_type(parameter0 - parameter1 + 1);
      break;
    case Rule::rotate:
      if (!word(0)) mismatch(info, "a word", children);
      if (parameter0 > width)
        throw SortError(std::string(info.name) + " takes an amount of at most the width, not " +
                        std::to_string(parameter0) + " of width " + std::to_string(width));
      out = type_of(children[0]);
      break;
    case Rule::extend:
      if (!word(0)) mismatch(info, "a word", children);
      out = bv_type(width + parameter0);
      break;
    case Rule::fp_to_word:
      if (type_of(children[0]) != rounding_mode_type || !is_fp_type(type_of(children[1])))
        mismatch(info, "a rounding mode and a floating-point value", children);
      out = bv_type(parameter0);
      break;
    case Rule::fp_as_word: {
      std::uint64_t e = 0;
      std::uint64_t s = 0;
      if (!is_fp_type(type_of(children[0]), &e, &s)) mismatch(info, "a floating-point value", children);
      out = bv_type(e + s + 1);
      break;
    }
    case Rule::fp_parts: {
      std::uint64_t exponent = 0;
      bool const sign = word(0) && width == 1;
      if (!sign || !is_bv_type(type_of(children[1]), &exponent) || !word(2))
        mismatch(info, "a word of one bit and two words", children);
      out = fp_type(exponent, width);
      break;
    }
    case Rule::fp_of_word:
      check_format(parameter0, parameter1);
      if (!word(0) || width != parameter0 + parameter1)
        mismatch(info, "a word of the format's width", children);
      out = fp_type(parameter0, parameter1 - 1);
      break;
    case Rule::fp_of_fp:
      check_format(parameter0, parameter1);
      if (type_of(children[0]) != rounding_mode_type || !is_fp_type(type_of(children[1])))
        mismatch(info, "a rounding mode and a floating-point value", children);
      out = fp_type(parameter0, parameter1 - 1);
      break;
    case Rule::fp_of_int:
      check_format(parameter0, parameter1);
      if (type_of(children[0]) != rounding_mode_type || !word(1))
        mismatch(info, "a rounding mode and a word", children);
      out = fp_type(parameter0, parameter1 - 1);
      break;
    case Rule::fp_same:
    case Rule::fp_test:
      one_format(0);
      out = info.typing == Rule::fp_same ? type_of(children[0]) : bool_type;
      break;
    case Rule::fp_rounded:
      if (type_of(children[0]) != rounding_mode_type)
        mismatch(info, "a rounding mode and floating-point values", children);
      one_format(1);
      out = type_of(children[1]);
      break;
  }
  return mk_term(operator_symbol(tag, children.size(), out, parameter0, parameter1), children);
}

}  // namespace vell

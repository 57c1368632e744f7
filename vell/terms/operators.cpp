#include "vell/terms/operators.h"

#include "vell/terms/termmanager.h"

namespace vell {

namespace {

// How the operands and the result of an operator are typed.
enum class Rule : std::uint8_t {
  none,         // not built by mk_app
  constant,     // () -> Bool
  booleans,     // Bool ... -> Bool
  same_words,   // w ... -> w
  word_order,   // w w -> Bool
  equality,     // s s -> Bool
  ite,          // Bool s s -> s
  concat,       // v w -> v + w
  extract,      // w -> msb - lsb + 1
  rotate,       // w -> w, amount at most w
  extend,       // w -> w + amount
  fp_to_word,   // rm fp -> w (parameter 0)
  fp_as_word    // fp -> e + s + 1
};

struct OperatorInfo {
  SymbolTag::tag tag;
  char const* name;
  int arity;
  Rule rule;
  unsigned parameters;
};

constexpr OperatorInfo infos[] = {
    {SymbolTag::bool_true, "true", 0, Rule::constant, 0},
    {SymbolTag::bool_false, "false", 0, Rule::constant, 0},
    {SymbolTag::bool_and, "and", 2, Rule::booleans, 0},
    {SymbolTag::bool_or, "or", 2, Rule::booleans, 0},
    {SymbolTag::bool_not, "not", 1, Rule::booleans, 0},
    {SymbolTag::bool_iff, "=", 2, Rule::booleans, 0},
    {SymbolTag::bool_ite, "ite", 3, Rule::ite, 0},
    {SymbolTag::term_ite, "ite", 3, Rule::ite, 0},
    {SymbolTag::equal, "=", 2, Rule::equality, 0},
    {SymbolTag::bv_concat, "concat", 2, Rule::concat, 0},
    {SymbolTag::bv_extract, "extract", 1, Rule::extract, 2},
    {SymbolTag::bv_not, "bvnot", 1, Rule::same_words, 0},
    {SymbolTag::bv_and, "bvand", 2, Rule::same_words, 0},
    {SymbolTag::bv_or, "bvor", 2, Rule::same_words, 0},
    {SymbolTag::bv_xor, "bvxor", 2, Rule::same_words, 0},
    {SymbolTag::bv_ult, "bvult", 2, Rule::word_order, 0},
    {SymbolTag::bv_slt, "bvslt", 2, Rule::word_order, 0},
    {SymbolTag::bv_ule, "bvule", 2, Rule::word_order, 0},
    {SymbolTag::bv_sle, "bvsle", 2, Rule::word_order, 0},
    {SymbolTag::equal_noproxy, "=", 2, Rule::word_order, 0},
    {SymbolTag::bv_neg, "bvneg", 1, Rule::same_words, 0},
    {SymbolTag::bv_add, "bvadd", 2, Rule::same_words, 0},
    {SymbolTag::bv_sub, "bvsub", 2, Rule::same_words, 0},
    {SymbolTag::bv_mul, "bvmul", 2, Rule::same_words, 0},
    {SymbolTag::bv_udiv, "bvudiv", 2, Rule::same_words, 0},
    {SymbolTag::bv_sdiv, "bvsdiv", 2, Rule::same_words, 0},
    {SymbolTag::bv_urem, "bvurem", 2, Rule::same_words, 0},
    {SymbolTag::bv_srem, "bvsrem", 2, Rule::same_words, 0},
    {SymbolTag::bv_shl, "bvshl", 2, Rule::same_words, 0},
    {SymbolTag::bv_lshr, "bvlshr", 2, Rule::same_words, 0},
    {SymbolTag::bv_ashr, "bvashr", 2, Rule::same_words, 0},
    {SymbolTag::bv_rotate_left, "rotate_left", 1, Rule::rotate, 1},
    {SymbolTag::bv_rotate_right, "rotate_right", 1, Rule::rotate, 1},
    {SymbolTag::bv_zero_extend, "zero_extend", 1, Rule::extend, 1},
    {SymbolTag::bv_sign_extend, "sign_extend", 1, Rule::extend, 1},
    {SymbolTag::fp_to_sbv, "fp.to_sbv", 2, Rule::fp_to_word, 1},
    {SymbolTag::fp_to_ubv, "fp.to_ubv", 2, Rule::fp_to_word, 1},
    {SymbolTag::fp_as_ieeebv, "fp.to_ieee_bv", 1, Rule::fp_as_word, 0},
};

constexpr OperatorInfo unknown{SymbolTag::none, "?", -1, Rule::none, 0};

constexpr unsigned tag_limit = 63;

struct InfoTable {
  OperatorInfo const* by_tag[tag_limit] = {};
  constexpr InfoTable() {
    for (OperatorInfo const& i : infos) by_tag[i.tag] = &i;
  }
};
constexpr InfoTable info_table;

OperatorInfo const& info_of(SymbolTag::tag tag) {
  return tag < tag_limit && info_table.by_tag[tag] != nullptr ? *info_table.by_tag[tag] : unknown;
}

Type const* type_of(Term_ const* t) { return t->symbol->get_output_type(); }

[[noreturn]] void mismatch(OperatorInfo const& info, char const* wants, std::span<Term_ const* const> children) {
  SortError e(std::string(info.name) + " takes " + wants);
  char const* separator = ", not ";
  for (Term_ const* c : children) {
    e << separator << sort_text(type_of(c));
    separator = " and ";
  }
  throw e;
}

}  // namespace

char const* operator_name(SymbolTag::tag tag) { return info_of(tag).name; }
int operator_arity(SymbolTag::tag tag) { return info_of(tag).arity; }
unsigned operator_parameters(SymbolTag::tag tag) { return info_of(tag).parameters; }

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
      return "(_ FloatingPoint " + s.substr(2, dot - 2) + " " + std::to_string(std::stoull(s.substr(dot + 1)) + 1) +
             ")";
    }
    default: return type->to_str();
  }
}

Term_ const* TermManager::mk_app(SymbolTag::tag tag, std::span<Term_ const* const> children,
                                 std::uint64_t parameter0, std::uint64_t parameter1) {
  OperatorInfo const& info = info_of(tag);
  if (info.rule == Rule::none) throw SortError("no such operator: tag " + std::to_string(tag));
  if (children.size() != static_cast<std::size_t>(info.arity))
    throw SortError(std::string(info.name) + " takes " + std::to_string(info.arity) + " arguments, not " +
                    std::to_string(children.size()));

  std::uint64_t width = 0;
  auto word = [&](std::size_t i) { return is_bv_type(type_of(children[i]), &width); };
  auto all_words = [&] {
    for (std::size_t i = 0; i < children.size(); ++i)
      if (!word(i) || type_of(children[i]) != type_of(children[0])) mismatch(info, "words of one width", children);
  };

  Type const* out = nullptr;
  switch (info.rule) {
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
      } else if (!word(0) || type_of(children[0]) != type_of(children[1])) {
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
        throw SortError("extract takes msb >= lsb below the width, not " + std::to_string(parameter0) + " and " +
                        std::to_string(parameter1) + " of width " + std::to_string(width));
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
  }
  return mk_term(operator_symbol(tag, children.size(), out, parameter0, parameter1), children);
}

}  // namespace vell

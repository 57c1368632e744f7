#include "vell/terms/theory.h"

#include <cassert>

#include "vell/terms/theorybuilders.h"

namespace vell::theory {

namespace {

constexpr std::uint8_t any = Operator::any;
using Tag = SymbolTag::tag;

// clang-format off
constexpr Operator operators[] = {
    // name, sorts, least and greatest number of arguments, indices, builder, operator of the term layer

    // Core
    {"true", Sorts::none, 0, 0, 0, build::constant, Tag::bool_true},
    {"false", Sorts::none, 0, 0, 0, build::constant, Tag::bool_false},
    {"not", Sorts::booleans, 1, 1, 0, build::direct, Tag::bool_not},
    {"=>", Sorts::booleans, 2, any, 0, build::implies},
    {"and", Sorts::booleans, 1, any, 0, build::fold_left, Tag::bool_and},
    {"or", Sorts::booleans, 1, any, 0, build::fold_left, Tag::bool_or},
    {"xor", Sorts::booleans, 2, any, 0, build::exclusive_or},
    {"=", Sorts::one_sort, 2, any, 0, build::equal},
    {"distinct", Sorts::one_sort, 2, any, 0, build::distinct},
    {"ite", Sorts::ite, 3, 3, 0, build::direct, Tag::term_ite},

    // Words: structure
    {"concat", Sorts::words, 2, any, 0, build::fold_left, Tag::bv_concat},
    {"extract", Sorts::words, 1, 1, 2, build::extract, Tag::bv_extract},
    {"zero_extend", Sorts::words, 1, 1, 1, build::extend, Tag::bv_zero_extend},
    {"sign_extend", Sorts::words, 1, 1, 1, build::extend, Tag::bv_sign_extend},
    {"repeat", Sorts::words, 1, 1, 1, build::repeat},
    {"rotate_left", Sorts::words, 1, 1, 1, build::rotate, Tag::bv_rotate_left},
    {"rotate_right", Sorts::words, 1, 1, 1, build::rotate, Tag::bv_rotate_right},
    {"ext_rotate_left", Sorts::words_of_one_width, 2, 2, 0, build::rotate_by_word, Tag::bv_rotate_left},
    {"ext_rotate_right", Sorts::words_of_one_width, 2, 2, 0, build::rotate_by_word, Tag::bv_rotate_right},

    // Words: bitwise
    {"bvnot", Sorts::words, 1, 1, 0, build::direct, Tag::bv_not},
    {"bvand", Sorts::words_of_one_width, 2, any, 0, build::fold_left, Tag::bv_and},
    {"bvor", Sorts::words_of_one_width, 2, any, 0, build::fold_left, Tag::bv_or},
    {"bvxor", Sorts::words_of_one_width, 2, any, 0, build::fold_left, Tag::bv_xor},
    {"bvnand", Sorts::words_of_one_width, 2, 2, 0, build::complemented, Tag::bv_and},
    {"bvnor", Sorts::words_of_one_width, 2, 2, 0, build::complemented, Tag::bv_or},
    {"bvxnor", Sorts::words_of_one_width, 2, any, 0, build::xnor},
    {"bvredor", Sorts::words, 1, 1, 0, build::reduce_or},
    {"bvredand", Sorts::words, 1, 1, 0, build::reduce_and},

    // Words: arithmetic
    {"bvneg", Sorts::words, 1, 1, 0, build::direct, Tag::bv_neg},
    {"bvadd", Sorts::words_of_one_width, 2, any, 0, build::fold_left, Tag::bv_add},
    {"bvsub", Sorts::words_of_one_width, 2, 2, 0, build::direct, Tag::bv_sub},
    {"bvmul", Sorts::words_of_one_width, 2, any, 0, build::product, Tag::bv_mul},
    {"bvudiv", Sorts::words_of_one_width, 2, 2, 0, build::direct, Tag::bv_udiv},
    {"bvurem", Sorts::words_of_one_width, 2, 2, 0, build::direct, Tag::bv_urem},
    {"bvsdiv", Sorts::words_of_one_width, 2, 2, 0, build::direct, Tag::bv_sdiv},
    {"bvsrem", Sorts::words_of_one_width, 2, 2, 0, build::direct, Tag::bv_srem},
    {"bvsmod", Sorts::words_of_one_width, 2, 2, 0, build::smod},
    {"bvshl", Sorts::words_of_one_width, 2, 2, 0, build::direct, Tag::bv_shl},
    {"bvlshr", Sorts::words_of_one_width, 2, 2, 0, build::direct, Tag::bv_lshr},
    {"bvashr", Sorts::words_of_one_width, 2, 2, 0, build::direct, Tag::bv_ashr},

    // Words: order
    {"bvcomp", Sorts::words_of_one_width, 2, 2, 0, build::compare},
    {"bvult", Sorts::words_of_one_width, 2, 2, 0, build::direct, Tag::bv_ult},
    {"bvule", Sorts::words_of_one_width, 2, 2, 0, build::direct, Tag::bv_ule},
    {"bvugt", Sorts::words_of_one_width, 2, 2, 0, build::swapped, Tag::bv_ult},
    {"bvuge", Sorts::words_of_one_width, 2, 2, 0, build::swapped, Tag::bv_ule},
    {"bvslt", Sorts::words_of_one_width, 2, 2, 0, build::direct, Tag::bv_slt},
    {"bvsle", Sorts::words_of_one_width, 2, 2, 0, build::direct, Tag::bv_sle},
    {"bvsgt", Sorts::words_of_one_width, 2, 2, 0, build::swapped, Tag::bv_slt},
    {"bvsge", Sorts::words_of_one_width, 2, 2, 0, build::swapped, Tag::bv_sle},

    // Words: overflow
    {"bvnego", Sorts::words, 1, 1, 0, build::negation_overflows},
    {"bvuaddo", Sorts::words_of_one_width, 2, 2, 0, build::unsigned_sum_overflows},
    {"bvsaddo", Sorts::words_of_one_width, 2, 2, 0, build::signed_sum_overflows, Tag::bv_add},
    {"bvumulo", Sorts::words_of_one_width, 2, 2, 0, build::unsigned_product_overflows},
    {"bvsmulo", Sorts::words_of_one_width, 2, 2, 0, build::signed_product_overflows},
    // A borrow: the first is less.
    {"bvusubo", Sorts::words_of_one_width, 2, 2, 0, build::direct, Tag::bv_ult},
    {"bvssubo", Sorts::words_of_one_width, 2, 2, 0, build::signed_sum_overflows, Tag::bv_sub},
    {"bvsdivo", Sorts::words_of_one_width, 2, 2, 0, build::signed_quotient_overflows},
};
// clang-format on

Type const* type_of(Term_ const* t) { return t->symbol->get_output_type(); }

std::string quoted(char const* name) { return std::string("`") + name + "`"; }

[[noreturn]] void wrong_count(Operator const& op, std::size_t n) {
  std::string s = quoted(op.name) + " takes ";
  if (op.max_arguments == 0)
    s += "no arguments";
  else if (op.max_arguments == any)
    s += "at least " + std::to_string(op.min_arguments);
  else
    s += std::to_string(op.min_arguments);
  if (op.max_arguments != 0) s += op.min_arguments == 1 ? " argument" : " arguments";
  throw SortError(s + ", not " + std::to_string(n));
}

// Names the first argument that does not fit what stands before it.
[[noreturn]] void wrong_sorts(TermManager& terms, Operator const& op,
                              std::span<Term_ const* const> arguments) {
  auto sort = [&](std::size_t i) { return sort_text(type_of(arguments[i])); };
  auto argument = [&](std::size_t i) { return "argument " + std::to_string(i + 1) + " has sort " + sort(i); };
  std::string const takes = quoted(op.name) + " takes ";
  switch (op.sorts) {
    case Sorts::none: break;
    case Sorts::booleans:
      for (std::size_t i = 0; i < arguments.size(); ++i)
        if (type_of(arguments[i]) != terms.bool_type) throw SortError(takes + "Booleans; " + argument(i));
      break;
    case Sorts::words:
    case Sorts::words_of_one_width:
      for (std::size_t i = 0; i < arguments.size(); ++i)
        if (!terms.is_bv_type(type_of(arguments[i]))) throw SortError(takes + "bit-vectors; " + argument(i));
      [[fallthrough]];
    case Sorts::one_sort:
      for (std::size_t i = 1; i < arguments.size(); ++i)
        if (type_of(arguments[i]) != type_of(arguments[0]))
          throw SortError(
              takes + (op.sorts == Sorts::one_sort ? "terms of one sort; " : "bit-vectors of one width; ") +
              argument(0) + ", " + argument(i));
      break;
    case Sorts::ite:
      if (type_of(arguments[0]) != terms.bool_type)
        throw SortError(takes + "a Boolean first; " + argument(0));
      throw SortError(takes + "two terms of one sort; " + argument(1) + ", " + argument(2));
    default:
      for (std::size_t i = 0; i < arguments.size(); ++i)
        if (!floating_sort_fits(terms, op.sorts, arguments, i))
          throw SortError(takes + floating_sorts_text(op.sorts, arguments.size()) + "; " +
                          (i == 0 ? "" : argument(i - 1) + ", ") + argument(i));
  }
  throw SortError("wrong sorts for " + quoted(op.name));
}

bool sorts_fit(TermManager& terms, Sorts sorts, std::span<Term_ const* const> arguments) {
  switch (sorts) {
    case Sorts::none: return true;
    case Sorts::booleans:
      for (Term_ const* a : arguments)
        if (type_of(a) != terms.bool_type) return false;
      return true;
    case Sorts::words:
      for (Term_ const* a : arguments)
        if (!terms.is_bv_type(type_of(a))) return false;
      return true;
    case Sorts::words_of_one_width:
      if (!terms.is_bv_type(type_of(arguments[0]))) return false;
      [[fallthrough]];
    case Sorts::one_sort:
      for (Term_ const* a : arguments)
        if (type_of(a) != type_of(arguments[0])) return false;
      return true;
    case Sorts::ite:
      return type_of(arguments[0]) == terms.bool_type && type_of(arguments[1]) == type_of(arguments[2]);
    default:
      for (std::size_t i = 0; i < arguments.size(); ++i)
        if (!floating_sort_fits(terms, sorts, arguments, i)) return false;
      return true;
  }
  return false;
}

}  // namespace

std::span<Operator const> operator_table() { return operators; }

Term_ const* apply(TermManager& terms, Operator const& op, std::span<Term_ const* const> arguments,
                   std::uint64_t const* indices) {
  assert(op.indices == 0 || indices != nullptr);
  if (arguments.size() < op.min_arguments || (op.max_arguments != any && arguments.size() > op.max_arguments))
    wrong_count(op, arguments.size());
  if (!sorts_fit(terms, op.sorts, arguments)) wrong_sorts(terms, op, arguments);
  return op.build({terms, op, arguments, indices});
}

Operator const* find_operator(std::string_view name) {
  for (std::span<Operator const> const table : {operator_table(), floating_operator_table()})
    for (Operator const& op : table)
      if (name == op.name) return &op;
  return nullptr;
}

}  // namespace vell::theory

namespace vell {

Term_ const* mk_app(TermManager& terms, std::string_view name, std::span<Term_ const* const> arguments,
                    std::span<std::uint64_t const> indices) {
  theory::Operator const* const op = theory::find_operator(name);
  if (op == nullptr) throw SortError("no such operator: `" + std::string(name) + "`");
  if (indices.size() != op->indices)
    throw SortError(theory::quoted(op->name) + " takes " + std::to_string(op->indices) +
                    (op->indices == 1 ? " index" : " indices") + ", not " + std::to_string(indices.size()));
  // What no script can write: words without a bit, and other sorts than words and Booleans.
  for (Term_ const* a : arguments) {
    Type const* const type = theory::type_of(a);
    std::uint64_t width = 0;
    std::uint64_t exponent = 0;
    if (terms.is_fp_type(type, &exponent, &width)) {
      if (std::string const wrong = theory::format_error(exponent, width + 1); !wrong.empty())
        throw SortError(wrong);
    } else if (type != terms.bool_type && type != terms.rounding_mode_type &&
               (!terms.is_bv_type(type, &width) || width == 0)) {
      throw SortError(theory::quoted(op->name) + " takes Booleans and words of at least one bit, not " +
                      sort_text(type));
    }
  }
  return theory::apply(terms, *op, arguments, indices.data());
}

}  // namespace vell

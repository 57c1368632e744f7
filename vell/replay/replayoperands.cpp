#include "vell/replay/replayoperands.h"

#include <algorithm>
#include <unordered_map>

#include "vell/bv/inspector.h"

namespace vell::replay {

namespace {

using bv::WordClausifier;
using Lengths = std::vector<std::uint64_t>;
using Length = std::optional<std::uint64_t>;

// Bits of a floating-point type; 0 for any other.
std::uint64_t fp_bits(TermManager const& tm, Term_ const* t) {
  std::uint64_t e = 0;
  std::uint64_t s = 0;
  return tm.is_fp_type(t->symbol->get_output_type(), &e, &s) ? e + s + 1 : 0;
}

Length numeral(TermManager const& tm, Term_ const* t, Lengths const&) {
  if (tm.is_bv_type(t->symbol->get_output_type())) return tm.width(t);
  return std::max<std::uint64_t>(fp_bits(tm, t), 1);
}
Length variable(TermManager const& tm, Term_ const* t, Lengths const&) { return tm.width(t); }
Length one_bit(TermManager const&, Term_ const*, Lengths const&) { return 1; }
Length two_bits(TermManager const&, Term_ const*, Lengths const&) { return 2; }
Length fp_value(TermManager const& tm, Term_ const* t, Lengths const&) {
  std::uint64_t const n = fp_bits(tm, t);
  return n == 0 ? Length() : n;
}

template <std::size_t Children>
Length booleans(TermManager const&, Term_ const*, Lengths const& l) {
  if (l.size() < Children || std::any_of(l.begin(), l.begin() + Children, [](auto n) { return n == 0; }))
    return {};
  return 1;
}
Length copy(TermManager const&, Term_ const*, Lengths const& l) { return l.empty() ? Length() : l[0]; }
Length word_ite(TermManager const& tm, Term_ const* t, Lengths const& l) {
  std::uint64_t const w = tm.width(t);
  if (l.size() < 3 || (w != 0 && l[0] == 0) || l[1] < w || l[2] < w) return {};
  return w;
}
Length generic_ite(TermManager const& tm, Term_ const* t, Lengths const& l) {
  return tm.is_term_ite(t->symbol) ? word_ite(tm, t, l) : 0;
}
Length bitwise_not(TermManager const& tm, Term_ const* t, Lengths const& l) {
  if (l.empty() || tm.width(t->children[0]) > l[0]) return {};
  return tm.width(t->children[0]);
}
Length bitwise(TermManager const& tm, Term_ const* t, Lengths const& l) {
  if (l.size() < 2) return {};
  std::uint64_t const w = tm.width(t->children[0]);
  return w > l[0] || w > l[1] ? Length() : w;
}
Length extract(TermManager const& tm, Term_ const* t, Lengths const& l) {
  std::uint64_t msb = 0;
  std::uint64_t lsb = 0;
  tm.is_bv_extract(t->symbol, &msb, &lsb);
  if (l.empty() || lsb > msb || msb >= l[0]) return {};
  return msb - lsb + 1;
}
Length concat(TermManager const& tm, Term_ const* t, Lengths const& l) {
  if (l.size() < 2) return {};
  std::uint64_t const w = tm.width(t->children[0]) + tm.width(t->children[1]);
  return l[0] + l[1] > w ? Length() : w;
}
Length zero_extend(TermManager const& tm, Term_ const* t, Lengths const& l) {
  return l.empty() ? Length() : std::max(l[0], tm.width(t));
}
Length sign_extend(TermManager const& tm, Term_ const* t, Lengths const& l) {
  return l.empty() || l[0] == 0 ? Length() : std::max(l[0], tm.width(t));
}
// The second operand is as long as the first, and the result is.
Length arithmetic(TermManager const&, Term_ const*, Lengths const& l) {
  return l.size() < 2 || l[1] < l[0] ? Length() : l[0];
}
Length mul_by_constant(TermManager const& tm, Term_ const* t, Lengths const& l) {
  return l.size() < 2 || !tm.is_number(t->children[0]->symbol) ? Length() : arithmetic(tm, t, l);
}
Length mul_generic(TermManager const& tm, Term_ const* t, Lengths const& l) {
  std::uint64_t const w = tm.width(t);
  return l.size() < 2 || w > l[0] || w > l[1] ? Length() : l[0];
}
Length mul(TermManager const& tm, Term_ const* t, Lengths const& l) {
  if (l.size() < 2) return {};
  return tm.is_number(t->children[0]->symbol) ? mul_by_constant(tm, t, l) : mul_generic(tm, t, l);
}
// The divisor is compared with a remainder as long as the dividend.
Length unsigned_division(TermManager const&, Term_ const*, Lengths const& l) {
  return l.size() < 2 || l[1] != l[0] ? Length() : l[0];
}
Length signed_division(TermManager const& tm, Term_ const* t, Lengths const& l) {
  if (l.size() < 2) return {};
  std::uint64_t const w = tm.width(t->children[0]);
  return l[0] == 0 || l[1] < l[0] || w < l[0] || w < l[1] ? Length() : w;
}
Length by_power_of_2(TermManager const& tm, Term_ const* t, Lengths const& l) {
  return l.size() < 2 ? Length() : tm.width(t->children[0]);
}
Length unsigned_order(TermManager const&, Term_ const*, Lengths const& l) {
  return l.size() < 2 || l[1] < l[0] ? Length() : 1;
}
Length signed_order(TermManager const& tm, Term_ const* t, Lengths const& l) {
  return l.size() < 2 || l[0] == 0 ? Length() : unsigned_order(tm, t, l);
}
Length shift(TermManager const& tm, Term_ const* t, Lengths const& l) {
  if (l.size() < 2) return {};
  QNumber const* amount = tm.number(t->children[1]->symbol);
  if (amount == nullptr) return l[1] < l[0] ? Length() : l[0];
  bool const negative = amount->sign() < 0 && amount->fits_int64();
  return negative || tm.width(t) > l[0] ? Length() : l[0];
}
Length arithmetic_shift(TermManager const& tm, Term_ const* t, Lengths const& l) {
  return l.empty() || l[0] == 0 ? Length() : shift(tm, t, l);
}
Length rotation(TermManager const& tm, Term_ const* t, Lengths const& l) {
  std::uint64_t amount = 0;
  tm.is_bv_rotate_left(t->symbol, &amount);
  tm.is_bv_rotate_right(t->symbol, &amount);
  return l.empty() || amount > l[0] ? Length() : l[0];
}
Length conversion(TermManager const& tm, Term_ const* t, Lengths const& l) {
  if (l.size() < 2) return {};
  std::uint64_t const n = fp_bits(tm, t->children[1]);
  std::uint64_t e = 0;
  tm.is_fp_type(t->children[1]->symbol->get_output_type(), &e);
  return n == 0 || e == 0 || l[1] < n || l[0] > 2 ? Length() : tm.width(t);
}

// A circuit of the same name makes the address ambiguous without the cast.
constexpr WordClausifier::Handler over_term(WordClausifier::Handler h) { return h; }

NamedHandler const handlers[] = {
    {"word_not", &WordClausifier::word_not, false, bitwise_not},
    {"word_and", over_term(&WordClausifier::word_and), false, arithmetic},
    {"word_or", &WordClausifier::word_or, false, bitwise},
    {"word_xor", &WordClausifier::word_xor, false, bitwise},
    {"word_lsr", &WordClausifier::word_lsr, false, shift},
    {"word_asr", &WordClausifier::word_asr, false, arithmetic_shift},
    {"word_lsl", &WordClausifier::word_lsl, false, shift},
    {"word_rol", &WordClausifier::word_rol, false, rotation},
    {"word_ror", &WordClausifier::word_ror, false, rotation},
    {"word_sel", &WordClausifier::word_sel, false, extract},
    {"word_concat", &WordClausifier::word_concat, false, concat},
    {"word_zext", &WordClausifier::word_zext, false, zero_extend},
    {"word_sext", &WordClausifier::word_sext, false, sign_extend},
    {"word_neg", over_term(&WordClausifier::word_neg), false, copy},
    {"word_add", over_term(&WordClausifier::word_add), false, arithmetic},
    {"word_sub", &WordClausifier::word_sub, false, arithmetic},
    {"word_mul", &WordClausifier::word_mul, false, mul},
    {"word_mul_by_constant", &WordClausifier::word_mul_by_constant, false, mul_by_constant},
    {"word_mul_generic", &WordClausifier::word_mul_generic, false, mul_generic},
    {"word_sdiv", over_term(&WordClausifier::word_sdiv), false, signed_division},
    {"word_srem", &WordClausifier::word_srem, false, signed_division},
    {"word_udiv", &WordClausifier::word_udiv, false, unsigned_division},
    {"word_urem", &WordClausifier::word_urem, false, unsigned_division},
    {"word_srem_by_power_of_2", &WordClausifier::word_srem_by_power_of_2, false, by_power_of_2},
    {"word_ult", over_term(&WordClausifier::word_ult), false, unsigned_order},
    {"word_ule", over_term(&WordClausifier::word_ule), false, unsigned_order},
    {"word_slt", &WordClausifier::word_slt, false, signed_order},
    {"word_sle", &WordClausifier::word_sle, false, signed_order},
    {"word_equal", over_term(&WordClausifier::word_equal), false, unsigned_order},
    {"word_equal_noproxy", &WordClausifier::word_equal_noproxy, false, unsigned_order},
    {"bool_not", &WordClausifier::bool_not, false, booleans<1>},
    {"bool_and", &WordClausifier::bool_and, false, booleans<2>},
    {"bool_or", &WordClausifier::bool_or, false, booleans<2>},
    {"bool_iff", &WordClausifier::bool_iff, false, booleans<2>},
    {"bool_true", &WordClausifier::bool_true, true, one_bit},
    {"bool_false", &WordClausifier::bool_false, true, one_bit},
    {"fp_to_sbv", &WordClausifier::fp_to_sbv, false, conversion},
    {"fp_to_ubv", &WordClausifier::fp_to_ubv, false, conversion},
    {"fp_as_ieeebv", &WordClausifier::fp_as_ieeebv, false, copy},
    {"word_atom", &WordClausifier::word_atom, false, copy},
    {"bool_ite", &WordClausifier::bool_ite, false, booleans<3>},
    {"word_ite", &WordClausifier::word_ite, false, word_ite},
    {"generic_ite", &WordClausifier::generic_ite, true, generic_ite},
    {"word_constant", &WordClausifier::word_constant, true, numeral},
    {"word_variable", &WordClausifier::word_variable, true, variable},
    {"bool_variable", &WordClausifier::bool_variable, true, one_bit},
    {"generic_variable", nullptr, true, one_bit},
    {"fp_variable", &WordClausifier::fp_variable, true, fp_value},
    {"fp_rounding_variable", &WordClausifier::fp_rounding_variable, true, two_bits},
};

// The list of a floating-point variable: the combination may deliver any number of bits.
Length fp_variable_length(Operands const& o, Term_ const* t) {
  return o.combination != nullptr ? o.combination->length(t) : fp_value(o.tm, t, {});
}

// The list a term gets from the fallbacks: by its type.
Length leaf_length(Operands const& o, Term_ const* t) {
  Type const* type = t->symbol->get_output_type();
  if (type == o.tm.rounding_mode_type) return o.tm.is_number(t->symbol) ? 1 : 2;
  if (o.tm.is_fp_type(type) && !o.tm.is_number(t->symbol)) return fp_variable_length(o, t);
  return o.tm.is_bv_type(type) ? o.tm.width(t) : std::max<std::uint64_t>(fp_bits(o.tm, t), 1);
}

Length length_of(Operands const& o, NamedHandler const& handler, Term_ const* t, Lengths const& children) {
  Length const n = handler.result_length(o.tm, t, children);
  if (n && handler.handler == &WordClausifier::fp_variable) return fp_variable_length(o, t);
  return n;
}

}  // namespace

NamedHandler const* find_handler(std::string_view name) {
  auto const* h =
      std::find_if(std::begin(handlers), std::end(handlers), [&](auto const& n) { return n.name == name; });
  return h == std::end(handlers) ? nullptr : h;
}

NamedHandler const* find_handler(WordClausifier::Handler handler) {
  auto const* h = std::find_if(std::begin(handlers), std::end(handlers),
                               [&](auto const& n) { return n.handler == handler; });
  return h == std::end(handlers) ? nullptr : h;
}

Cone examine(Operands const& o, Term_ const* root) {
  auto const& hooks = bv::WordClausifierInspector(o.clausifier).hooks();
  auto const hook = [&](Term_ const* t) -> WordClausifier::Handler {
    SymbolTag::tag const tag = o.tm.get_tag(t->symbol);
    return tag < hooks.size() ? hooks[tag] : nullptr;
  };

  // Everything that would be translated; children have smaller ids than their parents.
  std::unordered_map<Term_ const*, std::uint64_t> lengths;
  std::vector<Term_ const*> cone;
  std::vector<Term_ const*> stack{root};
  while (!stack.empty()) {
    Term_ const* t = stack.back();
    stack.pop_back();
    if (!lengths.emplace(t, 0).second) continue;
    if (bv::BvLitList const* bits = o.clausifier.lookup(t)) {
      lengths[t] = bits->size();
      continue;
    }
    cone.push_back(t);
    if (hook(t) != nullptr) stack.insert(stack.end(), t->children, t->children + t->symbol->arity);
  }
  std::sort(cone.begin(), cone.end(), [](Term_ const* a, Term_ const* b) { return a->id < b->id; });

  for (Term_ const* t : cone) {
    NamedHandler const* named = hook(t) == nullptr ? nullptr : find_handler(hook(t));
    Length length;
    if (named == nullptr) {
      length = leaf_length(o, t);
    } else {
      Lengths children;
      for (std::uint64_t i = 0; i < t->symbol->arity; ++i) children.push_back(lengths[t->children[i]]);
      length = length_of(o, *named, t, children);
      // Over any other term it caches nothing, and the traversal would wait for it without end.
      if (named->handler == &WordClausifier::generic_ite && !o.tm.is_term_ite(t->symbol)) length.reset();
    }
    if (!length)
      return {t->to_shallow_str() + ": " + std::string(named == nullptr ? "variable" : named->name), 0};
    if (*length > max_length)
      return {t->to_shallow_str() + " has more than " + std::to_string(max_length) + " bits", 0};
    lengths[t] = *length;
  }
  return {"", lengths[root]};
}

bool fits(Operands const& o, NamedHandler const& handler, Term_ const* term) {
  Lengths children;
  for (std::uint64_t i = 0; i < term->symbol->arity; ++i) {
    bv::BvLitList const* bits = o.clausifier.lookup(term->children[i]);
    children.push_back(bits == nullptr ? 0 : bits->size());
  }
  Length const n = length_of(o, handler, term, children);
  if (handler.handler == nullptr) {  // generic_variable goes by the type
    Length const leaf = leaf_length(o, term);
    return leaf && *leaf <= max_length;
  }
  return n && *n <= max_length;
}

}  // namespace vell::replay

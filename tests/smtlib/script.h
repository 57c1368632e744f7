#pragma once

// What the reader tests share: reading a text to its end, its first error, terms as text, and a slow
// evaluator.

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vell/smtlib/reader.h"
#include "vell/terms/operators.h"
#include "vell/terms/termmanager.h"

namespace vell::smtlib {

// A script read to its end.
struct Script {
  explicit Script(std::string_view text) : Script(io::Source::text(text)) {}
  explicit Script(std::unique_ptr<io::Source> source) {
    Reader reader(terms, std::move(source));
    Command c;
    while (reader.next(c)) {
      commands.push_back(c);
      for (NamedTerm const& n : c.named) named[n.name] = n.term;
      if (c.kind == CommandKind::declare) declared[c.text] = c.terms.at(0);
    }
  }

  // The formula of the last assert command.
  Term_ const* asserted() const {
    for (std::size_t i = commands.size(); i-- > 0;)
      if (commands[i].kind == CommandKind::assert_) return commands[i].terms.at(0);
    return nullptr;
  }

  TermManager terms;
  std::vector<Command> commands;
  std::map<std::string, Term_ const*> declared;
  std::map<std::string, Term_ const*> named;
};

// "LINE:COLUMN: message" of the first error, "" when there is none.
inline std::string error_of(std::unique_ptr<io::Source> source) {
  try {
    Script s(std::move(source));
  } catch (io::Error const& e) {
    return std::to_string(e.position().line) + ":" + std::to_string(e.position().column) + ": " + e.message();
  }
  return "";
}
inline std::string error_of(std::string_view text) { return error_of(io::Source::text(text)); }

// The term in SMT-LIB syntax, numerals as #b; for small terms.
inline std::string text_of(TermManager const& tm, Term_ const* t) {
  Symbol const* s = t->symbol;
  if (QNumber const* n = tm.number(s)) {
    std::uint64_t w = 0;
    tm.is_bv_type(s->get_output_type(), &w);
    std::string bits = "#b";
    for (std::uint64_t i = w; i-- > 0;) bits += n->test_bit(i) ? '1' : '0';
    return bits;
  }
  if (s->arity == 0) return s->name;
  std::string head = operator_name(s->tag());
  if (unsigned const parameters = operator_parameters(s->tag()); parameters != 0) {
    head = "(_ " + head;
    for (unsigned i = 0; i < parameters; ++i) head += " " + std::to_string(s->parameter(i));
    head += ")";
  }
  std::string out = "(" + head;
  for (std::uint64_t i = 0; i < s->arity; ++i) out += " " + text_of(tm, t->children[i]);
  return out + ")";
}

// The value of a term under values of its variables, bit for bit by the definitions of the operators. Words
// of up to 32 bits; Booleans are 0 and 1. For small terms.
class Evaluator {
 public:
  Evaluator(TermManager const& tm, std::map<Term_ const*, std::uint64_t> values)
      : tm_(tm), values_(std::move(values)) {}

  std::uint64_t operator()(Term_ const* t) {
    if (auto i = values_.find(t); i != values_.end()) return i->second;
    std::uint64_t const v = value(t) & mask(width(t));
    values_.emplace(t, v);
    return v;
  }

 private:
  static std::uint64_t mask(std::uint64_t w) { return (std::uint64_t{1} << w) - 1; }
  std::uint64_t width(Term_ const* t) const {
    std::uint64_t w = 1;
    tm_.is_bv_type(t->symbol->get_output_type(), &w);
    return w;
  }
  static std::int64_t to_signed(std::uint64_t v, std::uint64_t w) {
    return (v >> (w - 1) & 1) != 0 ? static_cast<std::int64_t>(v) - (std::int64_t{1} << w)
                                   : static_cast<std::int64_t>(v);
  }
  std::uint64_t value(Term_ const* t) {
    Symbol const* s = t->symbol;
    if (QNumber const* n = tm_.number(s)) {
      std::uint64_t v = 0;
      for (std::uint64_t i = 0; i < width(t); ++i) v |= std::uint64_t{n->test_bit(i)} << i;
      return v;
    }
    auto x = [&](unsigned i) { return (*this)(t->children[i]); };
    std::uint64_t const w = s->arity == 0 ? 1 : width(t->children[0]);
    auto sx = [&](unsigned i) { return to_signed(x(i), w); };
    auto word = [](std::int64_t v) { return static_cast<std::uint64_t>(v); };
    switch (s->tag()) {
      case SymbolTag::bool_true: return 1;
      case SymbolTag::bool_false: return 0;
      case SymbolTag::bool_and: return x(0) & x(1);
      case SymbolTag::bool_or: return x(0) | x(1);
      case SymbolTag::bool_not: return 1 - x(0);
      case SymbolTag::bool_iff:
      case SymbolTag::equal: return x(0) == x(1);
      case SymbolTag::bool_ite:
      case SymbolTag::term_ite: return x(0) != 0 ? x(1) : x(2);
      case SymbolTag::bv_concat: return x(0) << width(t->children[1]) | x(1);
      case SymbolTag::bv_extract: return x(0) >> s->parameter(1);
      case SymbolTag::bv_not: return ~x(0);
      case SymbolTag::bv_and: return x(0) & x(1);
      case SymbolTag::bv_or: return x(0) | x(1);
      case SymbolTag::bv_xor: return x(0) ^ x(1);
      case SymbolTag::bv_ult: return x(0) < x(1);
      case SymbolTag::bv_ule: return x(0) <= x(1);
      case SymbolTag::bv_slt: return sx(0) < sx(1);
      case SymbolTag::bv_sle: return sx(0) <= sx(1);
      case SymbolTag::bv_neg: return -x(0);
      case SymbolTag::bv_add: return x(0) + x(1);
      case SymbolTag::bv_sub: return x(0) - x(1);
      case SymbolTag::bv_mul: return x(0) * x(1);
      case SymbolTag::bv_udiv: return x(1) == 0 ? mask(w) : x(0) / x(1);
      case SymbolTag::bv_urem: return x(1) == 0 ? x(0) : x(0) % x(1);
      case SymbolTag::bv_sdiv: return x(1) == 0 ? (sx(0) < 0 ? 1 : mask(w)) : word(sx(0) / sx(1));
      case SymbolTag::bv_srem: return x(1) == 0 ? x(0) : word(sx(0) % sx(1));
      case SymbolTag::bv_shl: return x(1) >= w ? 0 : x(0) << x(1);
      case SymbolTag::bv_lshr: return x(1) >= w ? 0 : x(0) >> x(1);
      case SymbolTag::bv_ashr: return word(sx(0) >> (x(1) >= w ? w - 1 : x(1)));
      case SymbolTag::bv_rotate_left: return x(0) << s->parameter(0) | x(0) >> (w - s->parameter(0));
      case SymbolTag::bv_rotate_right: return x(0) >> s->parameter(0) | x(0) << (w - s->parameter(0));
      case SymbolTag::bv_zero_extend: return x(0);
      case SymbolTag::bv_sign_extend: return word(sx(0));
      default: throw Exception("the evaluator does not know " + t->to_shallow_str());
    }
  }

  TermManager const& tm_;
  std::map<Term_ const*, std::uint64_t> values_;
};

}  // namespace vell::smtlib

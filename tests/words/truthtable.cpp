#include "tests/words/truthtable.h"

#include <stdexcept>

#include "vell/terms/cone.h"

namespace vell::test {

namespace {

using Value = TruthTable::Value;
using Column = TruthTable::Column;

unsigned mask_of(unsigned width) { return (1u << width) - 1; }

int signed_of(unsigned value, unsigned width) {
  unsigned const sign = 1u << (width - 1);
  return static_cast<int>((value ^ sign)) - static_cast<int>(sign);
}

template <typename F>
void each(Column& out, Column const& a, F f) {
  for (std::size_t i = 0; i < out.size(); ++i) out[i] = static_cast<Value>(f(a[i]));
}
template <typename F>
void each(Column& out, Column const& a, Column const& b, F f) {
  for (std::size_t i = 0; i < out.size(); ++i) out[i] = static_cast<Value>(f(a[i], b[i]));
}

// Truncating; b is not zero.
unsigned signed_quotient(unsigned a, unsigned b, unsigned w) {
  return static_cast<unsigned>(signed_of(a, w) / signed_of(b, w)) & mask_of(w);
}
unsigned signed_remainder(unsigned a, unsigned b, unsigned w) {
  return static_cast<unsigned>(signed_of(a, w) % signed_of(b, w)) & mask_of(w);
}

}  // namespace

unsigned bits_of(TermManager const& tm, Term_ const* t) {
  std::uint64_t width = 1;
  tm.is_bv_type(t->symbol->get_output_type(), &width);
  return static_cast<unsigned>(width);
}

std::vector<Term_ const*> variables_below_all(TermManager const& tm, std::vector<Term_ const*> const& terms) {
  Cone cone;
  cone.add(terms);
  std::vector<Term_ const*> out;
  for (Term_ const* t : cone.sorted())
    if (tm.is_uninterpreted_function(t->symbol)) out.push_back(t);
  return out;
}

TruthTable::TruthTable(TermManager const& tm, unsigned bits, bool free_division, std::uint64_t salt)
    : tm_(tm), rows_(std::size_t{1} << bits), free_division_(free_division), salt_(salt) {
  if (bits > max_bits) throw std::logic_error("too many bits for a table");
}

Value TruthTable::mask(Term_ const* t) const { return static_cast<Value>(mask_of(bits_of(tm_, t))); }

Column& TruthTable::place(Term_ const* t) {
  if (t->id >= place_.size()) place_.resize(tm_.term_count() + 1, -1);
  place_[t->id] = static_cast<std::int32_t>(columns_.size());
  columns_.emplace_back(rows_);
  return columns_.back();
}

void TruthTable::assign(Term_ const* variable, unsigned first) {
  unsigned const mask = mask_of(bits_of(tm_, variable));
  Column& out = place(variable);
  for (std::size_t i = 0; i < rows_; ++i) out[i] = static_cast<Value>((i >> first) & mask);
}

void TruthTable::assign(Term_ const* variable, Column column) { place(variable) = std::move(column); }

Column const& TruthTable::column(Term_ const* t) {
  if (!has(t)) {
    stack_.assign(1, t);
    while (!stack_.empty()) {
      Term_ const* top = stack_.back();
      if (has(top)) {
        stack_.pop_back();
        continue;
      }
      std::size_t const waiting = stack_.size();
      for (std::uint64_t i = 0; i < top->symbol->arity; ++i)
        if (!has(top->children[i])) stack_.push_back(top->children[i]);
      if (stack_.size() != waiting) continue;
      stack_.pop_back();
      compute(top);
    }
  }
  return columns_[static_cast<std::size_t>(place_[t->id])];
}

Column TruthTable::conjunction(std::vector<Term_ const*> const& formulas) {
  Column out(rows_, 1);
  for (Term_ const* f : formulas) each(out, out, column(f), [](unsigned a, unsigned b) { return a & b; });
  return out;
}

void TruthTable::compute(Term_ const* t) {
  static Column const none;
  auto const child = [&](std::uint64_t i) -> Column const& {
    return i < t->symbol->arity ? columns_[static_cast<std::size_t>(place_[t->children[i]->id])] : none;
  };
  Column const& a = child(0);
  Column const& b = child(1);
  unsigned const width = bits_of(tm_, t);
  unsigned const w = t->symbol->arity == 0 ? 0 : bits_of(tm_, t->children[0]);
  unsigned const m = mask_of(width);
  if (width > max_bits) throw std::logic_error("a word too wide for a table");
  if (t->symbol->arity == 0 && tm_.is_uninterpreted_function(t->symbol))
    throw std::logic_error(std::string("the variable ") + t->symbol->name + " has no value");
  Column& r = place(t);
  if (QNumber const* n = tm_.number(t->symbol)) {
    unsigned value = 0;
    for (std::uint64_t i = n->lowest_set_bit(0); i < width; i = n->lowest_set_bit(i + 1)) value |= 1u << i;
    std::fill(r.begin(), r.end(), static_cast<Value>(value));
    return;
  }
  using S = SymbolTag::tag;
  switch (tm_.get_tag(t->symbol)) {
    case S::bool_true: std::fill(r.begin(), r.end(), Value{1}); return;
    case S::bool_false: return;
    case S::bool_not: each(r, a, [](unsigned x) { return x ^ 1; }); return;
    case S::bool_and:
    case S::bv_and: each(r, a, b, [](unsigned x, unsigned y) { return x & y; }); return;
    case S::bool_or:
    case S::bv_or: each(r, a, b, [](unsigned x, unsigned y) { return x | y; }); return;
    case S::bool_iff:
    case S::equal: each(r, a, b, [](unsigned x, unsigned y) { return x == y; }); return;
    case S::bool_ite:
    case S::term_ite: {
      Column const& c = child(2);
      for (std::size_t i = 0; i < rows_; ++i) r[i] = a[i] != 0 ? b[i] : c[i];
      return;
    }
    case S::bv_concat: {
      unsigned const low = bits_of(tm_, t->children[1]);
      each(r, a, b, [=](unsigned x, unsigned y) { return (x << low) | y; });
      return;
    }
    case S::bv_extract: {
      unsigned const low = static_cast<unsigned>(t->symbol->parameter(1));
      each(r, a, [=](unsigned x) { return (x >> low) & m; });
      return;
    }
    case S::bv_not: each(r, a, [=](unsigned x) { return ~x & m; }); return;
    case S::bv_neg: each(r, a, [=](unsigned x) { return (0u - x) & m; }); return;
    case S::bv_xor: each(r, a, b, [](unsigned x, unsigned y) { return x ^ y; }); return;
    case S::bv_add: each(r, a, b, [=](unsigned x, unsigned y) { return (x + y) & m; }); return;
    case S::bv_sub: each(r, a, b, [=](unsigned x, unsigned y) { return (x - y) & m; }); return;
    case S::bv_mul: each(r, a, b, [=](unsigned x, unsigned y) { return (x * y) & m; }); return;
    case S::bv_ult: each(r, a, b, [](unsigned x, unsigned y) { return x < y; }); return;
    case S::bv_ule: each(r, a, b, [](unsigned x, unsigned y) { return x <= y; }); return;
    case S::bv_slt:
      each(r, a, b, [=](unsigned x, unsigned y) { return signed_of(x, w) < signed_of(y, w); });
      return;
    case S::bv_sle:
      each(r, a, b, [=](unsigned x, unsigned y) { return signed_of(x, w) <= signed_of(y, w); });
      return;
    case S::bv_udiv:
    case S::bv_urem:
    case S::bv_sdiv:
    case S::bv_srem: {
      S const tag = tm_.get_tag(t->symbol);
      unsigned const own = static_cast<unsigned>(((t->id + salt_) * 0x9e3779b97f4a7c15u) >> 40) & m;
      for (std::size_t i = 0; i < rows_; ++i) {
        unsigned const x = a[i];
        unsigned const y = b[i];
        unsigned q = 0;
        if (y == 0) {
          unsigned const quotient = tag == S::bv_sdiv && signed_of(x, w) < 0 ? 1 : m;
          q = free_division_ ? own : tag == S::bv_udiv || tag == S::bv_sdiv ? quotient : x;
        } else if (tag == S::bv_udiv) {
          q = x / y;
        } else if (tag == S::bv_urem) {
          q = x % y;
        } else {
          q = tag == S::bv_sdiv ? signed_quotient(x, y, w) : signed_remainder(x, y, w);
        }
        r[i] = static_cast<Value>(q);
      }
      return;
    }
    case S::bv_shl:
      each(r, a, b, [=](unsigned x, unsigned y) { return y >= width ? 0 : (x << y) & m; });
      return;
    case S::bv_lshr: each(r, a, b, [=](unsigned x, unsigned y) { return y >= width ? 0 : x >> y; }); return;
    case S::bv_ashr:
      each(r, a, b, [=](unsigned x, unsigned y) {
        return static_cast<unsigned>(signed_of(x, width) >> (y < width ? y : width - 1)) & m;
      });
      return;
    case S::bv_rotate_left:
    case S::bv_rotate_right: {
      unsigned k = static_cast<unsigned>(t->symbol->parameter(0)) % width;
      if (tm_.get_tag(t->symbol) == S::bv_rotate_right) k = (width - k) % width;
      each(r, a, [=](unsigned x) { return k == 0 ? x : ((x << k) | (x >> (width - k))) & m; });
      return;
    }
    case S::bv_zero_extend: each(r, a, [](unsigned x) { return x; }); return;
    case S::bv_sign_extend:
      each(r, a, [=](unsigned x) { return static_cast<unsigned>(signed_of(x, w)) & m; });
      return;
    default: throw std::logic_error("no value for " + t->to_shallow_str());
  }
}

}  // namespace vell::test

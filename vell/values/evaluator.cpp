// The referee: what a term is worth, computed with machine words and GMP, never with a circuit.
//
// An answer `sat` stands only when this file finds every assertion true, so it shares nothing with the
// clausifier but the terms. Values are kept from model to model: an assignment that changes three leaves of a
// formula with a million terms costs the terms above those three. Marking goes upwards along edges and stops
// at terms already marked; computing goes downwards from the terms asked for and stops at terms still valid;
// so terms that nobody asks for any more (popped assertions) are marked once and cost nothing from then on.
// The upward edges are built when a second assignment comes: a script with one check-sat pays nothing for
// them.
//
// Both walks have stacks of their own.

#include "vell/values/evaluator.h"

#include <algorithm>
#include <cassert>

#include "vell/terms/exception.h"
#include "vell/terms/operators.h"
#include "vell/terms/qnumber_gmp.h"
#include "vell/values/wideword.h"

namespace vell::values {

namespace {

std::uint64_t words_of(std::uint64_t width) { return width <= 64 ? 1 : (width + 63) / 64; }

std::uint64_t mask(std::uint64_t width) {
  return width >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << width) - 1;
}

std::int64_t signed_value(std::uint64_t a, std::uint64_t width) {
  unsigned const unused = static_cast<unsigned>(64 - width);
  return static_cast<std::int64_t>(a << unused) >> unused;
}

// Truncating division of two's-complement words; b is not zero.
std::uint64_t signed_quotient(std::uint64_t a, std::uint64_t b, std::uint64_t width) {
  std::uint64_t const m = mask(width);
  bool const na = ((a >> (width - 1)) & 1) != 0;
  bool const nb = ((b >> (width - 1)) & 1) != 0;
  std::uint64_t const q = ((na ? -a : a) & m) / ((nb ? -b : b) & m);
  return (na != nb ? -q : q) & m;
}

std::uint64_t signed_remainder(std::uint64_t a, std::uint64_t b, std::uint64_t width) {
  std::uint64_t const m = mask(width);
  bool const na = ((a >> (width - 1)) & 1) != 0;
  bool const nb = ((b >> (width - 1)) & 1) != 0;
  std::uint64_t const r = ((na ? -a : a) & m) % ((nb ? -b : b) & m);
  return (na ? -r : r) & m;
}

bool is_division(SymbolTag::tag tag) {
  return tag == SymbolTag::bv_udiv || tag == SymbolTag::bv_sdiv || tag == SymbolTag::bv_urem ||
         tag == SymbolTag::bv_srem;
}

}  // namespace

std::uint64_t value_width(TermManager const& tm, Type const* type) {
  std::uint64_t width = 0;
  if (type == tm.bool_type) return 1;
  if (tm.is_bv_type(type, &width)) return width;
  std::uint64_t fraction = 0;
  if (tm.is_fp_type(type, &width, &fraction)) return width + fraction + 1;
  return type == tm.rounding_mode_type ? 3 : 0;
}

std::uint64_t Evaluator::bits_of(Term_ const* t) const {
  return value_width(tm_, t->symbol->get_output_type());
}

std::uint64_t const* Evaluator::operand(Term_ const* t, std::uint64_t width) const {
  return width <= 64 ? &small_[t->id] : &limbs_[small_[t->id]];
}

// The words of t's value, to be written.
std::uint64_t* Evaluator::slot(Term_ const* t, std::uint64_t width) {
  return width <= 64 ? &small_[t->id] : &limbs_[small_[t->id]];
}

// Whether no bit of the value stands at or above its width.
bool Evaluator::is_trimmed(Term_ const* t) const {
  std::uint64_t const width = bits_of(t);
  return (operand(t, width)[words_of(width) - 1] & ~mask((width - 1) % 64 + 1)) == 0;
}

// ---- walking ----

std::uint64_t const* Evaluator::value(Term_ const* t) {
  assert(t != nullptr && t->id <= tm_.term_count());
  if (state_.size() <= tm_.term_count()) {
    // Geometric growth: rounds of push, assert, check make a few terms each.
    std::uint64_t const size =
        std::max<std::uint64_t>(tm_.term_count() + 1, state_.size() + state_.size() / 2);
    state_.resize(size, 0);
    small_.resize(size, 0);
    if (edges_kept_) edge_of_.resize(size, 0);
  }
  if ((state_[t->id] & valid) == 0) {
    stack_.assign(1, t);
    while (!stack_.empty()) {
      Term_ const* top = stack_.back();
      if ((state_[top->id] & valid) != 0) {
        stack_.pop_back();
        continue;
      }
      bool ready = true;
      for (std::uint64_t i = top->symbol->arity; i-- > 0;)
        if ((state_[top->children[i]->id] & valid) == 0) {
          stack_.push_back(top->children[i]);
          ready = false;
        }
      if (!ready) continue;
      stack_.pop_back();
      compute(top);
      assert(is_trimmed(top));
    }
  }
  return operand(t, bits_of(t));
}

void Evaluator::first_seen(Term_ const* t) {
  std::uint64_t const width = bits_of(t);
  if (width == 0) throw Exception("no value for a term of sort " + sort_text(t->symbol->get_output_type()));
  if (width > 64) {
    small_[t->id] = limbs_.size();
    limbs_.resize(limbs_.size() + words_of(width), 0);
  }
  terms_.push_back(t);
  if (t->symbol->arity == 0 && t->symbol->role() == Symbol::Role::uninterpreted) leaves_.push_back(t);
  state_[t->id] |= known;
  if (edges_kept_) add_edges(t);
}

void Evaluator::add_edges(Term_ const* t) {
  for (std::uint64_t i = 0; i < t->symbol->arity; ++i) {
    std::uint64_t const child = t->children[i]->id;
    if (edges_.size() == UINT32_MAX - 1) throw Exception("too many terms");
    edges_.push_back({static_cast<std::uint32_t>(t->id), edge_of_[child]});
    edge_of_[child] = static_cast<std::uint32_t>(edges_.size());
  }
}

void Evaluator::invalidate_above(Term_ const* t) {
  dirty_.assign(1, static_cast<std::uint32_t>(t->id));
  while (!dirty_.empty()) {
    std::uint32_t const id = dirty_.back();
    dirty_.pop_back();
    for (std::uint32_t e = edge_of_[id]; e != 0; e = edges_[e - 1].next) {
      std::uint32_t const parent = edges_[e - 1].parent;
      if ((state_[parent] & valid) == 0) continue;
      state_[parent] &= static_cast<std::uint8_t>(~valid);
      dirty_.push_back(parent);
    }
  }
}

void Evaluator::set_assignment(Assignment const& assignment) {
  bool const first = assignment_ == nullptr;
  assignment_ = &assignment;
  chosen_.clear();
  if (first) return;
  if (!edges_kept_) {
    edges_kept_ = true;
    edge_of_.assign(state_.size(), 0);
    for (Term_ const* t : terms_) add_edges(t);
  }
  for (Term_ const* leaf : leaves_) {
    if ((state_[leaf->id] & valid) == 0) continue;
    std::uint64_t const width = bits_of(leaf);
    std::uint64_t const n = words_of(width);
    scratch_.assign(n, 0);
    assignment.read(leaf, width, scratch_.data());
    std::uint64_t* kept = slot(leaf, width);
    if (std::equal(kept, kept + n, scratch_.begin())) continue;
    std::copy_n(scratch_.begin(), n, kept);
    unify(leaf, width);
    assert(is_trimmed(leaf));
    invalidate_above(leaf);
  }
  std::vector<Term_ const*> open;
  open.swap(open_);
  for (Term_ const* t : open) {
    if ((state_[t->id] & valid) == 0) continue;
    state_[t->id] &= static_cast<std::uint8_t>(~valid);
    invalidate_above(t);
  }
}

void Evaluator::ask_assignment(Term_ const* t, std::uint64_t width) {
  if (assignment_ == nullptr) throw Exception("no assignment to evaluate under");
  std::uint64_t* out = slot(t, width);
  std::fill_n(out, words_of(width), 0);
  assignment_->read(t, width, out);
}

// ---- computing ----

void Evaluator::compute(Term_ const* t) {
  if ((state_[t->id] & known) == 0) first_seen(t);
  ++evaluations_;
  std::uint64_t const width = bits_of(t);
  if (t->symbol->arity == 0) {
    compute_leaf(t, width);
    state_[t->id] |= valid;
    return;
  }
  SymbolTag::tag const tag = t->symbol->tag();
  std::uint64_t const w0 = bits_of(t->children[0]);
  std::uint64_t const w1 = t->symbol->arity > 1 ? bits_of(t->children[1]) : 0;
  if (tag >= SymbolTag::fp_to_sbv) {
    compute_floating(t, tag, width);
  } else if (free_division_ && is_division(tag) && wide::is_zero(operand(t->children[1], w1), w1)) {
    ask_assignment(t, width);
    open_.push_back(t);
  } else if (width <= 64 && w0 <= 64 && w1 <= 64) {
    small_[t->id] = small_word(t, tag, width, w0);
  } else {
    wide_word(t, tag, width, w0, w1);
  }
  state_[t->id] |= valid;
}

void Evaluator::compute_leaf(Term_ const* t, std::uint64_t width) {
  Symbol const* s = t->symbol;
  std::uint64_t* out = slot(t, width);
  switch (s->role()) {
    case Symbol::Role::uninterpreted:
      ask_assignment(t, width);
      unify(t, width);
      return;
    case Symbol::Role::number: {
      QNumber const& q = *tm_.number(s);
      std::fill_n(out, words_of(width), 0);
      for (std::uint64_t i = q.lowest_set_bit(0); i < width; i = q.lowest_set_bit(i + 1))
        out[i / 64] |= std::uint64_t{1} << (i % 64);
      unify(t, width);
      return;
    }
    case Symbol::Role::rounding_even: *out = 0; return;
    case Symbol::Role::rounding_zero: *out = 1; return;
    case Symbol::Role::rounding_plus_inf: *out = 2; return;
    case Symbol::Role::rounding_minus_inf: *out = 3; return;
    case Symbol::Role::rounding_away: *out = 4; return;
    default: break;
  }
  switch (s->tag()) {
    case SymbolTag::bool_true: *out = 1; return;
    case SymbolTag::bool_false: *out = 0; return;
    default: throw Exception("no value for " + t->to_shallow_str());
  }
}

// Every operand and the result fit a machine word.
std::uint64_t Evaluator::small_word(Term_ const* t, SymbolTag::tag tag, std::uint64_t width,
                                    std::uint64_t w0) {
  auto arg = [&](unsigned i) { return small_[t->children[i]->id]; };
  std::uint64_t const m = mask(width);
  switch (tag) {
    case SymbolTag::bool_not: return arg(0) ^ 1;
    case SymbolTag::bool_and:
    case SymbolTag::bv_and: return arg(0) & arg(1);
    case SymbolTag::bool_or:
    case SymbolTag::bv_or: return arg(0) | arg(1);
    case SymbolTag::bool_iff:
    case SymbolTag::equal:
    case SymbolTag::equal_noproxy: return arg(0) == arg(1);
    case SymbolTag::bool_ite:
    case SymbolTag::term_ite: return arg(0) != 0 ? arg(1) : arg(2);
    case SymbolTag::bv_concat: return (arg(0) << bits_of(t->children[1])) | arg(1);
    case SymbolTag::bv_extract: return (arg(0) >> t->symbol->parameter(1)) & m;
    case SymbolTag::bv_not: return ~arg(0) & m;
    case SymbolTag::bv_xor: return arg(0) ^ arg(1);
    case SymbolTag::bv_ult: return arg(0) < arg(1);
    case SymbolTag::bv_ule: return arg(0) <= arg(1);
    case SymbolTag::bv_slt: return signed_value(arg(0), w0) < signed_value(arg(1), w0);
    case SymbolTag::bv_sle: return signed_value(arg(0), w0) <= signed_value(arg(1), w0);
    case SymbolTag::bv_neg: return -arg(0) & m;
    case SymbolTag::bv_add: return (arg(0) + arg(1)) & m;
    case SymbolTag::bv_sub: return (arg(0) - arg(1)) & m;
    case SymbolTag::bv_mul: return (arg(0) * arg(1)) & m;
    case SymbolTag::bv_udiv: return arg(1) == 0 ? m : arg(0) / arg(1);
    case SymbolTag::bv_urem: return arg(1) == 0 ? arg(0) : arg(0) % arg(1);
    case SymbolTag::bv_sdiv:
      if (arg(1) == 0) return signed_value(arg(0), w0) < 0 ? 1 : m;
      return signed_quotient(arg(0), arg(1), w0);
    case SymbolTag::bv_srem: return arg(1) == 0 ? arg(0) : signed_remainder(arg(0), arg(1), w0);
    case SymbolTag::bv_shl: return arg(1) >= width ? 0 : (arg(0) << arg(1)) & m;
    case SymbolTag::bv_lshr: return arg(1) >= width ? 0 : arg(0) >> arg(1);
    case SymbolTag::bv_ashr:
      return static_cast<std::uint64_t>(signed_value(arg(0), width) >> std::min(arg(1), width - 1)) & m;
    case SymbolTag::bv_rotate_left:
    case SymbolTag::bv_rotate_right: {
      std::uint64_t k = t->symbol->parameter(0) % width;
      if (k == 0) return arg(0);
      if (tag == SymbolTag::bv_rotate_right) k = width - k;
      return ((arg(0) << k) | (arg(0) >> (width - k))) & m;
    }
    case SymbolTag::bv_zero_extend: return arg(0);
    case SymbolTag::bv_sign_extend: return static_cast<std::uint64_t>(signed_value(arg(0), w0)) & m;
    default: throw Exception("no value for " + t->to_shallow_str());
  }
}

void Evaluator::wide_word(Term_ const* t, SymbolTag::tag tag, std::uint64_t width, std::uint64_t w0,
                          std::uint64_t w1) {
  std::uint64_t const* a = operand(t->children[0], w0);
  std::uint64_t const* b = t->symbol->arity > 1 ? operand(t->children[1], w1) : nullptr;
  std::uint64_t* r = slot(t, width);
  mp_size_t const n = wide::limbs(width);
  mp_size_t const n0 = wide::limbs(w0);
  auto each = [&](auto f) {
    for (mp_size_t i = 0; i < n; ++i) r[i] = f(i);
  };
  switch (tag) {
    case SymbolTag::equal:
    case SymbolTag::equal_noproxy: *r = std::equal(a, a + n0, b) ? 1 : 0; return;
    case SymbolTag::bv_ult: *r = wide::compare(a, b, w0) < 0 ? 1 : 0; return;
    case SymbolTag::bv_ule: *r = wide::compare(a, b, w0) <= 0 ? 1 : 0; return;
    case SymbolTag::bv_slt: *r = wide::signed_less(a, b, w0) ? 1 : 0; return;
    case SymbolTag::bv_sle: *r = wide::signed_less(b, a, w0) ? 0 : 1; return;
    case SymbolTag::term_ite: {
      std::uint64_t const* chosen = (a[0] & 1) != 0 ? b : operand(t->children[2], w1);
      std::copy_n(chosen, n, r);
      return;
    }
    case SymbolTag::bv_and: each([&](mp_size_t i) { return a[i] & b[i]; }); return;
    case SymbolTag::bv_or: each([&](mp_size_t i) { return a[i] | b[i]; }); return;
    case SymbolTag::bv_xor: each([&](mp_size_t i) { return a[i] ^ b[i]; }); return;
    case SymbolTag::bv_not:
      each([&](mp_size_t i) { return ~a[i]; });
      wide::trim(r, width);
      return;
    case SymbolTag::bv_neg: wide::negate(r, a, width); return;
    case SymbolTag::bv_add:
      mpn_add_n(r, a, b, n);
      wide::trim(r, width);
      return;
    case SymbolTag::bv_sub:
      mpn_sub_n(r, a, b, n);
      wide::trim(r, width);
      return;
    case SymbolTag::bv_mul:
      scratch_.resize(2 * static_cast<std::size_t>(n));
      wide::multiply(r, a, b, width, scratch_.data());
      return;
    case SymbolTag::bv_concat:
      std::fill_n(r, n, 0);
      std::copy_n(a, n0, r);
      wide::shift_left(r, r, w1, width);
      for (mp_size_t i = 0; i < wide::limbs(w1); ++i) r[i] |= b[i];
      return;
    case SymbolTag::bv_extract: {
      std::uint64_t const low = t->symbol->parameter(1);
      scratch_.resize(static_cast<std::size_t>(n0));
      wide::shift_right(scratch_.data(), a, low, w0);
      std::copy_n(scratch_.begin(), n, r);
      wide::trim(r, width);
      return;
    }
    case SymbolTag::bv_zero_extend:
    case SymbolTag::bv_sign_extend:
      std::fill_n(r, n, 0);
      std::copy_n(a, n0, r);
      if (tag == SymbolTag::bv_sign_extend && wide::bit(a, w0 - 1)) wide::fill_ones(r, w0, width);
      return;
    case SymbolTag::bv_shl: wide::shift_left(r, a, wide::amount(b, width), width); return;
    case SymbolTag::bv_lshr:
    case SymbolTag::bv_ashr: {
      std::uint64_t const k = wide::amount(b, width);
      bool const negative = wide::bit(a, width - 1);
      wide::shift_right(r, a, k, width);
      if (tag == SymbolTag::bv_ashr && negative) wide::fill_ones(r, width - k, width);
      return;
    }
    case SymbolTag::bv_rotate_left:
    case SymbolTag::bv_rotate_right: {
      std::uint64_t k = t->symbol->parameter(0) % width;
      if (tag == SymbolTag::bv_rotate_right) k = width - k;
      scratch_.resize(static_cast<std::size_t>(n));
      wide::shift_right(scratch_.data(), a, width - k, width);
      wide::shift_left(r, a, k, width);
      for (mp_size_t i = 0; i < n; ++i) r[i] |= scratch_[static_cast<std::size_t>(i)];
      return;
    }
    case SymbolTag::bv_udiv:
    case SymbolTag::bv_urem:
    case SymbolTag::bv_sdiv:
    case SymbolTag::bv_srem: {
      bool const quotient = tag == SymbolTag::bv_udiv || tag == SymbolTag::bv_sdiv;
      bool const is_signed = tag == SymbolTag::bv_sdiv || tag == SymbolTag::bv_srem;
      bool const na = is_signed && wide::bit(a, width - 1);
      bool const nb = is_signed && wide::bit(b, width - 1);
      if (wide::is_zero(b, width)) {
        std::copy_n(a, n, r);
        if (!quotient) return;
        std::fill_n(r, n, 0);
        if (na)
          *r = 1;
        else
          wide::fill_ones(r, 0, width);
        return;
      }
      auto const size = static_cast<std::size_t>(n);
      scratch_.resize(4 * size);
      std::uint64_t* x = scratch_.data();
      std::uint64_t* y = x + size;
      std::uint64_t* q = y + size;
      std::uint64_t* rest = q + size;
      std::copy_n(a, n, x);
      std::copy_n(b, n, y);
      if (na) wide::negate(x, x, width);
      if (nb) wide::negate(y, y, width);
      wide::divide(q, rest, x, y, width);
      std::uint64_t* kept = quotient ? q : rest;
      if (quotient ? na != nb : na) wide::negate(kept, kept, width);
      std::copy_n(kept, n, r);
      return;
    }
    default: throw Exception("no value for " + t->to_shallow_str());
  }
}

}  // namespace vell::values

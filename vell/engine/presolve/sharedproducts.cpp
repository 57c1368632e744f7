#include "vell/engine/presolve/sharedproducts.h"

#include <algorithm>
#include <functional>

#include "vell/engine/presolve/numeral.h"
#include "vell/engine/presolve/operands.h"

namespace vell::engine {

namespace {

// Products of the same roots that are compared with each other; more would make a formula of squares quadratic.
constexpr std::size_t max_group = 64;

bool is_zero(TermManager const& tm, Term_ const* t) {
  return tm.is_number(t->symbol) && numeral_value(tm, t) == 0;
}

// An operand modulo 2^width: a term of at least that many bits whose low ones it is, or a shorter one, extended.
struct Residue {
  enum class Extension { none, zeros, sign };
  Term_ const* term;
  Extension extension;
  bool operator==(Residue const& o) const { return term == o.term && extension == o.extension; }
};

// t below one layer of extension or low slice, and how that layer extends it; t itself where there is none.
Residue below(TermManager const& tm, Term_ const* t) {
  switch (tm.get_tag(t->symbol)) {
    case SymbolTag::bv_zero_extend: return {t->children[0], Residue::Extension::zeros};
    case SymbolTag::bv_sign_extend: return {t->children[0], Residue::Extension::sign};
    case SymbolTag::bv_concat: {
      bool const zeros = is_zero(tm, t->children[0]);
      return {t->children[1], zeros ? Residue::Extension::zeros : Residue::Extension::none};
    }
    case SymbolTag::bv_extract: {
      std::uint64_t msb = 0;
      std::uint64_t lsb = 0;
      tm.is_bv_extract(t->symbol, &msb, &lsb);
      return {lsb == 0 ? t->children[0] : t, Residue::Extension::none};
    }
    default: return {t, Residue::Extension::none};
  }
}

Residue residue(TermManager const& tm, Term_ const* t, std::uint64_t width) {
  for (;;) {
    Residue const next = below(tm, t);
    if (next.term == t) return {t, Residue::Extension::none};
    if (word_width(tm, next.term) >= width) {
      t = next.term;
      continue;
    }
    switch (next.extension) {
      case Residue::Extension::none: return {t, Residue::Extension::none};  // other bits above the low part
      case Residue::Extension::sign: return next;
      case Residue::Extension::zeros: break;
    }
    Residue core = next;
    for (Residue r = below(tm, core.term); r.term != core.term && r.extension == Residue::Extension::zeros;
         r = below(tm, core.term))
      core = r;
    return core;
  }
}

// The same for all terms of which one has the residue of another at some width.
Term_ const* root(TermManager const& tm, Term_ const* t) {
  for (Term_ const* next = below(tm, t).term; next != t; next = below(tm, t).term) t = next;
  return t;
}

// Whether the product `narrow` is the low bits of `wide`.
bool is_low_part(TermManager const& tm, Term_ const* narrow, Term_ const* wide) {
  std::uint64_t const width = word_width(tm, narrow);
  auto const agree = [&](unsigned i, unsigned j) {
    return residue(tm, narrow->children[i], width) == residue(tm, wide->children[j], width);
  };
  return (agree(0, 0) && agree(1, 1)) || (agree(0, 1) && agree(1, 0));
}

}  // namespace

void SharedProducts::share(std::vector<Term_ const*>& formulas) {
  if (!tm_.has_operator(SymbolTag::bv_mul)) return;
  ++call_;
  products_.clear();
  for (Term_ const* f : formulas) collect(f);
  find_wider();
  if (wider_.empty()) return;
  for (Term_ const*& f : formulas) f = rebuild(f);
}

void SharedProducts::collect(Term_ const* formula) {
  if (seen_.size() <= tm_.term_count()) seen_.resize(tm_.term_count() + 1, 0);
  std::vector<Term_ const*> stack{formula};
  while (!stack.empty()) {
    Term_ const* t = stack.back();
    stack.pop_back();
    if (seen_[t->id] != 0) continue;
    seen_[t->id] = 2 * call_;
    // A product by a numeral is a few sums, and has no operand to be found by.
    if (tm_.get_tag(t->symbol) == SymbolTag::bv_mul && !tm_.is_number(t->children[0]->symbol) &&
        !tm_.is_number(t->children[1]->symbol))
      products_.push_back(t);
    stack.insert(stack.end(), t->children, t->children + t->symbol->arity);
  }
}

void SharedProducts::find_wider() {
  // The widest first, and of one width the oldest: the first one that a product is the low part of is the one to take.
  std::sort(products_.begin(), products_.end(), [this](Term_ const* a, Term_ const* b) {
    std::uint64_t const v = word_width(tm_, a);
    std::uint64_t const w = word_width(tm_, b);
    return v != w ? v > w : a->id < b->id;
  });
  for (Term_ const* t : products_) {
    Roots roots{root(tm_, t->children[0]), root(tm_, t->children[1])};
    if (roots.second->id < roots.first->id) std::swap(roots.first, roots.second);
    std::vector<Term_ const*>& group = groups_[roots];
    auto const wide = std::find_if(group.begin(), group.end(), [&](Term_ const* u) {
      return word_width(tm_, u) >= word_width(tm_, t) && is_low_part(tm_, t, u);
    });
    if (wide != group.end())
      wider_[t] = *wide;
    else if (group.size() < max_group)
      group.push_back(t);
  }
}

Term_ const* SharedProducts::rebuild(Term_ const* formula) {
  std::vector<Term_ const*> stack{formula};
  std::vector<Term_ const*> operands;
  while (!stack.empty()) {
    Term_ const* t = stack.back();
    if (!is_fresh(t)) {
      stack.pop_back();
      continue;
    }
    auto const wide = wider_.find(t);
    std::size_t const waiting = stack.size();
    auto const wait_for = [&](Term_ const* u) {
      if (is_fresh(u)) stack.push_back(u);
    };
    // The wide product stands on what the narrow one stands on, so neither is below the other.
    if (wide != wider_.end())
      wait_for(wide->second);
    else
      for (std::uint64_t i = 0; i < t->symbol->arity; ++i) wait_for(t->children[i]);
    if (stack.size() != waiting) continue;
    stack.pop_back();
    ++seen_[t->id];
    if (wide != wider_.end()) {
      Term_ const* whole = now(wide->second);
      std::uint64_t const width = word_width(tm_, t);
      replaced_[t] = word_width(tm_, whole) == width ? whole : tm_.mk_app(SymbolTag::bv_extract, {whole}, width - 1, 0);
      continue;
    }
    if (map_operands(t, operands, [this](Term_ const* o) { return now(o); }))
      replaced_[t] = tm_.mk_term(t->symbol, operands);
  }
  return now(formula);
}

}  // namespace vell::engine

// A term of one pass stands on its operands, and a narrow product on the wide one whose slice it becomes. No
// circle may come of that. Where the operands of the wide product are extensions and slices of what the
// operands of the narrow one are made of, none does: everything below the wide one is below the narrow one as
// well. The high half of a concatenation is the exception: the narrow product itself may stand there, or one
// that becomes a slice of something above. Such a wide product is taken only where products are nested below
// it no deeper than below the narrow one. The nesting then falls with every step from a product to its
// operands and rises with none, so that no walk comes back to where it began.

#include "vell/words/sharedproducts.h"

#include <algorithm>
#include <functional>

#include "vell/words/numeral.h"
#include "vell/words/operands.h"

namespace vell::words {

namespace {

bool is_zero(TermManager const& tm, Term_ const* t) {
  return tm.is_number(t->symbol) && numeral_value(tm, t) == 0;
}

// An operand modulo 2^width: a term of at least that many bits whose low ones it is, or a shorter one,
// extended.
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

Residue residue(TermManager const& tm, Term_ const* t, std::uint64_t width, run::Limits const& limits) {
  for (;;) {
    limits.check();
    Residue const next = below(tm, t);
    if (next.term == t) return {t, Residue::Extension::none};
    if (tm.width(next.term) >= width) {
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
         r = below(tm, core.term)) {
      limits.check();
      core = r;
    }
    return core;
  }
}

// The same for all terms of which one has the residue of another at some width.
Term_ const* root(TermManager const& tm, Term_ const* t, run::Limits const& limits) {
  for (Term_ const* next = below(tm, t).term; next != t; next = below(tm, t).term) {
    limits.check();
    t = next;
  }
  return t;
}

// Whether there is something above the root of t, besides numerals, that is not below it.
bool has_other_high_bits(TermManager const& tm, Term_ const* t, run::Limits const& limits) {
  for (Term_ const* next = below(tm, t).term; next != t; next = below(tm, t).term) {
    limits.check();
    if (tm.get_tag(t->symbol) == SymbolTag::bv_concat && !tm.is_number(t->children[0]->symbol)) return true;
    t = next;
  }
  return false;
}

// Whether the product `narrow` is the low bits of `wide`.
bool is_low_part(TermManager const& tm, Term_ const* narrow, Term_ const* wide, run::Limits const& limits) {
  std::uint64_t const width = tm.width(narrow);
  auto const agree = [&](unsigned i, unsigned j) {
    return residue(tm, narrow->children[i], width, limits) == residue(tm, wide->children[j], width, limits);
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
    limits_.check();
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
  // The widest first, and of one width the oldest: the first one that a product is the low part of is the one
  // to take.
  std::sort(products_.begin(), products_.end(), [this](Term_ const* a, Term_ const* b) {
    limits_.check();
    std::uint64_t const v = tm_.width(a);
    std::uint64_t const w = tm_.width(b);
    return v != w ? v > w : a->id < b->id;
  });
  for (Term_ const* t : products_) {
    Roots roots{root(tm_, t->children[0], limits_), root(tm_, t->children[1], limits_)};
    if (roots.second->id < roots.first->id) std::swap(roots.first, roots.second);
    std::vector<Term_ const*>& group = groups_[roots];
    auto const wide = std::find_if(group.begin(), group.end(), [&](Term_ const* u) {
      if (tm_.width(u) < tm_.width(t) || !is_low_part(tm_, t, u, limits_)) return false;
      bool const plain = !has_other_high_bits(tm_, u->children[0], limits_) &&
                         !has_other_high_bits(tm_, u->children[1], limits_);
      return plain || nesting(u) <= nesting(t);
    });
    if (wide != group.end())
      wider_[t] = *wide;
    else if (group.size() < tunables_.product_group)
      group.push_back(t);
  }
}

// How many products stand one below the other, at most, in t.
std::size_t SharedProducts::nesting(Term_ const* product) {
  std::vector<Term_ const*> stack{product};
  while (!stack.empty()) {
    limits_.check();
    Term_ const* t = stack.back();
    if (nesting_.count(t) != 0) {
      stack.pop_back();
      continue;
    }
    std::size_t const waiting = stack.size();
    std::size_t deepest = 0;
    for (std::uint64_t i = 0; i < t->symbol->arity; ++i) {
      auto const found = nesting_.find(t->children[i]);
      if (found == nesting_.end())
        stack.push_back(t->children[i]);
      else
        deepest = std::max(deepest, found->second);
    }
    if (stack.size() != waiting) continue;
    stack.pop_back();
    nesting_[t] = deepest + (tm_.get_tag(t->symbol) == SymbolTag::bv_mul ? 1 : 0);
  }
  return nesting_.at(product);
}

Term_ const* SharedProducts::rebuild(Term_ const* formula) {
  std::vector<Term_ const*> stack{formula};
  std::vector<Term_ const*> operands;
  while (!stack.empty()) {
    limits_.check();
    Term_ const* t = stack.back();
    if (!is_fresh(t)) {
      stack.pop_back();
      continue;
    }
    if (open_valued(tm_, t, free_division_)) {
      ++seen_[t->id];
      stack.pop_back();
      continue;
    }
    auto const wide = wider_.find(t);
    std::size_t const waiting = stack.size();
    auto const wait_for = [&](Term_ const* u) {
      if (is_fresh(u)) stack.push_back(u);
    };
    // Neither is below the other; see above.
    if (wide != wider_.end())
      wait_for(wide->second);
    else
      for (std::uint64_t i = 0; i < t->symbol->arity; ++i) wait_for(t->children[i]);
    if (stack.size() != waiting) continue;
    stack.pop_back();
    ++seen_[t->id];
    if (wide != wider_.end()) {
      Term_ const* whole = now(wide->second);
      std::uint64_t const width = tm_.width(t);
      replaced_[t] =
          tm_.width(whole) == width ? whole : tm_.mk_app(SymbolTag::bv_extract, {whole}, width - 1, 0);
      continue;
    }
    if (map_operands(t, operands, [this](Term_ const* o) { return now(o); }))
      replaced_[t] = tm_.mk_term(t->symbol, operands);
  }
  return now(formula);
}

namespace {

class SharedProductsPass : public Pass {
 public:
  explicit SharedProductsPass(PassContext const& context)
      : products_(context.tm, context.free_division, context.limits, context.tunables) {}

  std::uint64_t apply(Formulas& formulas) override {
    std::uint64_t const before = products_.shared();
    for (std::vector<Formula>* part : {&formulas.permanent, &formulas.retractable, &formulas.assumed}) {
      std::vector<Term_ const*> terms = terms_of(*part);
      products_.share(terms);
      for (std::size_t i = 0; i < terms.size(); ++i) (*part)[i].term = terms[i];
    }
    return products_.shared() - before;
  }

 private:
  SharedProducts products_;
};

}  // namespace

std::unique_ptr<Pass> make_shared_products(PassContext const& context) {
  return std::make_unique<SharedProductsPass>(context);
}

}  // namespace vell::words

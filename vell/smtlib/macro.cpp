#include "vell/smtlib/macro.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "vell/terms/exception.h"

namespace vell::smtlib {

namespace {

bool by_id(Term_ const* a, Term_ const* b) { return a->id < b->id; }

// The terms of the cone that were made at or after `least_id`, in the order of their ids, so children first:
// a term made earlier than every parameter holds none.
std::vector<Term_ const*> young_cone(Term_ const* term, std::uint64_t least_id) {
  std::vector<Term_ const*> cone;
  std::vector<Term_ const*> stack;
  std::unordered_set<Term_ const*> seen;
  auto visit = [&](Term_ const* t) {
    if (t->id >= least_id && seen.insert(t).second) {
      stack.push_back(t);
      cone.push_back(t);
    }
  };
  visit(term);
  while (!stack.empty()) {
    Term_ const* const t = stack.back();
    stack.pop_back();
    for (std::uint64_t i = 0; i < t->symbol->arity; ++i) visit(t->children[i]);
  }
  std::sort(cone.begin(), cone.end(), by_id);
  return cone;
}

std::uint64_t least_id(std::span<Term_ const* const> variables) {
  return (*std::min_element(variables.begin(), variables.end(), by_id))->id;
}

}  // namespace

Macro::Macro(std::vector<Term_ const*> parameters_in, Term_ const* body_in)
    : parameters(std::move(parameters_in)), body(body_in), result_{body_in, 0} {
  std::unordered_map<Term_ const*, std::uint32_t> places;  // of the terms in which a parameter occurs
  for (Term_ const* p : parameters) places.emplace(p, static_cast<std::uint32_t>(places.size()));
  auto child = [&](Term_ const* t) {
    auto const i = places.find(t);
    return i == places.end() ? Child{t, 0} : Child{nullptr, i->second};
  };
  for (Term_ const* t : young_cone(body, least_id(parameters))) {
    std::uint64_t const arity = t->symbol->arity;
    if (std::none_of(t->children, t->children + arity, [&](Term_ const* c) { return places.contains(c); }))
      continue;
    steps_.push_back({t->symbol, children_.size()});
    widest_ = std::max(widest_, arity);
    for (std::uint64_t i = 0; i < arity; ++i) children_.push_back(child(t->children[i]));
    if (places.size() >= UINT32_MAX) throw Exception("a definition is too large");
    places.emplace(t, static_cast<std::uint32_t>(places.size()));
  }
  result_ = child(body);
}

Term_ const* Macro::instance(TermManager& terms, std::span<Term_ const* const> arguments) const {
  std::vector<Term_ const*> at(arguments.begin(), arguments.end());
  at.reserve(arguments.size() + steps_.size());
  std::vector<Term_ const*> children(widest_);
  for (Step const& s : steps_) {
    for (std::uint64_t i = 0; i < s.symbol->arity; ++i) {
      Child const& c = children_[s.first_child + i];
      children[i] = c.term != nullptr ? c.term : at[c.place];
    }
    // If an argument makes the second factor of a product constant, the factors are exchanged, as for a
    // constant written there.
    if (s.symbol->tag() == SymbolTag::bv_mul && terms.is_number(children[1]->symbol) &&
        !terms.is_number(children[0]->symbol))
      std::swap(children[0], children[1]);
    at.push_back(terms.mk_term(s.symbol, std::span(children).first(s.symbol->arity)));
  }
  return result_.term != nullptr ? result_.term : at[result_.place];
}

bool occurs(std::span<Term_ const* const> variables, Term_ const* term) {
  if (variables.empty()) return false;
  std::unordered_set<Term_ const*> const set(variables.begin(), variables.end());
  std::vector<Term_ const*> const cone = young_cone(term, least_id(variables));
  return std::any_of(cone.begin(), cone.end(), [&](Term_ const* t) { return set.contains(t); });
}

}  // namespace vell::smtlib

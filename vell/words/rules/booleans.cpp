// Negation, conjunction, disjunction, equivalence.

#include <utility>

#include "vell/words/rules/rule.h"

namespace vell::words::rules {

namespace {

using Tag = SymbolTag::tag;

Term_ const* not_constant(Builder const& b, Term_ const* t) {
  Term_ const* const p = t->children[0];
  return b.is_true(p) || b.is_false(p) || b.is(p, Tag::bool_not) ? b.negation(p) : nullptr;
}

// The operand that decides the operator, and the one that does nothing to it.
bool absorbs(Builder const& b, Tag tag, Term_ const* p) {
  return tag == Tag::bool_and ? b.is_false(p) : b.is_true(p);
}

Term_ const* junction_constant(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i) {
    Term_ const* const p = t->children[i];
    if (!b.is_true(p) && !b.is_false(p)) continue;
    return absorbs(b, b.tag(t), p) ? p : t->children[1 - i];
  }
  return nullptr;
}

Term_ const* junction_same(Builder const&, Term_ const* t) {
  return t->children[0] == t->children[1] ? t->children[0] : nullptr;
}

Term_ const* junction_complement(Builder const& b, Term_ const* t) {
  if (!b.complementary(t->children[0], t->children[1])) return nullptr;
  return b.boolean(b.is(t, Tag::bool_or));
}

// What an operand p of "and" or "or" with the tag says to the other operand q: p and (p and r) is p and r, p
// and (p or r) is p, p and (not p or r) is p and r, p and (not p and r) is false.
Term_ const* absorb(Builder const& b, Term_ const* t, Term_ const* p, Term_ const* q) {
  Tag const tag = b.tag(t);
  // Seen through a negation, the other operand is one of the dual operator over negated operands.
  bool const negated = b.is(q, Tag::bool_not);
  Term_ const* const inner = negated ? q->children[0] : q;
  if (!b.is(inner, Tag::bool_and) && !b.is(inner, Tag::bool_or)) return nullptr;
  bool const same = (b.tag(inner) == tag) != negated;
  for (unsigned i = 0; i < 2; ++i) {
    Term_ const* const o = inner->children[i];
    bool const equal = negated ? b.complementary(o, p) : o == p;
    bool const opposite = negated ? o == p : b.complementary(o, p);
    if (equal) return same ? q : p;
    if (!opposite) continue;
    if (same) return b.boolean(tag == Tag::bool_or);
    Term_ const* rest = inner->children[1 - i];
    if (negated) rest = b.negation(rest);
    return tag == Tag::bool_and ? b.both(p, rest) : b.either(p, rest);
  }
  return nullptr;
}

Term_ const* junction_absorb(Builder const& b, Term_ const* t) {
  if (Term_ const* r = absorb(b, t, t->children[0], t->children[1])) return r;
  return absorb(b, t, t->children[1], t->children[0]);
}

Term_ const* iff_constant(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i) {
    if (b.is_true(t->children[i])) return t->children[1 - i];
    if (b.is_false(t->children[i])) return b.negation(t->children[1 - i]);
  }
  return nullptr;
}

Term_ const* iff_same(Builder const& b, Term_ const* t) {
  if (t->children[0] == t->children[1]) return b.boolean(true);
  if (b.complementary(t->children[0], t->children[1])) return b.boolean(false);
  return nullptr;
}

Term_ const* iff_negated(Builder const& b, Term_ const* t) {
  Term_ const* p = t->children[0];
  Term_ const* q = t->children[1];
  bool const np = b.is(p, Tag::bool_not);
  bool const nq = b.is(q, Tag::bool_not);
  if (!np && !nq) return nullptr;
  if (np) p = p->children[0];
  if (nq) q = q->children[0];
  Term_ const* const iff = b.equal(p, q);
  return np == nq ? iff : b.negation(iff);
}

Term_ const* commute(Builder const& b, Term_ const* t) {
  if (t->children[0]->id <= t->children[1]->id) return nullptr;
  Term_ const* const operands[] = {t->children[1], t->children[0]};
  return b.with_operands(t, operands);
}

constexpr Rule table[] = {
    {"not-constant", {Tag::bool_not}, "not true = false, not not p = p", not_constant},
    {"junction-constant",
     {Tag::bool_and, Tag::bool_or},
     "p and true = p, p and false = false",
     junction_constant},
    {"junction-same", {Tag::bool_and, Tag::bool_or}, "p and p = p", junction_same},
    {"junction-complement", {Tag::bool_and, Tag::bool_or}, "p and not p = false", junction_complement},
    {"junction-absorb",
     {Tag::bool_and, Tag::bool_or},
     "p and (p or q) = p, p and (not p or q) = p and q",
     junction_absorb},
    {"iff-constant", {Tag::bool_iff}, "(p = true) = p, (p = false) = not p", iff_constant},
    {"iff-same", {Tag::bool_iff}, "(p = p) = true, (p = not p) = false", iff_same},
    {"iff-negated", {Tag::bool_iff}, "(not p = q) = not (p = q)", iff_negated},
    {"junction-order", {Tag::bool_and, Tag::bool_or, Tag::bool_iff}, "q and p = p and q", commute},
};

}  // namespace

std::span<Rule const> booleans() { return table; }

}  // namespace vell::words::rules

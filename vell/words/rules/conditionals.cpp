// If-then-else over Booleans and over words.

#include "vell/words/rules/rule.h"

namespace vell::words::rules {

namespace {

using Tag = SymbolTag::tag;

constexpr Tags both_kinds{Tag::bool_ite, Tag::term_ite};

bool is_ite(Builder const& b, Term_ const* t) { return both_kinds.contain(b.tag(t)); }

Term_ const* constant_condition(Builder const& b, Term_ const* t) {
  if (b.is_true(t->children[0])) return t->children[1];
  if (b.is_false(t->children[0])) return t->children[2];
  return nullptr;
}

Term_ const* same_branches(Builder const&, Term_ const* t) {
  return t->children[1] == t->children[2] ? t->children[1] : nullptr;
}

Term_ const* negated_condition(Builder const& b, Term_ const* t) {
  if (!b.is(t->children[0], Tag::bool_not)) return nullptr;
  return b.ite(t->children[0]->children[0], t->children[2], t->children[1]);
}

// What the condition says of a branch that is the condition, its negation, or an if-then-else over it. Null
// where it says nothing.
Term_ const* under(Builder const& b, Term_ const* condition, bool holds, Term_ const* branch) {
  if (branch == condition) return b.boolean(holds);
  if (b.is_bool(branch) && b.complementary(branch, condition)) return b.boolean(!holds);
  if (is_ite(b, branch) && branch->children[0] == condition) return branch->children[holds ? 1 : 2];
  return nullptr;
}

Term_ const* known_condition(Builder const& b, Term_ const* t) {
  Term_ const* const then = under(b, t->children[0], true, t->children[1]);
  Term_ const* const otherwise = under(b, t->children[0], false, t->children[2]);
  if (then == nullptr && otherwise == nullptr) return nullptr;
  return b.ite(t->children[0], then != nullptr ? then : t->children[1],
               otherwise != nullptr ? otherwise : t->children[2]);
}

Term_ const* boolean_branches(Builder const& b, Term_ const* t) {
  Term_ const* const c = t->children[0];
  Term_ const* const p = t->children[1];
  Term_ const* const q = t->children[2];
  if (b.is_true(p)) return b.either(c, q);
  if (b.is_false(p)) return b.both(b.negation(c), q);
  if (b.is_true(q)) return b.either(b.negation(c), p);
  if (b.is_false(q)) return b.both(c, p);
  if (b.complementary(p, q)) return b.equal(c, p);
  return nullptr;
}

// A word under a negation on both sides: the negation costs nothing outside.
Term_ const* complemented_branches(Builder const& b, Term_ const* t) {
  Tag const tag = b.is_bool(t) ? Tag::bool_not : Tag::bv_not;
  Term_ const* const x = t->children[1];
  Term_ const* const y = t->children[2];
  if (!b.is(x, tag) || !b.is(y, tag)) return nullptr;
  Term_ const* const inner = b.ite(t->children[0], x->children[0], y->children[0]);
  return tag == Tag::bool_not ? b.negation(inner) : b.complement(inner);
}

// One of two branches that select by conditions of their own is the other branch: the conditions are joined,
// and one selection is saved.
Term_ const* shared_branch(Builder const& b, Term_ const* t) {
  Term_ const* const c = t->children[0];
  Term_ const* const x = t->children[1];
  Term_ const* const y = t->children[2];
  if (b.is_bool(t)) return nullptr;
  if (is_ite(b, y)) {
    Term_ const* const d = y->children[0];
    if (y->children[1] == x) return b.ite(b.either(c, d), x, y->children[2]);
    if (y->children[2] == x) return b.ite(b.either(c, b.negation(d)), x, y->children[1]);
  }
  if (is_ite(b, x)) {
    Term_ const* const d = x->children[0];
    if (x->children[2] == y) return b.ite(b.both(c, d), x->children[1], y);
    if (x->children[1] == y) return b.ite(b.both(c, b.negation(d)), x->children[2], y);
  }
  return nullptr;
}

bool is_extension(Builder const& b, Term_ const* t) {
  return b.is(t, Tag::bv_zero_extend) || b.is(t, Tag::bv_sign_extend);
}

Term_ const* extended_like(Builder const& b, Term_ const* extension, Term_ const* t) {
  std::uint64_t const by = b.width(extension) - b.width(t);
  return b.is(extension, Tag::bv_zero_extend) ? b.zero_extend(t, by) : b.sign_extend(t, by);
}

// What becomes t when it is extended as the extension is; null for nothing.
Term_ const* unextended(Builder const& b, Term_ const* extension, Term_ const* t) {
  std::uint64_t const w = b.width(extension->children[0]);
  if (b.is_numeral(t)) {
    Term_ const* const low = b.extract(t, w - 1, 0);
    return b.value(extended_like(b, extension, low)) == b.value(t) ? low : nullptr;
  }
  return b.tag(t) == b.tag(extension) && b.width(t->children[0]) == w ? t->children[0] : nullptr;
}

Term_ const* extended_branches(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[1];
  Term_ const* const y = t->children[2];
  Term_ const* const extension = is_extension(b, x) ? x : y;
  if (!is_extension(b, extension)) return nullptr;
  Term_ const* const low_x = unextended(b, extension, x);
  Term_ const* const low_y = unextended(b, extension, y);
  if (low_x == nullptr || low_y == nullptr) return nullptr;
  return extended_like(b, extension, b.ite(t->children[0], low_x, low_y));
}

Term_ const* common_part(Builder const& b, Term_ const* t) {
  Term_ const* const c = t->children[0];
  Term_ const* const x = t->children[1];
  Term_ const* const y = t->children[2];
  if (!b.is(x, Tag::bv_concat) || !b.is(y, Tag::bv_concat)) return nullptr;
  if (x->children[0] == y->children[0])
    return b.concat(x->children[0], b.ite(c, x->children[1], y->children[1]));
  if (x->children[1] == y->children[1])
    return b.concat(b.ite(c, x->children[0], y->children[0]), x->children[1]);
  return nullptr;
}

constexpr Rule table[] = {
    {"ite-condition", both_kinds, "true ? x : y = x", constant_condition},
    {"ite-same", both_kinds, "c ? x : x = x", same_branches},
    {"ite-negated", both_kinds, "not c ? x : y = c ? y : x", negated_condition},
    {"ite-known", both_kinds, "c ? (c ? x : y) : z = c ? x : z, c ? c : p = c ? true : p", known_condition},
    {"ite-boolean", {Tag::bool_ite}, "c ? true : p = c or p, c ? p : not p = (c = p)", boolean_branches},
    {"ite-complement", both_kinds, "c ? ~x : ~y = ~(c ? x : y)", complemented_branches},
    {"ite-shared", {Tag::term_ite}, "c ? x : (d ? x : y) = (c or d) ? x : y", shared_branch},
    {"ite-extended", {Tag::term_ite}, "c ? zext x : zext y = zext (c ? x : y)", extended_branches},
    {"ite-common", {Tag::term_ite}, "c ? x.y : x.z = x.(c ? y : z)", common_part},
};

}  // namespace

std::span<Rule const> conditionals() { return table; }

}  // namespace vell::words::rules

// extract, concat, extensions and rotations: wires.

#include "vell/words/rules/rule.h"

namespace vell::words::rules {

namespace {

using Tag = SymbolTag::tag;

Term_ const* whole(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  return b.lsb(t) == 0 && b.msb(t) + 1 == b.width(x) ? x : nullptr;
}

Term_ const* extract_of_extract(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  if (!b.is(x, Tag::bv_extract)) return nullptr;
  return b.extract(x->children[0], b.msb(t) + b.lsb(x), b.lsb(t) + b.lsb(x));
}

Term_ const* extract_of_concat(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  if (!b.is(x, Tag::bv_concat)) return nullptr;
  std::uint64_t const split = b.width(x->children[1]);
  std::uint64_t const msb = b.msb(t);
  std::uint64_t const lsb = b.lsb(t);
  if (msb < split) return b.extract(x->children[1], msb, lsb);
  if (lsb >= split) return b.extract(x->children[0], msb - split, lsb - split);
  return b.concat(b.extract(x->children[0], msb - split, 0), b.extract(x->children[1], split - 1, lsb));
}

Term_ const* extract_of_extension(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  bool const zero = b.is(x, Tag::bv_zero_extend);
  if (!zero && !b.is(x, Tag::bv_sign_extend)) return nullptr;
  Term_ const* const low = x->children[0];
  std::uint64_t const w = b.width(low);
  std::uint64_t const msb = b.msb(t);
  std::uint64_t const lsb = b.lsb(t);
  if (msb < w) return b.extract(low, msb, lsb);
  if (zero && lsb >= w) return b.zero(msb - lsb + 1);
  if (zero) return b.zero_extend(b.extract(low, w - 1, lsb), msb - w + 1);
  std::uint64_t const from = lsb < w ? lsb : w - 1;
  return b.sign_extend(b.extract(low, w - 1, from), msb - lsb - (w - 1 - from));
}

Term_ const* extract_of_complement(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  return b.is(x, Tag::bv_not) ? b.complement(b.extract(x->children[0], b.msb(t), b.lsb(t))) : nullptr;
}

// Bitwise with a constant: both parts are cheaper than the whole, and the constant part may do nothing.
Term_ const* extract_of_masked(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Tag const tag = b.tag(x);
  if (tag != Tag::bv_and && tag != Tag::bv_or && tag != Tag::bv_xor) return nullptr;
  if (!b.is_numeral(x->children[0]) && !b.is_numeral(x->children[1])) return nullptr;
  return b.word(tag, b.extract(x->children[0], b.msb(t), b.lsb(t)),
                b.extract(x->children[1], b.msb(t), b.lsb(t)));
}

// A choice between constants stays one.
Term_ const* extract_of_choice(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  if (!b.is(x, Tag::term_ite) || !b.is_numeral(x->children[1]) || !b.is_numeral(x->children[2]))
    return nullptr;
  return b.ite(x->children[0], b.extract(x->children[1], b.msb(t), b.lsb(t)),
               b.extract(x->children[2], b.msb(t), b.lsb(t)));
}

// Whether low continues high downwards in the same word.
bool adjacent(Builder const& b, Term_ const* high, Term_ const* low) {
  return b.is(high, Tag::bv_extract) && b.is(low, Tag::bv_extract) && high->children[0] == low->children[0] &&
         b.lsb(high) == b.msb(low) + 1;
}

// What the parts make together without a concatenation; null for nothing.
Term_ const* joined(Builder const& b, Term_ const* high, Term_ const* low) {
  if (b.is_numeral(high) && b.is_numeral(low)) return b.concat(high, low);
  if (adjacent(b, high, low)) return b.extract(high->children[0], b.msb(high), b.lsb(low));
  if (b.is(high, Tag::bv_not) && b.is(low, Tag::bv_not))
    if (Term_ const* inner = joined(b, high->children[0], low->children[0])) return b.complement(inner);
  return nullptr;
}

Term_ const* concat_joined(Builder const& b, Term_ const* t) {
  Term_ const* const high = t->children[0];
  Term_ const* const low = t->children[1];
  if (Term_ const* whole = joined(b, high, low)) return whole;
  if (b.is(low, Tag::bv_concat))
    if (Term_ const* part = joined(b, high, low->children[0])) return b.concat(part, low->children[1]);
  if (b.is(high, Tag::bv_concat))
    if (Term_ const* part = joined(b, high->children[1], low)) return b.concat(high->children[0], part);
  if (b.is(high, Tag::bv_concat) && b.is(low, Tag::bv_concat))
    if (Term_ const* part = joined(b, high->children[1], low->children[0]))
      return b.concat(b.concat(high->children[0], part), low->children[1]);
  return nullptr;
}

// Zeros on top are an extension.
Term_ const* concat_zeros(Builder const& b, Term_ const* t) {
  Term_ const* const high = t->children[0];
  if (b.is_zero(high)) return b.zero_extend(t->children[1], b.width(high));
  if (b.is(high, Tag::bv_zero_extend)) {
    std::uint64_t const by = b.width(high) - b.width(high->children[0]);
    return b.zero_extend(b.concat(high->children[0], t->children[1]), by);
  }
  return nullptr;
}

Term_ const* concat_choice(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i) {
    Term_ const* const k = t->children[i];
    Term_ const* const x = t->children[1 - i];
    if (!b.is_numeral(k) || !b.is(x, Tag::term_ite) || !b.is_numeral(x->children[1]) ||
        !b.is_numeral(x->children[2]))
      continue;
    auto const with = [&](Term_ const* branch) { return i == 0 ? b.concat(k, branch) : b.concat(branch, k); };
    return b.ite(x->children[0], with(x->children[1]), with(x->children[2]));
  }
  return nullptr;
}

Term_ const* nested_extension(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  std::uint64_t const by = b.width(t) - b.width(x);
  if (by == 0) return x;
  bool const zero = b.is(x, Tag::bv_zero_extend);
  // What was extended by zeros is not negative.
  if (!zero && (b.is(t, Tag::bv_zero_extend) || !b.is(x, Tag::bv_sign_extend))) return nullptr;
  Term_ const* const low = x->children[0];
  std::uint64_t const inner = b.width(x) - b.width(low);
  if (inner == 0) return nullptr;
  return zero ? b.zero_extend(low, inner + by) : b.sign_extend(low, inner + by);
}

// A numeral on top decides the sign.
Term_ const* sign_extension_of_numeral(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  if (!b.is(x, Tag::bv_concat) || !b.is_numeral(x->children[0])) return nullptr;
  Term_ const* const high = x->children[0];
  return b.concat(b.sign_extend(high, b.width(t) - b.width(x)), x->children[1]);
}

Term_ const* rotation(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  std::uint64_t const w = b.width(x);
  std::uint64_t const amount = t->symbol->parameter(0) % w;
  if (amount == 0) return x;
  // The bits that leave on the left.
  std::uint64_t const left = b.is(t, Tag::bv_rotate_left) ? amount : w - amount;
  return b.concat(b.extract(x, w - 1 - left, 0), b.extract(x, w - 1, w - left));
}

constexpr Rule table[] = {
    {"extract-whole", {Tag::bv_extract}, "x[w-1:0] = x", whole},
    {"extract-extract", {Tag::bv_extract}, "x[m:l][n:k] = x[n+l:k+l]", extract_of_extract},
    {"extract-concat", {Tag::bv_extract}, "(x.y)[m:l] = parts of x and y", extract_of_concat},
    {"extract-extend", {Tag::bv_extract}, "(zext x)[m:l] = zext x[:l] or x[m:l]", extract_of_extension},
    {"extract-not", {Tag::bv_extract}, "(~x)[m:l] = ~x[m:l]", extract_of_complement},
    {"extract-bits", {Tag::bv_extract}, "(x & k)[m:l] = x[m:l] & k[m:l]", extract_of_masked},
    {"extract-ite", {Tag::bv_extract}, "(c ? k : l)[m:l] = c ? k[m:l] : l[m:l]", extract_of_choice},
    {"concat-join", {Tag::bv_concat}, "x[m:l].x[l-1:k] = x[m:k]", concat_joined},
    {"concat-zeros", {Tag::bv_concat}, "0.x = zext x", concat_zeros},
    {"concat-ite", {Tag::bv_concat}, "k.(c ? l : m) = c ? k.l : k.m", concat_choice},
    {"extend-extend",
     {Tag::bv_zero_extend, Tag::bv_sign_extend},
     "zext zext x = zext x, sext zext x = zext x",
     nested_extension},
    {"extend-numeral", {Tag::bv_sign_extend}, "sext (k.x) = sext k.x", sign_extension_of_numeral},
    {"rotate", {Tag::bv_rotate_left, Tag::bv_rotate_right}, "rotate x = low x.high x", rotation},
};

}  // namespace

std::span<Rule const> slices() { return table; }

}  // namespace vell::words::rules

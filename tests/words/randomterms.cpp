#include "tests/words/randomterms.h"

#include <algorithm>
#include <string>

namespace vell::test {

using S = SymbolTag::tag;

RandomTerms::RandomTerms(TermManager& tm, std::uint64_t seed, bool shared, unsigned most_width)
    : tm_(tm),
      r_(seed),
      shared_(shared),
      most_width_(most_width),
      words_(most_width + 1),
      variables_(most_width + 1) {
  for (unsigned bits = 0; bits < 9;) {
    unsigned const width = some_width();
    variables_[width].push_back(tm_.mk_variable("x" + std::to_string(bits), tm_.bv_type(width)));
    bits += width;
    if (bits >= 11) break;
  }
  for (char const* name : {"p", "q"}) boolean_variables_.push_back(tm_.mk_variable(name, tm_.bool_type));
}

Term_ const* RandomTerms::word(unsigned width, unsigned depth) {
  if (depth > 0 && shared_ && !words_[width].empty() && r_.percent(35)) return r_.pick(words_[width]);
  T const t = depth == 0 ? leaf(width) : make_word(width, depth - 1);
  words_[width].push_back(t);
  return t;
}

Term_ const* RandomTerms::boolean(unsigned depth) {
  if (depth > 0 && shared_ && !booleans_.empty() && r_.percent(30)) return r_.pick(booleans_);
  T const t = depth == 0 ? boolean_leaf() : make_boolean(depth - 1);
  booleans_.push_back(t);
  return t;
}

Term_ const* RandomTerms::numeral(unsigned width) {
  std::uint64_t const n =
      r_.pick<std::uint64_t>({0, 1, ~std::uint64_t{0}, 2, 4, std::uint64_t{1} << (width - 1),
                              (std::uint64_t{1} << (width - 1)) - 1, r_.next(), r_.next()});
  return tm_.mk_bv(n & ((std::uint64_t{1} << width) - 1), width);
}

Term_ const* RandomTerms::boolean_leaf() {
  if (r_.percent(10)) return tm_.mk_bool(r_.percent(50));
  return shared_ ? r_.pick(boolean_variables_) : tm_.mk_variable("p", tm_.bool_type);
}

Term_ const* RandomTerms::leaf(unsigned width) {
  if (r_.percent(35)) return numeral(width);
  if (!shared_) return tm_.mk_variable("x", tm_.bv_type(width));
  if (!variables_[width].empty()) return r_.pick(variables_[width]);
  // A variable of another width, cut or extended.
  std::vector<T> others;
  for (std::vector<T> const& v : variables_) others.insert(others.end(), v.begin(), v.end());
  T const x = r_.pick(others);
  unsigned const have = static_cast<unsigned>(
      std::find_if(variables_.begin(), variables_.end(),
                   [x](auto const& v) { return std::find(v.begin(), v.end(), x) != v.end(); }) -
      variables_.begin());
  if (have < width) {
    S const tag = r_.pick({S::bv_zero_extend, S::bv_sign_extend});
    return app(tag, {x}, width - have);
  }
  unsigned const low = static_cast<unsigned>(r_.below(have - width + 1));
  return app(S::bv_extract, {x}, low + width - 1, low);
}

Term_ const* RandomTerms::junction(unsigned width, unsigned depth) {
  S const tag = r_.pick({S::bv_and, S::bv_or, S::bv_xor});
  T const x = word(width, depth);
  if (!shared_ || !r_.percent(20)) return app(tag, {x, word(width, depth)});
  // A word that the other operand holds, or its complement.
  T const o = x->symbol->arity == 2 && x->children[0]->symbol->get_output_type() == tm_.bv_type(width)
                  ? x->children[r_.below(2)]
                  : x;
  return app(tag, {r_.percent(50) ? o : app(S::bv_not, {o}), x});
}

Term_ const* RandomTerms::make_word(unsigned width, unsigned depth) {
  switch (r_.below(16)) {
    case 0: return leaf(width);
    case 1: {
      S const tag = r_.pick({S::bv_not, S::bv_neg});
      return app(tag, {word(width, depth)});
    }
    case 2:
    case 3: return junction(width, depth);
    case 4:
    case 5: {
      T const x = word(width, depth);
      S const tag = r_.pick({S::bv_add, S::bv_sub});
      return app(tag, {x, shared_ && r_.percent(15) ? x : word(width, depth)});
    }
    case 6: return app(S::bv_mul, {word(width, depth), word(width, depth)});
    case 7: {
      T const x = word(width, depth);
      S const tag = r_.pick({S::bv_udiv, S::bv_urem, S::bv_sdiv, S::bv_srem});
      return app(tag, {x, r_.percent(40)              ? numeral(width)
                          : shared_ && r_.percent(10) ? x
                                                      : word(width, depth)});
    }
    case 8: {
      T const x = word(width, depth);
      S const tag = r_.pick({S::bv_shl, S::bv_lshr, S::bv_ashr});
      return app(tag, {x, r_.percent(40)              ? numeral(width)
                          : shared_ && r_.percent(10) ? x
                                                      : word(width, depth)});
    }
    case 9: {
      S const tag = r_.pick({S::bv_rotate_left, S::bv_rotate_right});
      T const x = word(width, depth);
      return app(tag, {x}, r_.below(width + 1));
    }
    case 10: {
      unsigned const from = static_cast<unsigned>(r_.between(width, most_width_));
      unsigned const low = static_cast<unsigned>(r_.below(from - width + 1));
      return app(S::bv_extract, {word(from, depth)}, low + width - 1, low);
    }
    case 11:
    case 12: {
      if (width == 1) return leaf(width);
      unsigned const low = static_cast<unsigned>(r_.between(1, width - 1));
      T const high = r_.percent(30) ? numeral(width - low) : word(width - low, depth);
      return app(S::bv_concat, {high, r_.percent(20) ? numeral(low) : word(low, depth)});
    }
    case 13: {
      unsigned const from = static_cast<unsigned>(r_.between(r_.percent(90) ? 1 : width, width));
      S const tag = r_.pick({S::bv_zero_extend, S::bv_sign_extend});
      return app(tag, {word(from, depth)}, width - from);
    }
    default: {
      T const c = boolean(depth);
      T const x = r_.percent(25) ? numeral(width) : word(width, depth);
      return app(S::term_ite, {c, x, r_.percent(25) ? numeral(width) : word(width, depth)});
    }
  }
}

Term_ const* RandomTerms::make_boolean(unsigned depth) {
  switch (r_.below(12)) {
    case 0: return app(S::bool_not, {boolean(depth)});
    case 1:
    case 2: {
      T const p = boolean(depth);
      T const q = shared_ && r_.percent(20) && p->symbol->arity == 2 &&
                          p->children[0]->symbol->get_output_type() == tm_.bool_type
                      ? p->children[r_.below(2)]
                      : boolean(depth);
      S const tag = r_.pick({S::bool_and, S::bool_or, S::bool_iff});
      return app(tag, {r_.percent(20) ? app(S::bool_not, {q}) : q, p});
    }
    case 3: {
      T const c = boolean(depth);
      return app(S::bool_ite, {c, shared_ && r_.percent(10) ? c : boolean(depth), boolean(depth)});
    }
    case 4:
    case 5:
    case 6: {
      unsigned const width = some_width();
      T const x = word(width, depth);
      return app(S::equal, {x, r_.percent(30) ? numeral(width) : word(width, depth)});
    }
    case 7: {
      unsigned const width = some_width();
      return app(S::equal, {numeral(width), word(width, depth)});
    }
    default: {
      unsigned const width = some_width();
      T const x = r_.percent(15) ? numeral(width) : word(width, depth);
      T const y = r_.percent(35) ? numeral(width) : word(width, depth);
      return app(r_.pick({S::bv_ult, S::bv_ule, S::bv_slt, S::bv_sle}), {x, y});
    }
  }
}

}  // namespace vell::test

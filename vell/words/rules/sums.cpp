// bvadd, bvsub, bvneg, and equalities of them.
//
// A sum is taken apart into words with factors, as far as it is made of sums, negations and products by
// numerals. It is put together again only where words meet or cancel, so that sums that others share stay
// shared.

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "vell/words/rules/rule.h"

namespace vell::words::rules {

namespace {

using Tag = SymbolTag::tag;

constexpr Tags equality{Tag::equal, Tag::equal_noproxy};
constexpr std::size_t most_words = 12;  // looked at below one sum
// Of a sum that is put together again: the one that it replaces. The sums below may be used elsewhere.
constexpr std::size_t most_adders = 1;

// constant + the sum of factor * word, modulo 2^width.
class Sum {
 public:
  Sum(Builder const& b, std::uint64_t width) : b_(b), width_(width) {}

  // Adds sign * t; not more words than it may look at.
  void add(Term_ const* t, int sign) {
    struct Part {
      Term_ const* t;
      mpz_class factor;
    };
    std::vector<Part> parts{{t, sign}};
    while (!parts.empty()) {
      Part const part = std::move(parts.back());
      parts.pop_back();
      Term_ const* const x = part.t;
      bool const open = seen_ + parts.size() < most_words;
      switch (b_.tag(x)) {
        case Tag::bv_add:
        case Tag::bv_sub:
          if (!open) break;
          parts.push_back({x->children[1], b_.is(x, Tag::bv_add) ? part.factor : mpz_class(-part.factor)});
          parts.push_back({x->children[0], part.factor});
          continue;
        case Tag::bv_neg: parts.push_back({x->children[0], -part.factor}); continue;
        case Tag::bv_not:  // -x - 1
          parts.push_back({x->children[0], -part.factor});
          constant_ -= part.factor;
          continue;
        case Tag::bv_mul:
          if (!b_.is_numeral(x->children[0])) break;
          parts.push_back({x->children[1], part.factor * b_.value(x->children[0])});
          continue;
        default: break;
      }
      ++seen_;
      if (b_.is_numeral(x)) {
        constant_ += part.factor * b_.value(x);
        ++numerals_;
        continue;
      }
      // In the order in which they were found, so that the result does not depend on addresses.
      auto const word = std::find_if(words_.begin(), words_.end(), [x](Word const& w) { return w.t == x; });
      if (word == words_.end())
        words_.push_back({x, part.factor, 1});
      else {
        word->factor += part.factor;
        ++word->places;
      }
    }
  }

  // Reduces the factors to -2^w < f < 2^w, drops the words with factor zero; whether words met. Of the two
  // factors that are the same modulo 2^w it takes the one with fewer ones: each is an operand of the
  // product's sum.
  bool reduce() {
    bool met = numerals_ > 1;
    mpz_class const end = mpz_class(1) << width_;
    for (Word& w : words_) {
      met = met || w.places > 1;
      mpz_fdiv_r_2exp(w.factor.get_mpz_t(), w.factor.get_mpz_t(), width_);
      mpz_class const opposite = end - w.factor;
      if (mpz_popcount(opposite.get_mpz_t()) < mpz_popcount(w.factor.get_mpz_t())) w.factor = -opposite;
    }
    mpz_fdiv_r_2exp(constant_.get_mpz_t(), constant_.get_mpz_t(), width_);
    std::erase_if(words_, [](Word const& w) { return w.factor == 0; });
    return met;
  }

  // How many adders the sum takes beside the products by numerals that it was made of: a factor that is new
  // takes as many operands as it has ones.
  std::size_t adders() const {
    std::size_t operands = constant_ != 0 ? 1 : 0;
    for (Word const& w : words_)
      operands += w.places == 1 ? 1 : mpz_popcount(mpz_class(abs(w.factor)).get_mpz_t());
    return operands == 0 ? 0 : operands - 1;
  }
  std::size_t count() const { return words_.size(); }
  mpz_class const& constant() const { return constant_; }
  // The one word that is left.
  Term_ const* word() const { return words_.front().t; }
  mpz_class const& factor() const { return words_.front().factor; }

  // The words with factors of the sign, positive, as one sum; null for none.
  Term_ const* part(int sign) const {
    Term_ const* sum = nullptr;
    for (Word const& w : words_) {
      if (sgn(w.factor) != sign) continue;
      mpz_class const factor = abs(w.factor);
      Term_ const* const term = factor == 1 ? w.t : b_.word(Tag::bv_mul, b_.number(factor, width_), w.t);
      sum = sum == nullptr ? term : b_.word(Tag::bv_add, sum, term);
    }
    return sum;
  }

  Term_ const* term() const {
    Term_ const* const plus = part(1);
    Term_ const* const minus = part(-1);
    Term_ const* const k = b_.number(constant_, width_);
    if (minus == nullptr) return plus == nullptr ? k : b_.is_zero(k) ? plus : b_.word(Tag::bv_add, plus, k);
    if (plus == nullptr) return b_.is_zero(k) ? b_.minus(minus) : b_.word(Tag::bv_sub, k, minus);
    Term_ const* const difference = b_.word(Tag::bv_sub, plus, minus);
    return b_.is_zero(k) ? difference : b_.word(Tag::bv_add, difference, k);
  }

 private:
  struct Word {
    Term_ const* t;
    mpz_class factor;
    unsigned places;
  };

  Builder const& b_;
  std::uint64_t const width_;
  std::vector<Word> words_;
  mpz_class constant_;
  std::size_t seen_ = 0;
  unsigned numerals_ = 0;
};

bool is_sum(Builder const& b, Term_ const* t) {
  return b.is(t, Tag::bv_add) || b.is(t, Tag::bv_sub) || b.is(t, Tag::bv_neg) ||
         (b.is(t, Tag::bv_mul) && b.is_numeral(t->children[0])) ||
         (b.is(t, Tag::bv_not) && (b.is(t->children[0], Tag::bv_add) || b.is(t->children[0], Tag::bv_sub)));
}

Term_ const* zero_operand(Builder const& b, Term_ const* t) {
  if (b.is_zero(t->children[1])) return t->children[0];
  if (!b.is_zero(t->children[0])) return nullptr;
  return b.is(t, Tag::bv_add) ? t->children[1] : b.minus(t->children[1]);
}

Term_ const* same_operands(Builder const& b, Term_ const* t) {
  return t->children[0] == t->children[1] ? b.zero(b.width(t)) : nullptr;
}

// x - k is x + -k.
Term_ const* subtracted_numeral(Builder const& b, Term_ const* t) {
  Term_ const* const k = t->children[1];
  if (!b.is_numeral(k)) return nullptr;
  return b.word(Tag::bv_add, t->children[0], b.number(-b.value(k), b.width(k)));
}

// A negation inside is a subtraction, which costs one less.
Term_ const* negated_operand(Builder const& b, Term_ const* t) {
  if (b.is(t, Tag::bv_sub)) {
    Term_ const* const y = t->children[1];
    return b.is(y, Tag::bv_neg) ? b.word(Tag::bv_add, t->children[0], y->children[0]) : nullptr;
  }
  for (unsigned i = 0; i < 2; ++i) {
    Term_ const* const y = t->children[i];
    if (b.is(y, Tag::bv_neg)) return b.word(Tag::bv_sub, t->children[1 - i], y->children[0]);
  }
  return nullptr;
}

// ~x + 1 and ~x + y + 1, which is y - x.
Term_ const* complement_and_one(Builder const& b, Term_ const* t) {
  for (unsigned i = 0; i < 2; ++i)
    if (b.is_one(t->children[i]) && b.is(t->children[1 - i], Tag::bv_not))
      return b.minus(t->children[1 - i]->children[0]);
  return nullptr;
}

Term_ const* negation(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  if (b.is(x, Tag::bv_neg)) return x->children[0];
  if (b.is(x, Tag::bv_sub)) return b.word(Tag::bv_sub, x->children[1], x->children[0]);
  if (b.is(x, Tag::bv_not)) return b.word(Tag::bv_add, x->children[0], b.one(b.width(t)));
  return b.width(t) == 1 ? x : nullptr;
}

// Words that meet in a sum, and those that cancel.
Term_ const* collected(Builder const& b, Term_ const* t) {
  if (!is_sum(b, t->children[0]) && (t->symbol->arity < 2 || !is_sum(b, t->children[1])) &&
      t->children[0] != t->children[1])
    return nullptr;
  Sum sum(b, b.width(t));
  sum.add(t, 1);
  return sum.reduce() && sum.adders() <= most_adders ? sum.term() : nullptr;
}

// Modulo 2: the sum and the difference of bits are their exclusive or.
Term_ const* single_bit(Builder const& b, Term_ const* t) {
  return b.width(t) == 1 ? b.word(Tag::bv_xor, t->children[0], t->children[1]) : nullptr;
}

// What stands on both sides cancels, numerals meet on the right, and a single word with an odd factor is free
// of it.
Term_ const* balanced(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  std::uint64_t const w = b.width(x);
  if (w == 0 || (!is_sum(b, x) && !is_sum(b, y))) return nullptr;
  Sum sum(b, w);
  sum.add(x, 1);
  sum.add(y, -1);
  bool const met = sum.reduce();
  if (sum.count() == 0) return b.boolean(sum.constant() == 0);
  if (sum.count() == 1) {
    // factor * word = -constant
    unsigned long const even = mpz_scan1(sum.factor().get_mpz_t(), 0);
    mpz_class k = -sum.constant();
    if (mpz_divisible_2exp_p(k.get_mpz_t(), even) == 0) return b.boolean(false);
    std::uint64_t const rest = w - even;
    mpz_class odd = sum.factor() >> even;
    mpz_class modulus = mpz_class(1) << rest;
    mpz_class inverse;
    mpz_invert(inverse.get_mpz_t(), odd.get_mpz_t(), modulus.get_mpz_t());
    k >>= even;
    Term_ const* const now = b.equal(b.extract(sum.word(), rest - 1, 0), b.number(k * inverse, rest));
    return now == t ? nullptr : now;
  }
  // x - y = 0 and x + -y = 0
  Term_ const* const plus = sum.part(1);
  Term_ const* const minus = sum.part(-1);
  if (!met && !(sum.constant() == 0 && b.is_zero(y) && plus != nullptr && minus != nullptr)) return nullptr;
  // The numeral on the other side counts as an operand, and so does the first word there.
  if (sum.adders() > most_adders + 1) return nullptr;
  Term_ const* const k = b.number(-sum.constant(), w);
  if (minus == nullptr) return b.equal(plus, k);
  if (plus == nullptr) return b.equal(minus, b.number(sum.constant(), w));
  if (sum.constant() == 0) return b.equal(plus, minus);
  return b.equal(plus, b.word(Tag::bv_add, minus, k));
}

// The numeral stands second; otherwise the older operand stands first.
Term_ const* commute(Builder const& b, Term_ const* t) {
  Term_ const* const x = t->children[0];
  Term_ const* const y = t->children[1];
  bool const swapped = b.is_numeral(x) != b.is_numeral(y) ? b.is_numeral(x) : x->id > y->id;
  return swapped ? b.word(Tag::bv_add, y, x) : nullptr;
}

constexpr Tags sums_of_two{Tag::bv_add, Tag::bv_sub};

constexpr Rule table[] = {
    {"add-zero", sums_of_two, "x + 0 = x, 0 - x = -x", zero_operand},
    {"sub-same", {Tag::bv_sub}, "x - x = 0", same_operands},
    {"add-bit", sums_of_two, "x + y = x ^ y for one bit", single_bit},
    {"sub-numeral", {Tag::bv_sub}, "x - k = x + -k", subtracted_numeral},
    {"add-negation", sums_of_two, "x + -y = x - y, x - -y = x + y", negated_operand},
    {"add-complement", {Tag::bv_add}, "~x + 1 = -x", complement_and_one},
    {"neg", {Tag::bv_neg}, "--x = x, -(x - y) = y - x, -~x = x + 1", negation},
    {"add-collect", {Tag::bv_add, Tag::bv_sub, Tag::bv_neg}, "x + y - x = y, x + x = 2 * x", collected},
    {"equal-sum", equality, "(x + y = x + z) = (y = z), (x + k = l) = (x = l - k)", balanced},
    {"add-order", {Tag::bv_add}, "y + x = x + y", commute},
};

}  // namespace

std::span<Rule const> sums() { return table; }

}  // namespace vell::words::rules

// From the leaves up, each word gets the bits that are known and an interval (WordBounds). Sources are
// numerals and wires, and permanent formulas that bound a word: comparisons with a numeral or with an older
// word, and slices that are numerals. Then
//
//   a word with one value becomes a numeral, and a comparison that is decided true or false;
//   a word with known bits at its ends is put together of these and the bits between, by narrower operators
//   where that is less: sums, products, bitwise operators and if-then-else;
//   a quotient is divided in the width that its operands need, and as an unsigned one where signs are known.
//
// A formula that says something of a word must not be decided by what it says itself. What is known of a word
// comes from formulas about terms below it, and from those about the word. So a formula about the word keeps
// it, with changed operands, and is decided by what the operands and the formulas before it say. Then the
// formulas that are left imply those given: take a formula about the word with the least id; it was changed
// only by what holds without any formula, so it still says the same of the word; the next one was changed by
// what the first one says, and so on upwards.
//
// Most words have no bounds, and take neither time nor memory. Later batches may ask for all of a word that
// is translated already: there this would only make a second circuit.

#include "vell/words/knownbits.h"

#include <algorithm>
#include <deque>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vell/terms/cone.h"
#include "vell/terms/termtable.h"
#include "vell/words/analysis/wordbounds.h"
#include "vell/words/builder.h"
#include "vell/words/operands.h"
#include "vell/words/tags.h"

namespace vell::words {

namespace {

using Tag = SymbolTag::tag;

constexpr Tags comparisons{Tag::bv_ule, Tag::bv_ult, Tag::bv_sle, Tag::bv_slt, Tag::equal};
constexpr Tags bitwise{Tag::bv_and, Tag::bv_or, Tag::bv_xor, Tag::term_ite};
constexpr Tags carrying{Tag::bv_add, Tag::bv_sub, Tag::bv_mul, Tag::bv_neg};
constexpr Tags wires{Tag::bv_concat, Tag::bv_zero_extend, Tag::bv_sign_extend, Tag::bv_not};
constexpr Tags divisions{Tag::bv_udiv, Tag::bv_urem, Tag::bv_sdiv, Tag::bv_srem};

// A permanent formula that bounds a word.
struct Source {
  std::size_t formula;
  Term_ const* comparison;  // without the negation
  bool holds;
};

class KnownBits {
 public:
  KnownBits(PassContext const& context, Formulas& formulas)
      : context_(context), b_(context.tm), formulas_(formulas) {
    Cone cone(context.limits);
    formulas.each([&](Formula const& f) { cone.add(f.term); });
    for (Definition const& d : formulas.definitions) cone.add(d.value);
    terms_ = cone.sorted();
  }

  // How many formulas changed.
  std::uint64_t run() {
    collect_sources();
    // Numerals first: a formula speaks of a word that may be older than the numeral beside it.
    for (Term_ const* t : terms_)
      if (b_.is_numeral(t)) set_bounds(t, WordBounds::constant(b_.value(t), b_.width(t)));
    for (Term_ const* t : terms_) {
      context_.limits.check();
      analyse(t);
      if (contradiction_) {
        formulas_.permanent = {{b_.boolean(false), formulas_.permanent.front().origin}};
        return 1;
      }
    }
    if (!found_) return 0;
    for (Term_ const* t : terms_) {
      context_.limits.check();
      rebuild(t);
    }
    std::uint64_t replaced = 0;
    auto const change = [&](Formula& f, Term_ const* now) {
      replaced += now != f.term ? 1 : 0;
      f.term = now;
    };
    for (std::size_t i = 0; i < formulas_.permanent.size(); ++i) {
      Formula& f = formulas_.permanent[i];
      auto const source = changed_sources_.find(i);
      change(f, source != changed_sources_.end() ? source->second : image(f.term));
    }
    for (std::vector<Formula>* part : {&formulas_.retractable, &formulas_.assumed})
      for (Formula& f : *part) change(f, image(f.term));
    for (Definition& d : formulas_.definitions) d.value = image(d.value);
    return replaced;
  }

 private:
  struct Place {
    WordBounds const* bounds = nullptr;  // null where nothing is known
    int decided = -1;                    // of a Boolean: 0 or 1
    Term_ const* image = nullptr;
    Term_ const* kept = nullptr;  // the term over changed operands, with all its bits
    bool cut = false;             // the image is made of slices of what is kept
  };

  // ---- sources ----
  void collect_sources() {
    for (std::size_t i = 0; i < formulas_.permanent.size(); ++i) {
      Term_ const* const f = formulas_.permanent[i].term;
      bool const holds = !b_.is(f, Tag::bool_not);
      Term_ const* const p = holds ? f : f->children[0];
      Term_ const* const word = bounded_word(p);
      if (word != nullptr && !b_.is_numeral(word)) sources_[word].push_back({i, p, holds});
    }
  }

  // The word that a comparison speaks of: beside a numeral, or the younger one of two; null for none. It is
  // the whole operand, or what that is a slice of.
  Term_ const* bounded_word(Term_ const* p) const {
    if (!comparisons.contain(b_.tag(p)) || b_.width(p->children[0]) == 0) return nullptr;
    Term_ const* const x = p->children[0];
    Term_ const* const y = p->children[1];
    if (b_.is(p, Tag::equal)) {
      if (!b_.is_numeral(y) || b_.is_numeral(x)) return nullptr;
      return b_.is(x, Tag::bv_extract) ? x->children[0] : x;
    }
    return b_.is_numeral(y) || (!b_.is_numeral(x) && x->id > y->id) ? x : y;
  }

  // Adds to the bounds of the word what the source says.
  void restrict(WordBounds& word, Term_ const* t, Source const& source) const {
    Term_ const* const p = source.comparison;
    Term_ const* const x = p->children[0];
    Term_ const* const y = p->children[1];
    if (b_.is(p, Tag::equal)) {
      if (x != t) {
        std::uint64_t const count = b_.width(x);
        mpz_class const n = b_.value(y);
        if (source.holds)
          word.has_bits(n, b_.lsb(x), count);
        else if (count == 1)
          word.has_bits(1 - n, b_.lsb(x), 1);
      } else if (source.holds) {
        word.at_least(b_.value(y));
        word.at_most(b_.value(y));
      } else {
        word.not_equal(b_.value(y));
      }
      return;
    }
    // t <= other or other <= t, strictly or not; a negation turns it round.
    bool const least = (t == y) == source.holds;  // whether the other one is at most t
    WordBounds const other = bounds(t == x ? y : x);
    Tag const tag = b_.tag(p);
    bool const is_signed = tag == Tag::bv_sle || tag == Tag::bv_slt;
    bool const strict = (tag == Tag::bv_ult || tag == Tag::bv_slt) == source.holds;
    mpz_class const step = strict ? 1 : 0;
    mpz_class const half = mpz_class(1) << (word.width() - 1);
    if (is_signed) {
      // Of the same sign signed words are in the order of unsigned ones.
      int const sign = other.sign();
      if (least && sign == 0) word.at_most(half - 1);
      if (!least && sign == 1) word.at_least(half);
      if (sign < 0 || word.sign() != sign) return;
    }
    if (least)
      word.at_least(other.low() + step);
    else
      word.at_most(other.high() - step);
  }

  // ---- analysis, operands first ----
  // Null where nothing is known.
  WordBounds const* known(Term_ const* t) const { return places_.find(t).bounds; }
  WordBounds bounds(Term_ const* t) const {
    WordBounds const* const k = known(t);
    return k != nullptr ? *k : WordBounds(b_.width(t));
  }
  void set_bounds(Term_ const* t, WordBounds const& bounds) {
    bounds_.push_back(bounds);
    places_.at(t).bounds = &bounds_.back();
  }

  void analyse(Term_ const* t) {
    if (b_.width(t) == 0) {
      if (!b_.is_bool(t)) return;
      int const value = decided(t);
      places_.at(t).decided = value;
      found_ = found_ || (value >= 0 && !b_.is_constant(t));
      return;
    }
    if (b_.is_numeral(t)) return;
    WordBounds word = own_bounds(t);
    auto const about = sources_.find(t);
    if (about != sources_.end()) {
      for (Source const& source : about->second) {
        int const known = decided_source(word, t, source);
        decided_sources_.emplace(source.formula, known);
        if (known >= 0)
          found_ = true;
        else
          restrict(word, t, source);
        if (known >= 0 && (known == 1) != source.holds) contradiction_ = true;
      }
    }
    if (word.empty()) contradiction_ = true;
    if (contradiction_) return;
    if (!word.is_top()) set_bounds(t, word);
    found_ = found_ || narrows(t, word) || divided_in(t) < b_.width(t);
  }

  // What the operands say.
  WordBounds own_bounds(Term_ const* t) const {
    std::uint64_t const w = b_.width(t);
    Tag const tag = b_.tag(t);
    if (t->symbol->arity == 0 || open_valued(context_.tm, t, context_.free_division)) return WordBounds(w);
    if (tag == Tag::term_ite) {
      int const c = places_.find(t->children[0]).decided;
      if (c >= 0) return bounds(t->children[c == 1 ? 1 : 2]);
      if (known(t->children[1]) == nullptr || known(t->children[2]) == nullptr) return WordBounds(w);
      WordBounds out = bounds(t->children[1]);
      out.join(bounds(t->children[2]));
      return out;
    }
    // An extension by zeros is bounded whatever its operand is.
    bool any = tag == Tag::bv_zero_extend;
    for (std::uint64_t i = 0; i < t->symbol->arity; ++i) {
      if (b_.width(t->children[i]) == 0) return WordBounds(w);
      any = any || known(t->children[i]) != nullptr;
    }
    if (!any || t->symbol->arity > 2) return WordBounds(w);
    WordBounds const a = bounds(t->children[0]);
    WordBounds const b = bounds(t->children[t->symbol->arity - 1]);
    WordBounds const* const operands[] = {&a, &b};
    bool const slice = tag == Tag::bv_extract;
    return WordBounds::of(tag, std::span(operands, t->symbol->arity), w, slice ? b_.msb(t) : 0,
                          slice ? b_.lsb(t) : 0);
  }

  int decided(Term_ const* p) const {
    Tag const tag = b_.tag(p);
    auto const operand = [&](unsigned i) { return places_.find(p->children[i]).decided; };
    if (comparisons.contain(tag) && b_.width(p->children[0]) != 0) {
      WordBounds const* const x = known(p->children[0]);
      WordBounds const* const y = known(p->children[1]);
      return x == nullptr || y == nullptr ? -1 : WordBounds::compare(tag, *x, *y);
    }
    switch (tag) {
      case Tag::bool_true: return 1;
      case Tag::bool_false: return 0;
      case Tag::bool_not: return operand(0) < 0 ? -1 : 1 - operand(0);
      case Tag::bool_and:
      case Tag::bool_or: {
        int const absorbing = tag == Tag::bool_or ? 1 : 0;
        if (operand(0) == absorbing || operand(1) == absorbing) return absorbing;
        return operand(0) == 1 - absorbing && operand(1) == 1 - absorbing ? 1 - absorbing : -1;
      }
      default: return -1;
    }
  }

  // Whether the comparison of a source is decided by what is known of the word without it.
  int decided_source(WordBounds const& word, Term_ const* t, Source const& source) const {
    Term_ const* const p = source.comparison;
    Term_ const* const x = p->children[0];
    Term_ const* const y = p->children[1];
    if (b_.is(p, Tag::equal) && x != t) {
      WordBounds const* const operands[] = {&word};
      WordBounds const slice = WordBounds::of(Tag::bv_extract, operands, b_.width(x), b_.msb(x), b_.lsb(x));
      return WordBounds::compare(Tag::equal, slice, bounds(y));
    }
    if (x == y) return -1;
    return WordBounds::compare(b_.tag(p), x == t ? word : bounds(x), y == t ? word : bounds(y));
  }

  // ---- rebuilding ----
  Term_ const* image(Term_ const* t) const { return places_.find(t).image; }

  void rebuild(Term_ const* t) {
    Place place = places_.find(t);
    place.kept = place.image = over_images(t);
    if (!open_valued(context_.tm, t, context_.free_division)) {
      if (place.decided >= 0)
        place.image = b_.boolean(place.decided == 1);
      else if (Term_ const* quotient = shorter_division(t, place.kept))
        place.image = quotient;
      else if (place.bounds != nullptr && narrows(t, *place.bounds))
        shorten(t, place);
    }
    places_.at(t) = place;
    auto const about = sources_.find(t);
    if (about == sources_.end()) return;
    for (Source const& source : about->second) changed_sources_[source.formula] = rebuilt(source, t);
  }

  Term_ const* over_images(Term_ const* t) {
    if (t->symbol->arity == 0 || open_valued(context_.tm, t, context_.free_division)) return t;
    // A slice of slices is one of the word itself; what is known of the slice is put in above it.
    bool const slice = b_.is(t, Tag::bv_extract);
    bool const changed = map_operands(t, operands_, [&](Term_ const* o) {
      Place const place = places_.find(o);
      return slice && place.cut ? place.kept : place.image;
    });
    return changed ? b_.with_operands(t, operands_) : t;
  }

  // Bits low to high are those between the known ones at both ends.
  struct Middle {
    std::uint64_t high;
    std::uint64_t low;
  };
  // Of a word with an unknown bit.
  static Middle middle(WordBounds const& word) {
    Middle out{word.width() - 1, 0};
    while (word.knows(out.high)) --out.high;
    while (word.knows(out.low)) ++out.low;
    return out;
  }

  // Whether the known bits make the term another one.
  bool narrows(Term_ const* t, WordBounds const& word) const {
    if (b_.is_numeral(t)) return false;
    if (word.is_constant()) return true;
    if (wires.contain(b_.tag(t)) || (word.zeros() == 0 && word.ones() == 0)) return false;
    if (!bitwise.contain(b_.tag(t)) && !carrying.contain(b_.tag(t))) return true;
    Middle const m = middle(word);
    return m.low != 0 || m.high + 1 != word.width();
  }

  void shorten(Term_ const* t, Place& place) {
    WordBounds const& word = *place.bounds;
    std::uint64_t const w = word.width();
    if (word.is_constant()) {
      place.image = b_.number(word.low(), w);
      return;
    }
    Tag const tag = b_.tag(t);
    Middle const m = middle(word);
    bool const carries = carrying.contain(tag);
    if (!bitwise.contain(tag) && (!carries || m.high + 1 == w)) {
      place.image = pieces(place.kept, word);
      place.cut = true;
      return;
    }
    // Sums and products go from the low end up.
    std::uint64_t const from = carries ? 0 : m.low;
    Term_ const* const kept = place.kept;
    auto const operand = [&](std::uint64_t i) { return b_.extract(kept->children[i], m.high, from); };
    Term_ const* const narrow = tag == Tag::term_ite ? b_.ite(kept->children[0], operand(1), operand(2))
                                : tag == Tag::bv_neg ? b_.minus(operand(0))
                                                     : b_.word(tag, operand(0), operand(1));
    Term_ const* const bits = b_.extract(narrow, m.high - from, m.low - from);
    Term_ const* const below = m.low == 0 ? nullptr : b_.extract(b_.number(word.ones(), w), m.low - 1, 0);
    Term_ const* const above =
        m.high + 1 == w ? nullptr : b_.extract(b_.number(word.ones(), w), w - 1, m.high + 1);
    place.image = b_.concat(above, b_.concat(bits, below));
  }

  // The word put together of numerals and slices of t, from the low end up.
  Term_ const* pieces(Term_ const* t, WordBounds const& word) const {
    Term_ const* const ones = b_.number(word.ones(), word.width());
    Term_ const* out = nullptr;
    for (std::uint64_t low = 0; low < word.width();) {
      bool const known = word.knows(low);
      std::uint64_t high = low;
      while (high + 1 < word.width() && word.knows(high + 1) == known) ++high;
      out = b_.concat(b_.extract(known ? ones : t, high, low), out);
      low = high + 1;
    }
    return out;
  }

  // In how many bits a division can be done, or its own width.
  std::uint64_t divided_in(Term_ const* t) const {
    std::uint64_t const w = b_.width(t);
    if (!divisions.contain(b_.tag(t)) || open_valued(context_.tm, t, context_.free_division)) return w;
    WordBounds const* const x = known(t->children[0]);
    WordBounds const* const y = known(t->children[1]);
    if (x == nullptr || y == nullptr) return w;
    return std::max<std::uint64_t>(mpz_sizeinbase(x->high().get_mpz_t(), 2),
                                   mpz_sizeinbase(y->high().get_mpz_t(), 2));
  }

  // The division in as many bits as both operands have; null where these are all. Where signs are clear, a
  // signed division is an unsigned one, by zero as well.
  Term_ const* shorter_division(Term_ const* t, Term_ const* kept) const {
    std::uint64_t const w = b_.width(t);
    std::uint64_t const n = divided_in(t);
    if (n >= w || n == 0) return nullptr;
    bool const quotient = b_.is(t, Tag::bv_udiv) || b_.is(t, Tag::bv_sdiv);
    Term_ const* const x = b_.extract(kept->children[0], n - 1, 0);
    Term_ const* const y = b_.extract(kept->children[1], n - 1, 0);
    Term_ const* const narrow = b_.zero_extend(b_.word(quotient ? Tag::bv_udiv : Tag::bv_urem, x, y), w - n);
    if (!quotient || known(t->children[1])->low() != 0) return narrow;
    return b_.ite(b_.equal(y, b_.zero(n)), b_.ones(w), narrow);
  }

  // The formula about the word with the word kept.
  Term_ const* rebuilt(Source const& source, Term_ const* word) {
    if (decided_sources_.at(source.formula) >= 0) return b_.boolean(true);
    Term_ const* const p = source.comparison;
    Term_ const* const kept = places_.find(word).kept;
    map_operands(p, operands_, [&](Term_ const* o) {
      if (o == word) return kept;
      if (b_.is_numeral(o)) return o;  // perhaps younger than the word
      return b_.is(p, Tag::equal) ? b_.extract(kept, b_.msb(o), b_.lsb(o)) : image(o);
    });
    Term_ const* const now =
        std::equal(operands_.begin(), operands_.end(), p->children) ? p : b_.with_operands(p, operands_);
    return source.holds ? now : b_.negation(now);
  }

  PassContext const& context_;
  Builder const b_;
  Formulas& formulas_;
  std::vector<Term_ const*> terms_;  // operands first
  std::unordered_map<Term_ const*, std::vector<Source>> sources_;
  std::unordered_map<std::size_t, int> decided_sources_;           // by place of the formula: 0, 1 or -1
  std::unordered_map<std::size_t, Term_ const*> changed_sources_;  // by place of the formula
  TermTable<Place> places_;
  std::deque<WordBounds> bounds_;
  std::vector<Term_ const*> operands_;
  bool found_ = false;
  bool contradiction_ = false;
};

class KnownBitsPass : public Pass {
 public:
  explicit KnownBitsPass(PassContext const& context) : context_(context) {}

  std::uint64_t apply(Formulas& formulas) override {
    context_.limits.check();
    return KnownBits(context_, formulas).run();
  }

 private:
  PassContext const context_;
};

}  // namespace

std::unique_ptr<Pass> make_known_bits(PassContext const& context) {
  return std::make_unique<KnownBitsPass>(context);
}

}  // namespace vell::words

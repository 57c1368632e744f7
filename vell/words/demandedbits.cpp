// From the formulas down: an extraction asks for some bits of its operand, a bitwise operator for the same
// bits of its operands as it is asked for, a sum or a product for all bits up to the highest one, anything
// else for all bits. For each word that gives one range of bits. From the leaves up, each operator is built
// over that range alone, in the same number of terms.
//
// Later batches may ask for bits of what is translated already; there it would only make a second circuit.
//
// (The backward half of bit-width reduction: Budiu, Goldstein et al., "BitValue Inference", 2000.)

#include "vell/words/demandedbits.h"

#include <algorithm>
#include <vector>

#include "vell/terms/cone.h"
#include "vell/words/builder.h"
#include "vell/words/operands.h"
#include "vell/words/tags.h"

namespace vell::words {

namespace {

using Tag = SymbolTag::tag;

constexpr Tags bitwise{Tag::bv_and, Tag::bv_or, Tag::bv_xor, Tag::bv_not, Tag::term_ite};
constexpr Tags carrying{Tag::bv_add, Tag::bv_sub, Tag::bv_mul, Tag::bv_neg};  // from low bits to high ones

// Bits low to high, both of them; nothing where high is below low.
struct Range {
  std::uint64_t low = 1;
  std::uint64_t high = 0;

  bool empty() const { return high < low; }
  void add(Range const& other) {
    if (other.empty()) return;
    if (empty()) {
      *this = other;
      return;
    }
    low = std::min(low, other.low);
    high = std::max(high, other.high);
  }
};

class Narrowing {
 public:
  Narrowing(PassContext const& context, Formulas& formulas)
      : context_(context), b_(context.tm), cone_(context.limits) {
    formulas.each([this](Formula const& f) { cone_.add(f.term); });
    for (Definition const& d : formulas.definitions) cone_.add(d.value);
    terms_ = cone_.sorted();
    place_.resize(terms_.empty() ? 0 : terms_.back()->id + 1);
    for (std::size_t i = 0; i < terms_.size(); ++i) place_[terms_[i]->id] = i;
    demand_.resize(terms_.size());
    // Whoever asks for a value asks for all of it.
    for (Definition const& d : formulas.definitions) ask_all(d.value);
  }

  // Whether any operator can be narrower.
  bool find() {
    bool narrower = false;
    for (std::size_t i = terms_.size(); i-- > 0;) {
      context_.limits.check();
      Term_ const* const t = terms_[i];
      std::uint64_t const w = b_.width(t);
      if (w == 0) {
        for (std::uint64_t k = 0; k < t->symbol->arity; ++k) ask_all(t->children[k]);
        continue;
      }
      Range const r = demand_[i];
      if (r.empty()) continue;  // all who might ask are asked for nothing themselves
      narrower = narrower || (costly(t) && (r.high + 1 < w || (r.low > 0 && is_bitwise(t))));
      ask_operands(t, r);
    }
    return narrower;
  }

  // The formula over narrower operators.
  Term_ const* rebuild(Term_ const* formula) {
    build();
    return whole(formula);
  }

 private:
  bool is_bitwise(Term_ const* t) const { return bitwise.contain(b_.tag(t)); }
  bool carries(Term_ const* t) const { return carrying.contain(b_.tag(t)); }
  // An operator that has a circuit, and one that can be narrower.
  bool costly(Term_ const* t) const { return (is_bitwise(t) && !b_.is(t, Tag::bv_not)) || carries(t); }

  void ask(Term_ const* t, Range const& r) { demand_[place_[t->id]].add(r); }
  void ask_all(Term_ const* t) {
    std::uint64_t const w = b_.width(t);
    if (w != 0) ask(t, {0, w - 1});
  }

  void ask_operands(Term_ const* t, Range const& r) {
    Tag const tag = b_.tag(t);
    if (is_bitwise(t)) {
      for (std::uint64_t k = tag == Tag::term_ite ? 1 : 0; k < t->symbol->arity; ++k) ask(t->children[k], r);
    } else if (carries(t)) {
      for (std::uint64_t k = 0; k < t->symbol->arity; ++k) ask(t->children[k], {0, r.high});
    } else if (tag == Tag::bv_extract) {
      ask(t->children[0], {r.low + b_.lsb(t), r.high + b_.lsb(t)});
    } else if (tag == Tag::bv_concat) {
      std::uint64_t const split = b_.width(t->children[1]);
      if (r.high >= split) ask(t->children[0], {std::max(r.low, split) - split, r.high - split});
      if (r.low < split) ask(t->children[1], {r.low, std::min(r.high, split - 1)});
    } else if (tag == Tag::bv_zero_extend || tag == Tag::bv_sign_extend) {
      std::uint64_t const top = b_.width(t->children[0]) - 1;
      if (r.low <= top) ask(t->children[0], {r.low, std::min(r.high, top)});
      if (r.high > top && tag == Tag::bv_sign_extend) ask(t->children[0], {top, top});
    } else {
      for (std::uint64_t k = 0; k < t->symbol->arity; ++k) ask_all(t->children[k]);
    }
  }

  // What is built of a word: bits base to base + width - 1 of it, at least those asked for.
  struct Part {
    Term_ const* t = nullptr;
    std::uint64_t base = 0;
  };

  // Bits of a word, out of the part that was built.
  Term_ const* bits(Term_ const* t, Range const& r) const {
    Part const& part = parts_[place_[t->id]];
    return b_.extract(part.t, r.high - part.base, r.low - part.base);
  }
  Term_ const* whole(Term_ const* t) const { return parts_[place_[t->id]].t; }

  void build() {
    if (!parts_.empty()) return;
    parts_.resize(terms_.size());
    for (std::size_t i = 0; i < terms_.size(); ++i) {
      context_.limits.check();
      parts_[i] = built(terms_[i], demand_[i]);
    }
  }

  Part built(Term_ const* t, Range r) {
    std::uint64_t const w = b_.width(t);
    Tag const tag = b_.tag(t);
    // Open-valued terms stay, with all below them.
    if (t->symbol->arity == 0 || open_valued(context_.tm, t, context_.free_division)) return {t, 0};
    if (w != 0 && r.empty()) return {t, 0};  // nobody asks
    if (w != 0 && costly(t)) {
      if (carries(t)) r.low = 0;
      operands_.clear();
      if (tag == Tag::term_ite) operands_.push_back(whole(t->children[0]));
      for (std::uint64_t k = operands_.size(); k < t->symbol->arity; ++k)
        operands_.push_back(bits(t->children[k], r));
      if (r.low == 0 && r.high + 1 == w) return {remade(t), 0};
      if (tag == Tag::term_ite) return {b_.ite(operands_[0], operands_[1], operands_[2]), r.low};
      if (tag == Tag::bv_neg) return {b_.minus(operands_[0]), r.low};
      return {b_.word(tag, operands_[0], operands_[1]), r.low};
    }
    if (w == 0) return {all_operands(t), 0};
    switch (tag) {
      case Tag::bv_not: return {b_.complement(bits(t->children[0], r)), r.low};
      case Tag::bv_extract: return {bits(t->children[0], {r.low + b_.lsb(t), r.high + b_.lsb(t)}), r.low};
      case Tag::bv_concat: {
        std::uint64_t const split = b_.width(t->children[1]);
        Term_ const* high = nullptr;
        Term_ const* low = nullptr;
        if (r.high >= split) high = bits(t->children[0], {std::max(r.low, split) - split, r.high - split});
        if (r.low < split) low = bits(t->children[1], {r.low, std::min(r.high, split - 1)});
        return {b_.concat(high, low), r.low};
      }
      case Tag::bv_zero_extend:
      case Tag::bv_sign_extend: {
        std::uint64_t const top = b_.width(t->children[0]) - 1;
        bool const zero = tag == Tag::bv_zero_extend;
        if (r.high <= top) return {bits(t->children[0], r), r.low};
        if (zero && r.low > top) return {b_.zero(r.high - r.low + 1), r.low};
        std::uint64_t const from = std::min(r.low, top);
        Term_ const* const part = bits(t->children[0], {from, top});
        std::uint64_t const by = r.high - r.low - (top - from);
        return {zero ? b_.zero_extend(part, by) : b_.sign_extend(part, by), r.low};
      }
      default: return {all_operands(t), 0};
    }
  }

  // The operator over operands of which all bits were asked for.
  Term_ const* all_operands(Term_ const* t) {
    operands_.clear();
    for (std::uint64_t k = 0; k < t->symbol->arity; ++k) operands_.push_back(whole(t->children[k]));
    return remade(t);
  }
  Term_ const* remade(Term_ const* t) const {
    return std::equal(operands_.begin(), operands_.end(), t->children) ? t : b_.with_operands(t, operands_);
  }

  PassContext const& context_;
  Builder const b_;
  Cone cone_;
  std::vector<Term_ const*> terms_;  // operands first
  std::vector<std::size_t> place_;   // by id: in terms_
  std::vector<Range> demand_;        // by place
  std::vector<Part> parts_;          // by place
  std::vector<Term_ const*> operands_;
};

class DemandedBits : public Pass {
 public:
  explicit DemandedBits(PassContext const& context) : context_(context) {}

  std::uint64_t apply(Formulas& formulas) override {
    context_.limits.check();
    if (!context_.tm.has_operator(Tag::bv_extract)) return 0;
    Narrowing narrowing(context_, formulas);
    if (!narrowing.find()) return 0;
    std::uint64_t replaced = 0;
    formulas.each([&](Formula& f) {
      Term_ const* const now = narrowing.rebuild(f.term);
      replaced += now != f.term ? 1 : 0;
      f.term = now;
    });
    for (Definition& d : formulas.definitions) d.value = narrowing.rebuild(d.value);
    return replaced;
  }

 private:
  PassContext const context_;
};

}  // namespace

std::unique_ptr<Pass> make_demanded_bits(PassContext const& context) {
  return std::make_unique<DemandedBits>(context);
}

}  // namespace vell::words

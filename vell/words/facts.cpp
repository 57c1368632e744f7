// A permanent formula p makes p true elsewhere, (not p) makes p false, and (= t k) with a numeral k makes t
// the numeral. The formula itself stays, with facts put in only below t. That is sound although all are put
// in at once: in the formula of the smallest t nothing below it is a fact, so it says t = k as before; with
// it hold the formulas in whose terms it was put in, and so on upwards.

#include "vell/words/facts.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "vell/words/builder.h"
#include "vell/words/substitution.h"

namespace vell::words {

namespace {

using Tag = SymbolTag::tag;

// A term and the constant that a formula says it is.
struct Fact {
  Term_ const* term;
  Term_ const* constant;
};

class Facts : public Pass {
 public:
  explicit Facts(PassContext const& context) : context_(context), b_(context.tm) {}

  std::uint64_t apply(Formulas& formulas) override {
    replaced_ = 0;
    if (formulas.first && formulas.round == 0) {
      known_.clear();
      earlier_.reset();
    }
    if (!formulas.first && formulas.round == 0 && !known_.empty()) put_in_earlier(formulas);
    flatten(formulas);
    std::vector<Fact> facts;
    std::unordered_set<Term_ const*> about;
    bool fresh = false;
    for (Formula const& f : formulas.permanent) {
      for (Fact const& fact : facts_of(f.term)) {
        if (!about.insert(fact.term).second) continue;
        facts.push_back(fact);
        if (formulas.first && known_.insert(fact.term).second) fresh = true;
      }
    }
    if (facts.empty() || (formulas.first && !fresh)) return replaced_;
    Substitution put_in(context_.tm, context_.free_division, context_.limits, !formulas.first);
    for (Fact const& fact : facts) put_in.replace(fact.term, fact.constant);
    for (Formula& f : formulas.permanent) change(f, below_fact(f.term, put_in));
    for (std::vector<Formula>* part : {&formulas.retractable, &formulas.assumed})
      for (Formula& f : *part) change(f, put_in.apply(f.term));
    formulas.replace_values([&](Term_ const* t) { return put_in.apply(t); });
    if (formulas.first) facts_ = std::move(facts);
    return replaced_;
  }

 private:
  void change(Formula& f, Term_ const* now) {
    replaced_ += now != f.term ? 1 : 0;
    f.term = now;
  }

  // What held for good in the first batch. Not in later rounds: when a variable comes back, the formula that
  // brings it back is what a fact about it follows from, and the fact must not be put in there.
  void put_in_earlier(Formulas& formulas) {
    if (earlier_ == nullptr) {
      earlier_ = std::make_unique<Substitution>(context_.tm, context_.free_division, context_.limits);
      for (Fact const& fact : facts_) earlier_->replace(fact.term, fact.constant);
    }
    formulas.each([&](Formula& f) { change(f, earlier_->apply(f.term)); });
  }

  // Takes conjunctions apart, in their order, and leaves out what was there already.
  void flatten(Formulas& formulas) {
    std::unordered_map<Term_ const*, bool> seen;  // what is said, and whether it holds
    std::vector<Formula> out;
    std::vector<Term_ const*> stack;
    for (Formula const& f : formulas.permanent) {
      stack.push_back(f.term);
      while (!stack.empty()) {
        context_.limits.check();
        Term_ const* const t = stack.back();
        stack.pop_back();
        bool const negated = b_.is(t, Tag::bool_not);
        Term_ const* const p = negated ? t->children[0] : t;
        if (b_.is(p, negated ? Tag::bool_or : Tag::bool_and)) {
          for (std::uint64_t i = p->symbol->arity; i-- > 0;)
            stack.push_back(negated ? b_.negation(p->children[i]) : p->children[i]);
          continue;
        }
        if (split(t, stack) || b_.is_true(t)) continue;
        auto const [said, fresh] = seen.try_emplace(p, !negated);
        if (b_.is_false(t) || said->second == negated) {
          formulas.permanent = {{b_.boolean(false), f.origin}};
          ++replaced_;
          return;
        }
        if (fresh) out.push_back({t, f.origin});
      }
    }
    auto const same = [](Formula const& a, Formula const& b) { return a.term == b.term; };
    if (std::ranges::equal(out, formulas.permanent, same)) return;
    ++replaced_;
    formulas.permanent = std::move(out);
  }

  // x.y = t says what each part is.
  bool split(Term_ const* t, std::vector<Term_ const*>& stack) const {
    if (!b_.is(t, Tag::equal)) return false;
    for (unsigned i = 0; i < 2; ++i) {
      Term_ const* const x = t->children[i];
      Term_ const* const y = t->children[1 - i];
      if (!b_.is(x, Tag::bv_concat) || b_.is_variable(y)) continue;
      std::uint64_t const low = b_.width(x->children[1]);
      stack.push_back(b_.equal(x->children[1], b_.extract(y, low - 1, 0)));
      stack.push_back(b_.equal(x->children[0], b_.extract(y, b_.width(y) - 1, low)));
      return true;
    }
    return false;
  }

  // The word that an equality with a numeral speaks of; null for other formulas. holds: whether it is
  // asserted.
  Term_ const* decided_word(Term_ const* p, bool holds) const {
    if (!b_.is(p, Tag::equal) || !b_.is_numeral(p->children[1]) || b_.is_numeral(p->children[0]))
      return nullptr;
    return holds || b_.width(p->children[0]) == 1 ? p->children[0] : nullptr;
  }

  std::vector<Fact> facts_of(Term_ const* formula) const {
    bool const holds = !b_.is(formula, Tag::bool_not);
    Term_ const* const p = holds ? formula : formula->children[0];
    if (b_.is_true(p) || b_.is_false(p)) return {};
    std::vector<Fact> out{{p, b_.boolean(holds)}};
    if (Term_ const* word = decided_word(p, holds))
      out.push_back({word, holds ? p->children[1] : b_.complement(p->children[1])});
    return out;
  }

  // The formula with facts put in below what it decides itself.
  static Term_ const* with_operand(Builder const& b, Term_ const* t, Term_ const* operand) {
    if (operand == t->children[0]) return t;
    std::vector<Term_ const*> operands(t->children, t->children + t->symbol->arity);
    operands[0] = operand;
    return b.with_operands(t, operands);
  }
  Term_ const* below_fact(Term_ const* formula, Substitution& put_in) const {
    bool const holds = !b_.is(formula, Tag::bool_not);
    Term_ const* const p = holds ? formula : formula->children[0];
    Term_ const* const word = decided_word(p, holds);
    Term_ const* const now =
        word != nullptr ? with_operand(b_, p, put_in.apply_below(word)) : put_in.apply_below(p);
    return holds ? now : b_.negation(now);
  }

  PassContext const context_;
  Builder const b_;
  std::uint64_t replaced_ = 0;
  std::unordered_set<Term_ const*> known_;  // terms of the facts that were put into the first batch
  std::vector<Fact> facts_;                 // of the first batch, as they were last
  std::unique_ptr<Substitution> earlier_;   // made of facts_ when a later batch comes
};

}  // namespace

std::unique_ptr<Pass> make_facts(PassContext const& context) { return std::make_unique<Facts>(context); }

}  // namespace vell::words

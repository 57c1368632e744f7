// A remainder beside the quotient of the same operands is what the quotient leaves: x % y = x - y * (x / y),
// also for y = 0. A multiplier takes a third of the clauses of a divider. The rest is done by rules, term by
// term.

#include "vell/words/lowering.h"

#include "vell/terms/cone.h"
#include "vell/words/builder.h"
#include "vell/words/rewriter.h"
#include "vell/words/substitution.h"

namespace vell::words {

namespace {

using Tag = SymbolTag::tag;

class Lowering : public Pass {
 public:
  explicit Lowering(PassContext const& context)
      : context_(context),
        b_(context.tm),
        rewriter_(context.tm, context.free_division, context.limits, rules::circuits()) {}

  std::uint64_t apply(Formulas& formulas) override {
    std::uint64_t replaced = 0;
    auto const change = [&](auto now) {
      formulas.each([&](Formula& f) {
        Term_ const* const t = now(f.term);
        replaced += t != f.term ? 1 : 0;
        f.term = t;
      });
      formulas.replace_values(now);
    };
    Substitution shared(context_.tm, context_.free_division, context_.limits);
    share_dividers(formulas, shared);
    if (!shared.empty()) change([&](Term_ const* t) { return shared.apply(t); });
    change([&](Term_ const* t) { return rewriter_.rewrite(t); });
    return replaced;
  }

 private:
  void share_dividers(Formulas& formulas, Substitution& shared) const {
    TermManager& tm = context_.tm;
    if (context_.free_division || !tm.has_operator(Tag::bv_udiv) || !tm.has_operator(Tag::bv_urem)) return;
    Cone cone(context_.limits);
    formulas.each([&](Formula const& f) { cone.add(f.term); });
    for (Term_ const* t : cone.terms()) {
      context_.limits.check();
      if (!b_.is(t, Tag::bv_urem)) continue;
      Term_ const* const x = t->children[0];
      Term_ const* const y = t->children[1];
      Term_ const* const quotient = b_.word(Tag::bv_udiv, x, y);
      if (cone.contains(quotient))
        shared.replace(t, b_.word(Tag::bv_sub, x, b_.word(Tag::bv_mul, y, quotient)));
    }
  }

  PassContext const context_;
  Builder const b_;
  Rewriter rewriter_;
};

}  // namespace

std::unique_ptr<Pass> make_lowering(PassContext const& context) {
  return std::make_unique<Lowering>(context);
}

}  // namespace vell::words

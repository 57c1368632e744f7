#include "vell/words/wordidentities.h"

// A first pass over the new part of a formula finds out where products, remainders and comparisons with a
// neighbour stand; a formula without any is left alone. While the manager knows no product and no remainder,
// which is so for nearly every script, that pass goes no further down than the atoms. A second pass rebuilds
// the rest bottom up, with decided atoms replaced.
//
// An equality s = t over words of width w is decided from D = P(s) - P(t) modulo 2^w: it holds when D is
// zero, and fails when D's constant is odd relative to the power of two that divides all other coefficients
// (the 2-adic case of Gauss's lemma on linear congruences). Otherwise D, up to its sign, names the atom: two
// atoms with one D are one.
//
// Two facts about remainders are built in: x urem y is below y exactly when y is not zero, and with y zero it
// is x.

#include <algorithm>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "vell/words/operands.h"
#include "vell/words/successorcomparisons.h"
#include "vell/words/wordpolynomials.h"

namespace vell::words {

struct WordIdentities::State {
  State(TermManager& manager, bool free, run::Limits const& l, run::Tunables const& t)
      : tm(manager), free_division(free), limits(l), tunables(t), polynomials(manager, free, l, t) {}

  enum : std::uint8_t { seen = 1, open = 2 };

  bool knows_products() const {
    return tm.has_operator(SymbolTag::bv_mul) || tm.has_operator(SymbolTag::bv_urem);
  }
  bool knows_neighbours() const {
    bool const sums = tm.has_operator(SymbolTag::bv_add) || tm.has_operator(SymbolTag::bv_sub);
    return sums && (tm.has_operator(SymbolTag::bv_ult) || tm.has_operator(SymbolTag::bv_ule) ||
                    tm.has_operator(SymbolTag::bv_slt) || tm.has_operator(SymbolTag::bv_sle));
  }
  // Marks the cone of t; whether it holds anything that could be decided.
  bool scan(Term_ const* root);
  bool is_open(Term_ const* t) const { return (marks[t->id] & open) != 0; }
  Term_ const* rebuild(Term_ const* root);
  Term_ const* decide_atom(Term_ const* t);
  Term_ const* decide_equality(Term_ const* t);
  bool is_remainder_by(Term_ const* t, Term_ const* divisor) const {
    return !free_division && tm.get_tag(t->symbol) == SymbolTag::bv_urem && t->children[1] == divisor;
  }
  Term_ const* is_zero(Term_ const* t) { return tm.mk_app(SymbolTag::equal, {t, tm.mk_bv(0, tm.width(t))}); }

  Term_ const* negation(Term_ const* t) { return tm.mk_app(SymbolTag::bool_not, {t}); }
  bool depends_on(Term_ const* t, Term_ const* variable) const;

  TermManager& tm;
  bool free_division;
  run::Limits const& limits;
  run::Tunables const tunables;
  WordPolynomials polynomials;
  void take_note(Term_ const* formula);

  std::vector<Term_ const*> assumed;          // not looked at yet
  std::unordered_set<Term_ const*> defining;  // assumed formulas that define a variable: they must stand
  std::vector<std::uint8_t> marks;            // by term id
  std::unordered_map<Term_ const*, Term_ const*> replaced;  // open terms, by what stands for them
  std::map<std::string, Term_ const*> atoms;                // by the text of the difference
  std::uint64_t decided = 0;
};

WordIdentities::WordIdentities(TermManager& tm, bool free_division, run::Limits const& limits,
                               run::Tunables const& tunables)
    : state_(std::make_unique<State>(tm, free_division, limits, tunables)) {}
WordIdentities::~WordIdentities() = default;

std::uint64_t WordIdentities::decided() const { return state_->decided; }

void WordIdentities::assume(Term_ const* formula) { state_->assumed.push_back(formula); }

Term_ const* WordIdentities::decide(Term_ const* formula) {
  if (!state_->knows_products() && !state_->knows_neighbours()) return formula;
  if (state_->knows_products()) {
    for (Term_ const* a : state_->assumed) state_->take_note(a);
    state_->assumed.clear();
  }
  if (state_->defining.count(formula) != 0) return formula;
  return state_->scan(formula) ? state_->rebuild(formula) : formula;
}

void WordIdentities::State::take_note(Term_ const* formula) {
  if (tm.get_tag(formula->symbol) != SymbolTag::equal || defining.size() >= tunables.identity_definitions)
    return;
  for (unsigned side = 0; side < 2; ++side) {
    Term_ const* x = formula->children[side];
    Term_ const* definition = formula->children[1 - side];
    // A single bit that is given is a formula in disguise: it is worth more decided than as a definition.
    bool const constant = tm.is_number(definition->symbol) && !tm.is_number(x->symbol) && tm.width(x) != 1;
    bool const variable = tm.is_uninterpreted_function(x->symbol) && !depends_on(definition, x);
    if ((!constant && !variable) || polynomials.definition(x) != nullptr) continue;
    polynomials.define(x, definition);
    defining.insert(formula);
    return;
  }
}

// Whether the variable occurs in t, definitions unfolded; true as well where that is too much to find out.
bool WordIdentities::State::depends_on(Term_ const* t, Term_ const* variable) const {
  std::unordered_set<Term_ const*> seen_terms{t};
  std::vector<Term_ const*> stack{t};
  while (!stack.empty()) {
    limits.check();
    Term_ const* u = stack.back();
    stack.pop_back();
    if (u == variable || seen_terms.size() > tunables.identity_unfolded) return true;
    auto const visit = [&](Term_ const* c) {
      if (seen_terms.insert(c).second) stack.push_back(c);
    };
    for (std::uint64_t i = 0; i < u->symbol->arity; ++i) visit(u->children[i]);
    if (Term_ const* d = polynomials.definition(u)) visit(d);
  }
  return false;
}

bool WordIdentities::State::scan(Term_ const* root) {
  if (marks.size() <= tm.term_count()) marks.resize(tm.term_count() + 1, 0);
  bool const words_too = knows_products();
  std::vector<Term_ const*> stack{root};
  while (!stack.empty()) {
    limits.check();
    Term_ const* t = stack.back();
    if ((marks[t->id] & seen) != 0) {
      stack.pop_back();
      continue;
    }
    std::size_t const waiting = stack.size();
    for (std::uint64_t i = 0; i < t->symbol->arity; ++i) {
      Term_ const* c = t->children[i];
      if ((marks[c->id] & seen) == 0 && (words_too || c->symbol->get_output_type() == tm.bool_type))
        stack.push_back(c);
    }
    Term_ const* definition = polynomials.definition(t);
    if (definition != nullptr && (marks[definition->id] & seen) == 0) stack.push_back(definition);
    if (stack.size() != waiting) continue;
    stack.pop_back();
    std::uint8_t mark = seen;
    if (definition != nullptr) mark |= marks[definition->id];
    SymbolTag::tag const tag = tm.get_tag(t->symbol);
    if (tag == SymbolTag::bv_mul || tag == SymbolTag::bv_urem || is_successor_comparison(tm, t)) mark |= open;
    for (std::uint64_t i = 0; i < t->symbol->arity; ++i) mark |= marks[t->children[i]->id];
    marks[t->id] = mark;
  }
  return is_open(root);
}

Term_ const* WordIdentities::State::rebuild(Term_ const* root) {
  std::vector<Term_ const*> stack{root};
  std::vector<Term_ const*> operands;
  while (!stack.empty()) {
    limits.check();
    Term_ const* t = stack.back();
    if (replaced.count(t) != 0) {
      stack.pop_back();
      continue;
    }
    if (open_valued(tm, t, free_division)) {
      replaced[t] = t;
      stack.pop_back();
      continue;
    }
    if (push_operands(t, stack, [this](Term_ const* o) { return is_open(o) && replaced.count(o) == 0; }))
      continue;
    stack.pop_back();
    bool const changed =
        map_operands(t, operands, [this](Term_ const* o) { return is_open(o) ? replaced.at(o) : o; });
    Term_ const* now = changed ? tm.mk_term(t->symbol, operands) : t;
    Term_ const* answer = decide_atom(now);
    if (answer != now) ++decided;
    replaced[t] = answer;
  }
  return replaced.at(root);
}

Term_ const* WordIdentities::State::decide_atom(Term_ const* t) {
  if (Term_ const* now = replace_successor_comparison(tm, t)) return now;
  switch (tm.get_tag(t->symbol)) {
    case SymbolTag::bv_ult:
      if (is_remainder_by(t->children[0], t->children[1])) return negation(is_zero(t->children[1]));
      if (is_remainder_by(t->children[1], t->children[0]))
        return tm.mk_app(SymbolTag::bool_and,
                         {is_zero(t->children[0]), negation(is_zero(t->children[1]->children[0]))});
      return t;
    case SymbolTag::bv_ule:
      if (is_remainder_by(t->children[1], t->children[0])) return is_zero(t->children[0]);
      if (is_remainder_by(t->children[0], t->children[1]))
        return tm.mk_app(SymbolTag::bool_or,
                         {negation(is_zero(t->children[1])), is_zero(t->children[0]->children[0])});
      return t;
    case SymbolTag::equal: return decide_equality(t);
    default: return t;
  }
}

Term_ const* WordIdentities::State::decide_equality(Term_ const* t) {
  for (unsigned side = 0; side < 2; ++side) {
    Term_ const* y = t->children[side];
    Term_ const* remainder = t->children[1 - side];
    if (is_remainder_by(remainder, y))
      return tm.mk_app(SymbolTag::bool_and, {is_zero(y), is_zero(remainder->children[0])});
  }

  std::uint64_t const width = tm.width(t->children[0]);
  if (width == 0) return t;
  Polynomial difference = polynomials.value(t->children[0]).p;
  difference.add(polynomials.value(t->children[1]).p, -1);
  difference.reduce(width);
  if (difference.is_zero()) return tm.mk_bool(true);

  // The power of two that divides every coefficient but the constant.
  std::uint64_t valuation = width;
  for (auto const& [m, c] : difference.terms())
    if (!m.empty()) valuation = std::min<std::uint64_t>(valuation, mpz_scan1(c.get_mpz_t(), 0));
  if (!mpz_divisible_2exp_p(difference.constant().get_mpz_t(), valuation)) return tm.mk_bool(false);

  auto const text = [](Polynomial const& p) {
    std::string s;
    for (auto const& [m, c] : p.terms()) {
      s += c.get_str(62) + "*";
      for (Atom a : m) s += std::to_string(a) + ".";
      s += "+";
    }
    return s;
  };
  Polynomial negated;
  negated.add(difference, -1);
  negated.reduce(width);
  std::string const name = std::to_string(width) + ":" + std::min(text(difference), text(negated));
  return atoms.try_emplace(name, t).first->second;
}

namespace {

class IdentitiesPass : public Pass {
 public:
  explicit IdentitiesPass(PassContext const& context)
      : identities_(context.tm, context.free_division, context.limits, context.tunables) {}

  std::uint64_t apply(Formulas& formulas) override {
    std::uint64_t const before = identities_.decided();
    for (Formula const& f : formulas.permanent) identities_.assume(f.term);
    formulas.each([this](Formula& f) { f.term = identities_.decide(f.term); });
    return identities_.decided() - before;
  }

 private:
  WordIdentities identities_;
};

}  // namespace

std::unique_ptr<Pass> make_word_identities(PassContext const& context) {
  return std::make_unique<IdentitiesPass>(context);
}

}  // namespace vell::words

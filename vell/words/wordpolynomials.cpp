#include "vell/words/wordpolynomials.h"

#include <algorithm>

#include "vell/words/numeral.h"

namespace vell::words {

namespace {

mpz_class power_of_two(std::uint64_t k) {
  mpz_class p;
  mpz_setbit(p.get_mpz_t(), k);
  return p;
}

}  // namespace

Atom WordPolynomials::atom_of(Term_ const* t, std::uint64_t width) {
  auto const [place, fresh] = atoms_.try_emplace(t, static_cast<Atom>(is_bit_.size()));
  if (fresh) {
    terms_.push_back(t);
    is_bit_.push_back(width == 1);
    largest_.push_back(power_of_two(width) - 1);
  }
  return place->second;
}

WordPolynomials::Value WordPolynomials::numeral(mpz_class const& n) { return {Polynomial(n), true, n, n}; }

WordPolynomials::Value WordPolynomials::opaque(Term_ const* t) {
  bool const boolean = t->symbol->get_output_type() == tm_.bool_type;
  std::uint64_t const w = boolean ? 1 : width_of(t);
  return {Polynomial::of_atom(atom_of(t, w)), true, 0, power_of_two(w) - 1};
}

// The value of a known term as an integer: an atom where only its remainder modulo 2^w is known.
WordPolynomials::Value WordPolynomials::integer(Term_ const* t) {
  Value const& v = memo_.at(t);
  return v.exact ? v : opaque(t);
}

// Bits have no powers; under an equality of two atoms one of them stands for both.
void WordPolynomials::normalise(Monomial& m) const {
  std::sort(m.begin(), m.end());
  for (std::size_t i = 0; i < m.size(); ++i) {
    auto const e = equality_.find(m[i]);
    if (e == equality_.end()) continue;
    for (Atom& a : m)
      if (a == e->second.first) a = e->second.second;
  }
  std::sort(m.begin(), m.end());
  auto const same_bit = [&](Atom a, Atom b) { return a == b && is_bit_[a]; };
  m.erase(std::unique(m.begin(), m.end(), same_bit), m.end());
}

Polynomial WordPolynomials::product(Polynomial const& a, Polynomial const& b, bool& too_large) {
  Polynomial result;
  too_large = a.terms().size() * b.terms().size() > 8 * tunables_.polynomial_terms;
  if (too_large) return result;
  Monomial m;
  for (auto const& [ma, ca] : a.terms())
    for (auto const& [mb, cb] : b.terms()) {
      limits_.check();
      m = ma;
      m.insert(m.end(), mb.begin(), mb.end());
      normalise(m);
      if (m.size() > tunables_.polynomial_degree) {
        too_large = true;
        return result;
      }
      result.add_term(m, ca * cb);
    }
  too_large = result.terms().size() > tunables_.polynomial_terms;
  return result;
}

WordPolynomials::Value WordPolynomials::finish(Term_ const* t, Value v) {
  std::uint64_t const w = width_of(t);
  if (v.p.terms().size() > tunables_.polynomial_terms) return opaque(t);
  mpz_class const limit = power_of_two(w);
  if (v.exact && v.low >= 0 && v.high < limit) return v;
  v.p.reduce(w);
  v.exact = v.p.is_constant();
  v.low = v.high = v.exact ? v.p.constant() : mpz_class(0);
  return v;
}

// 0 or 1 for a Boolean. Connectives are looked into, so that equal conditions in different dress meet.
WordPolynomials::Value WordPolynomials::bit(Term_ const* t) {
  Value v;
  v.exact = true;
  v.low = 0;
  v.high = 1;
  auto const child = [&](std::size_t i) -> Polynomial const& { return memo_.at(t->children[i]).p; };
  bool too_large = false;
  switch (tm_.get_tag(t->symbol)) {
    case SymbolTag::bool_true: return numeral(1);
    case SymbolTag::bool_false: return numeral(0);
    case SymbolTag::bool_not:
      v.p = Polynomial(1);
      v.p.add(child(0), -1);
      break;
    case SymbolTag::bool_and: v.p = product(child(0), child(1), too_large); break;
    case SymbolTag::bool_or:
      v.p = child(0);
      v.p.add(child(1));
      v.p.add(product(child(0), child(1), too_large), -1);
      break;
    case SymbolTag::bool_iff:
    case SymbolTag::equal: {
      if (tm_.get_tag(t->symbol) == SymbolTag::equal && width_of(t->children[0]) != 1) {
        v = opaque(t);
        Atom a = 0;
        Atom b = 0;
        bool const exact = memo_.at(t->children[0]).exact && memo_.at(t->children[1]).exact;
        if (exact && child(0).is_atom(a) && child(1).is_atom(b) && a != b)
          equality_[atom_of(t, 1)] = {std::max(a, b), std::min(a, b)};
        return v;
      }
      Value const& x = memo_.at(t->children[0]);
      Value const& y = memo_.at(t->children[1]);
      if (!x.exact || !y.exact) return opaque(t);
      v.p = Polynomial(1);
      v.p.add(x.p, -1);
      v.p.add(y.p, -1);
      v.p.add(product(x.p, y.p, too_large), 2);
      break;
    }
    default: return opaque(t);
  }
  return too_large || v.p.terms().size() > tunables_.polynomial_terms ? opaque(t) : v;
}

// The bits of an operand from lsb on, as many as t has. The low part of an exact value that falls below lsb
// is dropped where it cannot carry.
WordPolynomials::Value WordPolynomials::slice(Term_ const* t, Term_ const* operand, std::uint64_t lsb) {
  Value const& x = memo_.at(operand);
  if (lsb == 0) return finish(t, {x.p, x.exact, x.low, x.high});
  if (!x.exact) return opaque(t);
  mpz_class const unit = power_of_two(lsb);
  Value v;
  v.exact = true;
  mpz_class low_part_max = 0;
  for (auto const& [m, c] : x.p.terms()) {
    if (mpz_divisible_2exp_p(c.get_mpz_t(), lsb)) {
      v.p.add_term(m, c / unit);
      continue;
    }
    // What stays below must be a sum of non-negative monomials that never reaches a unit.
    if (c < 0) return opaque(t);
    mpz_class largest = c;
    for (Atom a : m) largest *= largest_[a];
    low_part_max += largest;
    if (low_part_max >= unit) return opaque(t);
  }
  v.low = x.low / unit;
  v.high = x.high / unit;
  if (v.low < 0) return opaque(t);
  return finish(t, std::move(v));
}

WordPolynomials::Value WordPolynomials::choose(Term_ const* t) {
  Value const& c = memo_.at(t->children[0]);
  Value const& x = memo_.at(t->children[1]);
  Value const& y = memo_.at(t->children[2]);
  bool too_large_then = false;
  bool too_large_else = false;
  Value v;
  v.p = product(c.p, x.p, too_large_then);
  v.p.add(y.p);
  v.p.add(product(c.p, y.p, too_large_else), -1);
  if (too_large_then || too_large_else) return opaque(t);
  v.exact = x.exact && y.exact;
  v.low = std::min(x.low, y.low);
  v.high = std::max(x.high, y.high);
  return finish(t, std::move(v));
}

// Whether t is (x - y * (x / y)) / y with a numeral y other than zero: a remainder divided by its divisor.
bool WordPolynomials::divides_remainder(Term_ const* t) const {
  Polynomial const& dividend = memo_.at(t->children[0]).p;
  mpz_class const divisor = memo_.at(t->children[1]).p.constant();
  if (divisor == 0) return false;
  for (auto const& [m, c] : dividend.terms()) {
    if (m.size() != 1) continue;
    Term_ const* quotient = terms_[m[0]];
    if (tm_.get_tag(quotient->symbol) != tm_.get_tag(t->symbol) || quotient->children[1] != t->children[1])
      continue;
    Polynomial rest = dividend;
    rest.add(Polynomial::of_atom(m[0]), divisor);
    rest.add(memo_.at(quotient->children[0]).p, -1);
    rest.reduce(width_of(t));
    if (rest.is_zero()) return true;
  }
  return false;
}

bool WordPolynomials::transparent(Term_ const* t) const {
  switch (tm_.get_tag(t->symbol)) {
    case SymbolTag::bool_not:
    case SymbolTag::bool_and:
    case SymbolTag::bool_or:
    case SymbolTag::bool_iff:
    case SymbolTag::equal:
    case SymbolTag::term_ite:
    case SymbolTag::bv_concat:
    case SymbolTag::bv_extract:
    case SymbolTag::bv_not:
    case SymbolTag::bv_neg:
    case SymbolTag::bv_add:
    case SymbolTag::bv_sub:
    case SymbolTag::bv_mul:
    case SymbolTag::bv_zero_extend:
    case SymbolTag::bv_sign_extend: return true;
    case SymbolTag::bv_udiv:
    case SymbolTag::bv_sdiv: return !free_division_ && tm_.is_number(t->children[1]->symbol);
    case SymbolTag::bv_and:
    case SymbolTag::bv_or:
    case SymbolTag::bv_xor: return width_of(t) == 1;
    case SymbolTag::bv_shl: return true;
    case SymbolTag::bv_lshr: return tm_.is_number(t->children[1]->symbol);
    default: return false;
  }
}

void WordPolynomials::define(Term_ const* word, Term_ const* definition) {
  if (memo_.count(word) == 0) definitions_.try_emplace(word, definition);
}

Term_ const* WordPolynomials::definition(Term_ const* word) const {
  auto const found = definitions_.find(word);
  return found == definitions_.end() ? nullptr : found->second;
}

std::span<Term_ const* const> WordPolynomials::inputs(Term_ const* t) const {
  if (auto const found = definitions_.find(t); found != definitions_.end())
    return std::span(&found->second, 1);
  return transparent(t) ? std::span<Term_ const* const>(t->children, t->symbol->arity)
                        : std::span<Term_ const* const>();
}

WordPolynomials::Value WordPolynomials::make(Term_ const* t) {
  if (Term_ const* d = definition(t)) return memo_.at(d);
  if (t->symbol->get_output_type() == tm_.bool_type) return bit(t);
  if (tm_.number(t->symbol) != nullptr) {
    mpz_class const n = numeral_value(tm_, t);
    return n >= 0 ? numeral(n) : opaque(t);
  }
  if (!transparent(t)) return opaque(t);

  std::uint64_t const w = width_of(t);
  auto const child = [&](std::size_t i) -> Value const& { return memo_.at(t->children[i]); };
  bool too_large = false;
  Value v;
  switch (tm_.get_tag(t->symbol)) {
    case SymbolTag::term_ite: return choose(t);
    case SymbolTag::bv_not:
      v.p = Polynomial(power_of_two(w) - 1);
      v.p.add(child(0).p, -1);
      v.exact = child(0).exact;
      v.low = power_of_two(w) - 1 - child(0).high;
      v.high = power_of_two(w) - 1 - child(0).low;
      return finish(t, std::move(v));
    case SymbolTag::bv_neg: v.p.add(child(0).p, -1); return finish(t, std::move(v));
    case SymbolTag::bv_add:
      v.p = child(0).p;
      v.p.add(child(1).p);
      v.exact = child(0).exact && child(1).exact;
      v.low = child(0).low + child(1).low;
      v.high = child(0).high + child(1).high;
      return finish(t, std::move(v));
    case SymbolTag::bv_sub:
      v.p = child(0).p;
      v.p.add(child(1).p, -1);
      v.exact = child(0).exact && child(1).exact;
      v.low = child(0).low - child(1).high;
      v.high = child(0).high - child(1).low;
      return finish(t, std::move(v));
    case SymbolTag::bv_mul:
      v.p = product(child(0).p, child(1).p, too_large);
      if (too_large) return opaque(t);
      v.exact = child(0).exact && child(1).exact;
      v.low = child(0).low * child(1).low;
      v.high = child(0).high * child(1).high;
      return finish(t, std::move(v));
    case SymbolTag::bv_concat: {
      mpz_class const unit = power_of_two(width_of(t->children[1]));
      v = integer(t->children[1]);
      v.p.add(child(0).p, unit);
      v.exact = child(0).exact;
      v.low += child(0).low * unit;
      v.high += child(0).high * unit;
      return finish(t, std::move(v));
    }
    case SymbolTag::bv_udiv:
    case SymbolTag::bv_sdiv: return divides_remainder(t) ? numeral(0) : opaque(t);
    case SymbolTag::bv_zero_extend: return integer(t->children[0]);
    case SymbolTag::bv_sign_extend: {
      // The extension adds the sign bit's weight as often as there are new bits: -2^v * sign modulo 2^w.
      std::uint64_t const from = width_of(t->children[0]);
      v = integer(t->children[0]);
      Value sign = v;
      if (from > 1) {
        Term_ const* top = tm_.mk_app(SymbolTag::bv_extract, {t->children[0]}, from - 1, from - 1);
        sign = slice(top, t->children[0], from - 1);
      }
      v.exact = false;
      v.p.add(sign.p, power_of_two(w) - power_of_two(from));
      return finish(t, std::move(v));
    }
    case SymbolTag::bv_extract: return slice(t, t->children[0], t->symbol->parameter(1));
    case SymbolTag::bv_and:
      v = {product(child(0).p, child(1).p, too_large), child(0).exact && child(1).exact, 0, 1};
      return too_large || !v.exact ? opaque(t) : v;
    case SymbolTag::bv_or:
    case SymbolTag::bv_xor: {
      if (!child(0).exact || !child(1).exact) return opaque(t);
      int const overlap = tm_.get_tag(t->symbol) == SymbolTag::bv_or ? -1 : -2;
      v = {child(0).p, true, 0, 1};
      v.p.add(child(1).p);
      v.p.add(product(child(0).p, child(1).p, too_large), overlap);
      return too_large || v.p.terms().size() > tunables_.polynomial_terms ? opaque(t) : v;
    }
    case SymbolTag::bv_shl: {
      if (!tm_.is_number(t->children[1]->symbol)) {
        // x * 2^s, whatever s: from the width on the power is 0 modulo 2^w, as the shifted word is.
        Term_ const* power = tm_.mk_app(SymbolTag::bv_shl, {tm_.mk_bv(1, w), t->children[1]});
        if (power == t) return opaque(t);
        v.p = product(child(0).p, opaque(power).p, too_large);
        return too_large ? opaque(t) : finish(t, std::move(v));
      }
      mpz_class const k = child(1).p.constant();
      if (k >= w) return numeral(0);
      mpz_class const unit = power_of_two(k.get_ui());
      v.p.add(child(0).p, unit);
      v.exact = child(0).exact;
      v.low = child(0).low * unit;
      v.high = child(0).high * unit;
      return finish(t, std::move(v));
    }
    case SymbolTag::bv_lshr: {
      mpz_class const k = child(1).p.constant();
      if (k >= w) return numeral(0);
      return slice(t, t->children[0], k.get_ui());
    }
    default: return opaque(t);
  }
}

WordPolynomials::Value const& WordPolynomials::value(Term_ const* word) {
  std::vector<Term_ const*> stack{word};
  while (!stack.empty()) {
    limits_.check();
    Term_ const* t = stack.back();
    if (memo_.count(t) != 0) {
      stack.pop_back();
      continue;
    }
    std::size_t const waiting = stack.size();
    for (Term_ const* input : inputs(t))
      if (memo_.count(input) == 0) stack.push_back(input);
    if (stack.size() != waiting) continue;
    stack.pop_back();
    Value v = make(t);
    memo_.emplace(t, std::move(v));
  }
  return memo_.at(word);
}

}  // namespace vell::words

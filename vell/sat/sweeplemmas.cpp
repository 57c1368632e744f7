#include "vell/sat/sweeplemmas.h"

#include <algorithm>
#include <cassert>

#include "vell/sat/sweep.h"

namespace vell::sat {

std::vector<bv::BvLitList> SweepLemmas::lemmas() {
  if (formulas_.size() < 2 * swept_ || formulas_.empty()) return {};
  swept_ = formulas_.size();
  Sweep const found = sweep(tm_, formulas_, limits_, tunables_);
  auto const is_product = [&](Signal const& s) { return tm_.get_tag(s.term->symbol) == SymbolTag::bv_mul; };
  bool const products = std::any_of(found.equal.begin(), found.equal.end(), [&](EqualSignals const& s) {
    return is_product(s.a) && is_product(s.b);
  });
  if (!products && found.gain() * tunables_.sweep_share < found.signals) return {};
  std::vector<bv::BvLitList> out;
  for (EqualSignals const& s : found.equal) {
    bv::BvLitList const* const a = clausifier_.lookup(s.a.term);
    bv::BvLitList const* const b = clausifier_.lookup(s.b.term);
    if (a == nullptr || b == nullptr) continue;
    assert(s.a.bit < a->size() && s.b.bit < b->size());
    bv::BvLit const left = (*a)[s.a.bit];
    bv::BvLit const right = s.opposite ? -(*b)[s.b.bit] : (*b)[s.b.bit];
    out.push_back({-left, right});
    out.push_back({left, -right});
  }
  return out;
}

}  // namespace vell::sat

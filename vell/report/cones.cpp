#include "vell/report/cones.h"

#include <algorithm>
#include <bit>

namespace vell::report {

std::vector<Cost> cumulative(Profile const& profile, std::span<std::size_t const> places,
                             run::Limits const& limits) {
  std::vector<Cost> out(places.size());
  std::vector<std::uint64_t> above(profile.terms.size());
  for (std::size_t first = 0; first < places.size(); first += 64) {
    std::size_t const count = std::min<std::size_t>(64, places.size() - first);
    std::fill(above.begin(), above.end(), 0);
    std::size_t last = 0;
    for (std::size_t i = 0; i < count; ++i) {
      above[places[first + i]] |= std::uint64_t{1} << i;
      last = std::max(last, places[first + i] + 1);
    }
    for (std::size_t k = last; k-- > 0;) {
      if (k % 4096 == 0) limits.check();
      std::uint64_t const mask = above[k];
      if (mask == 0) continue;
      TermCost const& t = profile.terms[k];
      if (t.own != Cost())
        for (std::uint64_t rest = mask; rest != 0; rest &= rest - 1)
          out[first + static_cast<std::size_t>(std::countr_zero(rest))] += t.own;
      for (std::uint64_t i = 0; i < t.term->symbol->arity; ++i)
        if (std::size_t const c = profile.index_of(t.term->children[i]); c != Profile::npos) above[c] |= mask;
    }
  }
  return out;
}

std::vector<std::uint64_t> tree_clauses(Profile const& profile) {
  std::vector<std::uint64_t> out(profile.terms.size());
  // A parent comes after its arguments.
  for (std::size_t k = 0; k < out.size(); ++k) {
    TermCost const& t = profile.terms[k];
    out[k] += t.own.clauses;
    if (t.parent != 0) out[t.parent - 1] += out[k];
  }
  return out;
}

}  // namespace vell::report

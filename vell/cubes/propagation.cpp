#include "vell/cubes/propagation.h"

#include <cassert>
#include <utility>

namespace vell::cubes {

Propagation::Propagation(Formula const& formula)
    : watches_(2 * (static_cast<std::size_t>(formula.variables) + 1)), values_(watches_.size()) {
  std::vector<std::int32_t> units;
  std::vector<std::int32_t> clause;
  formula.each([&](std::span<std::int32_t const> given) {
    clause.assign(given.begin(), given.end());
    std::sort(clause.begin(), clause.end());
    clause.erase(std::unique(clause.begin(), clause.end()), clause.end());
    if (clause.empty()) consistent_ = false;
    if (clause.size() == 1) units.push_back(clause[0]);
    if (clause.size() < 2) return;
    auto const at = static_cast<std::uint32_t>(literals_.size());
    literals_.insert(literals_.end(), clause.begin(), clause.end());
    literals_.push_back(0);
    watches_[index(clause[0])].push_back({at, clause[1]});
    watches_[index(clause[1])].push_back({at, clause[0]});
  });
  consistent_ = consistent_ && assume(units);
}

void Propagation::assign(std::int32_t l) {
  values_[index(l)] = 1;
  values_[index(-l)] = -1;
  trail_.push_back(l);
}

bool Propagation::assume(std::span<std::int32_t const> literals) {
  for (std::int32_t l : literals) {
    if (value(l) < 0) return false;
    if (value(l) > 0) continue;
    assign(l);
    if (!propagate()) return false;
  }
  return true;
}

void Propagation::withdraw(std::size_t assigned) {
  assert(assigned <= trail_.size());
  while (trail_.size() > assigned) {
    values_[index(trail_.back())] = values_[index(-trail_.back())] = 0;
    trail_.pop_back();
  }
  head_ = assigned;
}

bool Propagation::propagate() {
  while (head_ < trail_.size()) {
    std::int32_t const falsified = -trail_[head_++];
    std::vector<Watch>& list = watches_[index(falsified)];
    std::size_t kept = 0;
    bool conflict = false;
    for (std::size_t i = 0; i < list.size(); ++i) {
      Watch const w = list[i];
      if (conflict || value(w.other) > 0) {
        list[kept++] = w;
        continue;
      }
      std::int32_t* const l = literals_.data() + w.clause;
      if (l[0] == falsified) std::swap(l[0], l[1]);
      std::int32_t* next = l + 2;
      if (value(l[0]) <= 0)
        while (*next != 0 && value(*next) < 0) ++next;
      if (value(l[0]) <= 0 && *next != 0) {
        std::swap(l[1], *next);
        watches_[index(l[1])].push_back({w.clause, l[0]});
        continue;
      }
      list[kept++] = {w.clause, l[0]};
      if (value(l[0]) < 0) conflict = true;
      if (value(l[0]) == 0) assign(l[0]);
    }
    list.resize(kept);
    if (conflict) return false;
  }
  return true;
}

}  // namespace vell::cubes

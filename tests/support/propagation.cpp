#include "tests/support/propagation.h"

#include <cstdlib>
#include <utility>

namespace vell::test {

using bv::BvLit;
using bv::BvLitList;

Propagator::Propagator(RecordingSink const& sink) {
  auto const variables = static_cast<std::size_t>(sink.next);
  values_.assign(variables, 0);
  watches_.resize(variables * 2);
  enqueue(bv::l_true);
  for (BvLitList const& c : sink.clauses) {
    Clause const clause{static_cast<std::uint32_t>(literals_.size()), static_cast<std::uint32_t>(c.size())};
    literals_.insert(literals_.end(), c.begin(), c.end());
    if (c.empty()) {
      consistent_ = false;
    } else if (c.size() == 1) {
      if (!enqueue(c[0])) consistent_ = false;
    } else {
      // Two true-or-open literals first, so that the watches hold under the constants.
      BvLit* l = literals_.data() + clause.begin;
      for (std::uint32_t i = 0, open = 0; i < clause.size && open < 2; ++i)
        if (l[i] != bv::l_false) std::swap(l[open++], l[i]);
      auto const id = static_cast<std::uint32_t>(clauses_.size());
      watches_[index(l[0])].push_back(id);
      watches_[index(l[1])].push_back(id);
      clauses_.push_back(clause);
      if (l[1] == bv::l_false && !enqueue(l[0])) consistent_ = false;
    }
  }
  if (!propagate()) consistent_ = false;
  root_ = trail_.size();
}

bool Propagator::enqueue(BvLit a) {
  int const v = value(a);
  if (v != 0) return v > 0;
  values_[static_cast<std::size_t>(std::abs(a))] = a > 0 ? 1 : -1;
  trail_.push_back(a);
  return true;
}

int Propagator::value(BvLit a) const {
  int const v = values_[static_cast<std::size_t>(std::abs(a))];
  return a > 0 ? v : -v;
}

bool Propagator::propagate() {
  while (head_ < trail_.size()) {
    BvLit const falsified = -trail_[head_++];
    std::vector<std::uint32_t>& visit = watches_[index(falsified)];
    std::size_t kept = 0;
    for (std::size_t i = 0; i < visit.size(); ++i) {
      std::uint32_t const id = visit[i];
      BvLit* l = literals_.data() + clauses_[id].begin;
      std::uint32_t const size = clauses_[id].size;
      if (l[0] == falsified) std::swap(l[0], l[1]);
      if (value(l[0]) > 0) {
        visit[kept++] = id;
        continue;
      }
      std::uint32_t k = 2;
      while (k < size && value(l[k]) < 0) ++k;
      if (k < size) {
        std::swap(l[1], l[k]);
        watches_[index(l[1])].push_back(id);
        continue;
      }
      visit[kept++] = id;
      if (enqueue(l[0])) continue;
      for (++i; i < visit.size(); ++i) visit[kept++] = visit[i];
      visit.resize(kept);
      return false;
    }
    visit.resize(kept);
  }
  return true;
}

void Propagator::undo(std::size_t size) {
  while (trail_.size() > size) {
    values_[static_cast<std::size_t>(std::abs(trail_.back()))] = 0;
    trail_.pop_back();
  }
  head_ = size;
}

bool Propagator::assume(std::span<BvLit const> literals) {
  if (!consistent_) return false;
  for (BvLit const a : literals)
    if (!enqueue(a)) return false;
  return propagate();
}

void Propagator::reset() { undo(root_); }

bool Propagator::search() {
  // The trail position before each decision and the decision; a flipped one stands as a consequence of those
  // before.
  std::vector<std::size_t> decisions;
  std::size_t next = 2;
  if (!propagate()) return false;
  for (;;) {
    while (next < values_.size() && values_[next] != 0) ++next;
    if (next == values_.size()) return true;
    decisions.push_back(trail_.size());
    enqueue(static_cast<BvLit>(next));
    while (!propagate()) {
      if (decisions.empty()) return false;
      std::size_t const at = decisions.back();
      decisions.pop_back();
      BvLit const tried = trail_[at];
      undo(at);
      enqueue(-tried);
      next = 2;
    }
  }
}

bool Propagator::satisfiable() {
  if (!consistent_) return false;
  std::size_t const size = trail_.size();
  bool const found = search();
  undo(size);
  return found;
}

Propagator::Answer Propagator::decide(std::span<BvLit const> inputs, std::span<BvLit const> outputs,
                                      std::vector<bool>& values) {
  values.assign(outputs.size(), false);
  reset();
  if (!assume(inputs)) return Answer::contradictory;
  std::size_t const assumed = trail_.size();
  // Nothing open and no conflict: the one model is found. Otherwise a model has to be searched for.
  if (trail_.size() < values_.size() - 1 && !search()) return Answer::contradictory;
  for (std::size_t i = 0; i < outputs.size(); ++i) values[i] = value(outputs[i]) > 0;
  undo(assumed);
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    if (value(outputs[i]) != 0) continue;
    BvLit const other = values[i] ? -outputs[i] : outputs[i];
    bool const possible = assume({&other, 1}) && search();
    undo(assumed);
    if (possible) return Answer::ambiguous;
  }
  return Answer::decided;
}

}  // namespace vell::test

#include "tests/proofs/drat.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace vell::proofs {

// ---- reading ----

DratChecker::DratChecker(std::istream& cnf, std::istream& proof) {
  read(cnf, false);
  read(proof, true);
}

DratChecker::Id DratChecker::add(std::vector<Lit> const& literals) {
  Clause c;
  c.start = literals_.size();
  c.size = static_cast<std::uint32_t>(literals.size());
  c.first = literals.empty() ? 0 : literals[0];
  literals_.insert(literals_.end(), literals.begin(), literals.end());
  clauses_.push_back(c);
  for (Lit l : literals)
    if (index(l) + 2 > values_.size()) {
      std::size_t const variables = static_cast<std::size_t>(std::abs(l)) + 1;
      values_.resize(2 * variables);
      watches_.resize(2 * variables);
      reasons_.resize(variables, none);
      places_.resize(variables);
      seen_.resize(variables);
    }
  return static_cast<Id>(clauses_.size() - 1);
}

void DratChecker::read(std::istream& in, bool proof) {
  std::vector<Lit> clause;
  std::vector<Lit> written;
  bool deletion = false;
  for (std::string word; in >> word;) {
    if (!proof && (word == "c" || word == "p")) {
      std::getline(in, word);
      continue;
    }
    if (proof && word == "d") {
      deletion = true;
      continue;
    }
    char* end = nullptr;
    long const l = std::strtol(word.c_str(), &end, 10);
    if (*end != '\0' || l > INT32_MAX || l < -INT32_MAX) throw std::runtime_error("no literal: " + word);
    if (l != 0) {
      written.push_back(static_cast<Lit>(l));
      continue;
    }
    clause = written;
    std::sort(clause.begin(), clause.end());
    clause.erase(std::unique(clause.begin(), clause.end()), clause.end());
    std::uint64_t hash = clause.size();
    for (Lit k : clause) hash = (hash ^ static_cast<std::uint32_t>(k)) * 0x9e3779b97f4a7c15;
    if (deletion) {
      auto [at, last] = by_hash_.equal_range(hash);
      auto const same = [&](Id c) {
        std::vector<Lit> there(literals(c), literals(c) + clauses_[c].size);
        std::sort(there.begin(), there.end());
        return there == clause;
      };
      while (at != last && !same(at->second)) ++at;
      if (at == last) throw std::runtime_error("a clause is deleted that is not there");
      steps_.push_back({at->second, true});
      by_hash_.erase(at);
    } else {
      // The pivot of a lemma is the literal written first.
      if (!written.empty()) std::swap(*clause.begin(), *std::find(clause.begin(), clause.end(), written[0]));
      Id const c = add(clause);
      by_hash_.emplace(hash, c);
      steps_.push_back({c, false});
      lemmas_ += proof ? 1 : 0;
    }
    written.clear();
    deletion = false;
  }
  if (!written.empty()) throw std::runtime_error("the last clause has no 0");
}

// ---- propagation ----

void DratChecker::assign(Lit l, Id reason) {
  values_[index(l)] = 1;
  values_[index(-l)] = -1;
  std::size_t const v = static_cast<std::size_t>(std::abs(l));
  reasons_[v] = reason;
  places_[v] = trail_.size();
  trail_.push_back(l);
}

void DratChecker::undo(std::size_t length) {
  while (trail_.size() > length) {
    Lit const l = trail_.back();
    trail_.pop_back();
    values_[index(l)] = values_[index(-l)] = 0;
  }
  head_ = std::min(head_, length);
  core_head_ = std::min(core_head_, length);
}

// Puts the clause among those that are propagated; assigns what it implies. False when all its literals are
// false.
bool DratChecker::attach(Id c) {
  Clause& clause = clauses_[c];
  clause.active = true;
  Lit* const l = literals(c);
  // In front: literals that are not false, then those that became false last.
  auto const rank = [&](Lit k) {
    return value(k) >= 0 ? SIZE_MAX : places_[static_cast<std::size_t>(std::abs(k))];
  };
  for (std::uint32_t i = 0; i < 2 && i < clause.size; ++i) {
    std::uint32_t best = i;
    for (std::uint32_t k = i; k < clause.size; ++k)
      if (rank(l[k]) > rank(l[best])) best = k;
    std::swap(l[i], l[best]);
  }
  if (clause.size > 1) {
    watches_[index(l[0])].push_back({c, l[1]});
    watches_[index(l[1])].push_back({c, l[0]});
  }
  if (clause.size == 0 || value(l[0]) < 0) return false;
  if ((clause.size == 1 || value(l[1]) < 0) && value(l[0]) == 0) assign(l[0], c);
  return true;
}

void DratChecker::detach(Id c) {
  Clause& clause = clauses_[c];
  clause.active = false;
  Lit* const l = literals(c);
  for (std::uint32_t i = 0; i < 2 && clause.size > 1; ++i) {
    auto& list = watches_[index(l[i])];
    list.erase(std::find_if(list.begin(), list.end(), [&](Watch const& w) { return w.clause == c; }));
  }
}

// The clauses that watch the negation of the next literal on the trail, those of the core or the others. A
// clause without a true literal, or none.
DratChecker::Id DratChecker::visit(std::size_t& head, bool core) {
  Lit const falsified = -trail_[head++];
  auto& list = watches_[index(falsified)];
  std::size_t kept = 0;
  Id conflict = none;
  for (std::size_t i = 0; i < list.size(); ++i) {
    Watch const w = list[i];
    if (conflict != none || clauses_[w.clause].core != core || value(w.other) > 0) {
      list[kept++] = w;
      continue;
    }
    Lit* const l = literals(w.clause);
    if (l[0] == falsified) std::swap(l[0], l[1]);
    std::uint32_t k = 2;
    std::uint32_t const size = clauses_[w.clause].size;
    if (value(l[0]) <= 0)
      while (k < size && value(l[k]) < 0) ++k;
    if (value(l[0]) <= 0 && k < size) {
      std::swap(l[1], l[k]);
      watches_[index(l[1])].push_back({w.clause, l[0]});
      continue;
    }
    list[kept++] = {w.clause, l[0]};
    if (value(l[0]) > 0) continue;
    if (value(l[0]) < 0)
      conflict = w.clause;
    else
      assign(l[0], w.clause);
  }
  list.resize(kept);
  return conflict;
}

DratChecker::Id DratChecker::propagate() {
  for (;;) {
    Id conflict = none;
    if (core_head_ < trail_.size())
      conflict = visit(core_head_, true);
    else if (head_ < trail_.size())
      conflict = visit(head_, false);
    else
      return none;
    if (conflict != none) return conflict;
  }
}

DratChecker::Id DratChecker::propagate_all() {
  head_ = core_head_ = 0;
  return propagate();
}

// ---- checking ----

void DratChecker::use_reason_of(Lit l) { seen_[static_cast<std::size_t>(std::abs(l))] = true; }

// Marks the conflict, unless there is none to mark, and the reasons of everything seen.
void DratChecker::use(Id conflict) {
  auto const take = [&](Id c) {
    clauses_[c].core = true;
    for (std::uint32_t i = 0; i < clauses_[c].size; ++i) use_reason_of(literals(c)[i]);
  };
  if (conflict != none) take(conflict);
  for (std::size_t i = trail_.size(); i-- > 0;) {
    std::size_t const v = static_cast<std::size_t>(std::abs(trail_[i]));
    if (!seen_[v]) continue;
    if (reasons_[v] != none) take(reasons_[v]);
    seen_[v] = false;
  }
}

// Assigns the negation of the clause's literals and looks for a conflict, whose clauses are marked. What it
// assigned stays.
bool DratChecker::follows(Id c) {
  for (std::uint32_t i = 0; i < clauses_[c].size; ++i) {
    Lit const l = literals(c)[i];
    if (value(l) > 0) {
      use_reason_of(l);
      use(none);
      return true;
    }
    if (value(l) == 0) assign(-l, none);
  }
  Id const conflict = propagate();
  if (conflict == none) return false;
  use(conflict);
  return true;
}

bool DratChecker::follows_by_resolution(Id c, Id before) {
  Lit const pivot = clauses_[c].first;
  if (pivot == 0) return false;
  std::size_t const start = trail_.size();
  for (Id d = 0; d < before; ++d) {
    if (!clauses_[d].active ||
        std::find(literals(d), literals(d) + clauses_[d].size, -pivot) == literals(d) + clauses_[d].size)
      continue;
    clauses_[d].core = true;
    bool refuted = false;
    for (std::uint32_t i = 0; i < clauses_[d].size && !refuted; ++i) {
      Lit const l = literals(d)[i];
      if (l == -pivot) continue;
      if (value(l) > 0) {
        use_reason_of(l);
        use(none);
        refuted = true;
      } else if (value(l) == 0) {
        assign(-l, none);
      }
    }
    if (!refuted) {
      Id const conflict = propagate();
      if (conflict == none) return false;
      use(conflict);
    }
    undo(start);
  }
  return true;
}

bool DratChecker::verify() {
  // Forwards.
  std::size_t step = 0;
  Id conflict = none;
  for (; step < steps_.size() && conflict == none; ++step) {
    Step& s = steps_[step];
    if (s.deletion) {
      bool reason = false;
      for (std::uint32_t i = 0; i < clauses_[s.clause].size; ++i) {
        Lit const l = literals(s.clause)[i];
        reason = reason || (value(l) > 0 && reasons_[static_cast<std::size_t>(std::abs(l))] == s.clause);
      }
      if (reason)
        s.clause = none;  // ignored
      else
        detach(s.clause);
      continue;
    }
    conflict = attach(s.clause) ? propagate() : s.clause;
  }
  if (conflict == none) return false;
  use(conflict);

  // Backwards.
  std::uint64_t const formula = clauses_.size() - lemmas_;
  while (step-- > 0) {
    Step const s = steps_[step];
    if (s.clause == none) continue;
    if (s.deletion) {
      std::size_t const before = trail_.size();
      if (!attach(s.clause) || (trail_.size() != before && propagate() != none)) return false;
      continue;
    }
    if (s.clause < formula) break;
    detach(s.clause);
    std::size_t forced = trail_.size();
    for (std::uint32_t i = 0; i < clauses_[s.clause].size; ++i) {
      std::size_t const v = static_cast<std::size_t>(std::abs(literals(s.clause)[i]));
      if (value(literals(s.clause)[i]) > 0 && reasons_[v] == s.clause) forced = std::min(forced, places_[v]);
    }
    // What followed from it may follow from others as well.
    bool const first = conflict != none;
    if (forced != trail_.size() || first) {
      conflict = none;
      undo(forced);
      if (propagate_all() != none) return false;
    }
    if (!clauses_[s.clause].core) continue;
    ++checked_;
    std::size_t const length = trail_.size();
    bool const good = follows(s.clause) || follows_by_resolution(s.clause, s.clause);
    undo(length);
    head_ = core_head_ = length;
    if (!good) return false;
  }
  return true;
}

}  // namespace vell::proofs

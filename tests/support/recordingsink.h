#pragma once

// The sink of the tests: it keeps the clauses, counts, and writes events where a list of them is given.

#include <cstdint>
#include <map>
#include <ostream>
#include <stdexcept>
#include <vector>

#include "tests/support/events.h"
#include "vell/terms/clausesink.h"

namespace vell::test {

// Thrown by the sink and by the termination test where a test asks for it.
struct Interrupted : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Counts a call: throws Interrupted if `left` is 0; a negative `left` allows any number of calls.
inline void count_down(int& left, char const* what) {
  if (left == 0) throw Interrupted(what);
  if (left > 0) --left;
}

// The size of an encoding.
struct Cost {
  std::int64_t clauses = 0;
  std::int64_t fresh = 0;
  std::int64_t literals = 0;
  friend bool operator==(Cost const&, Cost const&) = default;
};

inline std::ostream& operator<<(std::ostream& out, Cost const& c) {
  return out << c.clauses << " clauses, " << c.fresh << " fresh literals, " << c.literals << " literals";
}

// Fresh literals count upwards from `next`.
class RecordingSink : public bv::ClauseSink {
 public:
  RecordingSink() = default;
  // Writes "new", "atom" and "clause" into events, which must outlive the sink.
  explicit RecordingSink(Events& events) : next(100), events_(&events) {}

  bv::BvLit new_lit() override {
    count_down(new_lits_left, "new_lit");
    ++cost.fresh;
    if (events_ != nullptr) events_->push_back("new " + std::to_string(next));
    return next++;
  }
  bool atom_lit(Term_ const* term, bv::BvLit& out) override {
    count_down(atoms_left, "atom_lit");
    auto const it = atoms.find(term);
    bool const known = it != atoms.end() || every_atom != 0;
    bv::BvLit const literal = it != atoms.end() ? it->second : every_atom;
    if (events_ != nullptr)
      events_->push_back("atom " + term->to_shallow_str() + " " + (known ? std::to_string(literal) : "none"));
    if (known) out = literal;
    return known;
  }
  void add_clause() override {
    count_down(clauses_left, "add_clause");
    ++cost.clauses;
    cost.literals += static_cast<std::int64_t>(lits.size());
    if (events_ != nullptr) events_->push_back("clause " + to_string(lits));
    if (keep) clauses.push_back(lits);
  }

  bv::BvLit next = 2;
  // Literals of atoms: the sink answers true for the terms in here.
  std::map<Term_ const*, bv::BvLit> atoms;
  // The literal of every other atom; 0 for none.
  bv::BvLit every_atom = 0;
  // Whether clauses are kept; without that and without events a call allocates nothing.
  bool keep = true;
  // Clauses given so far.
  std::vector<bv::BvLitList> clauses;
  // What was given so far, whether it was kept or not.
  Cost cost;
  // How many more calls succeed before one throws Interrupted; negative: all. The call that throws records
  // nothing.
  int new_lits_left = -1;
  int atoms_left = -1;
  int clauses_left = -1;

 private:
  Events* events_ = nullptr;
};

}  // namespace vell::test

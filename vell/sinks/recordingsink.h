#pragma once

// A sink that keeps everything that reaches it, in order: for tests, for small problems, for looking at an
// encoding.
//
// Tested by tests/sinks/recordingsink_test.cpp.

#include <unordered_map>
#include <vector>

#include "vell/terms/clausesink.h"
#include "vell/utils/export.h"

namespace vell::sinks {

// Memory grows with every event; clear() gives it back.
class VELL_API RecordingSink : public bv::ClauseSink {
 public:
  // One call of the sink.
  struct Event {
    // Which operation was called.
    enum class Kind : std::uint8_t { new_lit, atom_lit, clause };
    Kind kind;                        // which operation
    bv::BvLit literal = bv::l_undef;  // the fresh literal, or the atom's literal (l_undef: it has none)
    Term_ const* term = nullptr;      // the atom asked for
    bv::BvLitList clause = {};        // in buffer order
  };

  bv::BvLit new_lit() override {
    events_.push_back({Event::Kind::new_lit, next_, nullptr, {}});
    return next_++;
  }
  bool atom_lit(Term_ const* term, bv::BvLit& out) override {
    auto const found = atoms_.find(term);
    bool const known = found != atoms_.end();
    events_.push_back({Event::Kind::atom_lit, known ? found->second : bv::l_undef, term, {}});
    if (known) out = found->second;
    return known;
  }
  void add_clause() override { events_.push_back({Event::Kind::clause, bv::l_undef, nullptr, lits}); }

  // The literal that the next new_lit() gives; it counts upwards from there.
  void set_next_literal(bv::BvLit next) { next_ = next; }
  bv::BvLit next_literal() const { return next_; }
  // Makes literal the literal of the atom; l_undef takes it away.
  void set_atom_literal(Term_ const* atom, bv::BvLit literal) {
    if (literal == bv::l_undef)
      atoms_.erase(atom);
    else
      atoms_[atom] = literal;
  }

  // Everything since the last clear(), in order.
  std::vector<Event> const& events() const { return events_; }
  // The clauses alone.
  std::vector<bv::BvLitList> clauses() const {
    std::vector<bv::BvLitList> out;
    for (Event const& e : events_)
      if (e.kind == Event::Kind::clause) out.push_back(e.clause);
    return out;
  }
  // Forgets the events; the next literal and the atoms stay.
  void clear() { events_.clear(); }

 private:
  bv::BvLit next_ = 2;
  std::unordered_map<Term_ const*, bv::BvLit> atoms_;
  std::vector<Event> events_;
};

}  // namespace vell::sinks

#pragma once

// Checks DRAT proofs backwards.
//
// Forwards, the clauses of the formula and of the proof are taken in up to the first conflict by unit
// propagation. From there it goes back: a lemma that a later step used must follow from the clauses in front
// of it by unit propagation (RUP), or do so after resolution on its first literal with every clause that
// holds the negation (RAT). Lemmas that nothing used are not looked at. Clauses that are used already are
// propagated first, so that few become used. Deletions of clauses that give a variable its value on the first
// level are ignored, as solvers mean them. (Heule, Hunt, Wetzler, "Trimming while checking clausal proofs",
// FMCAD 2013.) It shares no code with the rest of the project.
//
// Tested by tests/cli/proof_test.cpp.

#include <cstdint>
#include <istream>
#include <string>
#include <unordered_map>
#include <vector>

namespace vell::proofs {

class DratChecker {
 public:
  // Both in text. Throws std::runtime_error for what cannot be read, or a deletion of a clause that is not
  // there.
  DratChecker(std::istream& cnf, std::istream& proof);

  // Whether the proof refutes the formula.
  bool verify();

  std::uint64_t lemmas() const { return lemmas_; }
  std::uint64_t checked_lemmas() const { return checked_; }

 private:
  using Lit = std::int32_t;
  using Id = std::uint32_t;
  static constexpr Id none = UINT32_MAX;
  struct Clause {
    std::uint64_t start = 0;  // in literals_
    std::uint32_t size = 0;
    Lit first = 0;  // before watching reordered the literals
    bool active = false;
    bool core = false;  // something relies on it
  };
  struct Watch {
    Id clause;
    Lit other;  // true: the clause need not be looked at
  };
  struct Step {
    Id clause;
    bool deletion;
  };

  void read(std::istream& in, bool proof);
  Id add(std::vector<Lit> const& literals);
  static std::size_t index(Lit l) { return 2 * static_cast<std::size_t>(l < 0 ? -l : l) + (l < 0 ? 1 : 0); }
  Lit* literals(Id c) { return literals_.data() + clauses_[c].start; }
  std::int8_t value(Lit l) const { return values_[index(l)]; }
  void assign(Lit l, Id reason);
  void undo(std::size_t length);
  bool attach(Id c);
  void detach(Id c);
  Id visit(std::size_t& head, bool core);
  Id propagate();
  Id propagate_all();
  void use(Id conflict);
  void use_reason_of(Lit l);
  bool follows(Id c);
  bool follows_by_resolution(Id c, Id before);

  std::vector<Lit> literals_;
  std::vector<Clause> clauses_;
  std::vector<Step> steps_;
  std::unordered_multimap<std::uint64_t, Id> by_hash_;  // clauses not deleted yet
  std::vector<std::vector<Watch>> watches_;             // of a literal: clauses to look at once it is false
  std::vector<std::int8_t> values_;                     // by index: 1 true, -1 false
  std::vector<Id> reasons_;                             // by variable
  std::vector<std::size_t> places_;                     // by variable: where it is on the trail
  std::vector<bool> seen_;
  std::vector<Lit> trail_;
  std::size_t core_head_ = 0;
  std::size_t head_ = 0;
  std::uint64_t lemmas_ = 0;
  std::uint64_t checked_ = 0;
};

}  // namespace vell::proofs

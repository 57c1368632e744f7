#pragma once

// What holds for every script, whatever it does: checks that need no expected output.

#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "tests/generate/script.h"

namespace vell::generate {

// The clausifier's data structures and what it says to its collaborators, after every command:
// the bucket count is a prime of the table; every node stands in its bucket, once; the size counts them; the
// load is below the limit; cached terms stand on the trail; fresh literals count upwards; a clause has two to
// four literals, no 0 unless the script brought one in, and variables that were handed out or that the script
// named; one poll for every term dispatched; `blast` returns the first of the term's bits.
class StructureCheck : public Watcher {
 public:
  void after(Step const& step) override;

 private:
  void check_table(Step const& step) const;
  void check_events(Step const& step);
  void note_literals_of_script(Step const& step);

  std::int64_t next_literal_ = 2;
  std::unordered_set<std::int64_t> known_;  // variables handed out or named by the script
  bool zeros_ = false;
  bool tested_ = false;  // a termination test is installed
};

// Trail, cache and pools after every command are what the command makes of those before it. The earlier list
// of a term whose bits a direct call replaces stays in use by contract; the runner gives it back at the end,
// so that a leak checker sees every other leak.
class StateCheck : public Watcher {
 public:
  void after(Step const& step) override;

 private:
  struct Entry {
    bv::BvLitList* list;
    bv::BvLitList bits;
  };
  using Cache = std::unordered_map<Term_ const*, Entry>;
  void forget_upto(Term_ const* t);
  void take_new_entries(Step const& step, std::vector<Term_ const*> const& trail);
  void compare(Step const& step) const;

  std::vector<Term_ const*> trail_;
  Cache cache_;
  std::size_t replaced_ = 0;  // lists that direct calls took out of the cache
  // Chain order as well, until the table grows.
  std::vector<std::pair<std::uint64_t, Term_ const*>> order_;
  std::uint64_t buckets_ = 0;
};

// The events of a script do not depend on the verbosity, on where its terms are declared, or on the run; and
// what is translated again after it was forgotten gives the same events, but for the numbers of the literals.
// Returns how many of the comparisons applied.
int check_determinism(Script const& script, std::vector<std::string> const& written);

// Everything above and the meaning of all clauses. Throws CheckFailure.
struct Counts {
  std::uint64_t scripts = 0;
  std::uint64_t lines = 0;
  std::uint64_t clauses = 0;
  std::uint64_t comparisons = 0;   // of runs
  std::uint64_t records = 0;       // values of translated terms and circuits looked at
  std::uint64_t models = 0;        // assignments of all variables looked at
  std::uint64_t free_scripts = 0;  // scripts whose clauses must admit every assignment of the inputs
};
void check_script(Script const& script, std::uint64_t seed, Counts& counts);

}  // namespace vell::generate

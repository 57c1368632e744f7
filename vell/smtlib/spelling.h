#pragma once

// "did you mean": known words close to a misspelt one.
//
// Tested by tests/smtlib/spelling_test.cpp.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vell::smtlib {

// Insertions, deletions, substitutions and swaps of neighbours that turn a into b; limit + 1 where there are
// more.
std::size_t edit_distance(std::string_view a, std::string_view b, std::size_t limit);

// Collects the candidates closest to a word. Close means at most two edits, and at most one in three letters:
// with more, most short words would be close to each other.
class Spelling {
 public:
  explicit Spelling(std::string_view word);
  void offer(std::string_view candidate);
  // "; did you mean `bvadd` or `bvand`?", or "" when no candidate is close. Names at most three, in the order
  // offered.
  std::string hint() const;

 private:
  std::string word_;
  std::size_t limit_;  // of edits; falls as better candidates are found
  std::vector<std::string> nearest_;
};

}  // namespace vell::smtlib
